// The on-disk layout of a Jet 4 database (Access 2000/2002/2003 .mdb), part one: pages, the
// database header (page 0), data pages, long values, usage maps and compressed text. The reader,
// the writer, the index module and the creator all take these numbers from here; table
// definitions are in table_definition.h and index pages in index_pages.h. Offsets are written
// as chains, each field after the one before it, so the layout reads top to bottom.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace qorvane::jet::format {

// Pages. Every page starts with a type byte and a second byte that Jet always writes as 0x01.
inline constexpr std::size_t kPageSize = 4096;
inline constexpr std::size_t kPageTypeOffset = 0x00;
inline constexpr std::uint8_t kPageTypeHeader = 0x00;
inline constexpr std::uint8_t kPageTypeData = 0x01;
inline constexpr std::uint8_t kPageTypeTableDefinition = 0x02;
inline constexpr std::uint8_t kPageTypeIndexNode = 0x03;  // entries point at child pages
inline constexpr std::uint8_t kPageTypeIndexLeaf = 0x04;  // entries point at rows
inline constexpr std::uint8_t kPageTypeUsageBitmap = 0x05;
inline constexpr std::uint8_t kPageMarker = 0x01;  // byte 1 of every page Jet writes
// Access opens no database larger than 2 GiB (2^31 bytes): at most 524,288 pages.
inline constexpr std::uint64_t kMaxFileSize = std::uint64_t{1} << 31;
inline constexpr std::uint32_t kMaxPageCount = static_cast<std::uint32_t>(kMaxFileSize / kPageSize);
inline constexpr std::uint32_t kGlobalUsageMapPage = 1;  // row 0: free-page map (set bit = free)
inline constexpr std::uint32_t kSystemObjectsTableDefinitionPage = 2;  // MSysObjects

// Page 0, the database header.
inline constexpr std::size_t kHeaderMagicOffset = 0x00;
inline constexpr std::uint8_t kHeaderMagic[4] = {0x00, 0x01, 0x00, 0x00};
inline constexpr std::size_t kHeaderFormatIdOffset = kHeaderMagicOffset + 4;  // "Standard Jet DB"
inline constexpr std::size_t kHeaderFormatIdLength = 15;                      // (or "Standard ACE DB")
inline constexpr std::size_t kHeaderVersionOffset = kHeaderFormatIdOffset + kHeaderFormatIdLength + 1;  // after a NUL
inline constexpr std::uint8_t kVersionJet3 = 0x00;
inline constexpr std::uint8_t kVersionJet4 = 0x01;  // 2 and above: ACE (.accdb)
// The next 128 bytes are XORed with a fixed RC4 keystream, key C7 DA 39 6B.
inline constexpr std::size_t kHeaderMaskedOffset = kHeaderVersionOffset + 4;
inline constexpr std::size_t kHeaderMaskedLength = 128;
inline constexpr std::uint8_t kHeaderMaskKey[4] = {0xC7, 0xDA, 0x39, 0x6B};
// The mask itself, computed at compile time: the first 128 bytes of RC4's keystream for that key.
constexpr std::array<std::uint8_t, kHeaderMaskedLength> MakeHeaderMask() {
  std::array<std::uint8_t, 256> state{};
  for (int i = 0; i < 256; ++i) state[i] = static_cast<std::uint8_t>(i);
  for (int i = 0, j = 0; i < 256; ++i) {
    j = (j + state[i] + kHeaderMaskKey[i % 4]) & 0xFF;
    std::swap(state[i], state[j]);
  }
  std::array<std::uint8_t, kHeaderMaskedLength> mask{};
  for (std::size_t n = 0, i = 0, j = 0; n < mask.size(); ++n) {
    i = (i + 1) & 0xFF;
    j = (j + state[i]) & 0xFF;
    std::swap(state[i], state[j]);
    mask[n] = state[(state[i] + state[j]) & 0xFF];
  }
  return mask;
}
inline constexpr std::array<std::uint8_t, kHeaderMaskedLength> kHeaderMask = MakeHeaderMask();
inline constexpr std::size_t kHeaderConstant1Offset = kHeaderMaskedOffset;         // uint32 0x100
inline constexpr std::size_t kHeaderConstant2Offset = kHeaderConstant1Offset + 4;  // uint32 0x101
inline constexpr std::size_t kHeaderSystemTablesOffset = kHeaderConstant2Offset + 4;  // 4 x uint32 TDEF pages
// 12 bytes follow the system tables that Jet leaves unexplained, then the ANSI code page.
inline constexpr std::size_t kHeaderCodePageOffset = kHeaderSystemTablesOffset + 4 * 4 + 12;
inline constexpr std::uint16_t kCodePage1252 = 1252;
inline constexpr std::size_t kHeaderDatabaseKeyOffset = kHeaderCodePageOffset + 2;  // non-zero: pages RC4-encrypted
inline constexpr std::size_t kHeaderPasswordOffset = kHeaderDatabaseKeyOffset + 4;  // UCS-2, XOR date mask
inline constexpr std::size_t kHeaderPasswordLength = 40;
inline constexpr std::size_t kHeaderUnknownOffset = kHeaderPasswordOffset + kHeaderPasswordLength;
inline constexpr std::uint32_t kHeaderUnknownValue = 0x11A6;  // the same in nearly every Jet 4 file
inline constexpr std::size_t kHeaderSortOrderOffset = kHeaderUnknownOffset + 4;  // uint16 LCID, sort id, version
inline constexpr std::uint16_t kSortOrderGeneral = 1033;
inline constexpr std::size_t kHeaderCreationDateOffset = kHeaderSortOrderOffset + 4;  // double, OLE date
inline constexpr std::size_t kHeaderTrailerOffset = kHeaderMaskedOffset + kHeaderMaskedLength;  // uint32, then "4.0\0"
inline constexpr std::uint32_t kHeaderTrailerValue = 0x654;
inline constexpr std::size_t kHeaderCommitTableOffset = 0xE00;  // 256 two-byte slots: 01 01 first, 00 01 idle
static_assert(kHeaderVersionOffset == 0x14 && kHeaderMaskedOffset == 0x18 && kHeaderCodePageOffset == 0x3C &&
              kHeaderPasswordOffset == 0x42 && kHeaderCreationDateOffset == 0x72 && kHeaderTrailerOffset == 0x98);

