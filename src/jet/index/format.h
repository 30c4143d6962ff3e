// On-disk layout of Jet 4 index pages and key bytes: every size, offset and marker the index
// module reads or writes, each with a note. Offsets count from the start of a 4096-byte page.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qorvane::jet::index::format {

constexpr size_t kPageSize = 4096;

// Page header. The type word is the type byte followed by 0x01, which Jet writes on every page.
constexpr uint8_t kNodePageType = 0x03;  // intermediate page: entries point at child pages
constexpr uint8_t kLeafPageType = 0x04;  // leaf page: entries point at rows
constexpr uint8_t kPageTypeSecondByte = 0x01;
constexpr size_t kTypeOffset = 0x00;
constexpr size_t kFreeSpaceOffset = 0x02;  // uint16: kEntryAreaSize - bytes of entry data
constexpr size_t kOwnerOffset = 0x04;      // uint32: TDEF page of the table the index belongs to
constexpr size_t kReservedOffset = 0x08;   // uint32: always zero in Jet 4
constexpr size_t kPreviousOffset = 0x0C;   // uint32: previous page at this level, 0 for the first
constexpr size_t kNextOffset = 0x10;       // uint32: next page at this level, 0 for the last
constexpr size_t kTailOffset = 0x14;       // uint32: node pages: rightmost child, not an entry
constexpr size_t kPrefixLengthOffset = 0x18;  // uint16: bytes shared with the first entry
constexpr size_t kLevelOffset = 0x1A;         // uint8: 0 on leaves, 1 above them, and so on
constexpr size_t kBitmapOffset = 0x1B;        // one bit per byte of entry data: set = entry ends
constexpr size_t kEntryAreaOffset = 0x1E0;    // entries are stored back to back from here
constexpr size_t kBitmapSize = kEntryAreaOffset - kBitmapOffset;  // 453 bytes
// Entry data per page: bounded by the page end and by the bits of the bitmap (3624 > 3616).
constexpr size_t kEntryAreaSize = kPageSize - kEntryAreaOffset;  // 3616 bytes
// Bit N of the bitmap marks an entry ending N bytes into the area, so a full page sets bit 3616.
static_assert(kEntryAreaSize < kBitmapSize * 8, "the end bit of a full page must exist");

// Every entry ends with the row pointer, big-endian: 3-byte data page, then 1-byte row number.
constexpr size_t kRowPointerSize = 4;
// Node entries add the child page, big-endian uint32, after the row pointer.
constexpr size_t kChildPointerSize = 4;

// Jet keeps a whole entry under 510 bytes; longer keys would need Access's truncation with a
// checksum, which we do not reproduce, so such keys are refused.
constexpr size_t kMaxEntrySize = 510;
constexpr size_t kMaxKeySize = kMaxEntrySize - kRowPointerSize;
// Trees are rebuilt with the keys other writers stored for rows whose values we did not change,
// even when those are longer (another library's uncapped keys); any key up to a third of a
// page still leaves room for the entries around it.
constexpr size_t kMaxStoredKeySize = (kPageSize - kEntryAreaOffset) / 3;

// Key column flag bytes. A present value starts with 0x7F (ascending) or 0x80 (descending);
// a NULL is the single byte 0x00 (ascending) or 0xFF (descending), with no value bytes.
constexpr uint8_t kAscendingValueFlag = 0x7F;
constexpr uint8_t kAscendingNullFlag = 0x00;
constexpr uint8_t kDescendingValueFlag = 0x80;
constexpr uint8_t kDescendingNullFlag = 0xFF;

// Text keys: the primary weights end with 0x01; the accent section holds one slot per primary
// weight, 0x02 being "no accent"; ignorable characters follow three more 0x01 bytes as 4-byte
// records; the key ends with 0x00.
constexpr uint8_t kTextSectionEnd = 0x01;
constexpr uint8_t kTextNoAccent = 0x02;
constexpr uint8_t kTextKeyEnd = 0x00;
constexpr uint16_t kIgnorablePositionFlag = 0x8000;  // high bit of the 16-bit position field
constexpr uint16_t kIgnorablePositionBase = 7;       // position field = base + step * weights
constexpr uint16_t kIgnorablePositionStep = 4;
constexpr uint8_t kIgnorableMarker = 0x06;           // third byte of each ignorable record
constexpr size_t kMaxTextKeyCharacters = 255;        // only the first 255 characters count
// Kana (Japanese syllables) add a section after the accents: their flags, 2 or 3 each, three to
// a byte under 0x80, then a fixed suffix, then 0xFF when ignorable records follow.
constexpr uint8_t kKanaPlainFlag = 0x03;
constexpr uint8_t kKanaFlagByte = 0x80;
constexpr uint8_t kKanaSuffix[] = {0xFF, 0x02, 0x80, 0xFF, 0x80};
constexpr uint8_t kKanaIgnorableSeparator = 0xFF;

// Binary and GUID keys: 8-byte chunks, each followed by 0x09 when more chunks follow, or by the
// number of real bytes in the last chunk.
constexpr size_t kBinaryChunkSize = 8;
constexpr uint8_t kBinaryMoreChunks = 0x09;

}  // namespace qorvane::jet::index::format
