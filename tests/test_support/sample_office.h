// Test support for whole conversions: small FoxPro source tables written by the engine's
// table creator, a blank office.mdb, a shell command's output, and a target table read back
// through mdbtools' mdb-export (an independent reader) as rows of named cells.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "foxpro/table_writer.h"
#include "test_support/oracles.h"
#include "test_support/run_command.h"

namespace qorvane::test {

inline foxpro::Value FoxText(const std::string& text) {
  foxpro::Value value;
  value.kind = foxpro::Value::Kind::Text;
  value.text = text;
  return value;
}

inline void WriteFoxTable(const std::string& path, std::vector<foxpro::FieldSpec> fields,
                          const std::vector<std::vector<foxpro::Value>>& rows,
                          std::vector<foxpro::TagDefinition> tags = {}) {
  foxpro::NewTableOptions options;
  options.tags = std::move(tags);
  foxpro::TableCreator creator(path, std::move(fields), options);
  for (const auto& row : rows) creator.Append(row);
  creator.Finish();
}

// The standard output of a shell command.
inline std::string Command(const std::string& command) { return RunForResult(command).out; }

inline std::string ShellQuote(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

using ExportedRow = std::map<std::string, std::string>;

// TABLE of the database at PATH as mdb-export prints it (CSV, text in double quotes, booleans
// 1/0), one map from column name to cell per row. OPTIONS go to mdb-export as they are
// ("-D '%m/%d/%Y'" for four-digit years).
inline std::vector<ExportedRow> MdbExport(const std::string& path, const std::string& table,
                                          const std::string& options = "") {
  RequireOracle(Oracle::Mdbtools);
  std::string csv = Command("mdb-export " + options + " " + ShellQuote(path) + " " + ShellQuote(table) + " 2>&1");
  std::vector<std::vector<std::string>> records(1);
  std::string cell;
  bool quoted = false;
  for (std::size_t i = 0; i < csv.size(); ++i) {
    char c = csv[i];
    if (quoted) {
      if (c == '"' && i + 1 < csv.size() && csv[i + 1] == '"') {
        cell += '"';
        ++i;
      } else if (c == '"') {
        quoted = false;
      } else {
        cell += c;
      }
    } else if (c == '"') {
      quoted = true;
    } else if (c == ',') {
      records.back().push_back(cell);
      cell.clear();
    } else if (c == '\n') {
      records.back().push_back(cell);
      cell.clear();
      records.emplace_back();
    } else if (c != '\r') {
      cell += c;
    }
  }
  if (!records.back().empty() || !cell.empty()) records.back().push_back(cell);
  if (records.back().empty()) records.pop_back();
  std::vector<ExportedRow> rows;
  if (records.empty()) return rows;
  const std::vector<std::string>& header = records.front();
  for (std::size_t r = 1; r < records.size(); ++r) {
    ExportedRow row;
    for (std::size_t c = 0; c < header.size() && c < records[r].size(); ++c) row[header[c]] = records[r][c];
    rows.push_back(std::move(row));
  }
  return rows;
}

}  // namespace qorvane::test
