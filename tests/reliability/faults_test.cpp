// Faults met during a real run over a small office: a full disk while office.mdb is written, a
// read-only target or source folder, office.mdb held open by another program (flock and fcntl
// locks on its .ldb). Each is
// reported with its error number and the file's name, and office.mdb is left either as it was
// or whole (read back by mdb-export and the independent checker).
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <functional>
#include <optional>
#include <sstream>

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
    // Stopped (the box answered Abort without a terminal) or at its end with a file error.
    EXPECT_TRUE(small->run.status == 1 || small->run.status == 3) << small->run.status << "\n" << small->run.out;
    EXPECT_TRUE(Contains(small->run.out, "Error # 61 in module ")) << small->run.out;
    EXPECT_TRUE(Contains(small->run.out, "/small/office.mdb")) << small->run.out;
    EXPECT_TRUE(Contains(small->run.out, "No space left on device")) << small->run.out;
    EXPECT_EQ(FileBytes(small->office), blank);
  }
}

TEST_F(Faults, AReadOnlyTargetFolderIsRefusedBeforeAnyWork) {
  OpenToEveryone();
  ::chmod(target.c_str(), 0555);
  CliRun run = Qorvane(ConvertArgs(dir.path(), source, target), true);
  ::chmod(target.c_str(), 0777);
  EXPECT_NE(run.status, 0);
  EXPECT_TRUE(Contains(run.out, "Error # 70")) << run.out;
  EXPECT_TRUE(Contains(run.out, target)) << run.out;
  EXPECT_EQ(FileBytes(Office()), blank);
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
