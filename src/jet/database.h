// An open Jet 4 database (.mdb): the catalog of user tables and the session that writes it.
// A writable database works on a copy beside the file; Commit puts the copy in place
// atomically (indexes of changed tables rebuilt, pages written, fsync, rename), so what was
// committed survives and a crash or a full disk leaves the previous file whole. Closing
// without Commit drops the changes.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "common/reporter.h"
#include "jet/format/pages.h"
#include "jet/format/table_definition.h"
#include "jet/table.h"

namespace qorvane::jet {

class PageStore;

enum class OpenFor { Reading, Writing };

struct DatabaseOptions {
  OpenFor open_for = OpenFor::Reading;
  IndexMaintenance index_maintenance = IndexMaintenance::Rebuild;
  // Damage the tables can read past (see Table) goes here and reading goes on; without a
  // reporter the same damage throws Corrupt. Not owned; outlives the database.
  Reporter* reporter = nullptr;
  // The largest the file may grow, in bytes; Jet's 2 GiB limit, and never above it (a lower
  // one leaves room, and lets tests reach it).
  std::uint64_t size_limit = format::kMaxFileSize;
  // Pages the database keeps in memory at most between row operations (32768: 128 MB); a read,
  // insert, update or delete beyond it first writes changed pages to the work file.
  std::size_t cache_pages = 32768;
};

struct TableSummary {
  std::string name;
  std::uint32_t definition_page = 0;
  bool system = false;
};

class Database {
 public:
  // Opens PATH. Throws qorvane::Error naming the file: NotFound, NotSupported (Jet 3, .accdb,
  // encrypted, password), Corrupt (not a database), Locked (open in another program).
  static std::unique_ptr<Database> Open(const std::string& path, const DatabaseOptions& options = {});
  // Opens a database held in memory, read-only (fuzzing and tests); REPORTER as in DatabaseOptions.
  static std::unique_ptr<Database> OpenBytes(std::vector<std::byte> bytes, const std::string& name,
                                             Reporter* reporter = nullptr);
  ~Database();

  const std::string& file_name() const;
  // User tables (not system or hidden ones), in catalog order; with SYSTEM also the MSys tables.
  std::vector<TableSummary> ListTables(bool include_system = false) const;
  // The table named NAME (case-blind), opened on first use; throws InvalidArgument naming the
  // file and the table when there is none.
  Table& GetTable(std::string_view name);
  bool HasTable(std::string_view name) const;

  // Writes every change so far into the file atomically. May be called many times (a Stop
  // keeps the rows written before it). A database past the size limit is refused (Constraint)
  // before any work, the file left as it was; an insert that needs a page past the limit is
  // refused already at that insert.
  void Commit();
  // Drops the changes since the last Commit.
  void Rollback();
  // Pages held in memory now (at most cache_pages after any row operation returns).
  std::size_t cached_pages() const;

 private:
  Database() = default;
  void LoadCatalog();

  std::unique_ptr<PageStore> store_;
  DatabaseOptions options_;
  std::vector<TableSummary> catalog_;
  std::vector<std::unique_ptr<Table>> tables_;  // opened tables, parallel to names in catalog_
};

}  // namespace qorvane::jet
