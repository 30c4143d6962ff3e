// A real run of the binary killed (SIGKILL) just before its Nth change to a file, for N spread
// over the whole run: inside the source repairs, each step's log lines, the work copy and the
// commit of office.mdb. Every time office.mdb is as it was or a whole database, the source
// tables read, a changed source file has a whole backup, and the next run reaches the result of
// a run never interrupted, with every index in step with its table and no work file left.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdlib>
#include <map>
#include <set>
#include <sstream>

#include "reliability_office.h"
#include "test_support/office_folders.h"

namespace qorvane::reliability {
namespace {

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// The exit status of the binary run with ARGS and the test hooks in ENV ("QORVANE_TEST_KILL_AT=12").
int RunWith(const std::string& env, const std::string& args) {
  return test::RunForResult(env + " " + QORVANE_CLI_PATH + " " + args + " >/dev/null 2>&1").status;
}
// Whether the run was killed before its change number CHANGE; STATUS gets its exit status.
bool KilledAt(long change, const std::string& args, int* status = nullptr) {
  int exit_status = RunWith("QORVANE_TEST_KILL_AT=" + std::to_string(change), args);
  if (status) *status = exit_status;
  return exit_status == 128 + SIGKILL;
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
    // The next run left every index in step with its table (the independent checker), and
    // nothing of the killed run's work files.
    std::string indexes;
    EXPECT_TRUE(IndexesAgree(source, &indexes)) << indexes;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(source)) {
      std::string name = entry.path().filename();
      EXPECT_FALSE(name.ends_with(".qorvane-new") || name.ends_with(".part")) << entry.path() << " was left behind";
    }
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
    int status = -1;
    if (!KilledAt(change, Args(), &status)) {
      EXPECT_EQ(status, 0);
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
  ASSERT_EQ(RunWith("QORVANE_TEST_CHANGES=" + test::ShellQuote(list), Args()), 0);
  std::string reference = ExportAll(target + "/office.mdb");
  std::vector<long> changes = ChangesInside(list, source);
  // Backups (each a copy, a sync and a rename) and the repairs' writes into the tables.
  ASSERT_GT(changes.size(), 30u);
  for (long change : changes) {
    SCOPED_TRACE("killed before change " + std::to_string(change));
    Restore();
    int status = -1;
    ASSERT_TRUE(KilledAt(change, Args(), &status)) << status;
    ExpectWholeAndFinishedByTheNextRun(reference);
  }
  RecordProperty("killed_runs", static_cast<int>(changes.size()));
}

}  // namespace
}  // namespace qorvane::reliability

namespace qorvane::reliability {
namespace {

// The sample office has a structural .cdx for each table, so a kill can leave a repaired table
// and its index apart. Each run is killed at a moment that matters to them: before a table's
// first repaired record, before its index is rebuilt, before the rebuilt index takes its
// place, and between two client keys of the duplicate-client correction. The next run mends
// every index (the independent checker reads each against its table), leaves no work file, and
// leaves the tables and the clients of office.mdb as a run never stopped leaves them: no key
// corrected twice, no client twice.
TEST(CrashesOfAnIndexedOffice, TheNextRunPutsEveryIndexInStepAndFinishesTheRepairs) {
  test::TempDir dir;
  const std::string pristine = dir.path() + "/pristine", source = dir.path() + "/pyx", target = dir.path() + "/zul";
  ASSERT_EQ(Qorvane("sample " + test::ShellQuote(pristine) + " --orders 30 --seed 11").status, 0);
  ASSERT_EQ(Qorvane("init-target " + test::ShellQuote(target)).status, 0);
  const std::string blank = FileBytes(target + "/office.mdb");
  auto restore = [&] {
    std::filesystem::remove_all(source);
    std::filesystem::copy(pristine, source);
    os::WriteWholeFile(target + "/office.mdb", std::as_bytes(std::span<const char>(blank.data(), blank.size())));
  };
  // The repaired tables and the clients (by name: the order they were added in may differ).
  auto tables = [&] {
    std::map<std::string, std::string> bytes;
    for (const auto& entry : std::filesystem::directory_iterator(source)) {
      if (entry.path().extension() == ".dbf") bytes[entry.path().filename()] = FileBytes(entry.path());
    }
    return bytes;
  };
  auto clients = [&] {
    std::multiset<std::string> names;
    for (const auto& row : test::MdbExport(target + "/office.mdb", "Client")) names.insert(row.at("Client"));
    return names;
  };
  const std::string args = ConvertArgs(dir.path(), source, target, "--prelim");
  restore();
  const std::string list = dir.path() + "/changes";
  ASSERT_EQ(RunWith("QORVANE_TEST_CHANGES=" + test::ShellQuote(list), args), 0);
  const auto repaired = tables();
  const auto converted = clients();

  std::vector<long> moments;
  std::set<std::string> first_write_seen;
  std::istringstream lines(FileBytes(list));
  long number;
  std::string kind, path;
  while (lines >> number >> kind >> path) {
    if (!path.starts_with(source + "/") || path.find("/qorvane-backup-") != std::string::npos) continue;
    bool first_write = kind == "write" && path.ends_with(".dbf") && first_write_seen.insert(path).second;
    bool index_work = (kind == "write" && path.ends_with(".cdx.qorvane-new")) || (kind == "rename" && path.ends_with(".cdx"));
    bool client_key = kind == "write" && path.ends_with("/client.dbf");
    if (first_write || index_work || client_key) moments.push_back(number);
  }
  ASSERT_GT(moments.size(), 15u);
  for (long moment : moments) {
    SCOPED_TRACE("killed before change " + std::to_string(moment));
    restore();
    ASSERT_TRUE(KilledAt(moment, args));
    CliRun again = Qorvane(args);
    EXPECT_EQ(again.status, 0) << again.out;
    EXPECT_TRUE(tables() == repaired) << "the tables differ from those a run never stopped repairs";
    EXPECT_EQ(clients(), converted);
    std::string indexes;
    EXPECT_TRUE(IndexesAgree(source, &indexes)) << indexes;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(source)) {
      std::string name = entry.path().filename();
      EXPECT_FALSE(name.ends_with(".qorvane-new") || name.ends_with(".part")) << entry.path() << " was left behind";
    }
  }
  RecordProperty("killed_runs", static_cast<int>(moments.size()));
}

}  // namespace
}  // namespace qorvane::reliability

