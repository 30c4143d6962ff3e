// Faults met during a real run over a small office: a full disk while office.mdb is written
// (each write of a 2,000-order run failed in turn, a sync, a tmpfs that is really full), a run
// that would take office.mdb past 2 GB, a read-only target or source folder, office.mdb held
// open by another program (flock and fcntl locks on its .ldb), office.mdb as a symbolic link.
// Each is reported with its error number and the file's name, office.mdb is left either as it
// was or whole (read back by mdb-export and the independent checker), the report says which of
// the two it is, and the next run completes.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>

#include "app/run_summary.h"
#include "common/os.h"
#include "reliability_office.h"
#include "test_support/office_folders.h"
#include "test_support/oracles.h"

namespace qorvane::reliability {
namespace {

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// Whether the database at PATH passes the independent structural checker.
bool Verifies(const std::string& path) {
  test::RequireOracle(test::Oracle::Jetcheck);
  std::string out = test::Command("python3 " + test::ShellQuote(test::JetcheckPath()) + " " +
                                  test::ShellQuote(path) + " >/dev/null 2>&1; echo $?");
  return out == "0\n";
}

// A view that acts on the files once, at a point of the run: when the step whose done image is
// STEP shows record AT_RECORD of its loop (0: as soon as the step is marked running).
class ActingView : public test::FakeView {
 public:
  void Show(const app::FormModel& form) override {
    FakeView::Show(form);
    if (!action || form.Mark(step) != app::StepMark::Running || form.RecordNumber < at_record) return;
    std::function<void()> act = std::move(action);
    action = nullptr;
    act();
  }
  std::string_view step;
  std::int64_t at_record = 0;
  std::function<void()> action;
};

class Faults : public ::testing::Test {
 protected:
  void SetUp() override {
    std::tie(source, target) = MakeSmallOffice(dir.path());
    blank = FileBytes(Office());
  }
  void TearDown() override { os::FaultInjection::Reset(); }

  std::string Office() const { return target + "/office.mdb"; }

  // The whole program in this process, every conversion step ticked.
  app::RunOutcome RunInProcess() {
    view.notices.clear();
    program = convert::WireProgram(view, clock, {.settings_dir = dir.path() + "/settings"});
    program.main_form->FormLoad({source, target});
    program.main_form->form().CheckBoxes.fill(0);
    for (const auto& step : app::ConversionSteps()) program.main_form->form().SetCheck(step.check_box, true);
    program.main_form->cmdNEWConvert();
    clock.Advance(60);
    return program.main_form->outcome();
  }
  std::string Notices() const {
    std::string all;
    for (const std::string& notice : view.notices) all += notice + "\n";
    return all;
  }
  // Opens the folders to the user nobody, who runs the binary in the permission tests.
  void OpenToEveryone() {
    for (const std::string& path : {dir.path(), source, target}) ::chmod(path.c_str(), 0777);
    std::filesystem::create_directories(dir.path() + "/settings");
    ::chmod((dir.path() + "/settings").c_str(), 0777);
    for (const auto& entry : std::filesystem::directory_iterator(source)) ::chmod(entry.path().c_str(), 0666);
    ::chmod(Office().c_str(), 0666);
  }
  // No work file or lock file of a writer left beside office.mdb.
  std::vector<std::string> LeftOver() const {
    std::vector<std::string> names;
    for (const std::string& name : os::ListDirectory(target)) {
      if (Contains(name, "qorvane-work") || name == "office.ldb") names.push_back(name);
    }
    return names;
  }

