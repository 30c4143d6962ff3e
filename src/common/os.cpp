// POSIX implementation of the operating-system layer, with the test fault-injection counters.
#include "common/os.h"

#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <random>

namespace qorvane::os {
namespace {

// Countdown to an injected failure: 0 is off, 1 fails the next call.
std::atomic<int> write_countdown{0};
std::atomic<int> write_errno{0};
std::atomic<int> sync_countdown{0};
std::atomic<int> sync_errno{0};
std::atomic<long> writes_since_reset{0};
std::mutex before_lock_mutex;
std::function<void()> before_lock;

// Returns the errno to fail with when this call is the injected one, else 0.
int TakeFault(std::atomic<int>& countdown, std::atomic<int>& error_number) {
  int current = countdown.load();
  while (current > 0) {
    if (countdown.compare_exchange_weak(current, current - 1)) {
      return current == 1 ? error_number.load() : 0;
    }
  }
  return 0;
}

FileStatus StatusFrom(const struct stat& st) {
  FileStatus status;
  status.device = static_cast<std::uint64_t>(st.st_dev);
  status.inode = static_cast<std::uint64_t>(st.st_ino);
  status.mode = static_cast<std::uint32_t>(st.st_mode & 07777);
  status.owner = static_cast<std::uint32_t>(st.st_uid);
  status.group = static_cast<std::uint32_t>(st.st_gid);
  status.links = static_cast<std::uint64_t>(st.st_nlink);
  status.size = static_cast<std::uint64_t>(st.st_size);
  return status;
}

bool AsciiEqualNoCase(const std::string& a, const std::string& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    unsigned char x = static_cast<unsigned char>(a[i]);
    unsigned char y = static_cast<unsigned char>(b[i]);
    if (x >= 'A' && x <= 'Z') x = static_cast<unsigned char>(x - 'A' + 'a');
    if (y >= 'A' && y <= 'Z') y = static_cast<unsigned char>(y - 'A' + 'a');
    if (x != y) return false;
  }
  return true;
}

// Test hooks of the binary, read once from the environment: QORVANE_TEST_KILL_AT=N kills the
// process (SIGKILL) just before its Nth change to a file (write, size change, sync, rename,
// removal), so that a test can stop a real run at any point and look at what a crash leaves;
// QORVANE_TEST_CHANGES=FILE appends a line "N KIND PATH" to FILE for each change, so that a
// test can find the changes of one part of a run (the source repairs) and kill at each.
void CountChange(const char* kind, const std::string& path) {
  static const long kill_at = [] {
    const char* value = std::getenv("QORVANE_TEST_KILL_AT");
    return value ? std::strtol(value, nullptr, 10) : 0L;
  }();
  static const int trace = [] {
    const char* value = std::getenv("QORVANE_TEST_CHANGES");
    return value ? ::open(value, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644) : -1;
  }();
  if (kill_at <= 0 && trace < 0) return;
  static std::atomic<long> changes{0};
  long change = ++changes;
  if (trace >= 0) {
    std::string line = std::to_string(change) + " " + kind + " " + path + "\n";
    if (::write(trace, line.data(), line.size()) < 0) {
      // A trace that cannot be written only leaves the test without its lines.
    }
  }
  if (change == kill_at) ::kill(::getpid(), SIGKILL);
}

}  // namespace

void FaultInjection::FailNthWrite(int n, int error_number) {
  write_errno = error_number;
  write_countdown = n;
}
void FaultInjection::FailNthSync(int n, int error_number) {
  sync_errno = error_number;
  sync_countdown = n;
}
void FaultInjection::BeforeNextLock(std::function<void()> action) {
  std::lock_guard<std::mutex> guard(before_lock_mutex);
  before_lock = std::move(action);
}
long FaultInjection::WritesSinceReset() { return writes_since_reset.load(); }
void FaultInjection::Reset() {
  writes_since_reset = 0;
  write_countdown = 0;
  sync_countdown = 0;
  BeforeNextLock(nullptr);
}

