// The sample office's own random numbers: xoshiro256** seeded through splitmix64. Every record
// draws from a stream of its own, named by (seed, stream, index), so a table can be written
// record by record, in any order or thread, and still come out byte for byte the same.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace qorvane::sample {

inline std::uint64_t SplitMix64(std::uint64_t& state) {
  std::uint64_t z = (state += 0x9E3779B97F4A7C15ULL);
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
  return z ^ (z >> 31);
}

// Streams of the office: one per kind of record, so that adding a draw to one kind of record
// does not shift the values of another.
enum class Stream : std::uint64_t {
  Client = 1, ClientMistakes, Appraiser, OrderCore, OrderDetails, OrderMistakes, FeeSchedule, Office,
};

class Random {
 public:
  Random(std::uint64_t seed, Stream stream, std::uint64_t index) {
    std::uint64_t state = seed * 0xD1B54A32D192ED03ULL ^ (static_cast<std::uint64_t>(stream) << 56) ^ index;
    SplitMix64(state);
    for (auto& word : state_) word = SplitMix64(state);
  }

  std::uint64_t Next() {
    const std::uint64_t result = Rotate(state_[1] * 5, 7) * 9;
    const std::uint64_t t = state_[1] << 17;
    state_[2] ^= state_[0];
    state_[3] ^= state_[1];
    state_[1] ^= state_[2];
    state_[0] ^= state_[3];
    state_[2] ^= t;
    state_[3] = Rotate(state_[3], 45);
    return result;
  }
  // A number in [0, bound); bound 0 gives 0.
  std::uint64_t Below(std::uint64_t bound) {
    return bound == 0 ? 0 : static_cast<std::uint64_t>((static_cast<unsigned __int128>(Next()) * bound) >> 64);
  }
  // A number in [low, high].
  std::int64_t Between(std::int64_t low, std::int64_t high) {
    return low + static_cast<std::int64_t>(Below(static_cast<std::uint64_t>(high - low + 1)));
  }
  // True with the given chance in a thousand.
  bool Permille(unsigned chance) { return Below(1000) < chance; }
  double Unit() { return static_cast<double>(Next() >> 11) * 0x1.0p-53; }
  template <typename T>
  const T& Pick(std::span<const T> items) {
    return items[Below(items.size())];
  }

 private:
  static std::uint64_t Rotate(std::uint64_t x, int k) { return (x << k) | (x >> (64 - k)); }
  std::uint64_t state_[4];
};

}  // namespace qorvane::sample
