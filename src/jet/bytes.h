// Little- and big-endian reads and writes on byte buffers, bounds-checked: a read past the end
// gives 0 and a write past the end is dropped, so a short or damaged page can never make a parser
// read or write outside its buffer. The one byte reader of the whole engine (reader, writer,
// index module and creator); it takes std::byte and uint8_t buffers alike.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <ranges>
#include <span>
#include <type_traits>
#include <vector>

namespace qorvane::jet {

using Bytes = std::span<const std::byte>;
using MutableBytes = std::span<std::byte>;

template <typename T>
concept ByteElement = std::same_as<std::remove_const_t<T>, std::byte> ||
                      std::same_as<std::remove_const_t<T>, unsigned char>;

// Any contiguous buffer of bytes (span, vector, array), read-only or writable, seen as raw bytes
// for the reads and writes below. Holds no data: valid while the buffer is.
template <bool kWritable>
class ByteWindow {
  using Pointer = std::conditional_t<kWritable, unsigned char*, const unsigned char*>;

 public:
  template <std::ranges::contiguous_range Range>
    requires std::ranges::sized_range<Range> && ByteElement<std::remove_reference_t<std::ranges::range_reference_t<Range>>> &&
             (!kWritable || !std::is_const_v<std::remove_reference_t<std::ranges::range_reference_t<Range>>>)
  constexpr ByteWindow(Range&& range)  // NOLINT: implicit on purpose, as a span's is
      : data_(reinterpret_cast<Pointer>(std::ranges::data(range))), size_(std::ranges::size(range)) {}

  std::size_t size() const { return size_; }
  std::uint8_t At(std::size_t offset) const { return offset < size_ ? data_[offset] : 0; }
  void Set(std::size_t offset, std::uint8_t value) const
    requires kWritable
  {
    if (offset < size_) data_[offset] = value;
  }

 private:
  Pointer data_;
  std::size_t size_;
};
using ByteSource = ByteWindow<false>;
using ByteTarget = ByteWindow<true>;

inline std::uint8_t Get8(ByteSource data, std::size_t offset) { return data.At(offset); }
inline std::uint16_t Get16(ByteSource data, std::size_t offset) {
  return static_cast<std::uint16_t>(Get8(data, offset) | (Get8(data, offset + 1) << 8));
}
inline std::uint32_t Get24(ByteSource data, std::size_t offset) {
  return Get8(data, offset) | (Get8(data, offset + 1) << 8) |
         (static_cast<std::uint32_t>(Get8(data, offset + 2)) << 16);
}
inline std::uint32_t Get32(ByteSource data, std::size_t offset) {
  return Get16(data, offset) | (static_cast<std::uint32_t>(Get16(data, offset + 2)) << 16);
}
inline std::uint64_t Get64(ByteSource data, std::size_t offset) {
  return Get32(data, offset) | (static_cast<std::uint64_t>(Get32(data, offset + 4)) << 32);
}
// Index entries store their row and child pointers big-endian.
inline std::uint32_t GetBig32(ByteSource data, std::size_t offset) {
  return static_cast<std::uint32_t>(Get8(data, offset)) << 24 | Get8(data, offset + 1) << 16 |
         Get8(data, offset + 2) << 8 | Get8(data, offset + 3);
}

inline void Put8(ByteTarget data, std::size_t offset, std::uint8_t value) { data.Set(offset, value); }
inline void Put16(ByteTarget data, std::size_t offset, std::uint16_t value) {
  Put8(data, offset, static_cast<std::uint8_t>(value));
  Put8(data, offset + 1, static_cast<std::uint8_t>(value >> 8));
}
inline void Put24(ByteTarget data, std::size_t offset, std::uint32_t value) {
  Put16(data, offset, static_cast<std::uint16_t>(value));
  Put8(data, offset + 2, static_cast<std::uint8_t>(value >> 16));
}
inline void Put32(ByteTarget data, std::size_t offset, std::uint32_t value) {
  Put16(data, offset, static_cast<std::uint16_t>(value));
  Put16(data, offset + 2, static_cast<std::uint16_t>(value >> 16));
}
inline void Put64(ByteTarget data, std::size_t offset, std::uint64_t value) {
  Put32(data, offset, static_cast<std::uint32_t>(value));
  Put32(data, offset + 4, static_cast<std::uint32_t>(value >> 32));
}

// Appends VALUE to a growing buffer, little-endian (big-endian for index pointers): the creator
// builds definitions and rows this way.
inline void Append16(std::vector<std::uint8_t>& out, std::uint16_t value) {
  out.push_back(static_cast<std::uint8_t>(value));
  out.push_back(static_cast<std::uint8_t>(value >> 8));
}
inline void Append32(std::vector<std::uint8_t>& out, std::uint32_t value) {
  Append16(out, static_cast<std::uint16_t>(value));
  Append16(out, static_cast<std::uint16_t>(value >> 16));
}
inline void AppendBig32(std::vector<std::uint8_t>& out, std::uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<std::uint8_t>(value >> shift));
}

// A row pointer as stored in rows and usage-map references: [row:1][page:3].
struct RowPointer {
  std::uint32_t page = 0;
  std::uint8_t row = 0;
  static constexpr RowPointer Decode(std::uint32_t packed) {
    return {packed >> 8, static_cast<std::uint8_t>(packed & 0xFF)};
  }
  constexpr std::uint32_t Encode() const { return (page << 8) | row; }
  bool operator==(const RowPointer&) const = default;
};

}  // namespace qorvane::jet