File File::Open(const std::string& path, OpenMode mode) {
  int flags = O_CLOEXEC;
  switch (mode) {
    case OpenMode::ReadOnly: flags |= O_RDONLY; break;
    case OpenMode::ReadWrite: flags |= O_RDWR; break;
    case OpenMode::CreateTruncate: flags |= O_RDWR | O_CREAT | O_TRUNC; break;
    case OpenMode::CreateNew: flags |= O_RDWR | O_CREAT | O_EXCL; break;
  }
  int fd = ::open(path.c_str(), flags, 0644);
  if (fd < 0) throw ErrorFromErrno(errno, "cannot open", path);
  return Adopt(fd, path);
}

File File::Adopt(int fd, const std::string& path) {
  File file;
  file.fd_ = fd;
  file.path_ = path;
  return file;
}

File::File(File&& other) noexcept : fd_(other.fd_), path_(std::move(other.path_)) { other.fd_ = -1; }

File& File::operator=(File&& other) noexcept {
  if (this != &other) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = other.fd_;
    path_ = std::move(other.path_);
    other.fd_ = -1;
  }
  return *this;
}

File::~File() {
  if (fd_ >= 0) ::close(fd_);
}

std::uint64_t File::Size() const {
  struct stat st {};
  if (::fstat(fd_, &st) != 0) throw ErrorFromErrno(errno, "cannot read the size of", path_);
  return static_cast<std::uint64_t>(st.st_size);
}

std::size_t File::ReadAt(std::uint64_t offset, std::span<std::byte> buffer) const {
  std::size_t done = 0;
  while (done < buffer.size()) {
    ssize_t n = ::pread(fd_, buffer.data() + done, buffer.size() - done,
                        static_cast<off_t>(offset + done));
    if (n < 0) {
      if (errno == EINTR) continue;
      throw ErrorFromErrno(errno, "cannot read", path_);
    }
    if (n == 0) break;
    done += static_cast<std::size_t>(n);
  }
  return done;
}

void File::WriteAt(std::uint64_t offset, std::span<const std::byte> data) {
  CountChange("write", path_);
  ++writes_since_reset;
  if (int injected = TakeFault(write_countdown, write_errno)) {
    throw ErrorFromErrno(injected, "cannot write", path_);
  }
  std::size_t done = 0;
  while (done < data.size()) {
    ssize_t n = ::pwrite(fd_, data.data() + done, data.size() - done,
                         static_cast<off_t>(offset + done));
    if (n < 0) {
      if (errno == EINTR) continue;
      throw ErrorFromErrno(errno, "cannot write", path_);
    }
    done += static_cast<std::size_t>(n);
  }
}

void File::Truncate(std::uint64_t size) {
  CountChange("size", path_);
  if (::ftruncate(fd_, static_cast<off_t>(size)) != 0) {
    throw ErrorFromErrno(errno, "cannot set the size of", path_);
  }
}

void File::Sync() {
  CountChange("sync", path_);
  if (int injected = TakeFault(sync_countdown, sync_errno)) {
    throw ErrorFromErrno(injected, "cannot flush", path_);
  }
  if (::fsync(fd_) != 0) throw ErrorFromErrno(errno, "cannot flush", path_);
}

void File::Close() {
  if (fd_ >= 0) {
    int result = ::close(fd_);
    fd_ = -1;
    if (result != 0) throw ErrorFromErrno(errno, "cannot close", path_);
  }
}

