// A field of a record set's current record as short text, for comparing in tests: text
// trimmed, numbers in plain decimal, dates M/D/YYYY, logicals True/False, blanks empty.
#pragma once

#include <string>
#include <string_view>

#include "foxpro/record_set.h"
#include "foxpro/value.h"

namespace qorvane::foxpro::test {

inline std::string Text(const RecordSet& records, std::string_view field) {
  Value value = records.GetValue(field);
  switch (value.kind) {
    case Value::Kind::Text: return std::string(TrimBlanks(value.text));
    case Value::Kind::Number: return FormatNumber(value.number);
    case Value::Kind::Date:
      return std::to_string(value.date.month) + "/" + std::to_string(value.date.day) + "/" + std::to_string(value.date.year);
    case Value::Kind::Logical: return value.logical ? "True" : "False";
    default: return "";
  }
}

}  // namespace qorvane::foxpro::test
