// Replays the inputs the fuzzer found crashes with (fuzz/jet/regressions), and damaged variants
// of a fixture: each must read without crashing.
#include <gtest/gtest.h>

#include <filesystem>
#include <random>

#include "common/os.h"
#include "jet/fuzz_entry.h"
#include "test_support/temp_dir.h"

namespace qorvane::jet {
namespace {

TEST(FuzzRegression, KeptCrashInputsReadWithoutCrashing) {
  std::filesystem::path folder = std::filesystem::path(QORVANE_SOURCE_DIR) / "fuzz/jet/regressions";
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().filename() == "README") continue;
    ReadEverything(os::ReadWholeFile(entry.path().string()));
  }
}

TEST(FuzzRegression, RandomlyDamagedFixtureReadsWithoutCrashing) {
  auto original = os::ReadWholeFile(qorvane::test::FixturePath("mdb/overflowTestV2000.mdb"));
  EXPECT_GT(ReadEverything(original), 7u);
  std::mt19937 random(42);
  for (int round = 0; round < 60; ++round) {
    auto bytes = original;
    for (int k = 0; k < 40; ++k) {
      std::size_t at = 4096 + random() % (bytes.size() - 4096);
      bytes[at] = static_cast<std::byte>(random());
    }
    ReadEverything(bytes);
  }
}

}  // namespace
}  // namespace qorvane::jet
