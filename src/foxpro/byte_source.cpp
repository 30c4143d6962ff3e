// The in-memory byte source.
#include "foxpro/byte_source.h"

#include <algorithm>
#include <cstring>

namespace qorvane::foxpro {

std::size_t MemorySource::ReadAt(std::uint64_t offset, std::span<std::byte> buffer) const {
  if (offset >= bytes_.size()) return 0;
  std::size_t count = static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), bytes_.size() - offset));
  std::memcpy(buffer.data(), bytes_.data() + offset, count);
  return count;
}

}  // namespace qorvane::foxpro
