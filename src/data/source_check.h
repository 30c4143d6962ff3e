// `qorvane check`: what a conversion would repair in a source office, found without writing
// anything: every illegal file number the preliminary corrections would repair (with its
// repaired form) and every client key the duplicate-client check would change, in the log's
// own wording; a line per source table with its record count and any damage read past; each
// field a conversion step needs that a damaged header lost; each index that no longer agrees
// with its table; and what earlier runs of this program repaired (or were stopped in).
// The tables are opened without a backup session, so no write can happen.
#pragma once

#include <ostream>
#include <string>

namespace qorvane::data {

struct SourceCheckResult {
  int tables_read = 0;
  int tables_unreadable = 0;   // cannot be opened, or lack a field a step reads
  int file_number_repairs = 0;
  int client_key_changes = 0;
  int indexes_to_rebuild = 0;  // disagree with their tables
};

// Writes the report for the tables in FOLDER to OUT. DEFAULT_CODE_PAGE is used for tables
// whose header names none. Never throws for what it finds in the tables: each is a line.
SourceCheckResult CheckSource(const std::string& folder, int default_code_page, std::ostream& out);

// The command's exit status: 3 a table could not be read, 1 something needs repair, else 0.
int SourceCheckExitStatus(const SourceCheckResult& result);

}  // namespace qorvane::data