  test::TempDir dir;
  std::string source, target, blank;
  ActingView view;
  test::FakeClock clock{1794733507};
  convert::Program program;
};

TEST_F(Faults, AFullDiskWhileOfficeMdbIsWrittenIsReportedAndTheFileStaysWhole) {
  // The Nth sync of the run fails for N = 1, 2, 3 ... until a run has no sync left to fail.
  view.error_answer = app::MessageResult::Abort;
  int hit_target = 0;
  for (int n = 1; n < 200; ++n) {
    SCOPED_TRACE("sync " + std::to_string(n));
    os::WriteWholeFile(Office(), std::as_bytes(std::span<const char>(blank.data(), blank.size())));
    os::FaultInjection::FailNthSync(n, ENOSPC);
    RunInProcess();
    bool failed = Contains(Notices(), "No space left on device");
    os::FaultInjection::Reset();
    if (!failed) break;
    EXPECT_TRUE(Contains(Notices(), "Error # 61 in module ")) << Notices();
    if (Contains(Notices(), Office())) ++hit_target;
    // Either office.mdb as it was, or a whole database.
    if (FileBytes(Office()) != blank) {
      EXPECT_TRUE(Verifies(Office()));
      EXPECT_FALSE(Contains(ExportAll(Office()), "rror"));
    }
    EXPECT_EQ(LeftOver(), std::vector<std::string>{});
  }
  RecordProperty("failed_syncs", hit_target);
  EXPECT_GT(hit_target, 0) << "no injected failure reached office.mdb\n" << Notices();
}

constexpr const char* kNotSaved = "office.mdb was NOT changed";

// Each write of a whole 2,000-order run fails in turn (ENOSPC), answered Retry and Abort in
// turn: office.mdb is as it was (and the report says it was not changed) or whole with the run's
// rows, and the next run completes. A run makes about two hundred writes, nearly all of them
// log lines; the suite takes the first, two in the middle and the last eight (the settings file's
// and office.mdb's own), eleven runs.
TEST_F(Faults, EachWriteOfARunFailedInTurnLeavesOfficeMdbAsItWasOrWholeAndTheNextRunCompletes) {
  constexpr int kOrders = 2000;
  source = dir.path() + "/big-source";
  target = dir.path() + "/big-target";
  ASSERT_EQ(Qorvane("sample " + test::ShellQuote(source) + " --orders " + std::to_string(kOrders) + " --seed 5").status, 0);
  ASSERT_EQ(Qorvane("init-target " + test::ShellQuote(target)).status, 0);
  blank = FileBytes(Office());
  auto restore_blank = [&] { os::WriteWholeFile(Office(), std::as_bytes(std::span<const char>(blank.data(), blank.size()))); };
  os::FaultInjection::Reset();
  ASSERT_EQ(RunInProcess(), app::RunOutcome::Completed) << Notices();
  const long writes = os::FaultInjection::WritesSinceReset();
  const std::string whole = ExportAll(Office());
  std::vector<long> picked = {1, writes / 3, 2 * writes / 3};
  for (long n = writes - 7; n <= writes; ++n) picked.push_back(n);
  int changed = 0, kept = 0;
  for (std::size_t i = 0; i < picked.size(); ++i) {
    const long n = picked[i];
    const bool retry = i % 2 == 0;
    SCOPED_TRACE("write " + std::to_string(n) + " of " + std::to_string(writes) + (retry ? ", Retry" : ", Abort"));
    restore_blank();
    os::FaultInjection::Reset();
    os::FaultInjection::FailNthWrite(static_cast<int>(n), ENOSPC);
    view.error_answer = retry ? app::MessageResult::Retry : app::MessageResult::Abort;
    RunInProcess();
    os::FaultInjection::Reset();
    EXPECT_TRUE(Contains(Notices(), "No space left on device")) << Notices();
    const std::string report = app::RunSummaryText(*program.main_form);
    if (FileBytes(Office()) == blank) {
      ++kept;
      EXPECT_TRUE(Contains(report, kNotSaved)) << report;
      EXPECT_NE(program.main_form->outcome(), app::RunOutcome::Completed);
    } else {
      ++changed;
      EXPECT_FALSE(Contains(report, kNotSaved)) << report;
      EXPECT_TRUE(Verifies(Office()));
      if (retry) {
        EXPECT_EQ(ExportAll(Office()), whole) << "a retried write lost rows";
      }
    }
    // The next run, with nothing failing, goes to its end (and the program of the run before,
    // which kept a database it could not save open, has let go of its work copy and lock).
    view.error_answer = app::MessageResult::Abort;
    EXPECT_EQ(RunInProcess(), app::RunOutcome::Completed) << Notices();
    EXPECT_EQ(test::MdbExport(Office(), "Property").size(), std::size_t(kOrders));
    EXPECT_EQ(LeftOver(), std::vector<std::string>{});
  }
  RecordProperty("writes", static_cast<int>(writes));
  EXPECT_GT(kept, 0) << "no failed write kept office.mdb as it was";
  EXPECT_GT(changed, 0) << "no failed write let office.mdb change";
}

// A run that would take office.mdb past its largest size (lowered here from 2 GB to a few pages
// more than the blank file) stops at the first refusal with one error, leaves office.mdb as it
// was, says so, and ends with exit status 3.
TEST_F(Faults, ARunThatCannotFitStopsAtTheFirstRefusalAndLeavesOfficeMdbAsItWas) {
  const std::string limit = std::to_string(blank.size() + 4 * 4096);
  CliRun run = Qorvane("--version >/dev/null; QORVANE_TEST_SIZE_LIMIT=" + limit + " " + QORVANE_CLI_PATH + " " +
                       ConvertArgs(dir.path(), source, target, "--massage all"));
  EXPECT_EQ(run.status, 3) << run.out;
  std::size_t errors = 0;
  for (std::size_t at = run.out.find("qorvane: Error #"); at != std::string::npos; at = run.out.find("qorvane: Error #", at + 1)) ++errors;
  EXPECT_EQ(errors, 1u) << run.out;
  EXPECT_TRUE(Contains(run.out, "past the limit of " + limit + " bytes")) << run.out;
  EXPECT_TRUE(Contains(run.out, "The run stops here because of this error")) << run.out;
  EXPECT_TRUE(Contains(run.out, kNotSaved)) << run.out;
  EXPECT_FALSE(Contains(run.out, "holds every row the run wrote")) << run.out;
  EXPECT_EQ(FileBytes(Office()), blank);
  EXPECT_EQ(LeftOver(), std::vector<std::string>{});
}

// office.mdb as a symbolic link to a file in another folder: the run writes the rows into that
// file, and the link stays.
TEST_F(Faults, OfficeMdbAsASymbolicLinkIsConvertedIntoTheFileItNames) {
  const std::string elsewhere = dir.path() + "/elsewhere";
  std::filesystem::create_directory(elsewhere);
  std::filesystem::rename(Office(), elsewhere + "/office-2024.mdb");
  std::filesystem::create_symlink(elsewhere + "/office-2024.mdb", Office());
  CliRun run = Qorvane(ConvertArgs(dir.path(), source, target));
  EXPECT_EQ(run.status, 0) << run.out;
  EXPECT_TRUE(std::filesystem::is_symlink(Office()));
  EXPECT_EQ(test::MdbExport(elsewhere + "/office-2024.mdb", "Property").size(), std::size_t(kSmallOfficeOrders));
  EXPECT_TRUE(Verifies(elsewhere + "/office-2024.mdb"));
  EXPECT_EQ(os::ListDirectory(elsewhere), std::vector<std::string>{"office-2024.mdb"});
}

// The binary run in a user namespace of its own with a tmpfs of SIZE_KB mounted over the
// target folder: a disk that is really full. What it left there is copied out before the
// namespace (and its mount) goes away. Returns nullopt when this machine allows no such mount.
struct SmallDiskRun {
  CliRun run;
  std::string office;                  // office.mdb as the run left it
  std::vector<std::string> left_over;  // work or lock files left beside it
};
std::optional<SmallDiskRun> RunOnSmallDisk(const std::string& root, const std::string& source, const std::string& blank_path,
                                           std::uintmax_t size_kb) {
  if (test::Command("unshare -rm true 2>/dev/null; echo $?") != "0\n") return std::nullopt;
  const std::string disk = root + "/small", out = root + "/small-out";
  std::filesystem::create_directories(disk);
  std::filesystem::create_directories(out);
  const std::string script = "mount -t tmpfs -o size=" + std::to_string(size_kb) + "k tmpfs " + test::ShellQuote(disk) +
                             " && cp " + test::ShellQuote(blank_path) + " " + test::ShellQuote(disk + "/office.mdb") + " && " +
                             QORVANE_CLI_PATH + " " + ConvertArgs(root, source, disk) + " >" + test::ShellQuote(out + "/out") +
                             " 2>&1; echo $? >" + test::ShellQuote(out + "/status") + "; cp " + test::ShellQuote(disk + "/office.mdb") +
                             " " + test::ShellQuote(out + "/office.mdb") + "; ls " + test::ShellQuote(disk) + " >" +
                             test::ShellQuote(out + "/listing");
  test::Command("unshare -rm sh -c " + test::ShellQuote(script));
  SmallDiskRun result;
  result.run.out = FileBytes(out + "/out");
  result.run.status = std::atoi(FileBytes(out + "/status").c_str());
  result.office = out + "/office.mdb";
  std::istringstream listing(FileBytes(out + "/listing"));
  for (std::string name; std::getline(listing, name);) {
    if (Contains(name, "qorvane-work") || name == "office.ldb") result.left_over.push_back(name);
  }
  return result;
}

TEST_F(Faults, AFullTmpfsUnderTheTargetIsReportedAndOfficeMdbStaysAsItWasOrWhole) {
  const std::string blank_path = dir.path() + "/blank.mdb";
  os::WriteWholeFile(blank_path, std::as_bytes(std::span<const char>(blank.data(), blank.size())));
  ASSERT_EQ(Qorvane(ConvertArgs(dir.path(), source, target)).status, 0);
  const std::uintmax_t blank_kb = blank.size() / 1024, converted_kb = std::filesystem::file_size(Office()) / 1024;
  struct Disk {
    const char* what;
    std::uintmax_t size_kb;
    bool fits;
  };
  const Disk disks[] = {
      {"no room for the work copy", blank_kb + 8, false},
      {"no room for the commit", blank_kb + converted_kb / 2, false},
      {"room enough", blank_kb + converted_kb + 512, true},
  };
  for (const Disk& disk : disks) {
    SCOPED_TRACE(disk.what);
    std::optional<SmallDiskRun> small = RunOnSmallDisk(dir.path(), source, blank_path, disk.size_kb);
    if (!small) GTEST_SKIP() << "this machine allows no tmpfs mount in a user namespace (unshare -rm); the injected "
                                "full disk of AFullDiskWhileOfficeMdbIsWritten... still runs";
    EXPECT_EQ(small->left_over, std::vector<std::string>{});
    if (disk.fits) {
      EXPECT_EQ(small->run.status, 0) << small->run.out;
      EXPECT_TRUE(Verifies(small->office));
      continue;
    }
    // Stopped (the box answered Abort without a terminal, which is said) or at its end with a
    // file error; either way a file error, and office.mdb not saved, which the report says.
    EXPECT_EQ(small->run.status, 3) << small->run.out;
    EXPECT_TRUE(Contains(small->run.out, "Error # 61 in module ")) << small->run.out;
    EXPECT_TRUE(Contains(small->run.out, "/small/office.mdb")) << small->run.out;
    EXPECT_TRUE(Contains(small->run.out, "No space left on device")) << small->run.out;
    EXPECT_TRUE(Contains(small->run.out, "stops as if Abort was answered")) << small->run.out;
    EXPECT_FALSE(Contains(small->run.out, "holds every row the run wrote")) << small->run.out;
    EXPECT_EQ(FileBytes(small->office), blank);
  }
}

TEST_F(Faults, AReadOnlySourceFolderConvertsAndRefusesOnlyTheRepairs) {
  OpenToEveryone();
  convert::test_orders::PatchBytes(source + "/PROPERTY.DBF", "1003      ", "10#3      ");
  ::chmod(source.c_str(), 0555);
  FolderSnapshot before = Snapshot(source);
  CliRun run = Qorvane(ConvertArgs(dir.path(), source, target), true);
  EXPECT_EQ(run.status, 0) << run.out;
  EXPECT_TRUE(Contains(ExportAll(Office()), "1024")) << run.out;
  std::string converted = FileBytes(Office());
  // The repairs write into the source folder: refused, with the folder named, nothing changed.
  run = Qorvane(ConvertArgs(dir.path(), source, target, "--prelim"), true);
  ::chmod(source.c_str(), 0777);
  EXPECT_TRUE(Contains(run.out, "Error # 70")) << run.out;
  EXPECT_TRUE(Contains(run.out, source)) << run.out;
  EXPECT_EQ(Snapshot(source), before);
}

// Holds a lock on office.ldb as another program would: flock, or an fcntl lock on one byte.
class HeldLock {
 public:
  HeldLock(const std::string& path, bool fcntl_lock) : fd_(::open(path.c_str(), O_RDWR | O_CREAT, 0644)) {
    if (fcntl_lock) {
      struct flock range {};
      range.l_type = F_WRLCK;
      range.l_whence = SEEK_SET;
      range.l_start = 0x10000000;
      range.l_len = 1;
      locked_ = ::fcntl(fd_, F_SETLK, &range) == 0;
    } else {
      locked_ = ::flock(fd_, LOCK_EX | LOCK_NB) == 0;
    }
  }
  ~HeldLock() { ::close(fd_); }
  bool locked() const { return locked_; }

