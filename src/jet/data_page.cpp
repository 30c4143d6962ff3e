// Data-page row slots: find, append, flag and resize rows.
#include "jet/data_page.h"

#include <cstring>
#include <vector>

#include "jet/format/pages.h"
#include "jet/format/table_definition.h"

namespace qorvane::jet {
namespace {

using namespace format;

std::uint16_t SlotWord(Bytes page, std::uint16_t slot) {
  return Get16(page, kDataSlotsOffset + 2u * slot);
}

std::size_t LowestRowStart(Bytes page) {
  std::uint16_t count = RowSlotCount(page);
  return count == 0 ? kPageSize : (SlotWord(page, count - 1) & kSlotOffsetMask);
}

void UpdateFreeSpace(MutableBytes page) {
  std::uint16_t count = RowSlotCount(page);
  std::size_t used_top = kDataSlotsOffset + 2u * count;
  std::size_t low = LowestRowStart(page);
  Put16(page, kDataFreeSpaceOffset, static_cast<std::uint16_t>(low > used_top ? low - used_top : 0));
}

}  // namespace

std::uint16_t RowSlotCount(Bytes page) {
  std::uint16_t count = Get16(page, kDataRowCountOffset);
  std::size_t max_slots = (kPageSize - kDataSlotsOffset) / 2;
  return count > max_slots ? static_cast<std::uint16_t>(max_slots) : count;
}

std::optional<RowExtent> FindRow(Bytes page, std::uint16_t slot) {
  if (page.size() < kPageSize || slot >= RowSlotCount(page)) return std::nullopt;
  std::uint16_t word = SlotWord(page, slot);
  std::uint16_t start = word & kSlotOffsetMask;
  std::uint16_t end = slot == 0 ? kPageSize : (SlotWord(page, slot - 1) & kSlotOffsetMask);
  std::size_t slots_end = kDataSlotsOffset + 2u * RowSlotCount(page);
  if (start < slots_end || start > end || end > kPageSize) return std::nullopt;
  return RowExtent{start, end, static_cast<std::uint16_t>(word & ~kSlotOffsetMask)};
}

void InitDataPage(MutableBytes page, std::uint32_t owner) {
  std::memset(page.data(), 0, page.size());
  Put8(page, 0, kPageTypeData);
  Put8(page, 1, kPageMarker);
  Put32(page, kDataOwnerOffset, owner);
  UpdateFreeSpace(page);
}

bool RowFits(Bytes page, std::size_t length) {
  std::uint16_t count = RowSlotCount(page);
  if (count >= kMaxRowsPerPage) return false;
  std::size_t needed_top = kDataSlotsOffset + 2u * (count + 1u);
  std::size_t low = LowestRowStart(page);
  return low >= needed_top && low - needed_top >= length;
}

std::uint16_t AppendRow(MutableBytes page, Bytes row, std::uint16_t flags) {
  std::uint16_t count = RowSlotCount(page);
  std::size_t start = LowestRowStart(page) - row.size();
  std::memcpy(page.data() + start, row.data(), row.size());
  Put16(page, kDataSlotsOffset + 2u * count, static_cast<std::uint16_t>(start | flags));
  Put16(page, kDataRowCountOffset, static_cast<std::uint16_t>(count + 1));
  UpdateFreeSpace(page);
  return count;
}

void SetSlotFlags(MutableBytes page, std::uint16_t slot, std::uint16_t flags) {
  std::size_t at = kDataSlotsOffset + 2u * slot;
  Put16(page, at, static_cast<std::uint16_t>(Get16(page, at) | flags));
}

bool ReplaceRow(MutableBytes page, std::uint16_t slot, Bytes row) {
  std::uint16_t count = RowSlotCount(page);
  if (slot >= count) return false;
  std::vector<std::vector<std::byte>> rows(count);
  std::vector<std::uint16_t> flags(count);
  std::size_t total = 0;
  for (std::uint16_t i = 0; i < count; ++i) {
    auto extent = FindRow(page, i);
    if (!extent) return false;
    flags[i] = extent->flags;
    if (i == slot) {
      rows[i].assign(row.begin(), row.end());
    } else {
      rows[i].assign(page.begin() + extent->start, page.begin() + extent->end);
    }
    total += rows[i].size();
  }
  if (kDataSlotsOffset + 2u * count + total > kPageSize) return false;
  std::size_t end = kPageSize;
  for (std::uint16_t i = 0; i < count; ++i) {
    end -= rows[i].size();
    std::memcpy(page.data() + end, rows[i].data(), rows[i].size());
    Put16(page, kDataSlotsOffset + 2u * i, static_cast<std::uint16_t>(end | flags[i]));
  }
  // Unused bytes between the slot table and the rows are left zero.
  std::size_t slots_end = kDataSlotsOffset + 2u * count;
  std::memset(page.data() + slots_end, 0, end - slots_end);
  UpdateFreeSpace(page);
  return true;
}

}  // namespace qorvane::jet
