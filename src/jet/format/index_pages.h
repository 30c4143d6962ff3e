// The on-disk layout of a Jet 4 database, part three: index pages (node and leaf) and the bytes
// of index keys. Offsets count from the start of a page, chained field after field.
#pragma once

#include <cstddef>
#include <cstdint>

#include "jet/format/pages.h"

namespace qorvane::jet::format {

// Index page header, after the type byte and the marker byte (kPageTypeIndexNode/Leaf).
inline constexpr std::size_t kIndexFreeSpaceOffset = kPageTypeOffset + 2;  // uint16: kIndexEntryAreaSize - entry bytes
inline constexpr std::size_t kIndexOwnerOffset = kIndexFreeSpaceOffset + 2;  // uint32: TDEF page of the table
inline constexpr std::size_t kIndexReservedOffset = kIndexOwnerOffset + 4;   // uint32: always zero in Jet 4
inline constexpr std::size_t kIndexPreviousOffset = kIndexReservedOffset + 4;  // previous page at this level, 0 = first
inline constexpr std::size_t kIndexNextOffset = kIndexPreviousOffset + 4;      // next page at this level, 0 = last
inline constexpr std::size_t kIndexTailOffset = kIndexNextOffset + 4;  // node pages: rightmost child, not an entry
inline constexpr std::size_t kIndexPrefixLengthOffset = kIndexTailOffset + 4;  // uint16: bytes shared with the first entry
inline constexpr std::size_t kIndexLevelOffset = kIndexPrefixLengthOffset + 2;  // uint8: 0 on leaves, 1 above them, ...
inline constexpr std::size_t kIndexBitmapOffset = kIndexLevelOffset + 1;  // one bit per entry byte: set = entry ends
inline constexpr std::size_t kIndexEntryAreaOffset = 0x1E0;  // entries are stored back to back from here
inline constexpr std::size_t kIndexBitmapSize = kIndexEntryAreaOffset - kIndexBitmapOffset;  // 453 bytes
inline constexpr std::size_t kIndexEntryAreaSize = kPageSize - kIndexEntryAreaOffset;    // 3616 bytes
static_assert(kIndexBitmapOffset == 0x1B);
// Bit N of the bitmap marks an entry ending N bytes into the area, so a full page sets bit 3616.
static_assert(kIndexEntryAreaSize < kIndexBitmapSize * 8, "the end bit of a full page must exist");

// Every entry ends with the row pointer, big-endian: 3-byte data page, then 1-byte row number.
inline constexpr std::size_t kRowPointerSize = 4;
// Node entries add the child page, big-endian uint32, after the row pointer.
inline constexpr std::size_t kChildPointerSize = 4;

// Jet keeps a whole entry under 510 bytes; longer keys would need Access's truncation with a
// checksum, which we do not reproduce, so such keys are refused.
inline constexpr std::size_t kMaxEntrySize = 510;
inline constexpr std::size_t kMaxKeySize = kMaxEntrySize - kRowPointerSize;
// Trees are rebuilt with the keys other writers stored for rows whose values we did not change,
// even when those are longer (another library's uncapped keys); any key up to a third of a
// page still leaves room for the entries around it.
inline constexpr std::size_t kMaxStoredKeySize = kIndexEntryAreaSize / 3;

// Key column flag bytes. A present value starts with 0x7F (ascending) or 0x80 (descending);
// a NULL is the single byte 0x00 (ascending) or 0xFF (descending), with no value bytes.
inline constexpr std::uint8_t kAscendingValueFlag = 0x7F;
inline constexpr std::uint8_t kAscendingNullFlag = 0x00;
inline constexpr std::uint8_t kDescendingValueFlag = 0x80;
inline constexpr std::uint8_t kDescendingNullFlag = 0xFF;

// Text keys: the primary weights end with 0x01; the accent section holds one slot per primary
// weight, 0x02 being "no accent"; ignorable characters follow three more 0x01 bytes as 4-byte
// records; the key ends with 0x00.
inline constexpr std::uint8_t kTextSectionEnd = 0x01;
inline constexpr std::uint8_t kTextNoAccent = 0x02;
inline constexpr std::uint8_t kTextKeyEnd = 0x00;
inline constexpr std::uint16_t kIgnorablePositionFlag = 0x8000;  // high bit of the 16-bit position field
inline constexpr std::uint16_t kIgnorablePositionBase = 7;       // position field = base + step * weights
inline constexpr std::uint16_t kIgnorablePositionStep = 4;
inline constexpr std::uint8_t kIgnorableMarker = 0x06;           // third byte of each ignorable record
inline constexpr std::size_t kMaxTextKeyCharacters = 255;        // only the first 255 characters count
// Kana (Japanese syllables) add a section after the accents: their flags, 2 or 3 each, three to
// a byte under 0x80, then a fixed suffix, then 0xFF when ignorable records follow.
inline constexpr std::uint8_t kKanaPlainFlag = 0x03;
inline constexpr std::uint8_t kKanaFlagByte = 0x80;
inline constexpr std::uint8_t kKanaSuffix[] = {0xFF, 0x02, 0x80, 0xFF, 0x80};
inline constexpr std::uint8_t kKanaIgnorableSeparator = 0xFF;

// Binary and GUID keys: 8-byte chunks, each followed by 0x09 when more chunks follow, or by the
// number of real bytes in the last chunk.
inline constexpr std::size_t kBinaryChunkSize = 8;
inline constexpr std::uint8_t kBinaryMoreChunks = 0x09;

}  // namespace qorvane::jet::format