 private:
  int fd_;
  bool locked_ = false;
};

TEST_F(Faults, OfficeMdbOpenInAnotherProgramIsRefusedForEitherKindOfLock) {
  for (bool fcntl_lock : {false, true}) {
    SCOPED_TRACE(fcntl_lock ? "fcntl" : "flock");
    {
      HeldLock lock(target + "/office.ldb", fcntl_lock);
      ASSERT_TRUE(lock.locked());
      // The binary is another process: a classic fcntl lock of this one conflicts with it.
      CliRun run = Qorvane(ConvertArgs(dir.path(), source, target));
      EXPECT_TRUE(Contains(run.out, "Error # 70")) << run.out;
      EXPECT_TRUE(Contains(run.out, "open in another program")) << run.out;
      EXPECT_TRUE(Contains(run.out, Office())) << run.out;
      EXPECT_EQ(FileBytes(Office()), blank);
    }
    std::filesystem::remove(target + "/office.ldb");
  }
  // Once the other program has let go, the run goes through.
  CliRun run = Qorvane(ConvertArgs(dir.path(), source, target));
  EXPECT_EQ(run.status, 0) << run.out;
}

// A run with the Preliminary Corrections that may not write where it must stops before it
// changes anything: the target folder or office.mdb read-only, office.mdb held by a second
// conversion (which stops right after connecting, instead of walking every step with follow-on
// errors and repairing the source anyway), or the source folder held by another run's repairs.
// One message names what, which file and what to do; the exit status is 3; the source folder
// is as it was, and a second try once the other has let go goes through.
TEST_F(Faults, ARunThatMayNotWriteStopsBeforeItRepairsTheSource) {
  OpenToEveryone();
  convert::test_orders::PatchBytes(source + "/PROPERTY.DBF", "1003      ", "10#3      ");
  struct Holder {
    const char* name;
    std::function<std::function<void()>()> hold;  // holds; returns what lets go
    std::vector<std::string> message;
  };
  const Holder holders[] = {
      {"the target folder read-only",
       [&] {
         ::chmod(target.c_str(), 0555);
         return std::function<void()>([&] { ::chmod(target.c_str(), 0777); });
       },
       {"Error # 70", target}},
      {"office.mdb read-only",
       [&] {
         ::chmod(Office().c_str(), 0444);
         return std::function<void()>([&] { ::chmod(Office().c_str(), 0666); });
       },
       {"Error # 70 in module AdoConnect: ", Office()}},
      {"office.mdb held by a second conversion",
       [&] {
         auto lock = std::make_shared<HeldLock>(target + "/office.ldb", false);
         ::chmod((target + "/office.ldb").c_str(), 0666);  // the run is another user's
         return std::function<void()>([lock]() mutable { lock.reset(); });
       },
       {"Error # 70 in module AdoConnect: ", "open in another program"}},
      {"the source folder held by another run's repairs",
       [&] {
         auto lock = std::make_shared<HeldLock>(source + "/qorvane-repairs.lock", false);
         ::chmod((source + "/qorvane-repairs.lock").c_str(), 0666);
         return std::function<void()>([lock]() mutable { lock.reset(); });
       },
       {"Error # 70 in module PrepareSourceRepairs: " + source + "/: another conversion is repairing these source tables",
        "Run it again once the other one has ended"}},
  };
  for (const Holder& holder : holders) {
    SCOPED_TRACE(holder.name);
    FolderSnapshot before = Snapshot(source);
    std::function<void()> let_go = holder.hold();
    CliRun run = Qorvane(ConvertArgs(dir.path(), source, target, "--prelim"), true);
    let_go();
    EXPECT_EQ(run.status, 3) << run.out;
    for (const std::string& part : holder.message) EXPECT_TRUE(Contains(run.out, part)) << part << "\n" << run.out;
    std::size_t errors = 0;
    for (std::size_t at = run.out.find("Error #"); at != std::string::npos; at = run.out.find("Error #", at + 1)) ++errors;
    EXPECT_EQ(errors, 1u) << run.out;
    std::filesystem::remove(source + "/qorvane-repairs.lock");
    std::filesystem::remove(target + "/office.ldb");
    EXPECT_EQ(Snapshot(source), before);
    EXPECT_EQ(FileBytes(Office()), blank);
    for (const auto& entry : std::filesystem::directory_iterator(source)) {
      EXPECT_FALSE(entry.is_directory()) << entry.path() << ": a backup was made";
    }
  }
  CliRun run = Qorvane(ConvertArgs(dir.path(), source, target, "--prelim"), true);
  EXPECT_EQ(run.status, 0) << run.out;
  EXPECT_TRUE(Contains(ExportAll(Office()), "10-3")) << run.out;
}

}  // namespace
}  // namespace qorvane::reliability

