// The source-record field helpers the corrections use, and the value rules every converter
// shares. A source field is read as trimmed text (DATgetfield) and written back trimmed and cut
// to its width (DaoSetField); each helper runs under its own routine name, so a failure (an
// unknown field, a value the field cannot take) is reported and the helper returns its empty
// value. The value rules are those of the office's records: SQL quoting, dates with two-digit
// years, amounts typed with currency signs. Widths count characters, not bytes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "data/controls.h"

namespace qorvane::data {

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
