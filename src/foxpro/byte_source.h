// Where the table and memo readers get their bytes: a file read through the OS layer, or a byte
// span held in memory (tests, the fuzz target). Readers never assume a whole file is in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "common/os.h"

namespace qorvane::foxpro {

class ByteSource {
 public:
  virtual ~ByteSource() = default;
  virtual std::uint64_t Size() const = 0;
  // Reads up to buffer.size() bytes at offset; returns how many were read.
  virtual std::size_t ReadAt(std::uint64_t offset, std::span<std::byte> buffer) const = 0;
  // The whole content when it is held in memory, else an empty span.
  virtual std::span<const std::byte> Memory() const { return {}; }
};

class FileSource : public ByteSource {
 public:
  explicit FileSource(os::File file) : file_(std::move(file)), size_(file_.Size()) {}
  std::uint64_t Size() const override { return size_; }
  std::size_t ReadAt(std::uint64_t offset, std::span<std::byte> buffer) const override {
    return file_.ReadAt(offset, buffer);
  }

 private:
  os::File file_;
  std::uint64_t size_;
};

class MemorySource : public ByteSource {
 public:
  explicit MemorySource(std::vector<std::byte> bytes) : bytes_(std::move(bytes)) {}
  std::uint64_t Size() const override { return bytes_.size(); }
  std::size_t ReadAt(std::uint64_t offset, std::span<std::byte> buffer) const override;
  std::span<const std::byte> Memory() const override { return bytes_; }

 private:
  std::vector<std::byte> bytes_;
};

inline std::uint16_t ReadU16(const std::byte* at) {
  return static_cast<std::uint16_t>(std::to_integer<unsigned>(at[0]) | std::to_integer<unsigned>(at[1]) << 8);
}
inline std::uint32_t ReadU32(const std::byte* at) {
  return std::to_integer<std::uint32_t>(at[0]) | std::to_integer<std::uint32_t>(at[1]) << 8 |
         std::to_integer<std::uint32_t>(at[2]) << 16 | std::to_integer<std::uint32_t>(at[3]) << 24;
}
inline std::uint32_t ReadU32BigEndian(const std::byte* at) {
  return std::to_integer<std::uint32_t>(at[3]) | std::to_integer<std::uint32_t>(at[2]) << 8 |
         std::to_integer<std::uint32_t>(at[1]) << 16 | std::to_integer<std::uint32_t>(at[0]) << 24;
}
inline std::uint16_t ReadU16BigEndian(const std::byte* at) {
  return static_cast<std::uint16_t>(std::to_integer<unsigned>(at[1]) | std::to_integer<unsigned>(at[0]) << 8);
}
inline void WriteU16(std::byte* at, std::uint16_t value) {
  at[0] = std::byte(value & 0xFF);
  at[1] = std::byte(value >> 8);
}
inline void WriteU32(std::byte* at, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) at[i] = std::byte((value >> (8 * i)) & 0xFF);
}
inline void WriteU32BigEndian(std::byte* at, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) at[3 - i] = std::byte((value >> (8 * i)) & 0xFF);
}
inline void WriteU16BigEndian(std::byte* at, std::uint16_t value) {
  at[0] = std::byte(value >> 8);
  at[1] = std::byte(value & 0xFF);
}

}  // namespace qorvane::foxpro
