// The plain-words end of `qorvane check` (see check_summary.h).
#include "cli/check_summary.h"

#include <algorithm>
#include <unordered_set>

#include "common/error.h"
#include "common/os.h"
#include "common/text.h"
#include "convert/orders/order_fields.h"
#include "foxpro/table.h"

#include <map>
#include <set>
#include <sstream>

namespace qorvane::cli {
namespace {

constexpr const char* kTableLine = "Preliminary data correction to illegal VL ";
constexpr const char* kCorrectionLine = "VL CORRECTION: illegal ";

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

// One repaired value: where it appears (table and field) and what it becomes.
struct Repair {
  std::string after;
  std::set<std::string> places;
  int count = 0;
};

}  // namespace

std::string CheckSummary(const std::string& text, const std::string& folder,
                         const std::vector<app::ClientKeyChange>& clients, int unreadable) {
  // "VL CORRECTION: illegal <field> (<before>) converted = <after>" below the line that names
  // its table: the same number appears in several tables and fields, and counts once.
  std::map<std::string, Repair> repairs;
  std::string table;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind(kTableLine, 0) == 0) {
      std::string rest = line.substr(std::string(kTableLine).size());
      table = Lower(rest.substr(0, rest.find(' ')));
      continue;
    }
    if (line.rfind(kCorrectionLine, 0) != 0) continue;
    std::string rest = line.substr(std::string(kCorrectionLine).size());
    std::size_t open = rest.find(" (");
    std::size_t close = rest.rfind(") converted = ");
    if (open == std::string::npos || close == std::string::npos || close < open) continue;
    std::string field = rest.substr(0, open);
    std::string before = rest.substr(open + 2, close - open - 2);
    Repair& repair = repairs[before];
    repair.after = rest.substr(close + std::string(") converted = ").size());
    repair.places.insert(table + " " + field);
    ++repair.count;
  }

  std::string summary;
  if (repairs.empty()) {
    summary += "No file number needs the Preliminary Corrections.\n";
  } else {
    int places = 0;
    for (const auto& [before, repair] : repairs) places += repair.count;
    summary += std::to_string(repairs.size()) + (repairs.size() == 1 ? " number" : " numbers") +
               " would be repaired by the Preliminary Corrections, in " + std::to_string(places) +
               (places == 1 ? " place" : " places") + ":\n";
    for (const auto& [before, repair] : repairs) {
      summary += "  " + before + " becomes " + repair.after + " (" +
                 qorvane::text::JoinedWithAnd(std::vector<std::string>(repair.places.begin(), repair.places.end())) + ")\n";
    }
  }
  if (clients.empty()) {
    summary += "No client key needs the duplicate-client correction.\n";
  } else {
    summary += std::to_string(clients.size()) + (clients.size() == 1 ? " client key" : " client keys") +
               " in client.dbf would be changed by the duplicate-client correction (it runs when clients are "
               "converted with the Preliminary Corrections), so that no client is merged with another:\n";
    for (const app::ClientKeyChange& change : clients) summary += "  " + app::ClientKeyChangeInWords(change) + "\n";
  }
  summary += "Nothing was written.\n";

  std::string source = folder;
  if (unreadable > 0) {
    summary += "next: a table that cannot be read is converted only up to its damage; restore it from a backup of the "
               "old program if there is one, then run this check again.\n";
  } else if (!repairs.empty() || !clients.empty()) {
    summary += "next: qorvane convert --source " + source +
               " --target DIR --prelim converts with these repairs (each table it changes is copied first into a "
               "qorvane-backup-... folder beside it); without --prelim the source tables are only read, and clients that "
               "share a key are merged into one.\n";
  } else {
    summary += "next: qorvane convert --source " + source + " --target DIR\n";
  }
  return summary;
}

std::string ListedNumbersNotHeld(const std::string& folder, int code_page, const std::vector<std::string>& numbers) {
  if (numbers.empty()) return "";
  std::unordered_set<std::string> held;
  std::string unreadable;
  for (auto [table_name, field_name] : {std::pair{"property.dbf", "File_num"}, std::pair{"invoice.dbf", "Inv_num"}}) {
    try {
      auto path = os::FindCaseInsensitive(folder, table_name);
      if (!path) continue;
      auto table = foxpro::Table::Open(*path, {.default_code_page = code_page});
      auto field = table->FindField(field_name);
      if (!field) continue;
      std::string text;
      for (std::uint32_t record = 0; record < table->record_count(); ++record) {
        if (table->IsDeleted(record)) continue;
        text.clear();
        table->AppendText(table->RecordBytes(record), *field, text);
        held.insert(text::UCaseTrim(text));
      }
    } catch (const Error& error) {
      unreadable += std::string(table_name) + " could not be read (" + error.what() + "); ";
    }
  }
  std::string out;
  for (const std::string& number : numbers) {
    std::vector<std::string> forms = convert::ListedNumberForms(number);
    if (std::any_of(forms.begin(), forms.end(), [&](const std::string& form) { return held.count(form) != 0; })) continue;
    std::string shown = text::UCaseTrim(number);
    out += "File number " + shown + " is not in property.dbf or invoice.dbf: " + unreadable +
           "a conversion with --files " + shown +
           " would delete its rows in office.mdb and have nothing to convert in their place. Check the number as "
           "the old program shows it.\n";
  }
  return out;
}

}  // namespace qorvane::cli
