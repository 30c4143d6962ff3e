// Writers and files: one writer at a time under any interleaving, a refused writer harms
// nobody's work, a commit keeps the file's permissions, owner, group and links (or refuses
// before any work, or says which group it could not keep), writes through a symbolic link, the
// 2 GB limit, and values refused or replaced before they reach a row.
#include <gtest/gtest.h>

#include <grp.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>

#include "common/error.h"
#include "common/os.h"
#include "jet/database.h"
#include "readers.h"
#include "test_support/temp_dir.h"
#include "work_files.h"

namespace qorvane::jet {
namespace {

using qorvane::test::TempDir;

using test::CopyFixture;
using test::OpenForWriting;

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

// A writer killed at work leaves its work file; the next writer, holding the lock, removes it,
// but not one named after a process that still runs.
TEST(Writers, AKilledWritersWorkFileIsRemovedByTheNextWriter) {
  TempDir dir;
  std::string path = CopyFixture(dir, "delTestV2000.mdb");
  auto original = os::ReadWholeFile(path);
  pid_t pid = ::fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    auto database = OpenForWriting(path);
    AddRow(*database, "never committed");
    ::raise(SIGKILL);
  }
  int status = -1;
  ::waitpid(pid, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status));
  std::string killed_work = "office.mdb.qorvane-work-" + std::to_string(pid) + "-";
  std::vector<std::string> left = LeftOver(dir);
  ASSERT_TRUE(std::any_of(left.begin(), left.end(), [&](const std::string& name) { return name.rfind(killed_work, 0) == 0; }));
  EXPECT_EQ(os::ReadWholeFile(path), original);
  std::string live_work = path + ".qorvane-work-1-0000";  // process 1 always runs
  os::WriteWholeFile(live_work, {});
  auto database = OpenForWriting(path);
  left = LeftOver(dir);
  std::sort(left.begin(), left.end());
  EXPECT_EQ(left, (std::vector<std::string>{"office.ldb", "office.mdb.qorvane-work-1-0000"}));
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

// office.mdb as a symbolic link to a file elsewhere: the file it names gets the rows (its work
// copy and lock beside it), and the link stays a link.
TEST(CommittedFile, ASymbolicLinkIsWrittenThroughToTheFileItNames) {
  TempDir dir;
  std::string real = CopyFixture(dir, "delTestV2000.mdb");
  std::filesystem::create_directory(dir.path() + "/elsewhere");
  std::filesystem::rename(real, dir.path() + "/elsewhere/real.mdb");
  real = dir.path() + "/elsewhere/real.mdb";
  std::string link = dir.path() + "/office.mdb";
  std::filesystem::create_symlink("elsewhere/real.mdb", link);
  for (const char* value : {"first", "second"}) {
    auto database = OpenForWriting(link);
    AddRow(*database, value);
    database->Commit();
  }
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_TRUE(Contains(ColumnA(real), "first"));
  EXPECT_TRUE(Contains(ColumnA(real), "second"));
  EXPECT_EQ(LeftOver(dir), std::vector<std::string>{"elsewhere"});
  EXPECT_EQ(os::ListDirectory(dir.path() + "/elsewhere"), std::vector<std::string>{"real.mdb"});
}

// A file of a group the user is not in cannot keep its group when a new copy replaces it: the
// change goes through, and the reporter is told which group was lost.
TEST(CommittedFile, AGroupTheUserIsNotInIsReportedWhenItCannotBeKept) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to give the file to a group of another user";
  TempDir dir;
  std::string path = CopyFixture(dir, "delTestV2000.mdb");
  ASSERT_EQ(::chmod(dir.path().c_str(), 0777), 0);
  ASSERT_EQ(::chown(path.c_str(), 65534, 1), 0);  // nobody's file, in group 1, which nobody is not in
  ASSERT_EQ(::chmod(path.c_str(), 0666), 0);
  int pipe_ends[2];
  ASSERT_EQ(::pipe(pipe_ends), 0);
  pid_t pid = ::fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    if (::setgroups(0, nullptr) != 0 || ::setgid(65534) != 0 || ::setuid(65534) != 0) ::_exit(2);
    CollectingReporter reporter;
    DatabaseOptions options;
    options.open_for = OpenFor::Writing;
    options.reporter = &reporter;
    auto database = Database::Open(path, options);
    AddRow(*database, "written by nobody");
    database->Commit();
    std::string said;
    for (const std::string& message : reporter.messages) said += message + "\n";
    if (::write(pipe_ends[1], said.data(), said.size()) < 0) ::_exit(3);
    ::_exit(0);
  }
  ::close(pipe_ends[1]);
  std::string said;
  char buffer[4096];
  for (ssize_t n; (n = ::read(pipe_ends[0], buffer, sizeof buffer)) > 0;) said.append(buffer, static_cast<std::size_t>(n));
  ::close(pipe_ends[0]);
  int status = -1;
  ::waitpid(pid, &status, 0);
  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
  EXPECT_TRUE(Contains(ColumnA(path), "written by nobody"));
  std::string group = os::GroupName(1);
  EXPECT_NE(said.find(path + ": the file belongs to the group " + group + ", which this user is not in"), std::string::npos)
      << said;
  EXPECT_NE(said.find("chgrp " + group), std::string::npos) << said;
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
  auto database = OpenForWriting(path, {.size_limit = original.size() + 4 * 4096});
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
  auto database = OpenForWriting(path, {.size_limit = original.size() - 4096});
  database->GetTable("Table").Delete(database->GetTable("Table").RowIds().front());
  Error refused = Refusal([&] { database->Commit(); });
  EXPECT_EQ(refused.kind(), ErrorKind::Constraint) << refused.what();
  EXPECT_NE(std::string(refused.what()).find(path), std::string::npos) << refused.what();
  EXPECT_EQ(os::ReadWholeFile(path), original);
  database.reset();
  EXPECT_TRUE(LeftOver(dir).empty());
}

