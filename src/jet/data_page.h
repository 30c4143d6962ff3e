// Rows on a data page: the 14-byte header, the slot table growing down from offset 14 and the
// rows packed from the page end. Used for table rows, long values and usage-map rows alike.
// Internal header.
#pragma once

#include <cstdint>
#include <optional>

#include "jet/bytes.h"

namespace qorvane::jet {

// Where row SLOT lies on the page: [start, end). Nullopt when the slot table or the offsets
// are damaged (the caller reports it with its own context).
struct RowExtent {
  std::uint16_t start = 0;
  std::uint16_t end = 0;
  std::uint16_t flags = 0;  // kSlotDeleted / kSlotOverflow bits of the slot word
};
std::uint16_t RowSlotCount(Bytes page);
std::optional<RowExtent> FindRow(Bytes page, std::uint16_t slot);

// Formats an empty data page owned by OWNER (a TDEF page number, or kLongValueOwner).
void InitDataPage(MutableBytes page, std::uint32_t owner);
// Bytes a row of LENGTH needs on the page (its slot included), and whether it fits.
bool RowFits(Bytes page, std::size_t length);
// Appends a row with the given slot flags; returns its slot. The caller checked RowFits.
std::uint16_t AppendRow(MutableBytes page, Bytes row, std::uint16_t flags);
// Sets the flag bits of a slot (deleting, marking overflow).
void SetSlotFlags(MutableBytes page, std::uint16_t slot, std::uint16_t flags);
// Gives row SLOT a new length (content copied from ROW), moving the other rows of the page;
// false when the page has no room.
bool ReplaceRow(MutableBytes page, std::uint16_t slot, Bytes row);

}  // namespace qorvane::jet
