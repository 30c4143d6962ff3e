// The thin layer between the libraries and the operating system. Every read, write, sync,
// rename and directory listing of the program goes through here, so that a test can make the
// Nth write fail or pretend the disk is full (FaultInjection below).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "common/error.h"

namespace qorvane::os {

enum class OpenMode { ReadOnly, ReadWrite, CreateTruncate, CreateNew };

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
  // Takes an exclusive advisory lock without waiting; false when another process holds one.
  bool TryLockExclusive();

 private:
  int fd_ = -1;
  std::string path_;
};

// Reads a whole file into memory.
std::vector<std::byte> ReadWholeFile(const std::string& path);
// Writes a whole file (truncating), and syncs it.
void WriteWholeFile(const std::string& path, std::span<const std::byte> data);

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
// Syncs a directory, so that a rename inside it survives a crash.
void SyncDirectory(const std::string& path);
// The names (not paths) of the entries of a directory.
std::vector<std::string> ListDirectory(const std::string& path);

// Finds NAME inside DIR without regard to ASCII case, as Windows does: returns the path of the
// entry as it is spelled on disk, or nullopt. An exact match wins over a case-blind one.
std::optional<std::string> FindCaseInsensitive(const std::string& dir, const std::string& name);
// Joins a directory and a name with exactly one '/' between them.
std::string JoinPath(const std::string& dir, const std::string& name);

// Test hook: makes the Nth write or sync from now on fail with the given errno (ENOSPC for a
// full disk). Process-wide, for tests only; Reset() turns it off.
struct FaultInjection {
  static void FailNthWrite(int n, int error_number);
  static void FailNthSync(int n, int error_number);
  static void Reset();
};

}  // namespace qorvane::os
