// Opening a database, the catalog from MSysObjects, commit and rollback.
#include "jet/database.h"

#include "common/error.h"
#include "jet/format/pages.h"
#include "jet/format/table_definition.h"
#include "jet/page_store.h"
#include "jet/row_codec.h"

namespace qorvane::jet {
namespace {

// MSysObjects: the parent id of user tables and the object type of a table.
constexpr std::int64_t kTablesContainerId = 0x0F000001;
constexpr std::int64_t kObjectTypeTable = 1;
// Flags of system (0x80000000, 0x2) and hidden (0x8) objects.
constexpr std::int64_t kSystemObjectFlags = 0x80000002;
constexpr std::int64_t kHiddenObjectFlag = 0x8;

}  // namespace

std::unique_ptr<Database> Database::Open(const std::string& path, const DatabaseOptions& options) {
  if (!os::IsRegularFile(path)) {
    throw Error(ErrorKind::NotFound, path + ": no such database file");
  }
  std::unique_ptr<Database> database(new Database());
  database->options_ = options;
  database->store_ = PageStore::OpenFile(
      path, options.open_for == OpenFor::Writing ? AccessMode::ReadWrite : AccessMode::ReadOnly, options.reporter);
  database->store_->set_size_limit(options.size_limit);
  database->store_->set_cache_limit(options.cache_pages);
  database->LoadCatalog();
  return database;
}

std::unique_ptr<Database> Database::OpenBytes(std::vector<std::byte> bytes, const std::string& name,
                                             Reporter* reporter) {
  std::unique_ptr<Database> database(new Database());
  database->options_.reporter = reporter;
  database->store_ = PageStore::OpenBuffer(std::move(bytes), name);
  database->LoadCatalog();
  return database;
}

Database::~Database() = default;

const std::string& Database::file_name() const { return store_->file_name(); }

void Database::LoadCatalog() {
  catalog_.clear();
  tables_.clear();
  Table objects(*store_, "MSysObjects", format::kSystemObjectsTableDefinitionPage, options_.reporter);
  auto id = objects.FindColumn("Id");
  auto parent = objects.FindColumn("ParentId");
  auto name = objects.FindColumn("Name");
  auto type = objects.FindColumn("Type");
  auto flags = objects.FindColumn("Flags");
  if (!id || !parent || !name || !type || !flags) {
    throw Error(ErrorKind::Corrupt, store_->file_name() + ": the system table MSysObjects lacks its columns");
  }
  for (RowId row : objects.RowIds()) {
    std::vector<Value> values = objects.ReadRow(row);
    if (values[*parent].integer != kTablesContainerId || values[*type].integer != kObjectTypeTable) continue;
    TableSummary summary;
    summary.name = values[*name].bytes;
    summary.definition_page = static_cast<std::uint32_t>(values[*id].integer & 0x00FFFFFF);
    std::int64_t object_flags = values[*flags].integer;
    summary.system = (object_flags & kSystemObjectFlags) != 0 || (object_flags & kHiddenObjectFlag) != 0 ||
                     summary.name.rfind("MSys", 0) == 0 || summary.name.rfind("~", 0) == 0;
    catalog_.push_back(std::move(summary));
  }
  tables_.resize(catalog_.size());
}

std::vector<TableSummary> Database::ListTables(bool include_system) const {
  std::vector<TableSummary> result;
  for (const auto& entry : catalog_) {
    if (include_system || !entry.system) result.push_back(entry);
  }
  return result;
}

bool Database::HasTable(std::string_view name) const {
  std::string wanted = FoldForComparison(name);
  for (const auto& entry : catalog_) {
    if (FoldForComparison(entry.name) == wanted) return true;
  }
  return false;
}

Table& Database::GetTable(std::string_view name) {
  std::string wanted = FoldForComparison(name);
  for (std::size_t i = 0; i < catalog_.size(); ++i) {
    if (FoldForComparison(catalog_[i].name) != wanted) continue;
    if (!tables_[i]) {
      tables_[i] = std::make_unique<Table>(*store_, catalog_[i].name, catalog_[i].definition_page, options_.reporter);
      tables_[i]->set_index_maintenance(options_.index_maintenance);
    }
    return *tables_[i];
  }
  throw Error(ErrorKind::InvalidArgument, store_->file_name() + ": there is no table " + std::string(name));
}

void Database::Commit() {
  store_->CheckSizeLimit();
  for (auto& table : tables_) {
    if (table) table->StoreChanges();
  }
  store_->Commit();
}

void Database::Rollback() {
  store_->Discard();
  LoadCatalog();
}

std::size_t Database::cached_pages() const { return store_->cached_pages(); }

}  // namespace qorvane::jet
