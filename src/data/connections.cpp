// Binding the source tables and the target record sources (see connections.h).
#include "data/connections.h"

#include "app/errors.h"
#include "app/paths.h"
#include "app/run_changes.h"
#include "data/fields.h"
#include "data/source_repairs.h"
#include "foxpro/table.h"

namespace qorvane::data {
namespace {

// Source files in the order they are bound, the table name each control is given, the
// controls, and the name the success line writes (the appraiser table's line has always said
// "appraiser.dbf").
struct SourceBinding {
  const char* file;
  const char* table;
  std::vector<app::SourceControl> controls;
  const char* log_name;
};

const std::vector<SourceBinding>& SourceBindings() {
  using S = app::SourceControl;
  static const std::vector<SourceBinding> bindings = {
      {"assign.dbf", "ASSIGN", {S::datAssign}, "assign.dbf"},
      {"applied.dbf", "APPLIED", {S::datapplied}, "applied.dbf"},
      {"appraisr.dbf", "APPRAISR", {S::datappraisr, S::datappraisrtable}, "appraiser.dbf"},
      {"apprexp.dbf", "APPREXP", {S::datapprexp}, "apprexp.dbf"},
      {"apprfee.dbf", "APPRFEE", {S::datapprfee}, "apprfee.dbf"},
      {"client.dbf", "CLIENT", {S::datClient, S::datclienttable}, "client.dbf"},
      {"cliexp.dbf", "CLIEXP", {S::datcliexp}, "cliexp.dbf"},
      {"clifee.dbf", "CLIFEE", {S::datclifee}, "clifee.dbf"},
      {"payfee.dbf", "PAYFEE", {S::datpayfee}, "payfee.dbf"},
      {"property.dbf", "PROPERTY", {S::datproperty}, "property.dbf"},
      {"property.dbf", "PROPERTY", {S::datproperty2}, "property.dbf"},
      {"rooms.dbf", "ROOMS", {S::datrooms}, "rooms.dbf"},
      {"user.dbf", "USER", {S::datuser}, "user.dbf"},
      {"invoice.dbf", "INVOICE", {S::datinvoice}, "invoice.dbf"},
  };
  return bindings;
}

struct TargetBinding {
  app::TargetControl control;
  const char* record_source;  // "" for adoquery: its source is set by each query
};

using T = app::TargetControl;
const TargetBinding kTargetBindings[] = {
    {T::adoappraiser, "Select * from Appraiser"},
    {T::adoappraiserfee, "Select * from AppraiserFee order by DisplayOrder"},
    {T::adoassigned, "Select * from Assigned"},
    {T::adoclient, "Select * from Client"},
    {T::adoclientcontact, "Select * from ClientContact"},
    {T::adoclientfee, "Select * from ClientFee ORDER BY DisplayOrder"},
    {T::adocompany, "Select * from Company"},
    {T::adoformtypes, "Select * from FormTypes"},
    {T::adoinvoice, "Select * from Invoice"},
    {T::adoproperty, nullptr},  // SelectAdoPropertyOrder
    {T::adousers, "Select * from users"},
    {T::adofind, "Select FILENUMBER from INVOICE"},
    {T::adoquery, ""},
};

bool EndsWithDbf(const std::string& name) {
  if (name.size() < 3) return false;
  std::string tail = name.substr(name.size() - 3);
  for (char& c : tail) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return tail == "DBF";
}

}  // namespace

std::vector<SourceTableFile> SourceTableFiles() {
  std::vector<SourceTableFile> files;
  for (const SourceBinding& binding : SourceBindings()) {
    if (!files.empty() && std::string(files.back().file) == binding.file) continue;
    files.push_back({binding.file, binding.table});
  }
  return files;
}

void LogReporter::Report(const Damage& damage) {
  const std::string message = DamageMessage(damage);
  if (!reported_.insert(message).second) return;
  // The person running the conversion sees it too (a line on the terminal, the window's status
  // line), not only whoever reads the log later. Notices (a backup taken, where the copy went)
  // are all shown; damage the first few times per file, then one line says the rest are in the log.
  if (damage.kind == DamageKind::Notice || damage.file.empty()) {
    run_.Notify(message);
  } else {
    int shown = shown_per_file_[damage.file]++;
    if (shown < kDamageShownPerFile) {
      run_.Notify(message);
    } else if (shown == kDamageShownPerFile) {
      run_.Notify(damage.file +
                  ": more values like these are read past; from here on each is written "
                  "only to the conversion log");
    }
  }
  if (run_.session().LogOpen()) {
    run_.AddtoLogFile(message);
  } else {
    pending_.push_back(message);
  }
}

void LogReporter::FlushPending() {
  if (!run_.session().LogOpen()) return;
  for (const std::string& message : pending_) run_.AddtoLogFile(message);
  pending_.clear();
}

void LogReporter::StartRun() {
  // Each run's log names every damaged value it reads, whatever an earlier run said: what was
  // found before the log opened goes into this one, and counts as said.
  reported_.clear();
  shown_per_file_.clear();
  reported_.insert(pending_.begin(), pending_.end());
  FlushPending();
}

Connections::Connections(app::RunLayer& run, SourceOptions options)
    : run_(run), reporter_(run), source_(&record_options_, &run), target_(&target_database_, &run) {
  record_options_.default_code_page = options.default_code_page;
  record_options_.reporter = &reporter_;
  target_database_.SetReporter(&reporter_);
}

Connections::~Connections() = default;

std::string Connections::ConnectionString(const std::string& target_folder) {
  std::string folder = target_folder;
  app::CkRSlash(folder);
  return "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + folder + "OFFICE.MDB;Persist Security Info=False";
}

bool Connections::Connect2DBF(DataControl& control, const std::string& folder,
                              const std::string& table_name, int recordset_type) {
  return run_.Guard("Connect2DBF", [&] {
    std::string dir = folder;
    app::CkRSlash(dir);
    std::string file = EndsWithDbf(table_name) ? dir + table_name : dir + table_name + ".DBF";
    if (!app::FileExists(file)) {
      run_.ShowMessage("The file " + file + " was not found.  Please correct and try again.");
      throw app::ProgramEnd(3);
    }
    control.Connect = "FoxPro 2.6;";
    std::string database_name = folder;
    app::RemoveRSlash(database_name);
    control.DatabaseName = database_name;
    control.RecordSource = table_name;
    control.BoundSource = table_name;
    control.RecordsetType = recordset_type;
    control.Unbind();
    if (recordset_type != 0) control.Refresh();
    return true;
  });
}

void Connections::Connect2Data() {
  run_.Guard("Connect2Data", [&] {
    // The folder the directory discovery resolved, ending in '/'.
    const std::string& dir = run_.session().Paths.source_folder;
    // A table that cannot be opened is said once, however many controls it has: the others
    // are left without records for the same reason.
    std::map<std::string, std::string> unreadable;
    for (const SourceBinding& binding : SourceBindings()) {
      if (app::FilePathExists(dir + binding.file)) {
        bool connected = true;
        for (app::SourceControl id : binding.controls) {
          auto earlier = unreadable.find(binding.file);
          if (earlier != unreadable.end()) {
            source_[id].MarkUnreadable(earlier->second);
            connected = false;
            continue;
          }
          if (!Connect2DBF(source_[id], dir, binding.table, 1)) {
            connected = false;
            unreadable[binding.file] = source_[id].OpenError();
            FirstTimeSaid(source_[id].OpenError());
            source_[id].MarkUnreadable(source_[id].OpenError());
          }
        }
        run_.EnterRoutine("Connect2Data");
        // A table that could not be opened has had its error reported instead.
        if (connected) run_.AddtoLogFile("Connected to " + dir + binding.log_name);
      } else if (auto path = os::FindCaseInsensitive(dir, binding.file); path && os::FileSize(*path) == 0u) {
        // The file is there but empty: not missing, and not a table either.
        std::string why;
        try {
          foxpro::Table::Open(*path, {});
        } catch (const Error& error) {
          why = error.what();
        }
        for (app::SourceControl id : binding.controls) source_[id].MarkUnreadable(why);
        if (FirstTimeSaid(why)) {
          run_.ReportRoutineError("Connect2Data", app::error_number::kUnrecognizedFormat, why);
        }
      } else {
        std::string warning = "Warning.  The file " + dir + binding.file + " is missing.";
        for (app::SourceControl id : binding.controls) {
          source_[id].Unbind();
          source_[id].BoundSource.clear();
        }
        run_.ShowMessage(warning);
        run_.AddtoLogFile(warning);
      }
    }
  });
}

void Connections::SelectPropertyOrder() {
  run_.Guard("SelectPropertyOrder", [&] {
    DataControl& property = source_[app::SourceControl::datproperty];
    property.RecordSource = "Select * from Property order by file_num";
    property.Refresh();
  });
}

void Connections::AdoConnect() {
  run_.Guard("AdoConnect", [&] {
    const app::DataPaths& paths = run_.session().Paths;
    target_database_.SetPath(paths.target_file);
    std::string connection = ConnectionString(paths.target_folder);
    for (const TargetBinding& binding : kTargetBindings) {
      AdoControl& control = target_[binding.control];
      control.ConnectionString = connection;
      if (binding.record_source == nullptr) {
        SelectAdoPropertyOrder();
        run_.EnterRoutine("AdoConnect");
        continue;
      }
      control.RecordSource = binding.record_source;
      if (!control.RecordSource.empty()) {
        control.Refresh();
      } else {
        control.Unbind();
      }
    }
  });
}

void Connections::SelectAdoPropertyOrder() {
  run_.Guard("SelectAdoPropertyOrder", [&] {
    AdoControl& property = target_[app::TargetControl::adoproperty];
    property.RecordSource = "Select * from property order by FileNumber";
    property.Refresh();
  });
}

void Connections::LoadCompanyLabels() {
  run_.Guard("LoadCompanyLabels", [&] {
    DataControl& users = source_[app::SourceControl::datuser];
    if (!users.bound() || users.Recordset().EndOfFile()) return;
    auto& form = run_.form();
    form.lblCompany = DATgetfield(users, "Name");
    form.lblphone = DATgetfield(users, "user_PHone");
    form.lblfax = DATgetfield(users, "user_fax");
  });
}

void Connections::PrepareSource() {
  run_.Guard("PrepareSource", [&] {
    reporter_.StartRun();
    said_.clear();
    // The folder the confirmation named, and the journal of what this run writes there.
    journals_.push_back(std::make_unique<foxpro::RepairJournal>(run_.session().Paths.source_folder,
                                                                app::DateTimeText(run_.RunStart())));
    backups_.push_back(std::make_unique<foxpro::BackupSession>(app::BackupFolderName(run_.RunStart()), &reporter_,
                                                               journals_.back().get()));
    record_options_.backup = backups_.back().get();
    Connect2Data();
    SelectPropertyOrder();
    run_.session().SourceHistory =
        SourceHistoryLines(run_.session().Paths.source_folder, run_.form().Checked(app::CheckBox::ckbPrelim));
  });
}

void Connections::RefreshSource() {
  run_.Guard("RefreshSource", [&] {
    // The corrections pointed controls at narrow queries of their own (and a query that failed
    // left its control unbound): every control bound at the start goes back to its table (the
    // property control to its file-number order) and reads the corrected records.
    source_.ForEach([&](DataControl& control) {
      // A table that could not be opened was said so; it is not tried again.
      if (control.BoundSource.empty() || control.Unreadable()) return;
      run_.Guard("RefreshSource", [&] {
        if (control.bound()) control.Recordset().Flush();
        control.RecordSource = control.BoundSource;
        control.Refresh();
      });
    });
    SelectPropertyOrder();
  });
}

app::TableCounts Connections::EndRun() {
  return run_.Guard("EndRun", [&] {
    source_.ForEach([](DataControl& control) {
      if (control.bound()) control.Recordset().Flush();
    });
    // Each control saves its pending row; one that cannot is reported and the others go on.
    target_.ForEach([&](AdoControl& control) { run_.Guard("EndRun", [&] { control.Unbind(); }); });
    // The repairs are written: another run may now repair the source.
    UnlockSourceFolder();
    app::TableCounts written = TargetRowCounts();
    target_database_.CommitAndClose();
    return written;
  });
}

std::string Connections::SourceLockPath() const {
  return os::JoinPath(run_.session().Paths.source_folder, "qorvane-repairs.lock");
}

bool Connections::LockSourceFolder() {
  if (source_lock_) return true;
  std::optional<os::File> lock = os::LockFileAt(SourceLockPath());
  if (!lock) return false;
  source_lock_ = std::move(lock);
  return true;
}

void Connections::UnlockSourceFolder() {
  if (!source_lock_) return;
  // Removed while still held, so that a run that opened it meanwhile sees, once it has the
  // lock, that it is no longer the file at the path.
  os::RemoveFile(SourceLockPath());
  source_lock_.reset();
}


namespace {

app::TableCounts RowCounts(jet::Database& database) {
  app::TableCounts counts;
  for (const jet::TableSummary& summary : database.ListTables()) {
    counts[summary.name] = static_cast<std::int64_t>(database.GetTable(summary.name).row_count());
  }
  return counts;
}

}  // namespace

app::TableCounts Connections::TargetRowCounts() {
  if (!target_database_.is_open()) return {};
  return run_.Guard("TargetRowCounts", [&] { return RowCounts(target_database_.database()); });
}

app::TableCounts Connections::CommittedRowCounts() {
  const std::string& path = run_.session().Paths.target_file;
  if (path.empty()) return {};
  return run_.Guard("CommittedRowCounts", [&] {
    auto database = jet::Database::Open(path, {.open_for = jet::OpenFor::Reading, .reporter = &reporter_});
    return RowCounts(*database);
  });
}

}  // namespace qorvane::data