bool File::TryLockExclusive() {
  std::function<void()> action;
  {
    std::lock_guard<std::mutex> guard(before_lock_mutex);
    action.swap(before_lock);
  }
  if (action) action();
  if (::flock(fd_, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) return false;
    throw ErrorFromErrno(errno, "cannot lock", path_);
  }
  // Programs that lock byte ranges (fcntl: Samba, Wine, other database tools) do not see a
  // flock lock, nor it theirs: a write lock over the whole file, held by this open file,
  // conflicts with any range another process holds.
  struct flock whole {};
  whole.l_type = F_WRLCK;
  whole.l_whence = SEEK_SET;
  if (::fcntl(fd_, F_OFD_SETLK, &whole) == 0) return true;
  int saved = errno;
  ::flock(fd_, LOCK_UN);
  if (saved == EAGAIN || saved == EACCES) return false;
  throw ErrorFromErrno(saved, "cannot lock", path_);
}

FileStatus File::Status() const {
  struct stat st {};
  if (::fstat(fd_, &st) != 0) throw ErrorFromErrno(errno, "cannot read the status of", path_);
  return StatusFrom(st);
}

OwnershipKept File::TakeOwnerAndMode(const FileStatus& another) {
  OwnershipKept kept;
  // Owner first: a change of owner may clear set-id bits that chmod then restores.
  if (::fchown(fd_, another.owner, another.group) != 0) {
    kept.owner = false;
    kept.group = ::fchown(fd_, static_cast<uid_t>(-1), another.group) == 0;
  }
  if (::fchmod(fd_, static_cast<mode_t>(another.mode)) != 0) {
    throw ErrorFromErrno(errno, "cannot set the permissions of", path_);
  }
  // A file created here may already have that owner and group.
  FileStatus now = Status();
  kept.owner = kept.owner || now.owner == another.owner;
  kept.group = kept.group || now.group == another.group;
  return kept;
}

File CreateUniqueFile(const std::string& prefix) {
  static constexpr char kHex[] = "0123456789abcdef";
  std::random_device random;
  for (int attempt = 0;; ++attempt) {
    std::string path = prefix + std::to_string(::getpid()) + "-";
    for (int i = 0; i < 4; ++i) {
      unsigned value = random();
      for (int k = 0; k < 4; ++k, value >>= 4) path += kHex[value & 15];
    }
    int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd >= 0) return File::Adopt(fd, path);
    if (errno != EEXIST || attempt >= 100) throw ErrorFromErrno(errno, "cannot create", path);
  }
}

std::optional<File> LockFileAt(const std::string& path) {
  for (int attempt = 0;; ++attempt) {
    int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) throw ErrorFromErrno(errno, "cannot open the lock file", path);
    File file = File::Adopt(fd, path);
    if (!file.TryLockExclusive()) return std::nullopt;
    // The lock holds only if the file locked is still the one at PATH.
    std::optional<FileStatus> now = StatusOf(path);
    if (now && now->SameFile(file.Status())) return file;
    if (attempt >= 100) throw Error(ErrorKind::Locked, path + ": the lock file keeps being replaced");
  }
}

std::vector<std::byte> ReadWholeFile(const std::string& path) {
  File file = File::Open(path, OpenMode::ReadOnly);
  std::vector<std::byte> data(file.Size());
  data.resize(file.ReadAt(0, data));
  return data;
}

void WriteWholeFile(const std::string& path, std::span<const std::byte> data) {
  File file = File::Open(path, OpenMode::CreateTruncate);
  file.WriteAt(0, data);
  file.Sync();
  file.Close();
}

bool ProcessExists(long pid) {
  return pid > 0 && (::kill(static_cast<pid_t>(pid), 0) == 0 || errno != ESRCH);
}

std::string ResolvedPath(const std::string& path) {
  char* resolved = ::realpath(path.c_str(), nullptr);
  if (resolved == nullptr) return path;
  std::string result(resolved);
  std::free(resolved);
  return result;
}

