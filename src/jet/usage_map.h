// Usage maps: the bitmaps that say which pages a table, an index or a long-value column owns
// (and, on page 1, which pages of the file are free). A map is a row on a holder page, either
// inline (type 0: start page + bitmap) or a reference (type 1: up to 17 bitmap pages of 32736
// pages each). Loaded into memory, changed, and written back in place, grown on its holder
// page, or converted to the reference form when it no longer fits. The inline form is what
// Access writes (its own files hold 89- to 101-byte rows): a map grows in place in 4-byte steps
// from its start page, and a map that holds no page yet starts at its first page, rounded down
// to a multiple of 8. Internal header.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "jet/bytes.h"

namespace qorvane::jet {

class PageStore;

class UsageMap {
 public:
  // Reads the map row WHERE; CONTEXT names it in error messages ("table Client owned pages").
  static UsageMap Load(PageStore& store, RowPointer where, const std::string& context);

  bool Contains(std::uint32_t page) const;
  // Whether SET can be represented without growing (always true for reference maps in range).
  bool InRange(std::uint32_t page) const;
  void Set(std::uint32_t page, bool on);
  // Every page whose bit is set, ascending.
  std::vector<std::uint32_t> Pages() const;
  // The lowest set page in [from, limit), if any.
  std::optional<std::uint32_t> FirstSet(std::uint32_t from, std::uint32_t limit) const;
  std::optional<std::uint32_t> LastSet() const;
  bool dirty() const { return dirty_; }

  // Writes the map back when it changed. May allocate bitmap pages through STORE.
  void Store(PageStore& store);
  // Writes back the file's free-page map (page 1, row 0). Every page of the file is in it: the
  // inline row grows in 4-byte steps to cover the whole file (at least up to the next multiple
  // of 32 pages, as Access leaves it), taking as much of its page as it needs, and the pages
  // from the end of the file to the end of the row are marked free. Once page 1 is full the map
  // moves to bitmap pages, one for every 32736-page range that holds pages of the file (taken
  // through STORE, and so marked used in this very map).
  void StoreFreePageMap(PageStore& store);

 private:
  void StoreInline(PageStore& store);
  void StoreReference(PageStore& store);
  // The inline row for the bits: never shorter than the row read nor than MINIMUM_BYTES of
  // bitmap, grown in 4-byte steps.
  std::vector<std::byte> InlineRow(std::size_t minimum_bytes = 0);
  // Puts ROW in place of the map's row; false when its page has no room (a map sharing its
  // holder page with others takes at most half of it unless WHOLE_PAGE).
  bool WriteInline(PageStore& store, const std::vector<std::byte>& row, bool whole_page);
  void ConvertToReference();

  RowPointer where_;
  std::string context_;
  std::uint8_t type_ = 0;
  std::uint32_t start_ = 0;                 // first page of bit 0
  std::size_t row_bitmap_bytes_ = 0;        // inline: bitmap bytes in the row as read
  std::vector<std::uint8_t> bits_;          // bit k = page start_ + k
  std::vector<std::uint32_t> bitmap_pages_; // reference: the 17 bitmap page numbers
  bool dirty_ = false;
};

}  // namespace qorvane::jet
