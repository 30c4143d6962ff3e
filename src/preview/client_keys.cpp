// The client keys a run will change (see client_keys.h).
#include "preview/client_keys.h"

#include "app/paths.h"
#include "common/error.h"
#include "data/duplicate_clients.h"
#include "foxpro/record_set.h"

namespace qorvane::preview {
namespace {

std::string TrimmedText(const foxpro::RecordSet& records, const std::string& field) {
  return std::string(foxpro::TrimBlanks(records.GetValue(field).text));
}

}  // namespace

std::vector<app::ClientKeyChange> PlanClientKeyChanges(const std::string& folder, int default_code_page) {
  std::vector<app::ClientKeyChange> changes;
  std::string dir = folder;
  app::CkRSlash(dir);
  if (dir.empty() || !app::FileExists(dir + "client.dbf")) return changes;
  foxpro::RecordSetOptions options;  // no backup session: nothing can be written
  options.default_code_page = default_code_page;
  try {
    auto records = foxpro::RecordSet::Open(dir, "Select * from client order by cli_lname", options);
    data::ClientKeyScan scan;
    for (; !records->EndOfFile(); records->MoveNext()) {
      std::string key = TrimmedText(*records, "Cli_lname");
      std::string listed_key;
      if (scan.Next(key, listed_key).empty()) continue;
      std::string number = TrimmedText(*records, "Cli_num");
      changes.push_back({number, key, listed_key, data::CorrectedClientKey(number, listed_key)});
    }
  } catch (const Error&) {
    // A table that cannot be read is reported by the run itself, with its place.
    changes.clear();
  }
  return changes;
}

}  // namespace qorvane::preview