std::string GroupName(std::uint32_t group) {
  std::vector<char> buffer(4096);
  struct group entry {};
  struct group* found = nullptr;
  if (::getgrgid_r(static_cast<gid_t>(group), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr) {
    return found->gr_name;
  }
  return std::to_string(group);
}

std::optional<std::uint64_t> TestSizeLimit() {
  static const std::optional<std::uint64_t> limit = []() -> std::optional<std::uint64_t> {
    const char* value = std::getenv("QORVANE_TEST_SIZE_LIMIT");
    if (value == nullptr || *value == '\0') return std::nullopt;
    return std::strtoull(value, nullptr, 10);
  }();
  return limit;
}

std::optional<FileStatus> StatusOf(const std::string& path) {
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0) return std::nullopt;
  return StatusFrom(st);
}

bool MayWrite(const std::string& path) {
  return ::faccessat(AT_FDCWD, path.empty() ? "." : path.c_str(), W_OK, AT_EACCESS) == 0;
}

bool IsRegularFile(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

bool IsDirectory(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

std::optional<std::uint64_t> FileSize(const std::string& path) {
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return std::nullopt;
  return static_cast<std::uint64_t>(st.st_size);
}

void Rename(const std::string& from, const std::string& to) {
  CountChange("rename", to);
  if (::rename(from.c_str(), to.c_str()) != 0) {
    throw ErrorFromErrno(errno, "cannot rename " + from + " to", to);
  }
}

void RemoveFile(const std::string& path) {
  CountChange("remove", path);
  if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
    throw ErrorFromErrno(errno, "cannot remove", path);
  }
}

void MakeDirectory(const std::string& path) {
  if (::mkdir(path.c_str(), 0755) != 0 && errno != EEXIST) {
    throw ErrorFromErrno(errno, "cannot create the folder", path);
  }
}

void CopyFile(const std::string& from, const std::string& to) {
  File target = File::Open(to, OpenMode::CreateTruncate);
  CopyInto(from, target);
  target.Close();
}

void CopyInto(const std::string& from, File& target) {
  File source = File::Open(from, OpenMode::ReadOnly);
  std::vector<std::byte> buffer(1 << 20);
  std::uint64_t offset = 0;
  for (;;) {
    std::size_t n = source.ReadAt(offset, buffer);
    if (n == 0) break;
    target.WriteAt(offset, std::span<const std::byte>(buffer.data(), n));
    offset += n;
  }
  target.Sync();
}

void SyncDirectory(const std::string& path) {
  CountChange("syncdir", path);
  int fd = ::open(path.empty() ? "." : path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) throw ErrorFromErrno(errno, "cannot open the folder", path);
  int injected = TakeFault(sync_countdown, sync_errno);
  int result = injected ? -1 : ::fsync(fd);
  int saved = injected ? injected : errno;
  ::close(fd);
  if (result != 0) throw ErrorFromErrno(saved, "cannot flush the folder", path);
}

std::vector<std::string> ListDirectory(const std::string& path) {
  DIR* dir = ::opendir(path.empty() ? "." : path.c_str());
  if (dir == nullptr) throw ErrorFromErrno(errno, "cannot list the folder", path);
  std::vector<std::string> names;
  while (dirent* entry = ::readdir(dir)) {
    std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(std::move(name));
  }
  ::closedir(dir);
  return names;
}

std::optional<std::string> FindCaseInsensitive(const std::string& dir, const std::string& name) {
  std::string exact = JoinPath(dir, name);
  struct stat st {};
  if (::stat(exact.c_str(), &st) == 0) return exact;
  DIR* handle = ::opendir(dir.empty() ? "." : dir.c_str());
  if (handle == nullptr) return std::nullopt;
  std::optional<std::string> found;
  while (dirent* entry = ::readdir(handle)) {
    if (AsciiEqualNoCase(entry->d_name, name)) {
      found = JoinPath(dir, entry->d_name);
      break;
    }
  }
  ::closedir(handle);
  return found;
}

std::string JoinPath(const std::string& dir, const std::string& name) {
  if (dir.empty()) return name;
  if (dir.back() == '/') return dir + name;
  return dir + "/" + name;
}

}  // namespace qorvane::os