namespace qorvane::reliability {
namespace {

// A source table that goes away or is cut short while the run goes on: between two steps (the
// run still holds the table open), and while a step reads it. The invoice step stops with the
// reporter's message; the box of a read error is answered Ignore, so the run goes on.
struct VanishingSource {
  const char* name;
  std::int64_t at_record;  // 0: when its step starts
  bool cut;                // cut after 3 records, else removed
  std::vector<std::string> notice;
};

class SourceVanishes : public Faults, public ::testing::WithParamInterface<VanishingSource> {};

TEST_P(SourceVanishes, IsReportedAndTheRunGoesOnWithATargetThatIsWhole) {
  const VanishingSource& vanishing = GetParam();
  const std::string invoice = source + "/INVOICE.DBF";
  view.step = app::InfoOf(app::Step::Invoice).images.done;
  view.at_record = vanishing.at_record;
  view.action = [&] {
    if (vanishing.cut) {
      std::filesystem::resize_file(invoice, std::filesystem::file_size(invoice) / kSmallOfficeOrders * 3);
    } else {
      std::filesystem::remove(invoice);
    }
  };
  RunInProcess();
  EXPECT_EQ(view.action, nullptr) << "the run never reached the point";
  for (const std::string& part : vanishing.notice) EXPECT_TRUE(Contains(Notices(), part)) << part << "\n" << Notices();
  // office.mdb is whole, and the steps after the invoices ran (the payments fill Assigned).
  EXPECT_TRUE(Verifies(Office()));
  EXPECT_FALSE(Contains(ExportAll(Office()), "rror"));
  EXPECT_EQ(test::MdbExport(Office(), "Property").size(), std::size_t(kSmallOfficeOrders));
  EXPECT_EQ(test::MdbExport(Office(), "Assigned").size(), std::size_t(2 * kSmallOfficeOrders)) << Notices();
  EXPECT_EQ(LeftOver(), std::vector<std::string>{});
}

TEST_F(Faults, ATableCutWhileReadAnsweredAbortStopsTheRunAndKeepsWhatWasConverted) {
  view.error_answer = app::MessageResult::Abort;
  view.step = app::InfoOf(app::Step::Invoice).images.done;
  view.at_record = 5;
  view.action = [&] { std::filesystem::resize_file(source + "/INVOICE.DBF", 700); };
  RunInProcess();
  EXPECT_TRUE(Contains(Notices(), "Error # 57 in module ConvertInvoiceDBF: INVOICE.DBF: the table was cut from ")) << Notices();
  // Stopped: the orders converted before stay, the steps after the invoices did not run.
  EXPECT_TRUE(Verifies(Office()));
  EXPECT_EQ(test::MdbExport(Office(), "Property").size(), std::size_t(kSmallOfficeOrders));
  EXPECT_EQ(test::MdbExport(Office(), "Assigned").size(), std::size_t(0));
  EXPECT_EQ(LeftOver(), std::vector<std::string>{});
}

INSTANTIATE_TEST_SUITE_P(
    Rows, SourceVanishes,
    ::testing::Values(
        VanishingSource{"RemovedBetweenSteps", 0, false,
                        {"Error # 53 in module ConvertInvoiceDBF: INVOICE.DBF: the table was removed while the run was "
                         "reading it; the step stops here and what it has not read is not converted"}},
        VanishingSource{"CutBetweenSteps", 0, true,
                        {"Error # 57 in module ConvertInvoiceDBF: INVOICE.DBF: the table was cut from 6106 to 762 bytes "
                         "while the run was reading it (its 24 records need 6105)"}},
        VanishingSource{"RemovedWhileRead", 5, false, {"Error # 53 in module ConvertInvoiceDBF: INVOICE.DBF: the table was removed"}},
        VanishingSource{"CutWhileRead", 5, true, {"Error # 57 in module ConvertInvoiceDBF: INVOICE.DBF: the table was cut from "}}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace qorvane::reliability
