// Test support: a source table with every field the conversion steps read from it (as the data
// layer lists them), so that a test about one thing does not meet a step refused for a field its
// small table left out. Values are given by field name, as text; other fields stay blank.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "data/step_sources.h"
#include "foxpro/table_writer.h"
#include "test_support/sample_office.h"

namespace qorvane::test {

using FieldValues = std::map<std::string, std::string>;  // field name (upper case) -> text

inline void WriteWholeTable(const std::string& path, const std::string& file, const std::vector<FieldValues>& rows,
                            std::vector<foxpro::TagDefinition> tags = {}) {
  std::vector<foxpro::FieldSpec> fields;
  std::set<std::string> seen;
  for (const data::RoutineNeeds& needs : data::AllRoutineNeeds()) {
    for (const data::TableNeed& table : needs.tables) {
      if (file != table.file) continue;
      for (const data::FieldNeed& field : table.fields) {
        std::string name = field.name;
        for (char& c : name) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        if (!seen.insert(name).second) continue;
        switch (field.kind) {
          case data::FieldKind::Text: fields.push_back({name, 'C', 20}); break;
          case data::FieldKind::Number: fields.push_back({name, 'N', 10, 2}); break;
          case data::FieldKind::Date: fields.push_back({name, 'D', 8}); break;
          case data::FieldKind::Logical: fields.push_back({name, 'L', 1}); break;
          case data::FieldKind::Memo: fields.push_back({name, 'M', 10}); break;
        }
      }
    }
  }
  // Fields a test names that no step reads (the corrections' INV_NUM of property.dbf, say).
  for (const FieldValues& row : rows) {
    for (const auto& [name, value] : row) {
      if (seen.insert(name).second) fields.push_back({name, 'C', 20});
    }
  }
  std::vector<std::vector<foxpro::Value>> values;
  for (const FieldValues& row : rows) {
    std::vector<foxpro::Value>& record = values.emplace_back();
    for (const foxpro::FieldSpec& field : fields) {
      auto found = row.find(field.name);
      if (found == row.end()) {
        record.emplace_back();
      } else if (field.type == 'N') {
        record.push_back({foxpro::Value::Kind::Number, found->second, std::stod(found->second), {}, false});
      } else {
        record.push_back(FoxText(found->second));
      }
    }
  }
  WriteFoxTable(path, std::move(fields), values, std::move(tags));
}

}  // namespace qorvane::test
