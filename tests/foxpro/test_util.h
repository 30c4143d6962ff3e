// Helpers shared by the FoxPro engine tests: canonical value text (the form dbfread_dump.py
// prints), running the independent reader, and reading whole fixture tables.
#pragma once

#include <cstdio>
#include <map>
#include <string>

#include "foxpro/table.h"
#include "test_support/oracles.h"
#include "test_support/run_command.h"
#include "test_support/temp_dir.h"

namespace qorvane::foxpro::test {

inline std::string Canonical(const Value& value) {
  char buffer[64];
  switch (value.kind) {
    case Value::Kind::Null: return "<null>";
    case Value::Kind::Logical: return value.logical ? "1" : "0";
    case Value::Kind::Number:
      std::snprintf(buffer, sizeof buffer, "%.10g", value.number);
      return buffer;
    case Value::Kind::Date:
      std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d", value.date.year, value.date.month, value.date.day);
      return buffer;
    case Value::Kind::Binary: return "<binary " + std::to_string(value.text.size()) + ">";
    case Value::Kind::Text: {
      std::string out;
      for (char c : value.text) {
        if (c == '\\') out += "\\\\";
        else if (c == '\r') out += "\\r";
        else if (c == '\n') out += "\\n";
        else out.push_back(c);
      }
      return out;
    }
  }
  return "";
}

// Every live record, in the dump format: "NAME=value" lines, "--" after each record. Fields
// whose name occurs twice print as "<dup>" (dbfread keeps only the last of them).
inline std::string DumpTable(const Table& table) {
  std::map<std::string, int> counts;
  for (const Field& field : table.fields()) counts[field.name]++;
  std::string out;
  for (std::uint32_t record = 0; record < table.record_count(); ++record) {
    if (table.IsDeleted(record)) continue;
    for (std::size_t i = 0; i < table.fields().size(); ++i) {
      const Field& field = table.fields()[i];
      out += field.name + "=" + (counts[field.name] > 1 ? "<dup>" : Canonical(table.ReadValue(record, i))) + "\n";
    }
    out += "--\n";
  }
  return out;
}

// The independent reader's dump of a table, with duplicate names printed as "<dup>".
inline std::string DbfreadDump(const std::string& path, const std::string& encoding, bool& ok) {
  qorvane::test::RequireOracle(qorvane::test::Oracle::Dbfread);
  std::string script = std::string(QORVANE_SOURCE_DIR) + "/tests/foxpro/dbfread_dump.py";
  qorvane::test::CommandResult result = qorvane::test::RunForResult("/usr/bin/python3 " + script + " '" + path + "' " + encoding);
  ok = result.status == 0;
  return result.out;
}

}  // namespace qorvane::foxpro::test
