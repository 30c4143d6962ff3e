// A source table as a step reads it: the fields it needs resolved once, by name, when the step
// starts (a typed handle per field), and the current record's values decoded only when a field
// is read. Text comes back as the old converter read it (DATgetfield): trimmed, numbers in plain
// decimal, dates M/D/YYYY, logicals True/False, blank for anything else.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

namespace qorvane::foxpro {
class RecordSet;
struct Value;
}  // namespace qorvane::foxpro

namespace qorvane::data {

class DataControl;

// One field of a source table's record source: its position among the table's fields, type
// and width. Not present when the record source has no field of that name.
struct SourceField {
  std::string name;  // as the step asked for it
  std::size_t position = std::numeric_limits<std::size_t>::max();
  char type = 'C';
  std::uint16_t length = 0;
  bool present() const { return position != std::numeric_limits<std::size_t>::max(); }
};

// A source value as the converters read it (DATgetfield): text trimmed, numbers in plain
// decimal, dates M/D/YYYY (empty for a blank date), flags True/False, nulls and binary empty.
std::string FoxValueText(const foxpro::Value& value);

// A view of one source data control (cheap to make; holds only the control). Reading a field
// needs a bound control standing on a record, and throws qorvane::Error naming the table and
// the field otherwise, as a missing field does.
class SourceTable {
 public:
  explicit SourceTable(DataControl& control) : control_(control) {}

  DataControl& control() const { return control_; }
  bool bound() const;
  foxpro::RecordSet& records() const;
  // "PROPERTY.DBF"
  std::string name() const;

  // The field NAME of the control's current record source.
  SourceField Field(std::string_view name) const;

  // The current record's value of FIELD: as text (DATgetfield), as stored (a value the reader
  // reads as blank because it is impossible, "20240231", comes back as written), as a
  // single-precision number (text through Csingle, blank 0) and as a flag (a logical, or T, Y,
  // TRUE in a text field).
  std::string Text(const SourceField& field) const;
  std::string Stored(const SourceField& field) const;
  float Single(const SourceField& field) const;
  bool Flag(const SourceField& field) const;
  // The current record, for a person: "PROPERTY.DBF record 12".
  std::string Place() const;

 private:
  foxpro::Value Read(const SourceField& field) const;
  DataControl& control_;
};

}  // namespace qorvane::data
