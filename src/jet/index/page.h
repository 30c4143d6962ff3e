// One index page decoded: header fields and the entries with their shared prefix restored.
// Used by the tree reader and the verifier, and by tests that look at pages Access wrote.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace qorvane::jet::index {

enum class PageKind { Node, Leaf };

struct DecodedPage {
  PageKind kind = PageKind::Leaf;
  uint16_t free_space = 0;
  uint32_t owner_tdef = 0;
  uint32_t previous = 0;
  uint32_t next = 0;
  uint32_t tail = 0;           // node pages: rightmost child (0 when none)
  uint16_t prefix_length = 0;
  uint8_t level = 0;
  uint32_t data_bytes = 0;     // bytes of entry data stored on the page
  // Full entry bytes: key + row pointer (+ child page on node pages), prefix restored.
  std::vector<std::vector<uint8_t>> entries;
};

// Decodes PAGE (4096 bytes). PAGE_NUMBER only names the page in errors. Throws Error(Corrupt)
// when the type is not an index page or the bitmap, prefix or free space do not add up.
DecodedPage DecodeIndexPage(std::span<const uint8_t> page, uint32_t page_number);

// Splits entry bytes of a leaf (or a node, with the child page) into key and pointers.
struct SplitEntry {
  std::span<const uint8_t> key;
  uint32_t data_page = 0;
  uint8_t data_row = 0;
  uint32_t child_page = 0;  // node entries only
};
SplitEntry SplitEntryBytes(std::span<const uint8_t> entry, PageKind kind, uint32_t page_number);

}  // namespace qorvane::jet::index
