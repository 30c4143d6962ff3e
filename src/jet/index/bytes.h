// Little- and big-endian integer access for the index module's page code (internal).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace qorvane::jet::index::bytes {

inline uint16_t ReadLittle16(std::span<const uint8_t> data, size_t offset) {
  return static_cast<uint16_t>(data[offset] | data[offset + 1] << 8);
}
inline uint32_t ReadLittle32(std::span<const uint8_t> data, size_t offset) {
  return static_cast<uint32_t>(data[offset]) | static_cast<uint32_t>(data[offset + 1]) << 8 |
         static_cast<uint32_t>(data[offset + 2]) << 16 | static_cast<uint32_t>(data[offset + 3]) << 24;
}
inline uint32_t ReadBig32(std::span<const uint8_t> data, size_t offset) {
  return static_cast<uint32_t>(data[offset]) << 24 | static_cast<uint32_t>(data[offset + 1]) << 16 |
         static_cast<uint32_t>(data[offset + 2]) << 8 | static_cast<uint32_t>(data[offset + 3]);
}
inline void WriteLittle16(std::span<uint8_t> data, size_t offset, uint16_t value) {
  data[offset] = static_cast<uint8_t>(value);
  data[offset + 1] = static_cast<uint8_t>(value >> 8);
}
inline void WriteLittle32(std::span<uint8_t> data, size_t offset, uint32_t value) {
  for (int i = 0; i < 4; ++i) data[offset + i] = static_cast<uint8_t>(value >> (8 * i));
}
template <typename Container>
void AppendBig32(Container& out, uint32_t value) {
  for (int i = 3; i >= 0; --i) out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

}  // namespace qorvane::jet::index::bytes
