// The main form's data controls: a source control (dat...) binds one FoxPro table or query as
// a record set; an ADO control (ado...) binds one SQL record source of office.mdb. The
// converters borrow them by name; the connection routines bind them.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "foxpro/record_set.h"
#include "jet/database.h"
#include "jet/recordset.h"

namespace qorvane::data {

// A source data control. Refresh opens RecordSource (a table name or a query) in DatabaseName.
class DataControl {
 public:
  DataControl(std::string name, const foxpro::RecordSetOptions* options)
      : name_(std::move(name)), options_(options) {}
  const std::string& name() const { return name_; }

  std::string Connect;        // always "FoxPro 2.6;"
  std::string DatabaseName;   // the folder of the tables, without a trailing separator
  std::string RecordSource;   // "PROPERTY", or a query
  int RecordsetType = 0;      // 1: a dynaset

  // Opens the record set; throws qorvane::Error naming the table when it cannot.
  void Refresh();
  void Unbind() { recordset_.reset(); }
  bool bound() const { return recordset_ != nullptr; }
  // The open record set; throws qorvane::Error naming the control when it is not bound.
  foxpro::RecordSet& Recordset();

 private:
  std::string name_;
  const foxpro::RecordSetOptions* options_;
  std::unique_ptr<foxpro::RecordSet> recordset_;
};

// The one connection to office.mdb that every ADO control of a run shares: opened for writing
// on a work copy, committed (put in place) when the run ends or is stopped.
class TargetDatabase {
 public:
  // Opens the database a connection string names ("...Data Source=<path>;..."), unless it is
  // the one already open.
  jet::Database& Open(const std::string& connection_string);
  bool is_open() const { return database_ != nullptr; }
  jet::Database& database();
  // Commits what was written and closes the database.
  void CommitAndClose();
  // The file a connection string names, found without regard to case.
  static std::string PathOf(const std::string& connection_string);

 private:
  std::string path_;
  std::unique_ptr<jet::Database> database_;
};

// An ADO data control. Refresh opens RecordSource on the database of ConnectionString.
class AdoControl {
 public:
  AdoControl(std::string name, TargetDatabase* target) : name_(std::move(name)), target_(target) {}
  const std::string& name() const { return name_; }

  std::string ConnectionString;
  std::string RecordSource;

  void Refresh();
  bool bound() const { return recordset_ != nullptr; }
  jet::Recordset& Recordset();
  void Unbind() { recordset_.reset(); }

 private:
  std::string name_;
  TargetDatabase* target_;
  std::unique_ptr<jet::Recordset> recordset_;
};

// Controls by name, in the order the form declares them.
template <typename Control>
class ControlSet {
 public:
  template <typename... Args>
  ControlSet(const std::vector<std::string>& names, Args... args) {
    for (const std::string& name : names) controls_.emplace(name, std::make_unique<Control>(name, args...));
  }
  // The control NAME; throws qorvane::Error (InvalidArgument) for an unknown name.
  Control& operator[](const std::string& name);
  template <typename Visit>
  void ForEach(Visit visit) {
    for (auto& [name, control] : controls_) visit(*control);
  }

 private:
  std::map<std::string, std::unique_ptr<Control>> controls_;
};

}  // namespace qorvane::data
