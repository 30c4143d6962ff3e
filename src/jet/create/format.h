// On-disk constants a new Jet 4 file needs beyond the index pages: the database header (page 0),
// the global usage map (page 1), table definitions, data pages and usage-map rows.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qorvane::jet::create::format {

constexpr size_t kPageSize = 4096;

// Page types (first byte; the second byte is always 0x01).
constexpr uint8_t kDataPageType = 0x01;
constexpr uint8_t kTableDefinitionPageType = 0x02;
constexpr uint8_t kPageTypeSecondByte = 0x01;

// Page 0, the database header.
constexpr uint8_t kHeaderMagic[4] = {0x00, 0x01, 0x00, 0x00};
constexpr size_t kHeaderFormatNameOffset = 0x04;  // "Standard Jet DB" + NUL
constexpr size_t kHeaderVersionOffset = 0x14;
constexpr uint8_t kVersionJet4 = 0x01;            // Access 2000-2003
constexpr size_t kHeaderMaskedOffset = 0x18;      // 128 bytes XOR-ed with a fixed RC4 keystream
constexpr size_t kHeaderMaskedSize = 128;
constexpr uint8_t kHeaderMaskKey[4] = {0xC7, 0xDA, 0x39, 0x6B};  // RC4 key of that keystream
constexpr size_t kHeaderConstant1Offset = 0x18;   // uint32 0x100
constexpr size_t kHeaderConstant2Offset = 0x1C;   // uint32 0x101
constexpr size_t kHeaderSystemTablesOffset = 0x20;  // 4 x uint32: TDEF pages of the system tables
constexpr size_t kHeaderCodePageOffset = 0x3C;    // uint16 ANSI code page
constexpr uint16_t kCodePage1252 = 1252;
constexpr size_t kHeaderDatabaseKeyOffset = 0x3E; // uint32; 0 = pages not encrypted
constexpr size_t kHeaderPasswordOffset = 0x42;    // 40 bytes; empty password = the date mask
constexpr size_t kHeaderPasswordSize = 40;
constexpr size_t kHeaderUnknownOffset = 0x6A;     // uint32, the same in nearly every Jet 4 file
constexpr uint32_t kHeaderUnknownValue = 0x11A6;
constexpr size_t kHeaderSortOrderOffset = 0x6E;   // uint16 LCID, then sort id and version bytes
constexpr uint16_t kSortOrderGeneral = 1033;
constexpr size_t kHeaderCreationDateOffset = 0x72;  // double, days since 1899-12-30
constexpr size_t kHeaderTrailerOffset = 0x98;     // uint32 0x654, then "4.0\0"
constexpr uint32_t kHeaderTrailerValue = 0x654;
constexpr size_t kHeaderCommitTableOffset = 0xE00;  // 256 two-byte slots: 01 01 first, 00 01 idle

// Table definition header.
constexpr size_t kTdefFreeSpaceOffset = 0x02;
constexpr size_t kTdefNextPageOffset = 0x04;
constexpr size_t kTdefLengthOffset = 0x08;
constexpr size_t kTdefMarkerOffset = 0x0C;
constexpr uint32_t kTdefMarker = 1625;           // also the marker of columns and logical indexes
constexpr size_t kTdefRowCountOffset = 0x10;
constexpr size_t kTdefAutoNumberOffset = 0x14;   // last value handed out
constexpr size_t kTdefIncrementOffset = 0x18;    // int32, 1
constexpr size_t kTdefTableTypeOffset = 0x28;
constexpr uint8_t kUserTable = 0x4E;             // 'N'
constexpr uint8_t kSystemTable = 0x53;           // 'S'
constexpr size_t kTdefMaxColumnsOffset = 0x29;
constexpr size_t kTdefVariableColumnsOffset = 0x2B;
constexpr size_t kTdefColumnCountOffset = 0x2D;
constexpr size_t kTdefLogicalIndexCountOffset = 0x2F;
constexpr size_t kTdefRealIndexCountOffset = 0x33;
constexpr size_t kTdefOwnedMapOffset = 0x37;
constexpr size_t kTdefFreeMapOffset = 0x3B;
constexpr size_t kTdefBodyOffset = 0x3F;
constexpr size_t kTdefReserve = 8;               // bytes kept free after the definition
constexpr size_t kIndexStatisticsSize = 12;
constexpr size_t kColumnDescriptorSize = 25;
constexpr size_t kRealIndexSize = 52;
constexpr uint32_t kRealIndexMarker = 1923;
constexpr size_t kRealIndexColumnSlots = 10;
constexpr size_t kLogicalIndexSize = 28;
constexpr uint8_t kLogicalIndexCascadeNone = 4;  // cascade bytes Access writes on non-FK indexes
constexpr uint16_t kDefinitionEnd = 0xFFFF;      // ends the long-value column list

// Column descriptor flags.
constexpr uint8_t kColumnFixed = 0x01;
constexpr uint8_t kColumnUpdatable = 0x02;
constexpr uint8_t kColumnAutoNumber = 0x04;
constexpr uint8_t kColumnCompressedUnicode = 0x01;  // extended flags byte
constexpr uint8_t kSortOrderBytes[4] = {0x09, 0x04, 0x00, 0x00};  // LCID 1033, sort 0, version 0

// Real index flags.
constexpr uint8_t kIndexUnique = 0x01;
constexpr uint8_t kIndexIgnoreNulls = 0x02;
constexpr uint8_t kIndexRequired = 0x08;
constexpr uint8_t kIndexModern = 0x80;  // set by every Access 2000+ index

// Data pages.
constexpr size_t kDataHeaderSize = 14;     // type, free space, owner, 4 zero bytes, row count
constexpr size_t kDataFreeSpaceOffset = 0x02;
constexpr size_t kDataOwnerOffset = 0x04;
constexpr size_t kDataRowCountOffset = 0x0C;
constexpr size_t kMaxRowSize = 4060;

// Inline usage maps: type byte, uint32 start page, 64-byte bitmap (pages start..start+511).
constexpr size_t kUsageMapRowSize = 69;
constexpr size_t kUsageMapBitmapOffset = 5;
constexpr uint32_t kUsageMapPages = 512;

}  // namespace qorvane::jet::create::format
