// Source and ADO data controls (see controls.h).
#include "data/controls.h"

#include "common/error.h"
#include "common/os.h"

namespace qorvane::data {

void DataControl::Refresh() {
  recordset_.reset();
  recordset_ = foxpro::RecordSet::Open(DatabaseName, RecordSource, *options_);
}

foxpro::RecordSet& DataControl::Recordset() {
  if (!recordset_) {
    throw Error(ErrorKind::InvalidArgument, "the data control " + name_ + " is not bound to a table");
  }
  return *recordset_;
}

std::string TargetDatabase::PathOf(const std::string& connection_string) {
  const std::string key = "Data Source=";
  std::size_t start = connection_string.find(key);
  if (start == std::string::npos) return "";
  start += key.size();
  std::size_t end = connection_string.find(';', start);
  std::string path = connection_string.substr(start, end == std::string::npos ? std::string::npos : end - start);
  std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return path;
  if (auto found = os::FindCaseInsensitive(path.substr(0, slash + 1), path.substr(slash + 1))) return *found;
  return path;
}

jet::Database& TargetDatabase::Open(const std::string& connection_string) {
  std::string path = PathOf(connection_string);
  if (database_ && path == path_) return *database_;
  CommitAndClose();
  jet::DatabaseOptions options;
  options.open_for = jet::OpenFor::Writing;
  database_ = jet::Database::Open(path, options);
  path_ = path;
  return *database_;
}

jet::Database& TargetDatabase::database() {
  if (!database_) throw Error(ErrorKind::InvalidArgument, "office.mdb is not connected");
  return *database_;
}

void TargetDatabase::CommitAndClose() {
  if (!database_) return;
  // A failed commit leaves the database open, so that a Retry can commit it again.
  database_->Commit();
  database_.reset();
  path_.clear();
}

void AdoControl::Refresh() {
  recordset_.reset();
  jet::Database& database = target_->Open(ConnectionString);
  if (RecordSource.empty()) return;
  recordset_ = std::make_unique<jet::Recordset>(database, RecordSource);
}

jet::Recordset& AdoControl::Recordset() {
  if (!recordset_) {
    throw Error(ErrorKind::InvalidArgument, "the ADO data control " + name_ + " has no record source");
  }
  return *recordset_;
}

template <typename Control>
Control& ControlSet<Control>::operator[](const std::string& name) {
  auto found = controls_.find(name);
  if (found == controls_.end()) throw Error(ErrorKind::InvalidArgument, "no data control named " + name);
  return *found->second;
}

template class ControlSet<DataControl>;
template class ControlSet<AdoControl>;

}  // namespace qorvane::data
