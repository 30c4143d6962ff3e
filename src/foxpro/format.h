// On-disk sizes, offsets and magic numbers of FoxPro 2.x tables (.dbf), memo files (.fpt) and
// compound indexes (.cdx), in one place. Offsets are written as chains so the layout reads top
// to bottom. DBF and CDX header integers are little-endian; FPT integers and the record number
// and child pointer of CDX interior entries are big-endian.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qorvane::foxpro::format {

// ---- .dbf table header (32 bytes) ------------------------------------------------------------
inline constexpr std::size_t kVersionOffset = 0;           // file type byte
inline constexpr std::size_t kUpdateYearOffset = 1;        // FoxPro writes year % 100
inline constexpr std::size_t kUpdateMonthOffset = 2;
inline constexpr std::size_t kUpdateDayOffset = 3;
inline constexpr std::size_t kRecordCountOffset = 4;       // u32, authoritative
inline constexpr std::size_t kHeaderLengthOffset = 8;      // u16, offset of the first record
inline constexpr std::size_t kRecordLengthOffset = 10;     // u16, includes the deletion flag
inline constexpr std::size_t kTableFlagsOffset = 28;       // 0x01 = structural .cdx exists
inline constexpr std::size_t kCodePageOffset = 29;         // code page mark, 0 = none
inline constexpr std::size_t kTableHeaderSize = 32;

// ---- field descriptor (32 bytes each, from offset 32) ----------------------------------------
inline constexpr std::size_t kDescriptorSize = 32;
inline constexpr std::size_t kFieldNameOffset = 0;         // 11 bytes, NUL-terminated
inline constexpr std::size_t kFieldNameSize = 11;
inline constexpr std::size_t kFieldTypeOffset = 11;        // type letter
inline constexpr std::size_t kFieldDisplacementOffset = 12;  // u32, not trusted on read
inline constexpr std::size_t kFieldLengthOffset = 16;
inline constexpr std::size_t kFieldDecimalsOffset = 17;    // also the high length byte of long C fields
inline constexpr std::size_t kFieldFlagsOffset = 18;       // Visual FoxPro only

inline constexpr std::uint8_t kHeaderTerminator = 0x0D;
inline constexpr std::uint8_t kDamagedHeaderTerminator = 0x0A;  // CR turned into LF by a text-mode copy
inline constexpr std::uint8_t kEndOfFile = 0x1A;
inline constexpr std::uint8_t kLiveFlag = 0x20;
inline constexpr std::uint8_t kDeletedFlag = 0x2A;         // '*'
inline constexpr std::uint8_t kStructuralIndexFlag = 0x01;

// Version bytes read as tables (see the research note's table).
inline constexpr std::uint8_t kVersionDbase3 = 0x03;       // also FoxPro 2.x without memo
inline constexpr std::uint8_t kVersionDbase3Memo = 0x83;
inline constexpr std::uint8_t kVersionFoxPro2Memo = 0xF5;
inline constexpr std::uint8_t kVersionFoxBase = 0x02;
inline constexpr std::uint8_t kVersionVisualFoxPro = 0x30;
inline constexpr std::uint8_t kVersionVisualFoxProAutoIncrement = 0x31;
inline constexpr std::uint8_t kVersionVisualFoxProVarchar = 0x32;
inline constexpr std::size_t kVisualFoxProBacklinkSize = 263;  // path of the owning database

inline constexpr std::size_t kMaxRecordLength = 65535;
inline constexpr std::size_t kMemoPointerLength = 10;      // FoxPro 2.x: ASCII block number
inline constexpr std::size_t kBinaryMemoPointerLength = 4; // Visual FoxPro: u32 LE block number

// ---- .fpt memo file ------------------------------------------------------------------------------
inline constexpr std::size_t kMemoNextFreeOffset = 0;      // u32 BE, next free block
inline constexpr std::size_t kMemoBlockSizeOffset = 6;     // u16 BE
inline constexpr std::size_t kMemoHeaderSize = 512;        // blocks inside it are never used
inline constexpr std::size_t kMemoBlockTypeOffset = 0;     // u32 BE: 0 picture, 1 text
inline constexpr std::size_t kMemoDataLengthOffset = 4;    // u32 BE
inline constexpr std::size_t kMemoBlockHeaderSize = 8;
inline constexpr std::uint32_t kMemoTypePicture = 0;
inline constexpr std::uint32_t kMemoTypeText = 1;
inline constexpr std::uint16_t kDefaultMemoBlockSize = 64; // FoxPro's SET BLOCKSIZE default

