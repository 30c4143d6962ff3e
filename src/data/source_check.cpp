// `qorvane check` (see source_check.h).
#include "data/source_check.h"

#include <fmt/format.h>

#include <map>

#include "app/paths.h"
#include "app/steps.h"
#include "common/error.h"
#include "data/connections.h"
#include "data/duplicate_clients.h"
#include "data/file_numbers.h"
#include "foxpro/record_set.h"

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
      if (!app::FilePathExists(folder_ + file.file)) {
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
        out_ << file.file << ": cannot be read: " << error.what() << "\n";
      }
      for (const std::string& message : damage_.messages) out_ << "  " << message << "\n";
    }
  }

  // The preliminary corrections, as the run would log them.
  void FileNumbers() {
    if (app::FileExists(folder_ + "property.dbf")) {
      out_ << "Preliminary data correction to illegal VL property.dbf fields (file_num and Inv_num)\n";
      Walk("select file_num, inv_num, Cli_Num from property", {"File_num", "Inv_num", "Cli_num"},
           {"file_num", "Inv_num", "Cli_num"});
    }
    for (const app::DataFileNumFix& fix : app::DataFileNumFixes()) {
      if (!app::FileExists(folder_ + fix.table + ".dbf")) continue;
      out_ << "Preliminary data correction to illegal VL " << fix.table << ".dbf field (" << fix.field << ")\n";
      Walk(std::string("select ") + fix.field + " from " + fix.table, {fix.field}, {fix.field});
    }
  }

  // The duplicate-client check, as the run would log its corrections.
  void ClientKeys() {
    if (!app::FileExists(folder_ + "client.dbf")) return;
    auto records = Open("Select * from client order by cli_lname");
    if (records->EndOfFile()) return;
    out_ << "Checking For duplicate Client Listings\n";
    ClientKeyScan scan;
    for (; !records->EndOfFile(); records->MoveNext()) {
      std::string listed_key;
      if (scan.Next(TrimmedText(*records, "Cli_lname"), listed_key).empty()) continue;
      std::string number = TrimmedText(*records, "Cli_num");
      out_ << "Clientnum: " << number << " Cli_lname: " << listed_key << " = "
           << CorrectedClientKey(number, listed_key) << "\n";
      ++result_.client_key_changes;
    }
  }

  const SourceCheckResult& result() const { return result_; }

 private:
  std::unique_ptr<foxpro::RecordSet> Open(const std::string& source) {
    return foxpro::RecordSet::Open(folder_, source, options_);
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
};

}  // namespace

SourceCheckResult CheckSource(const std::string& folder, int default_code_page, std::ostream& out) {
  std::string dir = folder;
  app::CkRSlash(dir);
  out << "Source: " << dir << "\n";
  Checker checker(dir, default_code_page, out);
  checker.Tables();
  checker.FileNumbers();
  checker.ClientKeys();
  const SourceCheckResult& result = checker.result();
  out << fmt::format(
      "{} file number(s) would be repaired by the Preliminary Corrections, {} client key(s) changed by the "
      "duplicate-client check when clients are converted. Nothing was written.\n",
      result.file_number_repairs, result.client_key_changes);
  return result;
}

int SourceCheckExitStatus(const SourceCheckResult& result) {
  if (result.tables_unreadable > 0) return 3;
  return result.file_number_repairs + result.client_key_changes > 0 ? 1 : 0;
}

}  // namespace qorvane::data
