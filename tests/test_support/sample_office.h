// Test support for whole conversions: small FoxPro source tables written by the engine's
// table creator, a shell command's output, and (through mdb_export.h) a target table read back
// by mdbtools' mdb-export as rows of named cells.
#pragma once

#include <string>
#include <vector>

#include "foxpro/table_writer.h"
#include "test_support/mdb_export.h"
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

}  // namespace qorvane::test
