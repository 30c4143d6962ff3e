// Placeholders for the index module while its bodies are written; every call says so.
#include "common/error.h"
#include "jet/index/key.h"
#include "jet/index/page.h"
#include "jet/index/tree.h"

namespace qorvane::jet::index {
namespace {
[[noreturn]] void NotYet(const char* what) {
  throw Error(ErrorKind::NotSupported, std::string("index module: ") + what + " is not written yet");
}
}  // namespace

std::optional<KeyType> KeyTypeFromColumnType(uint8_t) { NotYet("KeyTypeFromColumnType"); }
void AppendKeyColumn(std::vector<uint8_t>&, KeyType, SortOrder, const KeyValue&) { NotYet("AppendKeyColumn"); }
std::optional<std::vector<uint8_t>> MakeKey(std::span<const KeyColumn>, std::span<const KeyValue>, NullKeys) { NotYet("MakeKey"); }
bool AnyNull(std::span<const KeyValue>) { NotYet("AnyNull"); }
std::string DescribeValue(const KeyValue&) { NotYet("DescribeValue"); }
bool EntryLess(const Entry&, const Entry&) { NotYet("EntryLess"); }
void SortEntries(std::vector<Entry>&) { NotYet("SortEntries"); }
BuiltTree BuildTree(std::span<const Entry>, uint32_t, const PageSink&) { NotYet("BuildTree"); }
std::vector<Entry> ReadTree(uint32_t, const PageSource&) { NotYet("ReadTree"); }
std::vector<uint32_t> VerifyTree(uint32_t, uint32_t, const PageSource&, std::span<const Entry>) { NotYet("VerifyTree"); }
long FindDuplicateKey(std::span<const Entry>) { NotYet("FindDuplicateKey"); }
DecodedPage DecodeIndexPage(std::span<const uint8_t>, uint32_t) { NotYet("DecodeIndexPage"); }
SplitEntry SplitEntryBytes(std::span<const uint8_t>, PageKind, uint32_t) { NotYet("SplitEntryBytes"); }

}  // namespace qorvane::jet::index
