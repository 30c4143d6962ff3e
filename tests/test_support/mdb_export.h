// mdbtools' mdb-export (an independent reader) read back for tests: a table of an .mdb a row
// at a time as the CSV comes, so a large table is never held whole, or as rows of named cells.
#pragma once

#include <cstdio>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "test_support/oracles.h"
#include "test_support/run_command.h"

namespace qorvane::test {

using ExportCell = std::optional<std::string>;

// Calls EACH_RECORD with each record of the CSV that COMMAND prints (its standard error
// dropped), as mdb-export writes it: an unquoted empty field is null, "" inside quotes is a
// quote, and a quoted field may hold line breaks.
inline void ForEachCsvRecord(const std::string& command,
                             const std::function<void(std::vector<ExportCell>& record)>& each_record) {
  FILE* pipe = ::popen((command + " 2>/dev/null").c_str(), "r");
  if (!pipe) throw std::runtime_error("cannot run " + command);
  std::vector<ExportCell> record;
  // The reader's state between characters: inside quotes, just after a closing quote, a field so far.
  bool quoted = false, after_quote = false, field_quoted = false;
  std::string field;
  auto end_field = [&] {
    record.push_back(field_quoted || !field.empty() ? ExportCell(field) : ExportCell());
    field.clear();
    field_quoted = false;
  };
  auto end_record = [&] {
    end_field();
    each_record(record);
    record.clear();
  };
  char buffer[65536];
  while (std::size_t n = std::fread(buffer, 1, sizeof buffer, pipe)) {
    for (std::size_t i = 0; i < n; ++i) {
      char c = buffer[i];
      if (quoted) {
        if (c == '"') {
          quoted = false;
          after_quote = true;
        } else {
          field += c;
        }
        continue;
      }
      if (c == '"') {
        if (after_quote) field += '"';  // a doubled quote inside quotes
        quoted = true;
        field_quoted = true;
      } else if (c == ',') {
        end_field();
      } else if (c == '\n') {
        end_record();
      } else {
        field += c;
      }
      after_quote = false;
    }
  }
  if (!record.empty() || !field.empty()) end_record();
  ::pclose(pipe);
}

// Calls EACH_ROW with the header's names and each row of TABLE of the database at PATH as
// `mdb-export OPTIONS` prints it.
inline void ForEachMdbExportRow(
    const std::string& path, const std::string& table, const std::string& options,
    const std::function<void(const std::vector<std::string>& columns, std::vector<ExportCell>& row)>& each_row) {
  RequireOracle(Oracle::Mdbtools);
  std::vector<std::string> columns;
  bool header = true;
  ForEachCsvRecord("mdb-export " + options + " " + ShellQuote(path) + " " + ShellQuote(table),
                   [&](std::vector<ExportCell>& record) {
                     if (!header) return each_row(columns, record);
                     for (const ExportCell& name : record) columns.push_back(name.value_or(""));
                     header = false;
                   });
}

using ExportedRow = std::map<std::string, std::string>;

// TABLE of the database at PATH as mdb-export prints it (text as written, booleans 1/0, null
// as ""), one map from column name to cell per row. OPTIONS go to mdb-export as they are
// ("-D '%m/%d/%Y'" for four-digit years).
inline std::vector<ExportedRow> MdbExport(const std::string& path, const std::string& table,
                                          const std::string& options = "") {
  std::vector<ExportedRow> rows;
  ForEachMdbExportRow(path, table, options, [&](const std::vector<std::string>& columns, std::vector<ExportCell>& cells) {
    ExportedRow row;
    for (std::size_t c = 0; c < columns.size() && c < cells.size(); ++c) row[columns[c]] = cells[c].value_or("");
    rows.push_back(std::move(row));
  });
  return rows;
}

}  // namespace qorvane::test
