// Little-endian reads and writes on byte buffers, bounds-checked where the data comes from a
// file: every parser of the engine reads through these so a short or damaged page cannot make
// it read outside its buffer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace qorvane::jet {

using Bytes = std::span<const std::byte>;
using MutableBytes = std::span<std::byte>;

inline std::uint8_t Get8(Bytes data, std::size_t offset) {
  return offset < data.size() ? static_cast<std::uint8_t>(data[offset]) : 0;
}
inline std::uint16_t Get16(Bytes data, std::size_t offset) {
  return static_cast<std::uint16_t>(Get8(data, offset) | (Get8(data, offset + 1) << 8));
}
inline std::uint32_t Get24(Bytes data, std::size_t offset) {
  return Get8(data, offset) | (Get8(data, offset + 1) << 8) |
         (static_cast<std::uint32_t>(Get8(data, offset + 2)) << 16);
}
inline std::uint32_t Get32(Bytes data, std::size_t offset) {
  return Get16(data, offset) | (static_cast<std::uint32_t>(Get16(data, offset + 2)) << 16);
}
inline std::uint64_t Get64(Bytes data, std::size_t offset) {
  return Get32(data, offset) | (static_cast<std::uint64_t>(Get32(data, offset + 4)) << 32);
}

inline void Put8(MutableBytes data, std::size_t offset, std::uint8_t value) {
  if (offset < data.size()) data[offset] = static_cast<std::byte>(value);
}
inline void Put16(MutableBytes data, std::size_t offset, std::uint16_t value) {
  Put8(data, offset, static_cast<std::uint8_t>(value));
  Put8(data, offset + 1, static_cast<std::uint8_t>(value >> 8));
}
inline void Put24(MutableBytes data, std::size_t offset, std::uint32_t value) {
  Put16(data, offset, static_cast<std::uint16_t>(value));
  Put8(data, offset + 2, static_cast<std::uint8_t>(value >> 16));
}
inline void Put32(MutableBytes data, std::size_t offset, std::uint32_t value) {
  Put16(data, offset, static_cast<std::uint16_t>(value));
  Put16(data, offset + 2, static_cast<std::uint16_t>(value >> 16));
}
inline void Put64(MutableBytes data, std::size_t offset, std::uint64_t value) {
  Put32(data, offset, static_cast<std::uint32_t>(value));
  Put32(data, offset + 4, static_cast<std::uint32_t>(value >> 32));
}

// A row pointer as stored in rows and usage-map references: [row:1][page:3].
struct RowPointer {
  std::uint32_t page = 0;
  std::uint8_t row = 0;
  static RowPointer Decode(std::uint32_t packed) {
    return {packed >> 8, static_cast<std::uint8_t>(packed & 0xFF)};
  }
  std::uint32_t Encode() const { return (page << 8) | row; }
  bool operator==(const RowPointer&) const = default;
};

}  // namespace qorvane::jet
