// Fuzz target: any bytes opened as a database must give rows or a qorvane::Error, never a crash.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "jet/fuzz_entry.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  qorvane::jet::ReadEverything(std::vector<std::byte>(reinterpret_cast<const std::byte*>(data),
                                                      reinterpret_cast<const std::byte*>(data) + size));
  return 0;
}
