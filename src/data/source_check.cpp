// `qorvane check` (see source_check.h).
#include "data/source_check.h"

#include <fmt/format.h>

#include <cctype>
#include <map>
#include <set>

#include "app/paths.h"
#include "app/steps.h"
#include "common/error.h"
#include "data/connections.h"
#include "data/duplicate_clients.h"
#include "data/file_numbers.h"
#include "data/source_repairs.h"
#include "data/step_sources.h"
#include "foxpro/record_set.h"
#include "foxpro/repair_journal.h"

namespace qorvane::data {
namespace {

// Collects the damage one table's reading reports.
class TableDamage : public Reporter {
 public:
  void Report(const Damage& damage) override { messages.push_back(DamageMessage(damage)); }
  std::vector<std::string> messages;
};

std::string TrimmedText(const foxpro::RecordSet& records, const std::string& field) {
  foxpro::Value value = records.GetValue(field);
  std::string_view text = foxpro::TrimBlanks(value.text);
  return std::string(text);
}

class Checker {
 public:
  Checker(std::string folder, int code_page, std::ostream& out) : folder_(std::move(folder)), out_(out) {
    options_.default_code_page = code_page;
    options_.reporter = &damage_;
  }

  void Tables() {
    for (const SourceTableFile& file : SourceTableFiles()) {
      auto path = os::FindCaseInsensitive(folder_, file.file);
      if (!path) {
        out_ << file.file << ": not there\n";
        continue;
      }
      damage_.messages.clear();
      try {
        auto records = Open(file.table);
        ++result_.tables_read;
        out_ << file.file << ": " << records->RecordCount() << " records\n";
      } catch (const Error& error) {
        ++result_.tables_unreadable;
        unreadable_.insert(file.file);
        out_ << file.file << ": cannot be read: " << error.what() << "\n";
      }
      for (const std::string& message : damage_.messages) out_ << "  " << message << "\n";
    }
  }

  // The fields each conversion step reads, as the run checks them before the step.
  void StepFields() {
    std::set<std::string> said, lacking;
    for (const RoutineNeeds& needs : AllRoutineNeeds()) {
      for (const TableNeed& need : needs.tables) {
        if (unreadable_.count(need.file)) continue;
        auto path = os::FindCaseInsensitive(folder_, need.file);
        if (!path) continue;
        std::vector<std::string> problems;
        try {
          problems = FieldProblems(*foxpro::Table::Open(*path, {}), need, needs.step);
        } catch (const Error& error) {
          problems.push_back(std::string(need.file) + ": cannot be read: " + error.what());
        }
        for (const std::string& problem : problems) {
          if (said.insert(problem).second) out_ << problem << "\n";
        }
        if (!problems.empty()) lacking.insert(need.file);
      }
    }
    for (const std::string& file : lacking) unreadable_.insert(file);
    result_.tables_unreadable += static_cast<int>(lacking.size());
  }

  // The preliminary corrections, as the run would log them.
  void FileNumbers() {
    if (Readable("property.dbf")) {
      out_ << "Preliminary data correction to illegal VL property.dbf fields (file_num and Inv_num)\n";
      Walk("select file_num, inv_num, Cli_Num from property", {"File_num", "Inv_num", "Cli_num"},
           {"file_num", "Inv_num", "Cli_num"});
    }
    for (const app::DataFileNumFix& fix : app::DataFileNumFixes()) {
      std::string file = std::string(fix.table) + ".dbf";
      for (char& c : file) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
      if (!Readable(file)) continue;
      out_ << "Preliminary data correction to illegal VL " << fix.table << ".dbf field (" << fix.field << ")\n";
      Walk(std::string("select ") + fix.field + " from " + fix.table, {fix.field}, {fix.field});
    }
  }

