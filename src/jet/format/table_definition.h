// The on-disk layout of a Jet 4 database, part two: the column types and the table definition
// (TDEF) with its column descriptors and index definitions. Offsets count from the start of the
// first TDEF page (header) or of each descriptor, chained field after field.
#pragma once

#include <cstddef>
#include <cstdint>

#include "jet/format/pages.h"

namespace qorvane::jet {

// Column types by their codes in a column descriptor: the one column type of the engine.
enum class ColumnType : std::uint8_t {
  Boolean = 0x01,
  Byte = 0x02,
  Integer = 0x03,
  Long = 0x04,
  Currency = 0x05,
  Single = 0x06,
  Double = 0x07,
  DateTime = 0x08,
  Binary = 0x09,
  Text = 0x0A,
  Ole = 0x0B,
  Memo = 0x0C,
  Guid = 0x0F,
  Numeric = 0x10,
};

}  // namespace qorvane::jet

namespace qorvane::jet::format {

// Table definition header: type byte, marker byte, then the fields below.
inline constexpr std::size_t kTdefFreeSpaceOffset = kPageTypeOffset + 2;
inline constexpr std::size_t kTdefNextPageOffset = kTdefFreeSpaceOffset + 2;  // continuation page, 0 = none
inline constexpr std::size_t kTdefLengthOffset = kTdefNextPageOffset + 4;
inline constexpr std::size_t kTdefMarkerOffset = kTdefLengthOffset + 4;
inline constexpr std::uint32_t kTdefMarker = 1625;  // also the marker of columns and logical indexes
inline constexpr std::size_t kTdefRowCountOffset = kTdefMarkerOffset + 4;
inline constexpr std::size_t kTdefAutoNumberOffset = kTdefRowCountOffset + 4;      // LAST value handed out
inline constexpr std::size_t kTdefAutoIncrementOffset = kTdefAutoNumberOffset + 4;  // int32, 1 on every table
// 12 bytes of complex-column counters Jet 4 leaves zero, then the table type.
inline constexpr std::size_t kTdefTableTypeOffset = kTdefAutoIncrementOffset + 4 + 12;
inline constexpr std::uint8_t kTableTypeUser = 0x4E;    // 'N'
inline constexpr std::uint8_t kTableTypeSystem = 0x53;  // 'S'
inline constexpr std::size_t kTdefMaxColumnsOffset = kTdefTableTypeOffset + 1;
inline constexpr std::size_t kTdefVariableColumnsOffset = kTdefMaxColumnsOffset + 2;
inline constexpr std::size_t kTdefColumnCountOffset = kTdefVariableColumnsOffset + 2;
inline constexpr std::size_t kTdefLogicalIndexCountOffset = kTdefColumnCountOffset + 2;
inline constexpr std::size_t kTdefRealIndexCountOffset = kTdefLogicalIndexCountOffset + 4;
inline constexpr std::size_t kTdefOwnedMapOffset = kTdefRealIndexCountOffset + 4;  // [row:1][page:3]
inline constexpr std::size_t kTdefFreeMapOffset = kTdefOwnedMapOffset + 4;
inline constexpr std::size_t kTdefBodyOffset = kTdefFreeMapOffset + 4;
static_assert(kTdefTableTypeOffset == 0x28 && kTdefBodyOffset == 0x3F);
inline constexpr std::size_t kTdefContinuationHeaderSize = 8;  // 02 01 free:2 next:4
inline constexpr std::size_t kTdefReserve = 8;  // bytes a new definition keeps free on its page
// The body: per real index its statistics, the column descriptors, the column names, the real
// and logical index definitions, the index names, then the long-value columns up to 0xFFFF.
inline constexpr std::size_t kRealIndexStatisticsSize = 12;
inline constexpr std::size_t kLongValueColumnEntrySize = 10;  // col id, owned map, free map
inline constexpr std::uint16_t kTdefTerminator = 0xFFFF;

// Column descriptor: [type:1][4 bytes][id:2][variable slot:2][column index:2][sort order:4]
// [flags:1][extended flags:1][4 bytes][fixed offset:2][length:2].
inline constexpr std::size_t kColumnTypeOffset = 0;
inline constexpr std::size_t kColumnIdOffset = kColumnTypeOffset + 1 + 4;
inline constexpr std::size_t kColumnVariableSlotOffset = kColumnIdOffset + 2;
inline constexpr std::size_t kColumnIndexOffset = kColumnVariableSlotOffset + 2;
inline constexpr std::size_t kColumnSortOrderOffset = kColumnIndexOffset + 2;
inline constexpr std::uint8_t kSortOrderBytes[4] = {0x09, 0x04, 0x00, 0x00};  // General: LCID 1033, sort 0, version 0
inline constexpr std::size_t kColumnFlagsOffset = kColumnSortOrderOffset + 4;
inline constexpr std::size_t kColumnExtendedFlagsOffset = kColumnFlagsOffset + 1;
inline constexpr std::size_t kColumnFixedOffsetOffset = kColumnExtendedFlagsOffset + 1 + 4;
inline constexpr std::size_t kColumnLengthOffset = kColumnFixedOffsetOffset + 2;
inline constexpr std::size_t kColumnDescriptorSize = kColumnLengthOffset + 2;
static_assert(kColumnFlagsOffset == 15 && kColumnDescriptorSize == 25);
inline constexpr std::uint8_t kColumnFlagFixed = 0x01;
inline constexpr std::uint8_t kColumnFlagUpdatable = 0x02;
inline constexpr std::uint8_t kColumnFlagAutoNumber = 0x04;
inline constexpr std::uint8_t kColumnFlagGuidAutoNumber = 0x40;
inline constexpr std::uint8_t kColumnExtendedFlagCompressed = 0x01;  // "Unicode Compression"

// Real index definition: [marker:4][10 x (column id:2, order:1)][usage map:4][root page:4]
// [4 bytes][flags:1][5 bytes].
inline constexpr std::uint32_t kRealIndexMarker = 1923;
inline constexpr std::size_t kRealIndexColumnsOffset = 4;
inline constexpr std::size_t kRealIndexMaxColumns = 10;
inline constexpr std::uint8_t kRealIndexAscending = 0x01;  // order byte; 0x00 descending
inline constexpr std::size_t kRealIndexUsageMapOffset = kRealIndexColumnsOffset + 3 * kRealIndexMaxColumns;
inline constexpr std::size_t kRealIndexRootPageOffset = kRealIndexUsageMapOffset + 4;
inline constexpr std::size_t kRealIndexFlagsOffset = kRealIndexRootPageOffset + 4 + 4;
inline constexpr std::size_t kRealIndexDefinitionSize = kRealIndexFlagsOffset + 1 + 5;
static_assert(kRealIndexFlagsOffset == 46 && kRealIndexDefinitionSize == 52);
inline constexpr std::uint8_t kIndexFlagUnique = 0x01;
inline constexpr std::uint8_t kIndexFlagIgnoreNulls = 0x02;
inline constexpr std::uint8_t kIndexFlagRequired = 0x08;
inline constexpr std::uint8_t kIndexFlagModern = 0x80;  // set by every Access 2000+ index

// Logical index definition: [marker:4][number:4][real index:4][relationship type:1]
// [related index:4][related table:4][update cascade:1][delete cascade:1][type:1][4 bytes].
inline constexpr std::size_t kLogicalIndexNumberOffset = 4;
inline constexpr std::size_t kLogicalIndexRealNumberOffset = kLogicalIndexNumberOffset + 4;
inline constexpr std::size_t kLogicalIndexTypeOffset = kLogicalIndexRealNumberOffset + 4 + 1 + 4 + 4 + 1 + 1;
inline constexpr std::size_t kLogicalIndexDefinitionSize = kLogicalIndexTypeOffset + 1 + 4;
static_assert(kLogicalIndexTypeOffset == 23 && kLogicalIndexDefinitionSize == 28);
inline constexpr std::uint8_t kLogicalIndexCascadeNone = 4;  // cascade bytes Access writes on non-FK indexes
inline constexpr std::uint8_t kLogicalIndexTypePrimary = 1;  // 0 normal, 1 primary, 2 foreign
inline constexpr std::uint8_t kLogicalIndexTypeForeign = 2;

}  // namespace qorvane::jet::format
