// Whole runs of the binary over sample offices whose office.mdb reaches the sizes where the
// free-page map changes: 1,512 orders (864 pages, a multiple of 32 past the 512 pages of a
// fresh map) in the suite; 10,000 and 100,000 orders with QORVANE_LARGE=1. The independent
// checker must find every page of the file in the map, and every map and row whole.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "reliability_office.h"
#include "test_support/temp_dir.h"

namespace qorvane::reliability {
namespace {

struct WholeRun {
  const char* name;
  int orders;
  bool large;  // only with QORVANE_LARGE=1
};

class WholeRunFile : public ::testing::TestWithParam<WholeRun> {};

TEST_P(WholeRunFile, PassesTheCheckerWithEveryPageInTheFreePageMap) {
  const WholeRun& size = GetParam();
  const char* large = std::getenv("QORVANE_LARGE");
  if (size.large && !(large && std::string(large) == "1")) GTEST_SKIP() << "runs with QORVANE_LARGE=1";
  test::TempDir dir;
  const std::string source = dir.path() + "/source", target = dir.path() + "/target";
  ASSERT_EQ(Qorvane("sample " + test::ShellQuote(source) + " --orders " + std::to_string(size.orders) + " --seed 7").status, 0);
  ASSERT_EQ(Qorvane("init-target " + test::ShellQuote(target)).status, 0);
  CliRun run = Qorvane(ConvertArgs(dir.path(), source, target, "--steps all --massage all"));
  ASSERT_EQ(run.status, 0) << run.out;
  const std::string office = target + "/office.mdb";
  std::string report = test::Command("python3 " + std::string(QORVANE_SHARED_DIR) + "/tools/jetcheck.py " +
                                     test::ShellQuote(office) + " 2>&1; echo status $?");
  EXPECT_NE(report.find("PASS usage.global"), std::string::npos) << report;
  EXPECT_NE(report.find("status 0\n"), std::string::npos) << report;
  RecordProperty("pages", std::to_string(std::filesystem::file_size(office) / 4096));
}

INSTANTIATE_TEST_SUITE_P(Orders, WholeRunFile,
                         ::testing::Values(WholeRun{"Orders1512", 1512, false}, WholeRun{"Orders10000", 10000, true},
                                           WholeRun{"Orders100000", 100000, true}),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace qorvane::reliability