// ---- .cdx compound index ----------------------------------------------------------------------
inline constexpr std::size_t kPageSize = 512;
inline constexpr std::size_t kTagHeaderSize = 1024;        // 512 header + 512 expression pool
inline constexpr std::size_t kTagRootOffset = 0;           // u32
inline constexpr std::size_t kTagFreeListOffset = 4;       // u32, 0 = none
inline constexpr std::size_t kTagVersionOffset = 8;        // u32 change counter
inline constexpr std::size_t kTagKeyLengthOffset = 12;     // u16
inline constexpr std::size_t kTagOptionsOffset = 14;
inline constexpr std::size_t kTagSignatureOffset = 15;     // always 1
inline constexpr std::size_t kTagCollationOffset = 494;    // 8 bytes, zeros = MACHINE
inline constexpr std::size_t kTagCollationSize = 8;
inline constexpr std::size_t kTagDescendingOffset = 502;   // u16, 1 = descending
inline constexpr std::size_t kTagForOffsetOffset = 504;    // u16, offset in the pool
inline constexpr std::size_t kTagForLengthOffset = 506;    // u16, incl. NUL; 1 = no FOR clause
inline constexpr std::size_t kTagKeyOffsetOffset = 508;    // u16
inline constexpr std::size_t kTagKeyLengthInPoolOffset = 510;  // u16, incl. NUL
inline constexpr std::size_t kTagPoolOffset = 512;
inline constexpr std::size_t kTagPoolSize = 512;

inline constexpr std::uint8_t kTagOptionUnique = 0x01;
inline constexpr std::uint8_t kTagOptionNullableKeys = 0x02;  // Visual FoxPro null-marker prefix
inline constexpr std::uint8_t kTagOptionCandidate = 0x04;     // Visual FoxPro
inline constexpr std::uint8_t kTagOptionHasFor = 0x08;
inline constexpr std::uint8_t kTagOptionCompact = 0x20;
inline constexpr std::uint8_t kTagOptionCompound = 0x40;
inline constexpr std::uint8_t kFileHeaderOptions = 0xE0;      // compact + compound + structural
inline constexpr std::uint8_t kTagSignature = 1;
inline constexpr std::uint16_t kTagNameKeyLength = 10;        // tag directory keys

// Node header, every tree page.
inline constexpr std::size_t kNodeAttributesOffset = 0;    // u16
inline constexpr std::size_t kNodeKeyCountOffset = 2;      // u16
inline constexpr std::size_t kNodeLeftOffset = 4;          // u32, 0xFFFFFFFF = none
inline constexpr std::size_t kNodeRightOffset = 8;         // u32
inline constexpr std::size_t kNodeHeaderSize = 12;
inline constexpr std::uint16_t kNodeInterior = 0;
inline constexpr std::uint16_t kNodeRoot = 1;
inline constexpr std::uint16_t kNodeLeaf = 2;
inline constexpr std::uint32_t kNoSibling = 0xFFFFFFFF;

// Interior node: entries of key + recno (u32 BE) + child (u32 BE) from offset 12.
inline constexpr std::size_t kInteriorEntriesOffset = kNodeHeaderSize;
inline constexpr std::size_t kInteriorSpace = kPageSize - kInteriorEntriesOffset;  // 500

// Leaf node: compression parameters, then entries from the front and key bytes from the back.
inline constexpr std::size_t kLeafFreeOffset = 12;         // u16
inline constexpr std::size_t kLeafRecordMaskOffset = 14;   // u32
inline constexpr std::size_t kLeafDuplicateMaskOffset = 18;
inline constexpr std::size_t kLeafTrailMaskOffset = 19;
inline constexpr std::size_t kLeafRecordBitsOffset = 20;
inline constexpr std::size_t kLeafDuplicateBitsOffset = 21;
inline constexpr std::size_t kLeafTrailBitsOffset = 22;
inline constexpr std::size_t kLeafEntryBytesOffset = 23;
inline constexpr std::size_t kLeafEntriesOffset = 24;
inline constexpr std::size_t kLeafSpace = kPageSize - kLeafEntriesOffset;  // 488

inline constexpr std::size_t kMaxKeyLength = 240;

}  // namespace qorvane::foxpro::format
