// The field helpers: every value a converter reads from a source record or sets for a target row
// goes through these, under the office's names for them. On the typed path they take a
// field or column handle resolved once per step (source_table.h, target_table.h): text is
// trimmed and cut to the column's width one way, right-justified keys padded one way, memos
// kept whole, numbers and flags converted one way; a failure is the record's, caught by the
// record loop's guard. The corrections of the source keep a control-based pair (DATgetfield,
// DaoSetField), each under its own routine name: a failure is reported and the helper returns
// its empty value. The value rules are those of the office's records: SQL quoting, dates with
// two-digit years, amounts typed with currency signs. Widths count characters, not bytes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "data/source_table.h"
#include "data/target_table.h"

namespace qorvane::data {

class DataControl;

// Sets for COLUMN of the row being written (saved when the step adds or updates the row): text
// trimmed and cut to the width, text right-justified to the width, a memo whole, a
// single-precision number, a flag, a date (M/D/YYYY; "" stores none).
inline void AdoSetField(TargetRow& row, const TargetColumn& column, std::string_view text) { row.Set(column, text); }
inline void AdoSetFieldRJ(TargetRow& row, const TargetColumn& column, std::string_view text) {
  row.SetRJ(column, text);
}
inline void AdoSetFieldMemo(TargetRow& row, const TargetColumn& column, std::string_view text) {
  row.SetMemo(column, text);
}
inline void AdoSetFieldSingle(TargetRow& row, const TargetColumn& column, float value) { row.SetSingle(column, value); }
inline void AdoSetFieldTF(TargetRow& row, const TargetColumn& column, bool value) { row.SetFlag(column, value); }
inline void AdoSetFieldDate(TargetRow& row, const TargetColumn& column, std::string_view date) {
  row.SetDate(column, date);
}

// Reads of COLUMN of a stored target row: trimmed text, the text right-justified to the
// column's width (a key as stored), a single-precision number, a flag.
inline std::string adogetfield(TargetTable& table, jet::RowId row, const TargetColumn& column) {
  return table.Text(row, column);
}
std::string AdoGetFieldRJ(TargetTable& table, jet::RowId row, const TargetColumn& column);
inline float adogetfieldSingle(TargetTable& table, jet::RowId row, const TargetColumn& column) {
  return table.Single(row, column);
}
inline bool adogetfieldtf(TargetTable& table, jet::RowId row, const TargetColumn& column) {
  return table.Flag(row, column);
}

// Reads of FIELD of the current source record: trimmed text, a single-precision number (text
// through Csingle, blank 0), a flag (a logical, or T, Y, TRUE in a text field).
inline std::string DATgetfield(const SourceTable& source, const SourceField& field) { return source.Text(field); }
inline float adogetfieldSingle(const SourceTable& source, const SourceField& field) { return source.Single(field); }
inline bool adogetfieldtf(const SourceTable& source, const SourceField& field) { return source.Flag(field); }

// The width of a source field (its Size, as a 16-bit number).
std::int16_t DaoGetSize(DataControl& control, std::string_view field);
// TEXT trimmed and cut to the width of FIELD; and padded with blanks to it (an index key).
std::string DaoTrim(DataControl& control, std::string_view text, std::string_view field);
std::string Trim2Size(DataControl& control, std::string_view text, std::string_view field);

// A source field (written back into the .dbf when the caller saves): DaoTrim of the text.
void DaoSetField(DataControl& control, std::string_view text, std::string_view field);
// The field's value as trimmed text: numbers in plain decimal, dates M/D/YYYY, logicals
// True/False, anything else blank.
std::string DATgetfield(DataControl& control, std::string_view field);

// The text made safe inside a single-quoted SQL literal: ' doubled, and # and * doubled too,
// as the office's look-ups always did.
std::string SqlQuote(std::string_view text);

// Dates as the office's records hold them ("M/D/Y", or with '-' or '.'). The date with a
// four-digit year: 00..24 are 2000s, 25..99 1900s, 100..999 "01/01/1900"; "" for an empty text
// (and for a text that is not a date).
std::string NormalizeDate(std::string_view text);
// A usable date: at least six characters, not 12/30/1899 (the empty date), a real day.
bool IsDate(std::string_view text);
// M/D/YYYY as an OLE day number; nullopt when it is not a real date.
std::optional<double> DateToOleDays(std::string_view text);

// Numbers: the digits, '-' and '.' of the text; a single-precision number from them (0 when
// nothing is left, or only a sign or a point, or no number).
std::string NumericChars(std::string_view text);
float Csingle(std::string_view text);

}  // namespace qorvane::data