// Table1 of testV2000.mdb: A Text(50) primary key, B Text(100), ..., G DateTime (column 6),
// ..., I Boolean.
std::vector<Value> Table1Row(Value b, Value g) {
  static int next_key = 0;
  std::vector<Value> row(9);
  row[0] = Value::String("key " + std::to_string(++next_key));
  row[1] = std::move(b);
  row[6] = std::move(g);
  row[8] = Value::Bool(false);
  return row;
}

TEST(InsertedValues, DatesAreReadStrictlyAndKeptWithinTheYears100To9999) {
  TempDir dir;
  std::string path = CopyFixture(dir, "testV2000.mdb");
  auto database = OpenForWriting(path);
  Table& table = database->GetTable("Table1");
  const std::pair<Value, std::string> accepted[] = {
      {Value::String("2/29/2024"), "2024-02-29 00:00:00"},
      {Value::String(" 12/31/9999 23:59:59 "), "9999-12-31 23:59:59"},
      {Value::String("0100-01-01"), "0100-01-01 00:00:00"},
      {Value::String("2024-03-01 13:45"), "2024-03-01 13:45:00"},
      {Value::String("2024-03-01T13:45:10"), "2024-03-01 13:45:10"},
      {Value::Date(-657434.5), "0100-01-01 12:00:00"},
      {Value::Date(2958465.75), "9999-12-31 18:00:00"},
      {Value::Real(45000), "2023-03-15 00:00:00"},
  };
  for (const auto& [value, expected] : accepted) {
    RowId row = table.Insert(Table1Row(Value::String("ok"), value));
    EXPECT_EQ(table.ReadValue(row, 6).AsText(), expected) << value.AsText();
  }
  const std::pair<Value, std::string> refused[] = {
      {Value::String("2/30/2024"), "2/30/2024"},
      {Value::String("2/29/2023"), "2/29/2023"},
      {Value::String("4/31/2024"), "4/31/2024"},
      {Value::String("13/1/2024"), "13/1/2024"},
      {Value::String("1/1/99"), "1/1/99"},
      {Value::String("0000-01-01"), "0000-01-01"},
      {Value::String("10000-01-01"), "10000-01-01"},
      {Value::String("2024-01-01 24:00"), "2024-01-01 24:00"},
      {Value::String("2024-01-01 10:00 PM"), "2024-01-01 10:00 PM"},
      {Value::String("2024-01-01x"), "2024-01-01x"},
      {Value::String("yesterday"), "yesterday"},
      {Value::Real(1e9), "1e+09"},
      {Value::Real(std::numeric_limits<double>::quiet_NaN()), "nan"},
      {Value::Real(std::numeric_limits<double>::infinity()), "inf"},
      {Value::Date(-std::numeric_limits<double>::infinity()), "-inf"},
      {Value::Date(-657435.5), "-657435.5"},
      {Value::Date(2958466), "2958466"},
      {Value::Bytes("\x01"), "binary"},
  };
  std::size_t rows = table.row_count();
  for (const auto& [value, shown] : refused) {
    Error error = Refusal([&] { table.Insert(Table1Row(Value::String("refused"), value)); });
    std::string message = error.what();
    EXPECT_EQ(error.kind(), ErrorKind::InvalidArgument) << shown << ": " << message;
    EXPECT_NE(message.find("Table1"), std::string::npos) << message;
    EXPECT_NE(message.find("column G"), std::string::npos) << message;
    EXPECT_NE(message.find(shown), std::string::npos) << message;
  }
  EXPECT_EQ(table.row_count(), rows);
}

// Text that is not well-formed UTF-8 is stored with U+FFFD in place of each ill-formed
// sequence, as every reader then shows it; nothing becomes another character.
TEST(InsertedValues, IllFormedUtf8IsStoredAsReplacementCharacters) {
  TempDir dir;
  std::string path = CopyFixture(dir, "delTestV2000.mdb");
  const std::pair<std::string, std::string> cases[] = {
      {"overlong a\xC0\xAF", "overlong a\uFFFD\uFFFD"},
      {"surrogate \xED\xA0\x80", "surrogate \uFFFD\uFFFD\uFFFD"},
      {"too high \xF4\x90\x80\x80", "too high \uFFFD\uFFFD\uFFFD\uFFFD"},
      {"cut \xE2\x82", "cut \uFFFD"},
      {"stray \x80 byte", "stray \uFFFD byte"},
      {"beyond the BMP \xF0\x9F\x98\x80", "beyond the BMP \U0001F600"},
  };
  {
    auto database = OpenForWriting(path);
    for (const auto& [text, stored] : cases) AddRow(*database, text);
    database->Commit();
  }
  test::ReadTable ours = test::ReadWithEngine(path, "Table");
  test::ReadTable theirs = test::ReadWithMdbReader(path, "Table");
  auto has = [](const test::ReadTable& table, const std::string& text) {
    return std::any_of(table.rows.begin(), table.rows.end(), [&](const auto& row) { return row[0] == text; });
  };
  for (const auto& [text, stored] : cases) {
    EXPECT_TRUE(has(ours, stored)) << stored;
    EXPECT_TRUE(has(theirs, stored)) << stored;
  }
}

}  // namespace
}  // namespace qorvane::jet
