// Usage-map rows: read both forms, write back inline (in place or grown) or as a reference map.
#include "jet/usage_map.h"

#include <algorithm>
#include <cstring>

#include "common/error.h"
#include "jet/data_page.h"
#include "jet/format/pages.h"
#include "jet/format/table_definition.h"
#include "jet/page_store.h"

namespace qorvane::jet {
namespace {

using namespace format;

// Reference maps cover 17 bitmap pages.
constexpr std::uint32_t kReferenceCoverage = kUsageMapReferencePages * kPagesPerBitmapPage;

}  // namespace

UsageMap UsageMap::Load(PageStore& store, RowPointer where, const std::string& context) {
  UsageMap map;
  map.where_ = where;
  map.context_ = context;
  Bytes page = store.Read(where.page);
  auto extent = FindRow(page, where.row);
  if (!extent || Get8(page, 0) != kPageTypeData || extent->end - extent->start < 1) {
    throw Error(ErrorKind::Corrupt, store.file_name() + ": " + context + ": usage map row " +
                                        std::to_string(where.row) + " of page " +
                                        std::to_string(where.page) + " is missing or damaged");
  }
  Bytes row = page.subspan(extent->start, extent->end - extent->start);
  map.type_ = Get8(row, 0);
  if (map.type_ == kUsageMapInline) {
    map.start_ = Get32(row, 1);
    if (row.size() > kUsageMapInlineHeaderSize) {
      map.row_bitmap_bytes_ = row.size() - kUsageMapInlineHeaderSize;
      map.bits_.resize(map.row_bitmap_bytes_);
      std::memcpy(map.bits_.data(), row.data() + kUsageMapInlineHeaderSize, map.row_bitmap_bytes_);
    }
  } else if (map.type_ == kUsageMapReference) {
    map.start_ = 0;
    map.bitmap_pages_.assign(kUsageMapReferencePages, 0);
    for (std::size_t j = 0; j < kUsageMapReferencePages; ++j) {
      std::uint32_t bitmap_page = Get32(row, 1 + 4 * j);
      if (bitmap_page == 0) continue;
      if (bitmap_page >= store.page_count()) {
        throw Error(ErrorKind::Corrupt, store.file_name() + ": " + context +
                                            ": usage bitmap page " + std::to_string(bitmap_page) +
                                            " lies past the end of the file");
      }
      map.bitmap_pages_[j] = bitmap_page;
      Bytes bitmap = store.Read(bitmap_page);
      std::size_t base = j * (kPagesPerBitmapPage / 8);
      if (map.bits_.size() < base + kPagesPerBitmapPage / 8) map.bits_.resize(base + kPagesPerBitmapPage / 8);
      std::memcpy(map.bits_.data() + base, bitmap.data() + kUsageBitmapPageHeaderSize,
                  kPagesPerBitmapPage / 8);
    }
  } else {
    throw Error(ErrorKind::Corrupt, store.file_name() + ": " + context + ": unknown usage map type " +
                                        std::to_string(map.type_) + " on page " +
                                        std::to_string(where.page));
  }
  return map;
}

bool UsageMap::Contains(std::uint32_t page) const {
  if (page < start_) return false;
  std::size_t bit = page - start_;
  return bit / 8 < bits_.size() && (bits_[bit / 8] >> (bit % 8) & 1);
}

bool UsageMap::InRange(std::uint32_t page) const {
  if (type_ == kUsageMapReference) return page < kReferenceCoverage;
  return page >= start_ && (page - start_) / 8 < row_bitmap_bytes_;
}

void UsageMap::Set(std::uint32_t page, bool on) {
  if (Contains(page) == on) return;
  if (on && type_ == kUsageMapInline && where_.page != kGlobalUsageMapPage && !InRange(page) &&
      std::all_of(bits_.begin(), bits_.end(), [](std::uint8_t byte) { return byte == 0; })) {
    // A map that holds no page yet puts its window where its first page is, as Access does
    // (a table first filled at page 677 gets a 69-byte map starting at 672): the row keeps its
    // size instead of growing by a bit for every page below.
    start_ = page & ~7u;
    std::fill(bits_.begin(), bits_.end(), std::uint8_t{0});
  }
  if (page < start_) {
    // Shift the bitmap so it starts at a lower multiple of 8.
    std::uint32_t new_start = page & ~7u;
    std::size_t shift_bytes = (start_ - new_start) / 8;
    if ((start_ - new_start) % 8 != 0) {
      // Rebuild bit by bit when the old start was not byte aligned.
      std::vector<std::uint32_t> pages = Pages();
      bits_.assign((start_ - new_start + 7) / 8 + bits_.size(), 0);
      start_ = new_start;
      for (std::uint32_t p : pages) bits_[(p - start_) / 8] |= static_cast<std::uint8_t>(1u << ((p - start_) % 8));
    } else {
      bits_.insert(bits_.begin(), shift_bytes, 0);
      start_ = new_start;
    }
  }
  std::size_t bit = page - start_;
  if (bit / 8 >= bits_.size()) bits_.resize(bit / 8 + 1, 0);
  if (on) {
    bits_[bit / 8] |= static_cast<std::uint8_t>(1u << (bit % 8));
  } else {
    bits_[bit / 8] &= static_cast<std::uint8_t>(~(1u << (bit % 8)));
  }
  dirty_ = true;
}

std::vector<std::uint32_t> UsageMap::Pages() const {
  std::vector<std::uint32_t> pages;
  for (std::size_t i = 0; i < bits_.size(); ++i) {
    if (bits_[i] == 0) continue;
    for (int b = 0; b < 8; ++b) {
      if (bits_[i] >> b & 1) pages.push_back(static_cast<std::uint32_t>(start_ + i * 8 + b));
    }
  }
  return pages;
}

std::optional<std::uint32_t> UsageMap::FirstSet(std::uint32_t from, std::uint32_t limit) const {
  std::uint32_t page = std::max(from, start_);
  while (page < limit) {
    std::size_t bit = page - start_;
    if (bit / 8 >= bits_.size()) break;
    if (bit % 8 == 0 && bits_[bit / 8] == 0) {
      page += 8;
      continue;
    }
    if (bits_[bit / 8] >> (bit % 8) & 1) return page;
    ++page;
  }
  return std::nullopt;
}

std::optional<std::uint32_t> UsageMap::LastSet() const {
  for (std::size_t i = bits_.size(); i-- > 0;) {
    if (bits_[i] == 0) continue;
    for (int b = 7; b >= 0; --b) {
      if (bits_[i] >> b & 1) return static_cast<std::uint32_t>(start_ + i * 8 + b);
    }
  }
  return std::nullopt;
}

void UsageMap::Store(PageStore& store) {
  if (!dirty_) return;
  if (type_ == kUsageMapReference) {
    StoreReference(store);
  } else {
    StoreInline(store);
  }
  dirty_ = false;
}

std::vector<std::byte> UsageMap::InlineRow(std::size_t minimum_bytes) {
  // Trim trailing zero bytes beyond the row's current size; keep at least the old length.
  std::size_t keep = std::max(row_bitmap_bytes_, minimum_bytes);
  std::size_t used = bits_.size();
  while (used > keep && bits_[used - 1] == 0) --used;
  bits_.resize(std::max(used, keep), 0);
  std::size_t wanted = bits_.size();
  if (wanted > row_bitmap_bytes_) wanted = (wanted + 3) / 4 * 4;  // Access grows in 4-byte steps
  std::vector<std::byte> row(kUsageMapInlineHeaderSize + wanted, std::byte{0});
  Put8(row, 0, kUsageMapInline);
  Put32(row, 1, start_);
  std::memcpy(row.data() + kUsageMapInlineHeaderSize, bits_.data(), bits_.size());
  return row;
}

bool UsageMap::WriteInline(PageStore& store, const std::vector<std::byte>& row, bool whole_page) {
  MutableBytes page = store.Write(where_.page);
  auto extent = FindRow(page, where_.row);
  if (!extent) {
    throw Error(ErrorKind::Corrupt, store.file_name() + ": " + context_ + ": usage map row vanished");
  }
  bool written = false;
  if (static_cast<std::size_t>(extent->end - extent->start) == row.size()) {
    std::memcpy(page.data() + extent->start, row.data(), row.size());
    written = true;
  } else if (whole_page || row.size() <= kPageSize / 2) {
    written = ReplaceRow(page, where_.row, row);
  }
  if (written) row_bitmap_bytes_ = row.size() - kUsageMapInlineHeaderSize;
  return written;
}

void UsageMap::ConvertToReference() {
  std::vector<std::uint32_t> pages = Pages();
  type_ = kUsageMapReference;
  start_ = 0;
  bits_.clear();
  bitmap_pages_.assign(kUsageMapReferencePages, 0);
  for (std::uint32_t p : pages) Set(p, true);
}

void UsageMap::StoreInline(PageStore& store) {
  if (WriteInline(store, InlineRow(), false)) return;
  // The inline form no longer fits its holder page: switch to bitmap pages.
  ConvertToReference();
  StoreReference(store);
}

void UsageMap::StoreFreePageMap(PageStore& store) {
  constexpr std::size_t per_page_bytes = kPagesPerBitmapPage / 8;
  for (;;) {
    std::uint32_t count = store.page_count();
    std::uint32_t cover = (count + 31) / 32 * 32;
    if (type_ == kUsageMapInline) {
      cover = std::max(cover, start_ + static_cast<std::uint32_t>(row_bitmap_bytes_ * 8));
    }
    for (std::uint32_t page = count; page < cover; ++page) Set(page, true);
    if (type_ == kUsageMapInline) {
      // The row covers the file even when no page near its end is free (all its bits clear).
      if (WriteInline(store, InlineRow((cover - start_ + 7) / 8), true)) break;
      ConvertToReference();
    }
    // Every range that holds pages of the file, or a set bit, needs its bitmap page: a range
    // without one reads as all free to a writer that allocates through this map. Taking one
    // clears its bit here and may lengthen the file, so look again until nothing more is needed.
    bool allocated = false;
    for (std::size_t j = 0; j < kUsageMapReferencePages; ++j) {
      if (bitmap_pages_[j] != 0) continue;
      bool holds_pages = j * kPagesPerBitmapPage < store.page_count();
      if (!holds_pages && j * per_page_bytes >= bits_.size()) continue;
      auto from = bits_.begin() + static_cast<std::ptrdiff_t>(std::min(bits_.size(), j * per_page_bytes));
      auto to = bits_.begin() + static_cast<std::ptrdiff_t>(std::min(bits_.size(), (j + 1) * per_page_bytes));
      if (!holds_pages && std::all_of(from, to, [](std::uint8_t byte) { return byte == 0; })) continue;
      std::uint32_t page = store.Allocate();
      bitmap_pages_[j] = page;
      allocated = true;
    }
    if (!allocated) {
      StoreReference(store);
      break;
    }
  }
  dirty_ = false;
}

void UsageMap::StoreReference(PageStore& store) {
  std::size_t per_page_bytes = kPagesPerBitmapPage / 8;
  if (bits_.size() > kUsageMapReferencePages * per_page_bytes) {
    throw Error(ErrorKind::NotSupported, store.file_name() + ": " + context_ +
                                             ": the database is larger than a usage map can describe");
  }
  for (std::size_t j = 0; j < kUsageMapReferencePages; ++j) {
    std::size_t base = j * per_page_bytes;
    bool any = false;
    for (std::size_t i = base; i < std::min(bits_.size(), base + per_page_bytes); ++i) {
      if (bits_[i]) {
        any = true;
        break;
      }
    }
    if (!any && bitmap_pages_[j] == 0) continue;
    if (bitmap_pages_[j] == 0) bitmap_pages_[j] = store.Allocate();
    MutableBytes bitmap = store.Write(bitmap_pages_[j]);
    std::memset(bitmap.data(), 0, bitmap.size());
    Put8(bitmap, 0, kPageTypeUsageBitmap);
    Put8(bitmap, 1, kPageMarker);
    if (base < bits_.size()) {
      std::size_t n = std::min(per_page_bytes, bits_.size() - base);
      std::memcpy(bitmap.data() + kUsageBitmapPageHeaderSize, bits_.data() + base, n);
    }
  }
  std::vector<std::byte> row(kUsageMapReferenceSize, std::byte{0});
  Put8(row, 0, kUsageMapReference);
  for (std::size_t j = 0; j < kUsageMapReferencePages; ++j) Put32(row, 1 + 4 * j, bitmap_pages_[j]);
  MutableBytes page = store.Write(where_.page);
  auto extent = FindRow(page, where_.row);
  if (extent && static_cast<std::size_t>(extent->end - extent->start) == row.size()) {
    std::memcpy(page.data() + extent->start, row.data(), row.size());
  } else if (!ReplaceRow(page, where_.row, row)) {
    throw Error(ErrorKind::NotSupported, store.file_name() + ": " + context_ +
                                             ": no room on page " + std::to_string(where_.page) +
                                             " to write the usage map");
  }
}

}  // namespace qorvane::jet
