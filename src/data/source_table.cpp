// Typed reads of a source table (see source_table.h).
#include "data/source_table.h"

#include <fmt/format.h>

#include "common/error.h"
#include "common/text.h"
#include "data/controls.h"
#include "data/fields.h"

namespace qorvane::data {

bool SourceTable::bound() const { return control_.bound(); }

foxpro::RecordSet& SourceTable::records() const { return control_.Recordset(); }

std::string SourceTable::name() const { return records().table().name(); }

SourceField SourceTable::Field(std::string_view name) const {
  SourceField field;
  field.name = std::string(name);
  if (!bound()) return field;
  auto position = records().FieldPosition(name);
  if (!position) return field;
  const foxpro::Field& info = records().table().fields()[*position];
  field.position = *position;
  field.type = info.type;
  field.length = info.length;
  return field;
}

foxpro::Value SourceTable::Read(const SourceField& field) const {
  if (!field.present()) {
    throw Error(ErrorKind::InvalidArgument,
                (bound() ? name() : "the data control " + control_.name()) + " has no field named " + field.name);
  }
  return records().GetValueAt(field.position);
}

std::string FoxValueText(const foxpro::Value& value) {
  using Kind = foxpro::Value::Kind;
  switch (value.kind) {
    case Kind::Text: return std::string(text::Trim(foxpro::TrimBlanks(value.text)));
    case Kind::Number: return foxpro::FormatNumber(value.number);
    case Kind::Date:
      if (value.date.empty()) return "";
      return fmt::format("{}/{}/{}", value.date.month, value.date.day, value.date.year);
    case Kind::Logical: return value.logical ? "True" : "False";
    case Kind::Null:
    case Kind::Binary: return "";
  }
  return "";
}

std::string SourceTable::Text(const SourceField& field) const { return FoxValueText(Read(field)); }

std::string SourceTable::Stored(const SourceField& field) const {
  Read(field);  // the same checks and messages as a read
  const foxpro::Table& table = records().table();
  std::string_view raw = table.RawField(records().GetBookmark(), field.position);
  // NULs (an unwritten field) count as blank, as the reader counts them.
  std::string stored;
  for (char c : raw) stored += c == '\0' ? ' ' : c;
  return std::string(text::Trim(foxpro::TrimBlanks(stored)));
}

float SourceTable::Single(const SourceField& field) const {
  foxpro::Value value = Read(field);
  if (value.kind == foxpro::Value::Kind::Number) return static_cast<float>(value.number);
  if (value.kind == foxpro::Value::Kind::Text) return Csingle(value.text);
  return 0.0f;
}

bool SourceTable::Flag(const SourceField& field) const {
  foxpro::Value value = Read(field);
  if (value.kind == foxpro::Value::Kind::Logical) return value.logical;
  if (value.kind != foxpro::Value::Kind::Text) return false;
  std::string flag = text::UCaseTrim(value.text);
  return flag == "T" || flag == "Y" || flag == "TRUE";
}

std::string SourceTable::Place() const {
  foxpro::RecordSet& set = records();
  if (set.EndOfFile() || set.BeginningOfFile()) return set.table().name();
  return set.table().name() + " record " + std::to_string(set.GetBookmark() + 1);
}

}  // namespace qorvane::data
