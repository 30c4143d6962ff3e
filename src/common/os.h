// The thin layer between the libraries and the operating system. Every read, write, sync,
// rename and directory listing of the program goes through here, so that a test can make the
// Nth write fail or pretend the disk is full (FaultInjection below).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "common/error.h"

namespace qorvane::os {

enum class OpenMode { ReadOnly, ReadWrite, CreateTruncate, CreateNew };

// What stat() tells of a file: which file it is (device and inode), its permission bits, owner,
// group, number of hard links and size.
struct FileStatus {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint32_t mode = 0;  // permission bits only (07777)
  std::uint32_t owner = 0;
  std::uint32_t group = 0;
  std::uint64_t links = 0;
  std::uint64_t size = 0;
  bool SameFile(const FileStatus& other) const { return device == other.device && inode == other.inode; }
};

// What TakeOwnerAndMode could keep of another file's ownership.
struct OwnershipKept {
  bool owner = true;
  bool group = true;
};

// An open file. Owns its descriptor; closes it when destroyed. Failures throw qorvane::Error
// whose message names the path.
class File {
 public:
  File() = default;
  static File Open(const std::string& path, OpenMode mode);
  File(File&& other) noexcept;
  File& operator=(File&& other) noexcept;
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File();

  bool is_open() const { return fd_ >= 0; }
  const std::string& path() const { return path_; }
  std::uint64_t Size() const;
  // Reads up to buffer.size() bytes at offset; returns how many were read (short at the end).
  std::size_t ReadAt(std::uint64_t offset, std::span<std::byte> buffer) const;
  // Writes all of data at offset, or throws.
  void WriteAt(std::uint64_t offset, std::span<const std::byte> data);
  void Truncate(std::uint64_t size);
  void Sync();
  void Close();
  // Takes an exclusive advisory lock without waiting, both a flock lock and a whole-file fcntl
  // write lock; false when another process holds either kind on any part of the file.
  bool TryLockExclusive();
  FileStatus Status() const;
  // Gives this file the permission bits, group and (when the process may) owner of ANOTHER.
  // The owner is kept only by a privileged process, the group only by one of its members; a
  // refused owner or group change is not an error (the result says what was kept), a refused
  // change of the permission bits is.
  OwnershipKept TakeOwnerAndMode(const FileStatus& another);

 private:
  friend File CreateUniqueFile(const std::string& prefix);
  friend std::optional<File> LockFileAt(const std::string& path);
  static File Adopt(int fd, const std::string& path);
  int fd_ = -1;
  std::string path_;
};

// Reads a whole file into memory.
std::vector<std::byte> ReadWholeFile(const std::string& path);
// Writes a whole file (truncating), and syncs it.
void WriteWholeFile(const std::string& path, std::span<const std::byte> data);

// Creates a new file PREFIX<pid>-<random hex> that no other process can have opened (O_EXCL,
// mode 0600), retrying on a name already taken.
File CreateUniqueFile(const std::string& prefix);
// Opens the lock file PATH (creating it when missing) and takes its exclusive lock, or returns nullopt when another process holds it. The file locked is the one at PATH
// when the lock is granted: when a holder removed it meanwhile (holders remove their lock file
// while they still hold the lock), the stale file is dropped and the lock taken again.
std::optional<File> LockFileAt(const std::string& path);

// Whether a process of this number runs on this machine (one we may not signal counts).
bool ProcessExists(long pid);

// PATH with every symbolic link in it followed (the file a link names); PATH itself when it
// cannot be resolved (not there yet), so that the error that follows names what was given.
std::string ResolvedPath(const std::string& path);
// The name of group GROUP, or its number when it has none.
std::string GroupName(std::uint32_t group);

// The status of PATH (following links), or nullopt when it cannot be found.
std::optional<FileStatus> StatusOf(const std::string& path);
// Whether this process may write PATH (a file, or a folder: create and rename inside it).
bool MayWrite(const std::string& path);
bool IsRegularFile(const std::string& path);
bool IsDirectory(const std::string& path);
// The size of a file, or nullopt when it cannot be found.
std::optional<std::uint64_t> FileSize(const std::string& path);
// Renames atomically (same file system), replacing the target.
void Rename(const std::string& from, const std::string& to);
// Removes a file; a file that is not there is not an error.
void RemoveFile(const std::string& path);
void MakeDirectory(const std::string& path);
void CopyFile(const std::string& from, const std::string& to);
// Copies the contents of FROM into the open, empty file TO and syncs it.
void CopyInto(const std::string& from, File& to);
// Syncs a directory, so that a rename inside it survives a crash.
void SyncDirectory(const std::string& path);
// The names (not paths) of the entries of a directory.
std::vector<std::string> ListDirectory(const std::string& path);

// Finds NAME inside DIR without regard to ASCII case, as Windows does: returns the path of the
// entry as it is spelled on disk, or nullopt. An exact match wins over a case-blind one.
std::optional<std::string> FindCaseInsensitive(const std::string& dir, const std::string& name);
// Joins a directory and a name with exactly one '/' between them.
std::string JoinPath(const std::string& dir, const std::string& name);

// Test hooks of the binary: QORVANE_TEST_KILL_AT=N kills the process just before its Nth change
// to a file (write, size change, sync, rename, removal); QORVANE_TEST_CHANGES=FILE lists each
// change in FILE ("N KIND PATH"); QORVANE_TEST_SIZE_LIMIT=BYTES lowers the largest size a
// database may grow to (TestSizeLimit), so that a test meets the 2 GB refusal with a small file.
std::optional<std::uint64_t> TestSizeLimit();
//
// Test hook: makes the Nth write or sync from now on fail with the given errno (ENOSPC for a
// full disk). Process-wide, for tests only; Reset() turns it off.
struct FaultInjection {
  static void FailNthWrite(int n, int error_number);
  static void FailNthSync(int n, int error_number);
  // How many writes this process has made since the last Reset (failed ones included), so that
  // a test can fail each write of a run in turn.
  static long WritesSinceReset();
  // Runs ACTION once, just before the next lock is taken (between opening a lock file and
  // locking it), so that a test can make another writer act in that moment.
  static void BeforeNextLock(std::function<void()> action);
  static void Reset();
};

}  // namespace qorvane::os
