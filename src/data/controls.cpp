// Source and ADO data controls (see controls.h).
#include "data/controls.h"

#include "common/error.h"
#include "common/os.h"

namespace qorvane::data {

void DataControl::Refresh() {
  recordset_.reset();
  open_error_.clear();
  unreadable_ = false;
  try {
    recordset_ = foxpro::RecordSet::Open(DatabaseName, RecordSource, *options_);
  } catch (const Error& error) {
    open_error_ = error.what();
    throw;
  }
}

foxpro::RecordSet& DataControl::Recordset() {
  if (!recordset_) {
    if (!open_error_.empty()) {
      throw Error(ErrorKind::Corrupt, "the data control " + name_ + " has no records: it could not be opened (" +
                                          open_error_ + ")");
    }
    throw Error(ErrorKind::InvalidArgument, "the data control " + name_ + " is not bound to a table");
  }
  return *recordset_;
}

jet::Database& TargetDatabase::Open() {
  if (database_ && next_path_ == path_) return *database_;
  CommitAndClose();
  tables_.clear();
  if (next_path_.empty()) throw Error(ErrorKind::InvalidArgument, "office.mdb: the target data directory is not set");
  jet::DatabaseOptions options;
  options.open_for = jet::OpenFor::Writing;
  options.reporter = reporter_;
  database_ = jet::Database::Open(next_path_, options);
  path_ = next_path_;
  return *database_;
}

jet::Database& TargetDatabase::database() {
  if (!database_) throw Error(ErrorKind::InvalidArgument, "office.mdb is not connected");
  return *database_;
}

TargetTable& TargetDatabase::Table(std::string_view name) {
  jet::Database& database = Open();
  auto found = tables_.find(name);
  if (found != tables_.end()) return *found->second;
  auto table = std::make_unique<TargetTable>(database.GetTable(std::string(name)));
  return *tables_.emplace(std::string(name), std::move(table)).first->second;
}

void TargetDatabase::CommitAndClose() {
  if (!database_) return;
  // A failed commit leaves the database open, so that a Retry can commit it again.
  database_->Commit();
  tables_.clear();
  database_.reset();
  path_.clear();
}

void AdoControl::Refresh() {
  recordset_.reset();
  jet::Database& database = target_->Open();
  if (RecordSource.empty()) return;
  recordset_ = std::make_unique<jet::Recordset>(database, RecordSource);
}

jet::Recordset& AdoControl::Recordset() {
  if (!recordset_) {
    throw Error(ErrorKind::InvalidArgument, "the ADO data control " + name_ + " has no record source");
  }
  return *recordset_;
}

}  // namespace qorvane::data
