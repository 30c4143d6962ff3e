// Replays every input the fuzzers once crashed on (fuzz/foxpro/regressions/table-* and
// index-*): each must now read, or fail with qorvane::Error, without crashing.
#include <gtest/gtest.h>

#include <filesystem>

#include "../../fuzz/foxpro/fuzz_inputs.h"
#include "common/os.h"

namespace qorvane::foxpro {
namespace {

TEST(FuzzRegressions, SavedInputsReadWithoutCrashing) {
  std::filesystem::path folder = std::filesystem::path(QORVANE_SOURCE_DIR) / "fuzz/foxpro/regressions";
  int replayed = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    std::string name = entry.path().filename().string();
    auto bytes = os::ReadWholeFile(entry.path().string());
    const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
    SCOPED_TRACE(name);
    if (name.rfind("table-", 0) == 0) {
      fuzz::ReadTableAndMemo(data, bytes.size());
      ++replayed;
    } else if (name.rfind("index-", 0) == 0) {
      fuzz::ReadIndex(data, bytes.size());
      ++replayed;
    }
  }
  RecordProperty("replayed", replayed);
}

}  // namespace
}  // namespace qorvane::foxpro
