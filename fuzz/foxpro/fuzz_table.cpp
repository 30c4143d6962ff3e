// libFuzzer entry for the table + memo reader (input layout in fuzz_inputs.h).
#include "fuzz_inputs.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  qorvane::foxpro::fuzz::ReadTableAndMemo(data, size);
  return 0;
}
