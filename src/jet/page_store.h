// The page layer of the engine: reads 4096-byte pages of a database, keeps them in a cache of
// bounded size (changed pages go to the work copy as it fills) and, for a writable database,
// works on a copy of the file in the same folder that is put in place atomically (write, fsync,
// rename) by Commit. The original file is never written until the rename, so a killed process
// or a full disk leaves it as it was. Internal header.
//
// What the store promises (docs/page-store.md tells the same at more length):
//
// A cached page is in one of four states.
//   clean          the cache holds the bytes the file holds (read, or written and synced).
//   dirty          the cache holds newer bytes than the file; only the cache has them.
//   being written  copied into a write that has not returned yet.
//   written        the write returned: the work copy holds the bytes, not yet synced.
// A dirty page leaves the dirty state only through a write that returned. A write that fails
// puts every page it carried back to dirty, so nothing is lost from the cache and a Retry writes
// it again. Only clean and written pages are ever dropped from the cache.
//
// The store is in one of five states.
//   open        no work copy: every page read comes from the original, no page is dirty.
//   writing     a work copy exists; it holds every page that is not dirty in the cache.
//   committing  inside Commit: the maps stored, the pages flushed, the copy synced and renamed.
//   committed   the rename is done: the work copy is the database, as in open.
//   failed      the changes can no longer be put in place: a sync of the work copy failed (the
//               system may have dropped pages the store had written and no longer caches, so
//               the copy is not trusted and no page outside the cache is read from it), or a
//               change was refused halfway for want of a page past the size limit (the pages
//               read stay readable, the change is not whole). Every call that would write, or
//               put the copy in place, throws naming the first failure, until Discard drops
//               the changes. Cached pages stay readable.
// I/O errors: a failed write, size change or rename leaves the store where it was (writing),
// the pages that were not written still dirty, so the same call can be made again; a failed
// sync moves it to failed; a failed copy of the original leaves it open. Debug builds check
// these invariants after every call that changes a state.
#pragma once

#include <array>
#include <exception>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "common/os.h"
#include "common/reporter.h"
#include "jet/bytes.h"
#include "jet/format/pages.h"
#include "jet/format/table_definition.h"

namespace qorvane::jet {

class UsageMap;

enum class AccessMode { ReadOnly, ReadWrite };

// Checks page 0 and throws NotSupported/Corrupt with a message naming the file when it is not
// a plain Jet 4 database: Jet 3, ACE (.accdb), encrypted, password-protected, not a database.
void CheckDatabaseHeader(Bytes file_start, std::uint64_t file_size, const std::string& file_name);

class PageStore {
 public:
  // Opens a database file. ReadWrite refuses, before taking anything, a file this process may
  // not write (or whose folder it may not write) and a file with more than one hard link
  // (PermissionDenied / NotSupported), then a file whose .ldb lock another writer holds
  // (Locked); it takes that lock itself. A symbolic link is followed: the file it names is the
  // one changed, with its lock and work files beside it, and the link stays as it is. The first
  // change copies the file to a work file of its own beside it, with the original's permission
  // bits, group and (when allowed) owner; what could not be kept is said to REPORTER, if any.
  static std::unique_ptr<PageStore> OpenFile(const std::string& path, AccessMode mode,
                                             Reporter* reporter = nullptr);
  // A read-only store over bytes in memory (fuzzing, tests).
  static std::unique_ptr<PageStore> OpenBuffer(std::vector<std::byte> bytes, const std::string& name);
  ~PageStore();

  const std::string& file_name() const { return file_name_; }
  bool writable() const { return mode_ == AccessMode::ReadWrite; }
  std::uint32_t page_count() const { return page_count_; }
  // The largest the file may grow, in bytes: Jet's limit (format::kMaxFileSize) unless lowered.
  void set_size_limit(std::uint64_t bytes);
  // Throws Constraint naming the file when it is larger than the limit already.
  void CheckSizeLimit() const;

