// `qorvane export FILE [TABLE]`: prints a FoxPro table (.dbf), or one table of a Jet database
// (.mdb), as CSV or JSON; a .mdb without a table lists its user tables with their row counts.
// Values in the agreed forms: text as UTF-8, dates "YYYY-MM-DD HH:MM:SS", booleans 1/0,
// numbers in plain decimal, GUIDs in braces, binary as hex, memos whole, blanks as null.
#pragma once

#include <optional>
#include <ostream>
#include <string>

#include "cli/export_writer.h"

namespace qorvane::cli {

struct ExportOptions {
  std::string file;
  std::optional<std::string> table;  // .mdb only; without it the user tables are listed
  ExportFormat format = ExportFormat::Csv;
  int source_codepage = 437;  // .dbf tables whose header names no code page
};

// Exit statuses of the export.
constexpr int kExportDone = 0;
constexpr int kExportBadFile = 2;   // a name that is not .dbf or .mdb; a table the .mdb lacks
constexpr int kExportUnreadable = 3;  // the file cannot be read (a message on ERR names it)

// Picks the engine by the file's extension. Damage read past is reported on ERR as
// "warning: ..." lines as it is met.
int Export(const ExportOptions& options, std::ostream& out, std::ostream& err);
int ExportMdb(const ExportOptions& options, std::ostream& out, std::ostream& err);
int ExportDbf(const ExportOptions& options, std::ostream& out, std::ostream& err);

}  // namespace qorvane::cli
