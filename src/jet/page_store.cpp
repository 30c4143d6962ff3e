// Page cache, header checks, work-copy commit and page allocation through the global map.
#include "jet/page_store.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/error.h"
#include "jet/data_page.h"
#include "jet/usage_map.h"

namespace qorvane::jet {
namespace {

using namespace format;

// Consecutive changed pages written in one call at most (4 MB).
constexpr std::size_t kFlushRunPages = 1024;

std::string DirectoryOf(const std::string& path) {
  std::size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? "." : (slash == 0 ? "/" : path.substr(0, slash));
}

std::string LockPathFor(const std::string& path) {
  std::size_t dot = path.find_last_of('.');
  std::size_t slash = path.find_last_of('/');
  if (dot != std::string::npos && (slash == std::string::npos || dot > slash)) {
    return path.substr(0, dot) + ".ldb";
  }
  return path + ".ldb";
}

// Refuses a file that renaming a new copy over would separate from its other names.
void CheckSingleLink(const std::string& path) {
  std::optional<os::FileStatus> status = os::StatusOf(path);
  if (status && status->links > 1) {
    throw Error(ErrorKind::NotSupported,
                path + ": the file has " + std::to_string(status->links) +
                    " hard links; writing replaces the file, which would leave the other names with "
                    "the old data. Write to a copy of it (or remove the other links) and try again");
  }
}

constexpr const char* kWorkFileSuffix = ".qorvane-work-";

// Removes the work files of writers that were killed: taken with the lock held, when no other
// writer can be at work, and only those named after a process that no longer runs.
void RemoveStaleWorkFiles(const std::string& path) {
  std::size_t slash = path.find_last_of('/');
  std::string prefix = (slash == std::string::npos ? path : path.substr(slash + 1)) + kWorkFileSuffix;
  std::string folder = DirectoryOf(path);
  for (const std::string& name : os::ListDirectory(folder)) {
    if (name.rfind(prefix, 0) != 0) continue;
    char* end = nullptr;
    long pid = std::strtol(name.c_str() + prefix.size(), &end, 10);
    if (end == name.c_str() + prefix.size() || *end != '-' || os::ProcessExists(pid)) continue;
    try {
      os::RemoveFile(os::JoinPath(folder, name));
    } catch (const Error&) {
      // Not ours to insist on: it only takes space.
    }
  }
}

// Refuses, before any work, a database this process could not put back in place.
void CheckWritable(const std::string& path) {
  if (!os::MayWrite(path)) {
    throw Error(ErrorKind::PermissionDenied,
                path + ": you may not change this file (no write permission); ask for write access or "
                       "work on a copy");
  }
  std::string folder = DirectoryOf(path);
  if (!os::MayWrite(folder)) {
    throw Error(ErrorKind::PermissionDenied,
                path + ": you may not create files in its folder " + folder +
                    " (needed for the lock and work files); ask for write access to the folder");
  }
  CheckSingleLink(path);
}

}  // namespace

void CheckDatabaseHeader(Bytes start, std::uint64_t file_size, const std::string& file_name) {
  auto refuse = [&](ErrorKind kind, const std::string& why) {
    throw Error(kind, file_name + ": " + why);
  };
  if (file_size < kPageSize || start.size() < kPageSize) {
    refuse(ErrorKind::Corrupt, "not an Access database (the file is too short: " +
                                   std::to_string(file_size) + " bytes)");
  }
  std::string format_id(reinterpret_cast<const char*>(start.data()) + kHeaderFormatIdOffset,
                        kHeaderFormatIdLength);
  bool magic = Get32(start, kHeaderMagicOffset) == 0x100;
  if (!magic || (format_id != "Standard Jet DB" && format_id != "Standard ACE DB")) {
    refuse(ErrorKind::Corrupt, "not an Access database (no Jet header on page 0)");
  }
  std::uint8_t version = Get8(start, kHeaderVersionOffset);
  if (format_id == "Standard ACE DB" || version >= 0x02) {
    refuse(ErrorKind::NotSupported,
           "an Access 2007 or later database (.accdb, ACE version byte " + std::to_string(version) +
               "); only Access 2000-2003 (Jet 4) .mdb files are supported");
  }
  if (version == kVersionJet3) {
    refuse(ErrorKind::NotSupported,
           "an Access 97 (Jet 3) database; only Access 2000-2003 (Jet 4) .mdb files are supported");
  }
  if (file_size % kPageSize != 0) {
    refuse(ErrorKind::Corrupt, "damaged: its size (" + std::to_string(file_size) +
                                   " bytes) is not a whole number of 4096-byte pages");
  }
  const auto& mask = kHeaderMask;
  std::array<std::uint8_t, kHeaderMaskedLength> clear{};
  for (std::size_t i = 0; i < clear.size(); ++i) {
    clear[i] = Get8(start, kHeaderMaskedOffset + i) ^ mask[i];
  }
  Bytes header(reinterpret_cast<const std::byte*>(clear.data()), clear.size());
  auto at = [](std::size_t absolute) { return absolute - kHeaderMaskedOffset; };
  if (Get32(header, at(kHeaderDatabaseKeyOffset)) != 0) {
    refuse(ErrorKind::NotSupported, "an encrypted database; decrypt it in Access first");
  }
  double created = 0;
  std::uint64_t raw_date = Get64(header, at(kHeaderCreationDateOffset));
  std::memcpy(&created, &raw_date, sizeof created);
  std::uint32_t date_mask = std::isfinite(created) && std::fabs(created) < 2e9
                                ? static_cast<std::uint32_t>(static_cast<std::int32_t>(created))
                                : 0;
  for (std::size_t i = 0; i < kHeaderPasswordLength; ++i) {
    std::uint8_t byte = Get8(header, at(kHeaderPasswordOffset) + i) ^
                        static_cast<std::uint8_t>(date_mask >> (8 * (i % 4)));
    if (byte != 0) {
      refuse(ErrorKind::NotSupported,
             "a password-protected database; remove the password in Access first");
    }
  }
}

std::unique_ptr<PageStore> PageStore::OpenFile(const std::string& given_path, AccessMode mode, Reporter* reporter) {
  std::unique_ptr<PageStore> store(new PageStore());
  // Through a symbolic link to the file it names: the rename that puts the work copy in place
  // replaces that file, and the link goes on naming it.
  const std::string path = mode == AccessMode::ReadWrite ? os::ResolvedPath(given_path) : given_path;
  store->path_ = path;
  store->file_name_ = given_path;
  store->reporter_ = reporter;
  store->mode_ = mode;
  if (mode == AccessMode::ReadWrite) {
    CheckWritable(path);
    store->lock_path_ = LockPathFor(path);
    std::optional<os::File> lock = os::LockFileAt(store->lock_path_);
    if (!lock) {
      throw Error(ErrorKind::Locked, path + ": the database is open in another program (its lock file " +
                                         store->lock_path_ + " is in use); close it there and try again");
    }
    store->lock_file_ = std::move(*lock);
  }
  try {
    if (mode == AccessMode::ReadWrite) RemoveStaleWorkFiles(path);
    store->file_ = os::File::Open(path, os::OpenMode::ReadOnly);
    std::uint64_t size = store->file_.Size();
    std::array<std::byte, kPageSize> first{};
    std::size_t got = store->file_.ReadAt(0, first);
    CheckDatabaseHeader(Bytes(first.data(), got), size, path);
    store->page_count_ = static_cast<std::uint32_t>(size / kPageSize);
  } catch (...) {
    store->ReleaseLock();
    throw;
  }
  return store;
}

std::unique_ptr<PageStore> PageStore::OpenBuffer(std::vector<std::byte> bytes, const std::string& name) {
  CheckDatabaseHeader(bytes, bytes.size(), name);
  std::unique_ptr<PageStore> store(new PageStore());
  store->file_name_ = name;
  store->from_buffer_ = true;
  store->buffer_ = std::move(bytes);
  store->page_count_ = static_cast<std::uint32_t>(store->buffer_.size() / kPageSize);
  return store;
}

PageStore::~PageStore() {
  try {
    if (!work_path_.empty()) Discard();
  } catch (...) {
    // The work file may stay behind; the original is untouched either way.
  }
  ReleaseLock();
}

void PageStore::ReleaseLock() {
  if (!lock_file_.is_open()) return;
  try {
    // Removed while still held, so that a writer that opened it meanwhile sees, once it has
    // the lock, that it is no longer the file at the path. Ours are empty; one with content
    // is another program's and stays.
    if (lock_file_.Status().size == 0) os::RemoveFile(lock_path_);
    lock_file_.Close();
  } catch (...) {
  }
}

void PageStore::set_size_limit(std::uint64_t bytes) {
  std::uint64_t limit = std::min<std::uint64_t>(bytes, kMaxFileSize);
  if (std::optional<std::uint64_t> lowered = os::TestSizeLimit()) limit = std::min(limit, *lowered);
  page_limit_ = static_cast<std::uint32_t>(limit / kPageSize);
}

void PageStore::CheckSizeLimit() const {
  if (page_count_ > page_limit_) RefusePastLimit(page_count_);
}

void PageStore::RefusePastLimit(std::uint64_t pages) const {
  throw LimitReached(ErrorKind::Constraint,
              file_name_ + ": the database would be " + std::to_string(pages * kPageSize) +
                  " bytes, past the limit of " + std::to_string(std::uint64_t{page_limit_} * kPageSize) +
                  " bytes (Access opens no database over 2 GB); the file was left as it was. Roll back, "
                  "and split the data over several databases");
}

PageStore::CachedPage& PageStore::Load(std::uint32_t page) {
  auto found = cache_.find(page);
  if (found != cache_.end()) {
    found->second->used = ++uses_;
    return *found->second;
  }
  if (!copy_trusted_) RefuseWhenFailed();
  if (page >= page_count_) {
    throw Error(ErrorKind::Corrupt, file_name_ + ": page " + std::to_string(page) +
                                        " lies past the end of the file (" +
                                        std::to_string(page_count_) + " pages)");
  }
  auto cached = NewCachedPage();
  std::uint64_t offset = static_cast<std::uint64_t>(page) * kPageSize;
  if (from_buffer_) {
    std::size_t n = std::min<std::size_t>(kPageSize, buffer_.size() - offset);
    std::memcpy(cached->bytes.data(), buffer_.data() + offset, n);
  } else {
    file_.ReadAt(offset, cached->bytes);
  }
  CachedPage& result = *cached;
  result.used = ++uses_;
  cache_.emplace(page, std::move(cached));
  return result;
}

Bytes PageStore::Read(std::uint32_t page) { return Load(page).bytes; }

MutableBytes PageStore::Write(std::uint32_t page) {
  if (mode_ != AccessMode::ReadWrite) {
    throw Error(ErrorKind::InvalidArgument, file_name_ + ": the database was opened read-only");
  }
  RefuseWhenFailed();
  EnsureWorkCopy();
  CachedPage& cached = Load(page);
  cached.state = PageState::Dirty;
  return cached.bytes;
}

void PageStore::EnsureWorkCopy() {
  if (!work_path_.empty()) return;
  // A name of its own (pid and random part, created exclusively): no other writer can open,
  // overwrite or remove this copy, and this store removes no copy but its own.
  os::File work = os::CreateUniqueFile(path_ + kWorkFileSuffix);
  os::FileStatus original = file_.Status();
  os::OwnershipKept kept;
  try {
    kept = work.TakeOwnerAndMode(original);
    os::CopyInto(path_, work);
  } catch (...) {
    os::RemoveFile(work.path());
    throw;
  }
  work_path_ = work.path();
  file_ = std::move(work);
  if (state_ != State::Committing) state_ = State::Writing;
  if (!kept.group && reporter_ != nullptr) {
    // Only the group's members (and the administrator) may give a file to a group.
    os::FileStatus now = file_.Status();
    reporter_->Report(
        {.kind = DamageKind::Notice,
         .file = file_name_,
         .what = "the file belongs to the group " + os::GroupName(original.group) +
                 ", which this user is not in: the new file this run puts in place belongs to the group " +
                 os::GroupName(now.group) + " instead (the permission bits are kept). If others of the group " +
                 os::GroupName(original.group) + " use it, ask an administrator to run: chgrp " +
                 os::GroupName(original.group) + " " + path_});
  }
}

UsageMap& PageStore::GlobalMap() {
  if (!global_map_) {
    global_map_ = std::make_unique<UsageMap>(
        UsageMap::Load(*this, RowPointer{kGlobalUsageMapPage, 0}, "global free-page map"));
    first_maybe_free_ = kGlobalUsageMapPage + 1;
  }
  return *global_map_;
}

std::uint32_t PageStore::Allocate() {
  RefuseWhenFailed();
  EnsureWorkCopy();
  UsageMap& map = GlobalMap();
  std::uint32_t page;
  if (auto free = map.FirstSet(first_maybe_free_, page_count_)) {
    page = *free;
  } else {
    if (page_count_ >= page_limit_) FailPastLimit(std::uint64_t{page_count_} + 1);
    page = page_count_++;
  }
  first_maybe_free_ = std::min(page + 1, page_count_);
  map.Set(page, false);
  // A page freed earlier may still be cached; its buffer is reused so no span of it dangles.
  auto found = cache_.find(page);
  if (found != cache_.end()) {
    found->second->bytes.fill(std::byte{0});
    found->second->state = PageState::Dirty;
    found->second->used = ++uses_;
  } else {
    auto cached = NewCachedPage();
    cached->state = PageState::Dirty;
    cached->used = ++uses_;
    cache_[page] = std::move(cached);
  }
  return page;
}

void PageStore::Free(std::uint32_t page) {
  if (page <= kGlobalUsageMapPage || page >= page_count_) return;
  RefuseWhenFailed();
  EnsureWorkCopy();
  GlobalMap().Set(page, true);
  first_maybe_free_ = std::min(first_maybe_free_, page);
}

void PageStore::set_cache_limit(std::size_t pages) { cache_limit_ = std::max<std::size_t>(pages, 1); }

void PageStore::TrimCache() {
  if (cache_.size() < cache_limit_) return;
  FlushDirty();
  // Every page is clean now; the half used least recently goes. The page buffers are kept for
  // the pages read next: a bulk load goes through many times the cache's size, and reusing them
  // saves allocating and faulting in fresh memory each time.
  std::vector<std::uint64_t> uses;
  uses.reserve(cache_.size());
  for (const auto& [number, cached] : cache_) uses.push_back(cached->used);
  auto middle = uses.begin() + static_cast<std::ptrdiff_t>(uses.size() / 2);
  std::nth_element(uses.begin(), middle, uses.end());
  const std::uint64_t keep_from = *middle;
  for (auto it = cache_.begin(); it != cache_.end();) {
    if (it->second->used < keep_from) {
      spare_pages_.push_back(std::move(it->second));
      it = cache_.erase(it);
    } else {
      ++it;
    }
  }
}

std::unique_ptr<PageStore::CachedPage> PageStore::NewCachedPage() {
  std::unique_ptr<CachedPage> cached;
  if (spare_pages_.empty()) {
    cached = std::make_unique<CachedPage>();
  } else {
    cached = std::move(spare_pages_.back());
    spare_pages_.pop_back();
  }
  cached->bytes.fill(std::byte{0});
  cached->state = PageState::Clean;
  return cached;
}

void PageStore::FlushDirty() {
  if (from_buffer_ || mode_ != AccessMode::ReadWrite) return;
  RefuseWhenFailed();
  std::vector<std::uint32_t> dirty;
  for (auto& [number, cached] : cache_) {
    if (cached->dirty()) dirty.push_back(number);
  }
  if (dirty.empty()) return;
  EnsureWorkCopy();
  std::sort(dirty.begin(), dirty.end());
  // Runs of consecutive pages go out in one write each (up to kFlushRunPages pages), which
  // keeps a bulk load to a few large writes instead of one system call per page.
  std::vector<std::byte> run;
  std::vector<CachedPage*> carried;
  for (std::size_t first = 0; first < dirty.size();) {
    std::size_t last = first + 1;
    while (last < dirty.size() && dirty[last] == dirty[last - 1] + 1 && last - first < kFlushRunPages) ++last;
    run.resize((last - first) * kPageSize);
    carried.clear();
    for (std::size_t k = first; k < last; ++k) {
      CachedPage& cached = *cache_[dirty[k]];
      std::memcpy(run.data() + (k - first) * kPageSize, cached.bytes.data(), kPageSize);
      cached.state = PageState::BeingWritten;
      carried.push_back(&cached);
    }
    try {
      file_.WriteAt(static_cast<std::uint64_t>(dirty[first]) * kPageSize, run);
    } catch (...) {
      // The work copy may hold part of the run: the cache keeps the whole of it, still dirty,
      // for the next flush to write again.
      for (CachedPage* cached : carried) cached->state = PageState::Dirty;
      throw;
    }
    for (CachedPage* cached : carried) cached->state = PageState::Written;
    first = last;
  }
  CheckInvariants();
}

void PageStore::Commit() {
  if (mode_ != AccessMode::ReadWrite) return;
  RefuseWhenFailed();
  bool any_dirty = std::any_of(cache_.begin(), cache_.end(), [](auto& entry) { return entry.second->dirty(); });
  if (work_path_.empty() && !any_dirty) return;
  state_ = State::Committing;
  try {
    // Last, as it may take bitmap pages: the map records every page of the file.
    GlobalMap().StoreFreePageMap(*this);
    CheckSizeLimit();
    FlushDirty();
    // Pages allocated but never written still count: the file must end on a whole page.
    std::uint64_t size = static_cast<std::uint64_t>(page_count_) * kPageSize;
    if (file_.Size() < size) file_.Truncate(size);
  } catch (...) {
    // Nothing lost: what was not written is still dirty in the cache.
    state_ = State::Writing;
    CheckInvariants();
    throw;
  }
  try {
    file_.Sync();
  } catch (...) {
    Fail(std::current_exception(), "syncing the work copy " + work_path_);
  }
  for (auto& [number, cached] : cache_) {
    if (cached->state == PageState::Written) cached->state = PageState::Clean;
  }
  try {
    CheckSingleLink(path_);
    os::Rename(work_path_, path_);
  } catch (...) {
    // The work copy is whole and synced: the same Commit may be tried again.
    state_ = State::Writing;
    throw;
  }
  work_path_.clear();
  state_ = State::Committed;
  CheckInvariants();
  // The new file is in place; a failure here only leaves the rename less sure to survive a
  // crash of the machine, and is reported as such.
  os::SyncDirectory(DirectoryOf(path_));
}

void PageStore::Discard() {
  if (mode_ != AccessMode::ReadWrite) return;
  cache_.clear();
  global_map_.reset();
  if (!work_path_.empty()) {
    file_ = os::File::Open(path_, os::OpenMode::ReadOnly);
    std::string work_path = std::move(work_path_);
    work_path_.clear();
    os::RemoveFile(work_path);
  }
  page_count_ = static_cast<std::uint32_t>(file_.Size() / kPageSize);
  state_ = State::Open;
  failure_.clear();
  copy_trusted_ = true;
  CheckInvariants();
}

void PageStore::RefuseWhenFailed() const {
  if (state_ != State::Failed) return;
  std::string message = file_name_ + ": the changes since it was last saved are not saved and nothing more is written to it: " + failure_;
  if (copy_trusted_) throw LimitReached(ErrorKind::Constraint, message);
  throw Error(ErrorKind::IoError, message);
}

void PageStore::Fail(const std::exception_ptr& failure, const std::string& what) {
  std::string error_text = "unknown failure";
  try {
    std::rethrow_exception(failure);
  } catch (const std::exception& error) {
    error_text = error.what();
  } catch (...) {
  }
  failure_ = what + " failed (" + error_text +
             "), so the copy can no longer be trusted. The file stays as it was saved last; make room on the disk "
             "or check it, then run again";
  copy_trusted_ = false;
  state_ = State::Failed;
  CheckInvariants();
  std::rethrow_exception(failure);
}

void PageStore::FailPastLimit(std::uint64_t pages) {
  failure_ = "a change needed it to grow to " + std::to_string(pages * kPageSize) + " bytes, past the limit of " +
             std::to_string(std::uint64_t{page_limit_} * kPageSize) +
             " bytes (Access opens no database over 2 GB). The file stays as it was saved last; split the data over "
             "several databases, or convert fewer records into this one";
  copy_trusted_ = true;
  state_ = State::Failed;
  CheckInvariants();
  RefuseWhenFailed();
  std::abort();  // not reached: RefuseWhenFailed throws in the failed state
}

void PageStore::CheckInvariants() const {
#if !defined(NDEBUG) || defined(QORVANE_CHECK_INVARIANTS)
  auto violated = [&](const char* what) {
    std::fprintf(stderr, "%s: page store invariant broken: %s\n", file_name_.c_str(), what);
    std::abort();
  };
  std::size_t dirty = 0, written = 0;
  for (const auto& [number, cached] : cache_) {
    if (cached->state == PageState::BeingWritten) violated("a page is still being written outside a flush");
    if (cached->dirty()) ++dirty;
    if (cached->state == PageState::Written) ++written;
    if (number >= page_count_) violated("a cached page lies past the end of the file");
  }
  switch (state_) {
    case State::Open:
    case State::Committed:
      if (!work_path_.empty()) violated("open or committed with a work copy");
      if (dirty + written != 0) violated("open or committed with pages not in the file");
      break;
    case State::Writing:
    case State::Committing:
      if (work_path_.empty()) violated("writing without a work copy");
      break;
    case State::Failed:
      if (failure_.empty()) violated("failed without a failure");
      break;
  }
#endif
}

}  // namespace qorvane::jet
