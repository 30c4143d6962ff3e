// Writers and files: one writer at a time under any interleaving, a refused writer harms
// nobody's work, a commit keeps the file's permissions, owner, group and links (or refuses
// before any work), the 2 GB limit, and values refused or replaced before they reach a row.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "common/error.h"
#include "common/os.h"
#include "jet/database.h"
#include "readers.h"
#include "test_support/temp_dir.h"

namespace qorvane::jet {
namespace {

using qorvane::test::FixturePath;
using qorvane::test::TempDir;

std::string CopyFixture(const TempDir& dir, const std::string& fixture) {
  std::string path = dir.path() + "/office.mdb";
  os::CopyFile(FixturePath("mdb/" + fixture), path);
  return path;
}

std::unique_ptr<Database> OpenForWriting(const std::string& path, std::uint64_t size_limit = std::uint64_t{1} << 31) {
  DatabaseOptions options;
  options.open_for = OpenFor::Writing;
  options.size_limit = size_limit;
  return Database::Open(path, options);
}

// Table "Table" of delTestV2000.mdb: two Text(50) columns, no index.
RowId AddRow(Database& database, const std::string& a) {
  Table& table = database.GetTable("Table");
  return table.Insert({Value::String(a), Value::String("b")});
}

std::vector<std::string> ColumnA(const std::string& path) {
  auto database = Database::Open(path);
  Table& table = database->GetTable("Table");
  std::vector<std::string> values;
  for (RowId row : table.RowIds()) values.push_back(table.ReadValue(row, 0).bytes);
  std::sort(values.begin(), values.end());
  return values;
}

bool Contains(const std::vector<std::string>& values, const std::string& value) {
  return std::find(values.begin(), values.end(), value) != values.end();
}

// Everything in the folder but the database itself (lock and work files left behind).
std::vector<std::string> LeftOver(const TempDir& dir) {
  std::vector<std::string> names = os::ListDirectory(dir.path());
  names.erase(std::remove(names.begin(), names.end(), "office.mdb"), names.end());
  return names;
}

template <typename Action>
Error Refusal(Action action) {
  try {
    action();
  } catch (const Error& error) {
    return error;
  }
  return Error(ErrorKind::IoError, "<no error>");
}

TEST(Writers, ARefusedSecondWriterLeavesTheFirstWritersWorkAlone) {
  TempDir dir;
  std::string path = CopyFixture(dir, "delTestV2000.mdb");
  auto first = OpenForWriting(path);
  AddRow(*first, "first writer");
  Error refused = Refusal([&] { OpenForWriting(path); });
  EXPECT_EQ(refused.kind(), ErrorKind::Locked) << refused.what();
  EXPECT_NE(std::string(refused.what()).find(path), std::string::npos) << refused.what();
  ASSERT_NO_THROW(first->Commit());
  first.reset();
  EXPECT_TRUE(Contains(ColumnA(path), "first writer"));
  EXPECT_TRUE(LeftOver(dir).empty());
}

// A waiting writer has opened the lock file when the holder commits, removes it and leaves;
// the waiter's lock then lands on a removed file. It must notice, and lock the file that is
// there, so that a third writer is refused while it writes.
TEST(Writers, ALockFileRemovedUnderAWaitingWriterIsNotTrusted) {
  TempDir dir;
  std::string path = CopyFixture(dir, "delTestV2000.mdb");
  auto first = OpenForWriting(path);
  AddRow(*first, "first");
  os::FaultInjection::BeforeNextLock([&] {
    first->Commit();
    first.reset();
  });
  auto second = OpenForWriting(path);
  os::FaultInjection::Reset();
  EXPECT_FALSE(first);
  Error refused = Refusal([&] { OpenForWriting(path); });
  EXPECT_EQ(refused.kind(), ErrorKind::Locked) << refused.what();
  AddRow(*second, "second");
  second->Commit();
  second.reset();
  std::vector<std::string> rows = ColumnA(path);
  EXPECT_TRUE(Contains(rows, "first"));
  EXPECT_TRUE(Contains(rows, "second"));
  EXPECT_TRUE(LeftOver(dir).empty());
}

// A file at the work-file name of earlier versions (another program's, or an old session's)
// is neither used nor removed.
TEST(Writers, WorkFilesAreTheWritersOwn) {
  TempDir dir;
  std::string path = CopyFixture(dir, "delTestV2000.mdb");
  std::string foreign = path + ".qorvane-work";
  const std::string text = "not ours";
  os::WriteWholeFile(foreign, std::as_bytes(std::span<const char>(text.data(), text.size())));
  {
    auto database = OpenForWriting(path);
    AddRow(*database, "committed");
    database->Commit();
    AddRow(*database, "dropped");
  }
  ASSERT_TRUE(os::IsRegularFile(foreign));
  EXPECT_EQ(os::ReadWholeFile(foreign).size(), text.size());
  EXPECT_TRUE(Contains(ColumnA(path), "committed"));
  EXPECT_FALSE(Contains(ColumnA(path), "dropped"));
  EXPECT_EQ(LeftOver(dir), std::vector<std::string>{"office.mdb.qorvane-work"});
}

// Three processes open, add a row and commit in a loop, retrying while refused: every
// committed row is there at the end.
TEST(Writers, ProcessesTakingTurnsLoseNoCommittedRow) {
  TempDir dir;
  std::string path = CopyFixture(dir, "delTestV2000.mdb");
  std::size_t before = ColumnA(path).size();
  constexpr int kProcesses = 3;
  constexpr int kRounds = 8;
  std::vector<pid_t> children;
  for (int p = 0; p < kProcesses; ++p) {
    pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      int status = 0;
      for (int round = 0; round < kRounds && status == 0;) {
        try {
          auto database = OpenForWriting(path);
          AddRow(*database, "process " + std::to_string(p) + " round " + std::to_string(round));
          database->Commit();
          ++round;
        } catch (const Error& error) {
          if (error.kind() != ErrorKind::Locked) status = 1;
          ::usleep(1000);
        }
      }
      ::_exit(status);
    }
    children.push_back(pid);
  }
  for (pid_t pid : children) {
    int status = -1;
    ::waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "a writer failed";
  }
  std::vector<std::string> rows = ColumnA(path);
  EXPECT_EQ(rows.size(), before + kProcesses * kRounds);
  for (int p = 0; p < kProcesses; ++p) {
    for (int round = 0; round < kRounds; ++round) {
      EXPECT_TRUE(Contains(rows, "process " + std::to_string(p) + " round " + std::to_string(round)));
    }
  }
  EXPECT_TRUE(LeftOver(dir).empty());
}

TEST(CommittedFile, KeepsPermissionsOwnerAndGroup) {
  TempDir dir;
  std::string path = CopyFixture(dir, "delTestV2000.mdb");
  // As root the file is given to another user and group; otherwise the own ones are kept.
  uid_t owner = ::geteuid() == 0 ? 1234 : ::geteuid();
  gid_t group = ::geteuid() == 0 ? 5678 : ::getegid();
  ASSERT_EQ(::chown(path.c_str(), owner, group), 0);
  ASSERT_EQ(::chmod(path.c_str(), 0660), 0);
  {
    auto database = OpenForWriting(path);
    AddRow(*database, "kept");
    database->Commit();
  }
  struct stat st {};
  ASSERT_EQ(::stat(path.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0660u);
  EXPECT_EQ(st.st_uid, owner);
  EXPECT_EQ(st.st_gid, group);
  EXPECT_TRUE(Contains(ColumnA(path), "kept"));
}

TEST(CommittedFile, AFileWithOtherHardLinksIsRefusedBeforeAnyWork) {
  TempDir dir;
  std::string path = CopyFixture(dir, "delTestV2000.mdb");
  std::string other = dir.path() + "/shared.mdb";
  ASSERT_EQ(::link(path.c_str(), other.c_str()), 0);
  Error refused = Refusal([&] { OpenForWriting(path); });
  EXPECT_EQ(refused.kind(), ErrorKind::NotSupported) << refused.what();
  EXPECT_NE(std::string(refused.what()).find(path), std::string::npos) << refused.what();
  EXPECT_NE(std::string(refused.what()).find("hard links"), std::string::npos) << refused.what();
  EXPECT_EQ(os::ListDirectory(dir.path()).size(), 2u);  // no lock, no work file
}

// A file the user may not write is refused at open, before the lock or any copy, even in a
// folder where the user could create files and rename over it.
TEST(CommittedFile, AFileTheUserMayNotWriteIsRefusedAtOpen) {
  TempDir dir;
  std::string path = CopyFixture(dir, "delTestV2000.mdb");
  ASSERT_EQ(::chmod(dir.path().c_str(), 0777), 0);
  ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
  pid_t pid = ::fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    // Root may write anything: the check runs as an ordinary user.
    if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0)) ::_exit(2);
    Error refused = Refusal([&] { OpenForWriting(path); });
    bool named = std::string(refused.what()).find(path) != std::string::npos;
    ::_exit(refused.kind() == ErrorKind::PermissionDenied && named ? 0 : 1);
  }
  int status = -1;
  ::waitpid(pid, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
  EXPECT_TRUE(LeftOver(dir).empty());
}

