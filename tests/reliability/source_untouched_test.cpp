// Nothing is written into the source folder by `check`, by `export` of every table, nor by a
// whole conversion without the repairs: every file keeps its bytes and its modification time,
// and no file or folder is added.
#include <gtest/gtest.h>

#include "reliability_office.h"
#include "test_support/office_folders.h"

namespace qorvane::reliability {
namespace {

TEST(SourceUntouched, CheckExportAndAConvertWithoutRepairsWriteNothingIntoTheSource) {
  test::TempDir dir;
  auto [source, target] = MakeSmallOffice(dir.path());
  // An illegal file number: a run with the repairs would change the table.
  convert::test_orders::PatchBytes(source + "/PROPERTY.DBF", "1003      ", "10#3      ");
  FolderSnapshot before = Snapshot(source);
  auto entries = [&] { return os::ListDirectory(source).size(); };
  std::size_t count = entries();

  EXPECT_EQ(Qorvane("check --source " + test::ShellQuote(source)).status, 1);
  for (const auto& [name, file] : before) {
    if (name.ends_with(".DBF")) {
      EXPECT_EQ(Qorvane("export " + test::ShellQuote(source + "/" + name)).status, 0) << name;
    }
  }
  CliRun run = Qorvane(ConvertArgs(dir.path(), source, target));
  EXPECT_EQ(run.status, 0) << run.out;
  EXPECT_EQ(Snapshot(source), before);
  EXPECT_EQ(entries(), count);

  // The same run with the repairs does write, after the backup: the test above can fail.
  run = Qorvane(ConvertArgs(dir.path(), source, target, "--prelim"));
  EXPECT_EQ(run.status, 0) << run.out;
  EXPECT_NE(Snapshot(source), before);
}

}  // namespace
}  // namespace qorvane::reliability