namespace qorvane::reliability {
namespace {

// An index left behind by its table (another program, or a run of this one killed long ago):
// `check` names it, and the next run with the corrections rebuilds it after a copy, saying so.
TEST(StaleIndexes, CheckNamesThemAndTheNextRunWithTheCorrectionsRebuildsThem) {
  test::TempDir dir;
  const std::string source = dir.path() + "/pyx", target = dir.path() + "/zul";
  ASSERT_EQ(Qorvane("sample " + test::ShellQuote(source) + " --orders 30 --seed 11").status, 0);
  ASSERT_EQ(Qorvane("init-target " + test::ShellQuote(target)).status, 0);
  // A file number changed in the table only.
  convert::test_orders::PatchBytes(source + "/property.dbf", "95-0002   95-0002", "95-0902   95-0902");
  const std::string stale = FileBytes(source + "/property.cdx");

  CliRun check = Qorvane("check --source " + test::ShellQuote(source));
  EXPECT_EQ(check.status, 1) << check.out;
  EXPECT_TRUE(Contains(check.out, "property.cdx: does not agree with property.dbf; a run with the Preliminary "
                                  "Corrections (--prelim) rebuilds it from the table, after a backup\n"))
      << check.out;
  EXPECT_TRUE(Contains(check.out, "property.cdx: tag FILE_NUM: ")) << check.out;

  CliRun run = Qorvane(ConvertArgs(dir.path(), source, target, "--prelim"));
  EXPECT_EQ(run.status, 0) << run.out;
  std::string log_path = run.out.substr(0, run.out.size() - 1);
  log_path = log_path.substr(log_path.rfind('\n') + 1);
  std::string log = FileBytes(log_path);
  EXPECT_TRUE(Contains(log, "property.cdx did not agree with property.dbf (property.cdx: tag FILE_NUM: ")) << log;
  EXPECT_TRUE(Contains(log, "; it was rebuilt from the table's records (both as they were are in " + source +
                                "/qorvane-backup-")) << log;
  std::string indexes;
  EXPECT_TRUE(IndexesAgree(source, &indexes)) << indexes;
  bool kept = false;
  for (const auto& entry : std::filesystem::directory_iterator(source)) {
    if (entry.is_directory() && std::filesystem::exists(entry.path() / "property.cdx")) {
      kept |= FileBytes(entry.path() / "property.cdx") == stale;
    }
  }
  EXPECT_TRUE(kept) << "the index as it was is not in a backup folder";
  EXPECT_EQ(Qorvane("check --source " + test::ShellQuote(source)).out.find("does not agree"), std::string::npos);
}

}  // namespace
}  // namespace qorvane::reliability
