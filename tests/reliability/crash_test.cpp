// A real run of the binary killed (SIGKILL) just before its Nth change to a file, for N spread
// over the whole run: inside the source repairs, each step's log lines, the work copy and the
// commit of office.mdb. Every time office.mdb is as it was or a whole database, the source
// tables read, a changed source file has a whole backup, and the next run reaches the result of
// a run never interrupted.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdlib>
#include <set>
#include <sstream>

#include "reliability_office.h"
#include "test_support/office_folders.h"

namespace qorvane::reliability {
namespace {

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

struct KilledRun {
  bool killed = false;
  int status = -1;
};

// Runs the binary with ARGS and the test hooks in ENV ("QORVANE_TEST_KILL_AT=12").
KilledRun RunWith(const std::string& env, const std::string& args) {
  std::string command = env + " " + QORVANE_CLI_PATH + " " + args + " >/dev/null 2>&1; echo $?";
  KilledRun run;
  run.status = std::atoi(test::Command(command).c_str());
  run.killed = run.status == 128 + SIGKILL;
  return run;
}
KilledRun RunKilledAt(long change, const std::string& args) {
  return RunWith("QORVANE_TEST_KILL_AT=" + std::to_string(change), args);
}

class Crashes : public ::testing::Test {
 protected:
  void SetUp() override {
    std::tie(source, target) = MakeSmallOffice(dir.path());
    // Illegal file numbers, so that the repairs write into the source tables.
    convert::test_orders::PatchBytes(source + "/PROPERTY.DBF", "1003      ", "10#3      ");
    convert::test_orders::PatchBytes(source + "/PROPERTY.DBF", "1007      ", "10&7 x    ");
    // ... and in the tables the preliminary corrections of the other tables repair.
    convert::test_orders::PatchBytes(source + "/INVOICE.DBF", "I5        ", "I#5       ");
    convert::test_orders::PatchBytes(source + "/CLIEXP.DBF", "I6        ", "I#6       ");
    convert::test_orders::PatchBytes(source + "/APPLIED.DBF", "1009      ", "10#9      ");
    convert::test_orders::PatchBytes(source + "/APPREXP.DBF", "1011      ", "10#11     ");
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

  // What a killed run left: office.mdb untouched or whole; every source table reads; every
  // file under a table's name in a backup folder is that table as it was before any run; a
  // changed table has such a backup. Then the next run finishes the work: the same rows as
  // REFERENCE, the export of a run never interrupted.
  void ExpectWholeAndFinishedByTheNextRun(const std::string& reference) {
    std::string office = target + "/office.mdb";
    if (FileBytes(office) != blank) {
      std::string exported = ExportAll(office);
      EXPECT_FALSE(Contains(exported, "rror")) << exported;
    }
    std::set<std::string> backed_up;
    for (const auto& entry : std::filesystem::directory_iterator(source)) {
      if (!entry.is_directory()) continue;
      for (const auto& copy : std::filesystem::directory_iterator(entry.path())) {
        std::string name = copy.path().filename();
        if (name.ends_with(".part")) continue;  // a copy cut short, under a name of its own
        ASSERT_TRUE(original_source.count(name)) << name;
        EXPECT_TRUE(FileBytes(copy.path()) == original_source.at(name).first) << "the backup of " << name << " is not whole";
        backed_up.insert(name);
      }
    }
    for (const auto& [name, file] : original_source) {
      std::string path = source + "/" + name;
      if (name.ends_with(".DBF")) {
        CliRun read = Qorvane("export " + test::ShellQuote(path) + " >/dev/null");
        EXPECT_EQ(read.status, 0) << name << ": " << read.out;
      }
      if (FileBytes(path) != file.first) {
        EXPECT_TRUE(backed_up.count(name)) << name << " was changed without a whole backup";
      }
    }
    CliRun again = Qorvane(Args());
    EXPECT_EQ(again.status, 0) << again.out;
    EXPECT_EQ(ExportAll(office), reference);
  }

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
      EXPECT_EQ(run.status, 0);
      break;
    }
    ++killed_runs;
    ExpectWholeAndFinishedByTheNextRun(reference);
  }
  EXPECT_GT(killed_runs, 8);
  RecordProperty("killed_runs", killed_runs);
}

}  // namespace
}  // namespace qorvane::reliability

namespace qorvane::reliability {
namespace {

// The changes of a run inside FOLDER (the backups and writes of the source repairs), by number,
// from the binary's change list.
std::vector<long> ChangesInside(const std::string& list, const std::string& folder) {
  std::vector<long> changes;
  std::istringstream lines(FileBytes(list));
  long number;
  std::string kind, path;
  while (lines >> number >> kind >> path) {
    if (path.starts_with(folder + "/")) changes.push_back(number);
  }
  return changes;
}

TEST_F(Crashes, AKillAtEachChangeOfTheSourceRepairsLeavesTablesThatReadAndWholeBackups) {
  const std::string list = dir.path() + "/changes";
  KilledRun traced = RunWith("QORVANE_TEST_CHANGES=" + test::ShellQuote(list), Args());
  ASSERT_EQ(traced.status, 0);
  std::string reference = ExportAll(target + "/office.mdb");
  std::vector<long> changes = ChangesInside(list, source);
  // Backups (each a copy, a sync and a rename) and the repairs' writes into the tables.
  ASSERT_GT(changes.size(), 30u);
  for (long change : changes) {
    SCOPED_TRACE("killed before change " + std::to_string(change));
    Restore();
    KilledRun run = RunKilledAt(change, Args());
    ASSERT_TRUE(run.killed) << run.status;
    ExpectWholeAndFinishedByTheNextRun(reference);
  }
  RecordProperty("killed_runs", static_cast<int>(changes.size()));
}

}  // namespace
}  // namespace qorvane::reliability
