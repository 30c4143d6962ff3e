// The source and target connections: which source table each data control carries, which SQL
// each ADO control carries, and the routines that bind them (Connect2DBF, Connect2Data,
// SelectPropertyOrder, AdoConnect, SelectAdoPropertyOrder), and putting office.mdb in place
// when a run ends. The conversion layer (convert/office.h) calls them for the run.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "app/routines.h"  // TableCounts
#include "app/run_layer.h"
#include "common/os.h"
#include "common/reporter.h"
#include "data/controls.h"
#include "foxpro/backup.h"
#include "foxpro/repair_journal.h"

namespace qorvane::data {

// Passes what the engines report (damage read past, backups taken) into the conversion log;
// while no log is open the lines wait and go into the next run's log.
class LogReporter : public Reporter {
 public:
  explicit LogReporter(app::RunLayer& run) : run_(run) {}
  void Report(const Damage& damage) override;
  void FlushPending();
  // A run starts (its log is open): earlier runs' messages are forgotten, pending ones logged.
  void StartRun();

 private:
  app::RunLayer& run_;
  std::vector<std::string> pending_;
  std::set<std::string> reported_;  // a damaged table is opened by several controls: say it once
  std::map<std::string, int> shown_per_file_;  // messages shown on the screen, by file
};

// Damage messages of one file shown to the person running the conversion; the rest go only to
// the log (fifteen years of records may hold thousands of unusable dates).
inline constexpr int kDamageShownPerFile = 10;

// The source tables the connections bind, each once, in binding order: the file name and the
// table name its controls are given.
struct SourceTableFile {
  const char* file;   // "property.dbf"
  const char* table;  // "PROPERTY"
};
std::vector<SourceTableFile> SourceTableFiles();

struct SourceOptions {
  int default_code_page = 437;  // for source tables whose header names no code page
};

class Connections {
 public:
  Connections(app::RunLayer& run, SourceOptions options);
  ~Connections();

  SourceControls& source() { return source_; }
  TargetControls& target() { return target_; }
  TargetDatabase& target_database() { return target_database_; }
  LogReporter& reporter() { return reporter_; }

  // Returns whether the control is bound (false when opening the table failed and was reported).
  bool Connect2DBF(DataControl& control, const std::string& folder, const std::string& table_name,
                   int recordset_type);
  void Connect2Data();
  void SelectPropertyOrder();
  void AdoConnect();
  void SelectAdoPropertyOrder();
  // Fills lblCompany, lblphone and lblfax from the current record of the source user table.
  void LoadCompanyLabels();
  // At the start of a run: binds the source tables again (the path may have changed since
  // start-up, and the log now records the bindings) and orders the property table.
  void PrepareSource();
  // After the source tables were written (the preliminary corrections): every bound control
  // writes its pending index work and opens its record source again.
  void RefreshSource();
  // At the end of a run, completed or stopped: source writes flushed, pending rows saved,
  // office.mdb put in place, the source folder unlocked; returns the rows per table it put in
  // place.
  app::TableCounts EndRun();

  // The run's backup session and repair journal of the source folder (null before the first
  // run); the writes of the source repairs go through them.
  foxpro::BackupSession* backup() { return backups_.empty() ? nullptr : backups_.back().get(); }
  foxpro::RepairJournal* journal() { return journals_.empty() ? nullptr : journals_.back().get(); }
  const foxpro::RecordSetOptions& record_options() const { return record_options_; }
  // Takes the lock of the source folder, which a run holds while it repairs the source tables,
  // until EndRun; false when another run holds it.
  bool LockSourceFolder();
  void UnlockSourceFolder();
  // The lock file of the source folder.
  std::string SourceLockPath() const;

  // True the first time this run asks about TEXT (a message about a table): what was said once
  // in a run is not said again.
  bool FirstTimeSaid(const std::string& text) { return said_.insert(text).second; }
  // Rows per user table of office.mdb: in the open connection (empty when none is open), and
  // read afresh from the file on disk.
  app::TableCounts TargetRowCounts();
  app::TableCounts CommittedRowCounts();

  // The connection string of every ADO control for a target folder.
  static std::string ConnectionString(const std::string& target_folder);

 private:
  app::RunLayer& run_;
  LogReporter reporter_;
  foxpro::RecordSetOptions record_options_;
  // One backup session per run; record sets opened in an earlier run may still point at theirs.
  std::vector<std::unique_ptr<foxpro::BackupSession>> backups_;
  // The journal each run's backup session writes to (the last is the current run's).
  std::vector<std::unique_ptr<foxpro::RepairJournal>> journals_;
  std::optional<os::File> source_lock_;
  std::set<std::string> said_;
  SourceControls source_;
  TargetDatabase target_database_;
  TargetControls target_;
};

}  // namespace qorvane::data
