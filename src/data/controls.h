// The main form's data controls: a source control (dat...) binds one FoxPro table or query as
// a record set; an ADO control (ado...) binds one SQL record source of office.mdb. The
// converters borrow them by name; the connection routines bind them.
#pragma once

#include <array>
#include <map>
#include <memory>
#include <string>

#include "app/controls.h"
#include "app/run_layer.h"
#include "data/target_table.h"
#include "foxpro/record_set.h"
#include "jet/database.h"
#include "jet/recordset.h"

namespace qorvane::data {

// A source data control. Refresh opens RecordSource (a table name or a query) in DatabaseName.
class DataControl {
 public:
  DataControl(app::SourceControl id, const foxpro::RecordSetOptions* options, app::RunLayer* run)
      : name_(app::NameOf(id)), options_(options), run_(run) {}
  // The run the control serves: the field helpers report their failures through it.
  app::RunLayer& run() const { return *run_; }
  const std::string& name() const { return name_; }

  std::string Connect;        // always "FoxPro 2.6;"
  std::string DatabaseName;   // the folder of the tables, without a trailing separator
  std::string RecordSource;   // "PROPERTY", or a query
  std::string BoundSource;    // the table Connect2DBF bound; RecordSource goes back to it
  int RecordsetType = 0;      // 1: a dynaset

  // Opens the record set; throws qorvane::Error naming the table when it cannot (and keeps
  // the error, see OpenError).
  void Refresh();
  void Unbind() {
    recordset_.reset();
    open_error_.clear();
    unreadable_ = false;
  }
  bool bound() const { return recordset_ != nullptr; }
  // Leaves the control without records because its table cannot be opened, for WHY (said
  // once by the caller; Recordset then names it).
  void MarkUnreadable(std::string why) {
    recordset_.reset();
    open_error_ = std::move(why);
    unreadable_ = true;
  }
  // The table could not be opened when the control was bound (MarkUnreadable): nothing reads
  // it until it is bound again.
  bool Unreadable() const { return unreadable_ && !recordset_; }
  // Why the last Refresh could not open the table ("" when it could, or none was tried).
  const std::string& OpenError() const { return open_error_; }
  // The open record set; throws qorvane::Error naming the control, and the table that could not
  // be opened when that is why, when it is not bound.
  foxpro::RecordSet& Recordset();

 private:
  std::string name_;
  const foxpro::RecordSetOptions* options_;
  app::RunLayer* run_;
  std::unique_ptr<foxpro::RecordSet> recordset_;
  std::string open_error_;
  bool unreadable_ = false;
};

// The one connection to office.mdb that every ADO control of a run shares: opened for writing
// on a work copy, committed (put in place) when the run ends or is stopped.
class TargetDatabase {
 public:
  // The file the next Open opens (the run's resolved office.mdb).
  void SetPath(std::string path) { next_path_ = std::move(path); }
  // Where damage the engine reads past is reported (the conversion log); not owned.
  void SetReporter(Reporter* reporter) { reporter_ = reporter; }
  // Opens the file of SetPath for writing, unless it is the one already open.
  jet::Database& Open();
  bool is_open() const { return database_ != nullptr; }
  jet::Database& database();
  // The table NAME of the open database (opening it first), as the steps write it; the handle
  // stays valid until the database is committed and closed.
  TargetTable& Table(std::string_view name);
  // Commits what was written and closes the database.
  void CommitAndClose();

 private:
  std::string next_path_;
  Reporter* reporter_ = nullptr;
  std::string path_;
  std::unique_ptr<jet::Database> database_;
  std::map<std::string, std::unique_ptr<TargetTable>, std::less<>> tables_;
};

// An ADO data control. Refresh opens RecordSource on the database of ConnectionString.
class AdoControl {
 public:
  AdoControl(app::TargetControl id, TargetDatabase* target, app::RunLayer* run)
      : name_(app::NameOf(id)), target_(target), run_(run) {}
  app::RunLayer& run() const { return *run_; }
  const std::string& name() const { return name_; }

  // Shown as the office's connection string; the database itself is the run's resolved path.
  std::string ConnectionString;
  std::string RecordSource;

  // Opens the record source again (rows are written through the typed tables, never through
  // a control, so no row is pending).
  void Refresh();
  bool bound() const { return recordset_ != nullptr; }
  jet::Recordset& Recordset();
  void Unbind() { recordset_.reset(); }

 private:
  std::string name_;
  TargetDatabase* target_;
  app::RunLayer* run_;
  std::unique_ptr<jet::Recordset> recordset_;
};

// One control of each enumerator of ID, built with ARGS.
template <typename Control, typename Id, std::size_t Count>
class ControlSet {
 public:
  template <typename... Args>
  explicit ControlSet(Args... args) {
    for (std::size_t i = 0; i < Count; ++i) controls_[i] = std::make_unique<Control>(static_cast<Id>(i), args...);
  }
  Control& operator[](Id id) { return *controls_[app::IndexOf(id)]; }
  template <typename Visit>
  void ForEach(Visit visit) {
    for (auto& control : controls_) visit(*control);
  }

 private:
  std::array<std::unique_ptr<Control>, Count> controls_;
};

using SourceControls = ControlSet<DataControl, app::SourceControl, app::kSourceControlCount>;
using TargetControls = ControlSet<AdoControl, app::TargetControl, app::kTargetControlCount>;

}  // namespace qorvane::data