  // The duplicate-client check, as the run would log its corrections. Keys an earlier run
  // corrected are not listed (the run leaves them), nor the clients of a correction a run was
  // stopped in (the next run writes the keys it planned).
  void ClientKeys() {
    if (!Readable("client.dbf")) return;
    try {
      std::vector<ClientKeyPlan> plans = ClientKeyPlans(foxpro::ReadRepairHistory(folder_));
      std::set<std::string> pending;
      for (const ClientKeyPlan& plan : plans) {
        if (plan.corrected) continue;
        for (const ClientKeyPlan::Key& key : plan.keys) pending.insert(std::string(foxpro::TrimBlanks(key.number)));
      }
      auto records = Open("Select * from client order by cli_lname");
      if (records->EndOfFile()) return;
      out_ << "Checking For duplicate Client Listings\n";
      ClientKeyScan scan;
      for (; !records->EndOfFile(); records->MoveNext()) {
        std::string listed_key;
        std::string key = TrimmedText(*records, "Cli_lname");
        if (scan.Next(key, listed_key).empty()) continue;
        std::string number = TrimmedText(*records, "Cli_num");
        if (CorrectedBefore(plans, number, key) || pending.count(number)) continue;
        out_ << "Clientnum: " << number << " Cli_lname: " << listed_key << " = "
             << CorrectedClientKey(number, listed_key) << "\n";
        ++result_.client_key_changes;
      }
    } catch (const Error& error) {
      out_ << "  client keys cannot be checked: " << error.what() << "\n";
    }
  }

  // Each index compared with its table.
  void Indexes() {
    for (const IndexDisagreement& disagreement : CheckSourceIndexes(folder_, options_.default_code_page)) {
      if (!disagreement.problems.empty()) {
        ++result_.indexes_to_rebuild;
        out_ << disagreement.index << ": does not agree with " << disagreement.table
             << "; a run with the Preliminary Corrections (--prelim) rebuilds it from the table, after a backup\n";
        for (const std::string& problem : disagreement.problems) out_ << "  " << problem << "\n";
      }
      for (const std::string& tag : disagreement.unchecked) {
        out_ << tag << "; the conversion reads " << disagreement.table << " without that tag\n";
      }
    }
  }

  // What earlier runs of this program did here, from their journal.
  void History() {
    for (const std::string& line : SourceHistoryLines(folder_, false)) out_ << line << "\n";
  }

  const SourceCheckResult& result() const { return result_; }

 private:
  std::unique_ptr<foxpro::RecordSet> Open(const std::string& source) {
    return foxpro::RecordSet::Open(folder_, source, options_);
  }

  // There (not empty) and readable as a table: the sections after the first say nothing more
  // of a table the first said cannot be read.
  bool Readable(const std::string& file) const {
    return !unreadable_.count(file) && app::FileExists(folder_ + file);
  }

  void Walk(const std::string& source, const std::vector<std::string>& fields, const std::vector<std::string>& names) {
    try {
      auto records = Open(source);
      for (; !records->EndOfFile(); records->MoveNext()) {
        std::vector<std::string> values;
        for (const std::string& field : fields) values.push_back(TrimmedText(*records, field));
        for (const KeyCorrection& correction : PlanKeyCorrections(values)) {
          if (!correction.illegal) continue;
          out_ << "VL CORRECTION: illegal " << names[correction.field] << " (" << correction.before
               << ") converted = " << correction.after << "\n";
          ++result_.file_number_repairs;
        }
      }
    } catch (const Error& error) {
      out_ << "  cannot be checked: " << error.what() << "\n";
    }
  }

  std::string folder_;
  std::ostream& out_;
  TableDamage damage_;
  foxpro::RecordSetOptions options_;  // no backup session: nothing can be written
  SourceCheckResult result_;
  std::set<std::string> unreadable_;  // file names as SourceTableFiles gives them
};

}  // namespace

SourceCheckResult CheckSource(const std::string& folder, int default_code_page, std::ostream& out) {
  std::string dir = folder;
  app::CkRSlash(dir);
  out << "Source: " << dir << "\n";
  Checker checker(dir, default_code_page, out);
  checker.Tables();
  checker.StepFields();
  checker.History();
  checker.FileNumbers();
  checker.ClientKeys();
  checker.Indexes();
  const SourceCheckResult& result = checker.result();
  out << fmt::format(
      "{} file number(s) would be repaired by the Preliminary Corrections, {} client key(s) changed by the "
      "duplicate-client check when clients are converted, {} index(es) rebuilt. Nothing was written.\n",
      result.file_number_repairs, result.client_key_changes, result.indexes_to_rebuild);
  if (result.tables_unreadable > 0) {
    out << fmt::format("{} table(s) cannot be read as the conversion needs (see above): what they hold is not "
                       "converted until they are restored or repaired.\n",
                       result.tables_unreadable);
  }
  return result;
}

int SourceCheckExitStatus(const SourceCheckResult& result) {
  if (result.tables_unreadable > 0) return 3;
  return result.file_number_repairs + result.client_key_changes + result.indexes_to_rebuild > 0 ? 1 : 0;
}

}  // namespace qorvane::data
