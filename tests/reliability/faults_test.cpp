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

#include "common/os.h"
#include "reliability_office.h"
#include "test_support/office_folders.h"

namespace qorvane::reliability {
namespace {

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// Whether the database at PATH passes the independent structural checker.
bool Verifies(const std::string& path) {
  std::string out = test::Command("python3 " + std::string(QORVANE_SHARED_DIR) + "/tools/jetcheck.py " +
                                  test::ShellQuote(path) + " >/dev/null 2>&1; echo $?");
  return out == "0\n";
}

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
  test::FakeView view;
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