  // The bytes of a page; valid until the next call to TrimCache, Commit or Discard. Throws
  // Corrupt for a page number past the end of the file.
  Bytes Read(std::uint32_t page);
  // The same page for writing; marks it changed.
  MutableBytes Write(std::uint32_t page);
  // A fresh page (all zero): the lowest page the global free-page map records as free, else a
  // new page at the end of the file. Throws Constraint when the file would grow past the size
  // limit.
  std::uint32_t Allocate();
  // Gives a page back: its bit in the global map is set again and the next Allocate may take
  // it. The caller has taken it out of every other map.
  void Free(std::uint32_t page);

  // Pages kept in memory (read or changed) before TrimCache writes the changed ones to the work
  // file and drops the half used least recently (the pages a walk keeps coming back to, as the
  // maps, the page being filled and the index pages, stay); the buffers stay for reuse, so this
  // bounds the store's memory.
  static constexpr std::size_t kDefaultCacheLimit = 32768;  // 128 MB
  void set_cache_limit(std::size_t pages);
  std::size_t cached_pages() const { return cache_.size(); }
  // Writes changed pages to the work file and empties the cache when it holds the limit or more.
  // Callers make sure no page span is held across this call.
  void TrimCache();
  // Flushes everything to the work file, syncs it and renames it over the original. The store
  // stays usable: the next write starts a new work copy. Refuses (the original untouched) a file
  // past the size limit or one that gained a second hard link since it was opened.
  void Commit();
  // Drops every change since the last Commit and removes the work file; the only way out of
  // the failed state.
  void Discard();

  enum class State { Open, Writing, Committing, Committed, Failed };
  State state() const { return state_; }

 private:
  enum class PageState : std::uint8_t { Clean, Dirty, BeingWritten, Written };
  struct CachedPage {
    std::array<std::byte, format::kPageSize> bytes;
    PageState state = PageState::Clean;
    std::uint64_t used = 0;  // the store's use count when the page was last read or written
    bool dirty() const { return state == PageState::Dirty; }
  };
  PageStore() = default;
  CachedPage& Load(std::uint32_t page);
  // A zeroed page buffer, reused from an earlier trim when there is one.
  std::unique_ptr<CachedPage> NewCachedPage();
  void EnsureWorkCopy();
  void FlushDirty();
  void ReleaseLock();
  // Throws, naming the first failure, when the store is in the failed state.
  void RefuseWhenFailed() const;
  // Moves to the failed state after the sync error FAILURE, and throws it again.
  [[noreturn]] void Fail(const std::exception_ptr& failure, const std::string& what);
  // Moves to the failed state for a page past the limit (the copy still readable), and throws.
  [[noreturn]] void FailPastLimit(std::uint64_t pages);
  // Debug builds: the invariants of the current state (see the top of this header).
  void CheckInvariants() const;
  UsageMap& GlobalMap();
  [[noreturn]] void RefusePastLimit(std::uint64_t pages) const;

  std::string path_;
  std::string work_path_;  // the work copy this store created; empty when there is none
  std::string lock_path_;
  std::string file_name_;
  Reporter* reporter_ = nullptr;
  AccessMode mode_ = AccessMode::ReadOnly;
  State state_ = State::Open;
  std::string failure_;        // the failed state: what failed and what to do
  bool copy_trusted_ = true;   // the failed state: whether pages may still be read from the copy
  os::File file_;           // the work copy (ReadWrite) or the original (ReadOnly)
  os::File lock_file_;
  std::uint32_t page_limit_ = format::kMaxPageCount;
  std::vector<std::byte> buffer_;  // OpenBuffer
  bool from_buffer_ = false;
  std::uint32_t page_count_ = 0;
  std::size_t cache_limit_ = kDefaultCacheLimit;
  std::uint64_t uses_ = 0;  // counts page reads and writes, for the cache's least recently used
  std::unordered_map<std::uint32_t, std::unique_ptr<CachedPage>> cache_;
  std::vector<std::unique_ptr<CachedPage>> spare_pages_;
  // Global free-page map (page 1, row 0; a set bit means free), loaded on first use.
  std::unique_ptr<UsageMap> global_map_;
  std::uint32_t first_maybe_free_ = 0;  // no page below it is free in the global map
};

}  // namespace qorvane::jet
