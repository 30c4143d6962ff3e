// Test support: runs the independent readers (the npm package mdb-reader through
// tools/mdb-reader/dump-table.mjs, and mdbtools' mdb-export/mdb-count) on a database and puts
// our engine's view of a table in the same form, so a test compares them cell by cell.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "jet/database.h"
#include "test_support/oracles.h"
#include "test_support/run_command.h"

namespace qorvane::jet::test {

using Cell = std::optional<std::string>;
using Rows = std::vector<std::vector<Cell>>;

struct ReadTable {
  long row_count = -1;  // as stored in the table definition
  std::vector<std::string> columns;
  Rows rows;
};

// COMMAND's standard output (its standard error dropped); EXIT_STATUS gets its exit status.
inline std::string Run(const std::string& command, int* exit_status = nullptr) {
  qorvane::test::CommandResult result = qorvane::test::RunForResult(command + " 2>/dev/null");
  if (exit_status) *exit_status = result.status;
  return result.out;
}

inline std::string Quote(const std::string& text) { return qorvane::test::ShellQuote(text); }

// Dates and times as mdb-export prints them for comparison with the other readers.
inline const std::string kMdbDateOptions = "-D '%Y-%m-%d %H:%M:%S' -T '%Y-%m-%d %H:%M:%S'";

inline std::string DumpScript() { return std::string(QORVANE_SOURCE_DIR) + "/tools/mdb-reader/dump-table.mjs"; }

// What mdb-reader reads from TABLE of FILE: all rows, or LIMIT rows from row OFFSET on.
ReadTable ReadWithMdbReader(const std::string& file, const std::string& table, long offset = 0, long limit = -1);

// A value in the form the dump script prints.
Cell ScriptForm(const ColumnDefinition& column, const Value& value);

// What our engine reads from TABLE, in the dump script's forms.
ReadTable ReadWithEngine(const std::string& file, const std::string& table);

// mdb-count's answer, or -1.
inline long MdbCount(const std::string& file, const std::string& table) {
  qorvane::test::RequireOracle(qorvane::test::Oracle::Mdbtools);
  std::string output = Run("mdb-count " + Quote(file) + " " + Quote(table));
  return output.empty() ? -1 : std::stol(output);
}

// Cells equal, numbers compared as numbers (the readers print them differently).
bool SameCell(const Cell& a, const Cell& b);

// Runs the shared structural checker (jetcheck.py) on FILE; its report goes to OUTPUT. True
// when it found nothing wrong.
bool Jetcheck(const std::string& file, std::string* output = nullptr);

// Our reading and mdb-reader's have the same stored row count, columns and rows, in any order
// (readers differ on where relocated rows come); WHERE names the table in failures.
void ExpectSameRows(ReadTable ours, ReadTable theirs, const std::string& where);

// Our reader, mdb-reader and mdbtools (mdb-count, mdb-export) see the same rows of TABLE.
void ExpectReadersAgree(const std::string& path, const std::string& table);

// Every real index of TABLE holds exactly the keys of its live rows, in a tree the index
// module's verifier accepts, and its usage map names exactly the tree's pages.
void ExpectIndexesMatchRows(const std::string& path, const std::string& table);

}  // namespace qorvane::jet::test
