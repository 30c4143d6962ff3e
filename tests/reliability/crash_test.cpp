// A real run of the binary killed (SIGKILL) just before its Nth change to a file, for N spread
// over the whole run: inside the source repairs, each step's log lines, the work copy and the
// commit of office.mdb. Every time office.mdb is as it was or a whole database, the source
// tables read, a changed source file has a whole backup, and the next run reaches the result of
// a run never interrupted.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdlib>

#include "reliability_office.h"
#include "test_support/office_folders.h"

namespace qorvane::reliability {
namespace {

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

struct KilledRun {
  bool killed = false;
  int status = -1;
  std::string out;
};

KilledRun RunKilledAt(long change, const std::string& args) {
  std::string command = "QORVANE_TEST_KILL_AT=" + std::to_string(change) + " " + QORVANE_CLI_PATH + " " + args +
                        " >/dev/null 2>&1; echo $?";
  KilledRun run;
  run.out = test::Command(command);
  run.status = std::atoi(run.out.c_str());
  run.killed = run.status == 128 + SIGKILL;
  return run;
}

class Crashes : public ::testing::Test {
 protected:
  void SetUp() override {
    std::tie(source, target) = MakeSmallOffice(dir.path());
    // Illegal file numbers, so that the repairs write into the source tables.
    convert::test_orders::PatchBytes(source + "/PROPERTY.DBF", "1003      ", "10#3      ");
    convert::test_orders::PatchBytes(source + "/PROPERTY.DBF", "1007      ", "10&7 x    ");
    original_source = Snapshot(source);
    blank = FileBytes(target + "/office.mdb");
  }

  // Puts the source tables and office.mdb back as they were before any run.
  void Restore() {
    std::filesystem::remove_all(source);
    std::filesystem::remove_all(target);
    std::filesystem::create_directories(source);
    std::filesystem::create_directories(target);
    for (const auto& [name, file] : original_source) Write(source + "/" + name, file.first);
    Write(target + "/office.mdb", blank);
  }
  static void Write(const std::string& path, const std::string& bytes) {
    os::WriteWholeFile(path, std::as_bytes(std::span<const char>(bytes.data(), bytes.size())));
  }
  std::string Args() const { return ConvertArgs(dir.path(), source, target, "--prelim"); }

  test::TempDir dir;
  std::string source, target, blank;
  FolderSnapshot original_source;
};

TEST_F(Crashes, AKilledRunLeavesEverythingWholeAndTheNextRunFinishesTheWork) {
  CliRun reference_run = Qorvane(Args());
  ASSERT_EQ(reference_run.status, 0) << reference_run.out;
  std::string reference = ExportAll(target + "/office.mdb");
  ASSERT_TRUE(Contains(reference, "10-3")) << "the repairs did not run";

  int killed_runs = 0;
  for (long change = 1;; change += change / 3 + 1) {
    SCOPED_TRACE("killed before change " + std::to_string(change));
    Restore();
    KilledRun run = RunKilledAt(change, Args());
    if (!run.killed) {
      EXPECT_EQ(run.status, 0) << run.out;
      break;
    }
    ++killed_runs;
    // office.mdb: untouched or whole.
    std::string office = target + "/office.mdb";
    if (FileBytes(office) != blank) {
      std::string exported = ExportAll(office);
      EXPECT_FALSE(Contains(exported, "rror")) << exported;
    }
    // The source tables read; a changed one has its original bytes in the backup.
    for (const auto& [name, file] : original_source) {
      std::string path = source + "/" + name;
      if (name.ends_with(".DBF")) {
        CliRun read = Qorvane("export " + test::ShellQuote(path) + " >/dev/null");
        EXPECT_EQ(read.status, 0) << name << ": " << read.out;
      }
      if (FileBytes(path) == file.first) continue;
      bool backed_up = false;
      for (const auto& entry : std::filesystem::directory_iterator(source)) {
        if (entry.is_directory() && FileBytes(entry.path() / name) == file.first) backed_up = true;
      }
      EXPECT_TRUE(backed_up) << name << " was changed without a whole backup";
    }
    // The next run finishes the work: the same rows as a run never interrupted.
    CliRun again = Qorvane(Args());
    EXPECT_EQ(again.status, 0) << again.out;
    EXPECT_EQ(ExportAll(office), reference);
  }
  EXPECT_GT(killed_runs, 8);
  RecordProperty("killed_runs", killed_runs);
}

}  // namespace
}  // namespace qorvane::reliability