// Data pages (also long-value and usage-map holder pages).
inline constexpr std::size_t kDataFreeSpaceOffset = kPageTypeOffset + 2;
inline constexpr std::size_t kDataOwnerOffset = kDataFreeSpaceOffset + 2;     // TDEF page, or "LVAL"
inline constexpr std::size_t kDataChainStampOffset = kDataOwnerOffset + 4;   // first page of a long-value chain
inline constexpr std::size_t kDataRowCountOffset = kDataChainStampOffset + 4;
inline constexpr std::size_t kDataSlotsOffset = kDataRowCountOffset + 2;     // 2 bytes per row slot
inline constexpr std::size_t kDataHeaderSize = kDataSlotsOffset;
inline constexpr std::uint16_t kSlotOffsetMask = 0x1FFF;
inline constexpr std::uint16_t kSlotDeleted = 0x8000;   // hidden from scans
inline constexpr std::uint16_t kSlotOverflow = 0x4000;  // row holds a pointer to its new place
inline constexpr std::size_t kMaxRowsPerPage = 255;
inline constexpr std::size_t kMaxRowSize = 4060;  // Access cannot read rows of 4061..4080 bytes
inline constexpr std::uint32_t kLongValueOwner = 0x4C41564C;  // ASCII "LVAL"
static_assert(kDataHeaderSize == 14);

// Long values (MEMO/OLE): 12-byte descriptor in the row.
inline constexpr std::size_t kLongValueDescriptorSize = 12;
inline constexpr std::uint32_t kLongValueLengthMask = 0x3FFFFFFF;
inline constexpr std::uint8_t kLongValueInline = 0x80;      // form bits in byte 3
inline constexpr std::uint8_t kLongValueSinglePage = 0x40;
inline constexpr std::uint8_t kLongValueChained = 0x00;
inline constexpr std::size_t kLongValueInlineLimit = 64;      // bytes, as Access chooses
inline constexpr std::size_t kLongValueSinglePageLimit = 3816;
inline constexpr std::size_t kLongValueChainPieceData = 4072;  // + 4-byte next pointer

// Usage maps: inline (type 0) or reference (type 1) rows: [type:1][start page:4][bitmap] or
// [type:1][17 x bitmap page:4].
inline constexpr std::uint8_t kUsageMapInline = 0x00;
inline constexpr std::uint8_t kUsageMapReference = 0x01;
inline constexpr std::size_t kUsageMapInlineHeaderSize = 1 + 4;
inline constexpr std::size_t kUsageMapInlineBitmapOffset = kUsageMapInlineHeaderSize;
inline constexpr std::size_t kUsageMapInlineBitmapSize = 64;  // as Access writes new maps
inline constexpr std::size_t kUsageMapInlineRowSize = kUsageMapInlineBitmapOffset + kUsageMapInlineBitmapSize;
inline constexpr std::uint32_t kUsageMapInlinePages = kUsageMapInlineBitmapSize * 8;  // 512
inline constexpr std::size_t kUsageMapReferencePages = 17;
inline constexpr std::size_t kUsageMapReferenceSize = 1 + 4 * kUsageMapReferencePages;  // 69
inline constexpr std::size_t kUsageBitmapPageHeaderSize = 4;  // 05 01 00 00
inline constexpr std::size_t kPagesPerBitmapPage = (kPageSize - kUsageBitmapPageHeaderSize) * 8;

// Text: a value starting FF FE is "Unicode compressed".
inline constexpr std::uint8_t kCompressedTextMarker0 = 0xFF;
inline constexpr std::uint8_t kCompressedTextMarker1 = 0xFE;
inline constexpr std::size_t kMaxCompressedTextCharacters = 1024;

}  // namespace qorvane::jet::format