TEST(SizeLimit, AnInsertNeedingAPagePastTheLimitIsRefusedAndTheFileKept) {
  TempDir dir;
  std::string path = CopyFixture(dir, "delTestV2000.mdb");
  auto original = os::ReadWholeFile(path);
  auto database = OpenForWriting(path, original.size() + 4 * 4096);
  Error refused = Refusal([&] {
    for (int i = 0; i < 100000; ++i) AddRow(*database, std::string(40, 'x') + std::to_string(i));
  });
  EXPECT_EQ(refused.kind(), ErrorKind::Constraint) << refused.what();
  EXPECT_NE(std::string(refused.what()).find(path), std::string::npos) << refused.what();
  EXPECT_NE(std::string(refused.what()).find("2 GB"), std::string::npos) << refused.what();
  database->Rollback();
  database.reset();
  EXPECT_EQ(os::ReadWholeFile(path), original);
}

TEST(SizeLimit, ADatabaseAlreadyPastTheLimitIsRefusedAtCommitUnchanged) {
  TempDir dir;
  std::string path = CopyFixture(dir, "delTestV2000.mdb");
  auto original = os::ReadWholeFile(path);
  auto database = OpenForWriting(path, original.size() - 4096);
  database->GetTable("Table").Delete(database->GetTable("Table").RowIds().front());
  Error refused = Refusal([&] { database->Commit(); });
  EXPECT_EQ(refused.kind(), ErrorKind::Constraint) << refused.what();
  EXPECT_NE(std::string(refused.what()).find(path), std::string::npos) << refused.what();
  EXPECT_EQ(os::ReadWholeFile(path), original);
  database.reset();
  EXPECT_TRUE(LeftOver(dir).empty());
}

}  // namespace
}  // namespace qorvane::jet
