// The on-disk layout of a Jet 4 database (Access 2000/2002/2003 .mdb), as named constants: page
// size, header fields, table-definition and row layouts, long values and usage maps. Every
// other file of the engine takes its offsets and magic numbers from here.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qorvane::jet::format {

// Pages. Every page starts with a type byte and a second byte that Jet always writes as 0x01.
inline constexpr std::size_t kPageSize = 4096;
inline constexpr std::uint8_t kPageTypeHeader = 0x00;
inline constexpr std::uint8_t kPageTypeData = 0x01;
inline constexpr std::uint8_t kPageTypeTableDefinition = 0x02;
inline constexpr std::uint8_t kPageTypeIndexNode = 0x03;
inline constexpr std::uint8_t kPageTypeIndexLeaf = 0x04;
inline constexpr std::uint8_t kPageTypeUsageBitmap = 0x05;
inline constexpr std::uint8_t kPageMarker = 0x01;  // byte 1 of every page Jet writes
// Access opens no database larger than 2 GiB (2^31 bytes): at most 524,288 pages.
inline constexpr std::uint64_t kMaxFileSize = std::uint64_t{1} << 31;
inline constexpr std::uint32_t kMaxPageCount = static_cast<std::uint32_t>(kMaxFileSize / kPageSize);

// Page 0, the database header.
inline constexpr std::size_t kHeaderMagicOffset = 0x00;      // 00 01 00 00
inline constexpr std::size_t kHeaderFormatIdOffset = 0x04;   // "Standard Jet DB" or "Standard ACE DB"
inline constexpr std::size_t kHeaderFormatIdLength = 15;
inline constexpr std::size_t kHeaderVersionOffset = 0x14;    // 0 Jet 3, 1 Jet 4, 2+ ACE (.accdb)
inline constexpr std::uint8_t kVersionJet3 = 0x00;
inline constexpr std::uint8_t kVersionJet4 = 0x01;
// Bytes 0x18..0x97 are XORed with a fixed RC4 keystream (key C7 DA 39 6B); see header.cpp.
inline constexpr std::size_t kHeaderMaskedOffset = 0x18;
inline constexpr std::size_t kHeaderMaskedLength = 128;
inline constexpr std::size_t kHeaderDatabaseKeyOffset = 0x3E;   // non-zero: pages RC4-encrypted
inline constexpr std::size_t kHeaderPasswordOffset = 0x42;      // 40 bytes, UCS-2 XOR date mask
inline constexpr std::size_t kHeaderPasswordLength = 40;
inline constexpr std::size_t kHeaderSortOrderOffset = 0x6E;     // LCID 1033 = General
inline constexpr std::size_t kHeaderCreationDateOffset = 0x72;  // double, OLE date
inline constexpr std::uint32_t kSystemObjectsTableDefinitionPage = 2;  // MSysObjects
inline constexpr std::uint32_t kGlobalUsageMapPage = 1;  // row 0: free-page map (set bit = free)

// Data pages (also long-value and usage-map holder pages).
inline constexpr std::size_t kDataFreeSpaceOffset = 0x02;
inline constexpr std::size_t kDataOwnerOffset = 0x04;       // TDEF page, or "LVAL"
inline constexpr std::size_t kDataChainStampOffset = 0x08;  // first page of a long-value chain
inline constexpr std::size_t kDataRowCountOffset = 0x0C;
inline constexpr std::size_t kDataSlotsOffset = 0x0E;       // 2 bytes per row slot
inline constexpr std::size_t kDataHeaderSize = kDataSlotsOffset;
inline constexpr std::uint16_t kSlotOffsetMask = 0x1FFF;
inline constexpr std::uint16_t kSlotDeleted = 0x8000;   // hidden from scans
inline constexpr std::uint16_t kSlotOverflow = 0x4000;  // row holds a pointer to its new place
inline constexpr std::size_t kMaxRowsPerPage = 255;
inline constexpr std::size_t kMaxRowSize = 4060;  // Access cannot read rows of 4061..4080 bytes
inline constexpr std::uint32_t kLongValueOwner = 0x4C41564C;  // ASCII "LVAL"

