// Decoding of index pages: header fields, the entry-end bitmap, and prefix-compressed entries.
#include "jet/index/page.h"

#include <string>

#include "common/error.h"
#include "jet/bytes.h"
#include "jet/format/index_pages.h"

namespace qorvane::jet::index {
namespace {

[[noreturn]] void Bad(uint32_t page_number, const std::string& what) {
  throw Error(ErrorKind::Corrupt, "index page " + std::to_string(page_number) + ": " + what);
}

}  // namespace

DecodedPage DecodeIndexPage(std::span<const uint8_t> page, uint32_t page_number) {
  using namespace format;
  if (page.size() != kPageSize) Bad(page_number, "page is not 4096 bytes");
  DecodedPage decoded;
  const uint8_t type = page[kPageTypeOffset];
  if (type == kPageTypeIndexNode) {
    decoded.kind = PageKind::Node;
  } else if (type == kPageTypeIndexLeaf) {
    decoded.kind = PageKind::Leaf;
  } else {
    Bad(page_number, "type byte " + std::to_string(type) + " is not an index page");
  }
  decoded.free_space = Get16(page, kIndexFreeSpaceOffset);
  decoded.owner_tdef = Get32(page, kIndexOwnerOffset);
  decoded.previous = Get32(page, kIndexPreviousOffset);
  decoded.next = Get32(page, kIndexNextOffset);
  decoded.tail = Get32(page, kIndexTailOffset);
  decoded.prefix_length = Get16(page, kIndexPrefixLengthOffset);
  decoded.level = page[kIndexLevelOffset];

  const std::span<const uint8_t> area = page.subspan(kIndexEntryAreaOffset, kIndexEntryAreaSize);
  // Bit N marks an entry ending N bytes into the entry area, so the bits run from 0 up to and
  // including kIndexEntryAreaSize: a page filled to its last byte sets bit 3616 (last bitmap byte).
  size_t start = 0;
  for (size_t bit = 0; bit <= kIndexEntryAreaSize; ++bit) {
    if (!(page[kIndexBitmapOffset + bit / 8] >> (bit % 8) & 1)) continue;
    const size_t end = bit;
    if (end <= start) Bad(page_number, "empty entry in the bitmap at bit " + std::to_string(bit));
    std::vector<uint8_t> entry;
    if (decoded.entries.empty()) {
      entry.assign(area.begin(), area.begin() + end);
      if (decoded.prefix_length > entry.size()) {
        Bad(page_number, "prefix length " + std::to_string(decoded.prefix_length) +
                             " is longer than the first entry");
      }
    } else {
      const std::vector<uint8_t>& first = decoded.entries.front();
      entry.reserve(decoded.prefix_length + end - start);
      entry.assign(first.begin(), first.begin() + decoded.prefix_length);
      entry.insert(entry.end(), area.begin() + start, area.begin() + end);
    }
    decoded.entries.push_back(std::move(entry));
    start = end;
  }
  // Bits past the entry area would claim bytes beyond the page end.
  for (size_t bit = kIndexEntryAreaSize + 1; bit < kIndexBitmapSize * 8; ++bit) {
    if (page[kIndexBitmapOffset + bit / 8] >> (bit % 8) & 1) Bad(page_number, "bitmap runs past the page");
  }
  decoded.data_bytes = static_cast<uint32_t>(start);
  return decoded;
}

SplitEntry SplitEntryBytes(std::span<const uint8_t> entry, PageKind kind, uint32_t page_number) {
  const size_t pointers =
      format::kRowPointerSize + (kind == PageKind::Node ? format::kChildPointerSize : 0);
  if (entry.size() < pointers + 1) {
    Bad(page_number, "entry of " + std::to_string(entry.size()) + " bytes is too short");
  }
  SplitEntry split;
  const size_t key_size = entry.size() - pointers;
  split.key = entry.first(key_size);
  const uint32_t pointer = GetBig32(entry, key_size);
  split.data_page = pointer >> 8;
  split.data_row = static_cast<uint8_t>(pointer);
  if (kind == PageKind::Node) split.child_page = GetBig32(entry, key_size + 4);
  return split;
}

}  // namespace qorvane::jet::index
