// libFuzzer entry for the .cdx reader: the input is a whole index file.
#include "fuzz_inputs.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  qorvane::foxpro::fuzz::ReadIndex(data, size);
  return 0;
}