// Table definition (TDEF) header, offsets from the start of the first TDEF page.
inline constexpr std::size_t kTdefNextPageOffset = 0x04;
inline constexpr std::size_t kTdefLengthOffset = 0x08;
inline constexpr std::size_t kTdefRowCountOffset = 0x10;
inline constexpr std::size_t kTdefAutoNumberOffset = 0x14;     // LAST value handed out
inline constexpr std::size_t kTdefAutoIncrementOffset = 0x18;  // int32, 1 on every table
inline constexpr std::size_t kTdefTableTypeOffset = 0x28;      // 'N' user, 'S' system
inline constexpr std::size_t kTdefMaxColumnsOffset = 0x29;
inline constexpr std::size_t kTdefVariableColumnsOffset = 0x2B;
inline constexpr std::size_t kTdefColumnCountOffset = 0x2D;
inline constexpr std::size_t kTdefLogicalIndexCountOffset = 0x2F;
inline constexpr std::size_t kTdefRealIndexCountOffset = 0x33;
inline constexpr std::size_t kTdefOwnedMapOffset = 0x37;  // [row:1][page:3]
inline constexpr std::size_t kTdefFreeMapOffset = 0x3B;
inline constexpr std::size_t kTdefBodyOffset = 0x3F;
inline constexpr std::size_t kTdefContinuationHeaderSize = 8;  // 02 01 free:2 next:4
inline constexpr std::size_t kRealIndexStatisticsSize = 12;
inline constexpr std::size_t kColumnDescriptorSize = 25;
inline constexpr std::size_t kRealIndexDefinitionSize = 52;
inline constexpr std::size_t kLogicalIndexDefinitionSize = 28;
inline constexpr std::size_t kLongValueColumnEntrySize = 10;  // col id, owned map, free map
inline constexpr std::uint16_t kTdefTerminator = 0xFFFF;

// Column descriptor (25 bytes).
inline constexpr std::size_t kColumnTypeOffset = 0;
inline constexpr std::size_t kColumnIdOffset = 5;
inline constexpr std::size_t kColumnVariableSlotOffset = 7;
inline constexpr std::size_t kColumnSortOrderOffset = 11;  // 09 04 00 00 = General, LCID 1033
inline constexpr std::size_t kColumnFlagsOffset = 15;
inline constexpr std::size_t kColumnExtendedFlagsOffset = 16;
inline constexpr std::size_t kColumnFixedOffsetOffset = 21;
inline constexpr std::size_t kColumnLengthOffset = 23;
inline constexpr std::uint8_t kColumnFlagFixed = 0x01;
inline constexpr std::uint8_t kColumnFlagAutoNumber = 0x04;
inline constexpr std::uint8_t kColumnFlagGuidAutoNumber = 0x40;
inline constexpr std::uint8_t kColumnExtendedFlagCompressed = 0x01;  // "Unicode Compression"

// Real index definition (52 bytes) and logical index definition (28 bytes).
inline constexpr std::size_t kRealIndexColumnsOffset = 4;  // 10 x [col id:2][order:1]
inline constexpr std::size_t kRealIndexMaxColumns = 10;
inline constexpr std::size_t kRealIndexUsageMapOffset = 34;
inline constexpr std::size_t kRealIndexRootPageOffset = 38;
inline constexpr std::size_t kRealIndexFlagsOffset = 46;
inline constexpr std::uint8_t kIndexFlagUnique = 0x01;
inline constexpr std::uint8_t kIndexFlagIgnoreNulls = 0x02;
inline constexpr std::uint8_t kIndexFlagRequired = 0x08;
inline constexpr std::size_t kLogicalIndexNumberOffset = 4;
inline constexpr std::size_t kLogicalIndexRealNumberOffset = 8;
inline constexpr std::size_t kLogicalIndexTypeOffset = 23;  // 0 normal, 1 primary, 2 foreign
inline constexpr std::uint8_t kLogicalIndexTypePrimary = 1;
inline constexpr std::uint8_t kLogicalIndexTypeForeign = 2;

// Long values (MEMO/OLE): 12-byte descriptor in the row.
inline constexpr std::size_t kLongValueDescriptorSize = 12;
inline constexpr std::uint32_t kLongValueLengthMask = 0x3FFFFFFF;
inline constexpr std::uint8_t kLongValueInline = 0x80;      // form bits in byte 3
inline constexpr std::uint8_t kLongValueSinglePage = 0x40;
inline constexpr std::uint8_t kLongValueChained = 0x00;
inline constexpr std::size_t kLongValueInlineLimit = 64;      // bytes, as Access chooses
inline constexpr std::size_t kLongValueSinglePageLimit = 3816;
inline constexpr std::size_t kLongValueChainPieceData = 4072;  // + 4-byte next pointer

// Usage maps: inline (type 0) or reference (type 1) rows.
inline constexpr std::uint8_t kUsageMapInline = 0x00;
inline constexpr std::uint8_t kUsageMapReference = 0x01;
inline constexpr std::size_t kUsageMapInlineHeaderSize = 5;  // type, start page
inline constexpr std::size_t kUsageMapReferenceSize = 69;     // type + 17 page numbers
inline constexpr std::size_t kUsageMapReferencePages = 17;
inline constexpr std::size_t kUsageBitmapPageHeaderSize = 4;  // 05 01 00 00
inline constexpr std::size_t kPagesPerBitmapPage = (kPageSize - kUsageBitmapPageHeaderSize) * 8;

// Text: a value starting FF FE is "Unicode compressed".
inline constexpr std::uint8_t kCompressedTextMarker0 = 0xFF;
inline constexpr std::uint8_t kCompressedTextMarker1 = 0xFE;
inline constexpr std::size_t kMaxCompressedTextCharacters = 1024;

// Dates: days since 1899-12-30.
inline constexpr double kDaysFrom1899To1970 = 25569.0;

}  // namespace qorvane::jet::format
