// The page layer of the engine: reads 4096-byte pages of a database, keeps them in a cache of
// bounded size (changed pages go to the work copy as it fills) and, for a writable database,
// works on a copy of the file in the same folder that is put in place atomically (write, fsync,
// rename) by Commit. The original file is never written until the rename, so a killed process
// or a full disk leaves it as it was. Internal header.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "common/os.h"
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
  // (Locked); it takes that lock itself. The first change copies the file to a work file of
  // its own beside it, with the original's permission bits, group and (when allowed) owner.
  static std::unique_ptr<PageStore> OpenFile(const std::string& path, AccessMode mode);
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
  // file and drops them all; the buffers stay for reuse, so this bounds the store's memory.
  static constexpr std::size_t kDefaultCacheLimit = 16384;  // 64 MB
  void set_cache_limit(std::size_t pages);
  std::size_t cached_pages() const { return cache_.size(); }
  // Writes changed pages to the work file and empties the cache when it holds the limit or more.
  // Callers make sure no page span is held across this call.
  void TrimCache();
  // Flushes everything to the work file, syncs it and renames it over the original. The store
  // stays usable: the next write starts a new work copy. Refuses (the original untouched) a file
  // past the size limit or one that gained a second hard link since it was opened.
  void Commit();
  // Drops every change since the last Commit and removes the work file.
  void Discard();

 private:
  struct CachedPage {
    std::array<std::byte, format::kPageSize> bytes;
    bool dirty = false;
  };
  PageStore() = default;
  CachedPage& Load(std::uint32_t page);
  // A zeroed page buffer, reused from an earlier trim when there is one.
  std::unique_ptr<CachedPage> NewCachedPage();
  void EnsureWorkCopy();
  void FlushDirty();
  void ReleaseLock();
  UsageMap& GlobalMap();
  [[noreturn]] void RefusePastLimit(std::uint64_t pages) const;

  std::string path_;
  std::string work_path_;  // the work copy this store created; empty when there is none
  std::string lock_path_;
  std::string file_name_;
  AccessMode mode_ = AccessMode::ReadOnly;
  os::File file_;           // the work copy (ReadWrite) or the original (ReadOnly)
  os::File lock_file_;
  std::uint32_t page_limit_ = format::kMaxPageCount;
  std::vector<std::byte> buffer_;  // OpenBuffer
  bool from_buffer_ = false;
  std::uint32_t page_count_ = 0;
  std::size_t cache_limit_ = kDefaultCacheLimit;
  std::unordered_map<std::uint32_t, std::unique_ptr<CachedPage>> cache_;
  std::vector<std::unique_ptr<CachedPage>> spare_pages_;
  // Global free-page map (page 1, row 0; a set bit means free), loaded on first use.
  std::unique_ptr<UsageMap> global_map_;
  std::uint32_t first_maybe_free_ = 0;  // no page below it is free in the global map
};

}  // namespace qorvane::jet
