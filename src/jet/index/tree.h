// Index B-trees of Jet 4: read one from its root page, build a new one from sorted entries, and
// verify one against the entries it must hold. Pages move through callbacks so that this module
// needs nothing of the engine that owns the file (allocation, usage maps and the table
// definition stay with the caller).
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace qorvane::jet::index {

// One index entry: the key bytes (see key.h) and the row they point at.
struct Entry {
  std::vector<uint8_t> key;
  uint32_t data_page = 0;  // page of the row (24 bits on disk)
  uint8_t data_row = 0;    // row number on that page

  bool operator==(const Entry&) const = default;
};

// An entry whose key bytes the caller keeps (a build over keys held in one arena).
struct EntryRef {
  std::span<const uint8_t> key;
  uint32_t data_page = 0;
  uint8_t data_row = 0;
};

// Order of entries in an index: unsigned byte order of the key, then page, then row (the order
// of the full on-disk entry bytes).
bool EntryLess(const EntryRef& left, const EntryRef& right);
bool EntryLess(const Entry& left, const Entry& right);
void SortEntries(std::vector<Entry>& entries);

// Reads page PAGE (4096 bytes) into OUT; throws qorvane::Error when it cannot.
using PageSource = std::function<void(uint32_t page, std::span<uint8_t> out)>;

// Where a new tree goes: allocate_page hands out a page number the caller has reserved for this
// index; write_page stores 4096 bytes at that page.
struct PageSink {
  std::function<uint32_t()> allocate_page;
  std::function<void(uint32_t page, std::span<const uint8_t> bytes)> write_page;
};

struct BuiltTree {
  uint32_t root = 0;            // the page to store as the index root in the table definition
  std::vector<uint32_t> pages;  // every page written, in allocation order (for the usage map)
  uint32_t distinct_keys = 0;   // number of different key byte strings (index statistics)
  uint32_t levels = 1;          // 1 = the root is a leaf
};

// Writes a tree holding SORTED (which must be in EntryLess order): leaves left to right with
// previous/next links and prefix compression, then node levels until one root remains. An empty
// list gives one empty leaf. OWNER_TDEF is the table definition page written in every page.
// Throws Error(InvalidArgument) when SORTED is not sorted or a key is longer than
// format::kMaxStoredKeySize.
BuiltTree BuildTree(std::span<const Entry> sorted, uint32_t owner_tdef, const PageSink& sink);
// The same over COUNT entries ENTRY_AT(0) .. ENTRY_AT(COUNT - 1), each asked for a few times;
// the keys need not be copied into Entry values.
using EntryAt = std::function<EntryRef(size_t)>;
BuiltTree BuildTree(size_t count, const EntryAt& entry_at, uint32_t owner_tdef, const PageSink& sink);

// Every entry of the tree under ROOT in order, read by descending to the leftmost leaf and then
// following the leaf chain. Throws Error(Corrupt) naming the page when a page is malformed, a
// chain loops, or the tree is deeper than any real index.
std::vector<Entry> ReadTree(uint32_t root, const PageSource& source);

// Checks the tree under ROOT in depth: page types and levels, owner, free-space counters,
// entry order, previous/next links at every level, node entry = last entry of its child,
// child tails, and that the leaves hold exactly EXPECTED (sorted). Returns the pages of the tree.
// Throws Error(Corrupt) with the first problem found (page and entry named).
std::vector<uint32_t> VerifyTree(uint32_t root, uint32_t owner_tdef, const PageSource& source,
                                 std::span<const Entry> expected);

// Index of the first entry of SORTED whose key equals the previous entry's key, or -1.
// (Callers that allow NULLs in unique indexes leave keys with NULLs out of the list.)
long FindDuplicateKey(std::span<const Entry> sorted);

}  // namespace qorvane::jet::index
