// The field-transfer helpers: every value a converter reads from a source record or writes to a
// target row goes through these, so text is trimmed and cut to the column's width one way,
// numbers and flags are converted one way and memos are joined one way. They are the one
// vocabulary converters use for both engines: the FoxPro and Jet record sets stay behind them.
//
// Set helpers assign a field of the current row and leave saving to the caller; Write helpers
// also save (Update). Each helper runs under its own routine name: a failure (an unknown field,
// a value the column cannot take) is reported and the helper returns its empty value ("", 0,
// false), so one bad field never ends a record. Widths count characters, not bytes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "data/controls.h"

namespace qorvane::data {

// Width of a field: a source field's Size, a target column's DefinedSize (16-bit).
std::int16_t AdoGetSize(AdoControl& control, std::string_view field);
std::int16_t AdoGetSize(DataControl& control, std::string_view field);
std::int16_t DaoGetSize(DataControl& control, std::string_view field);

// Trim(text), padded with blanks to WIDTH, cut to WIDTH characters, trimmed again.
std::string TrimToWidth(std::string_view text, int width);
// WIDTH blanks followed by Trim(text), of which the last WIDTH characters are kept.
std::string RightJustify(std::string_view text, int width);
// Trim(text) followed by WIDTH blanks, cut to WIDTH characters (padding kept).
std::string PadToWidth(std::string_view text, int width);

std::string AdoTrim(AdoControl& control, std::string_view text, std::string_view field);
std::string AdoTrim(DataControl& control, std::string_view text, std::string_view field);
std::string DaoTrim(DataControl& control, std::string_view text, std::string_view field);
std::string AdoTrimRJ(AdoControl& control, std::string_view text, std::string_view field);
std::string Trim2Size(DataControl& control, std::string_view text, std::string_view field);

void AdoSetField(AdoControl& control, std::string_view text, std::string_view field);
void AdoWriteField(AdoControl& control, std::string_view text, std::string_view field);
void AdoSetFieldRJ(AdoControl& control, std::string_view text, std::string_view field);
void AdoSetFieldSingle(AdoControl& control, float value, std::string_view field);
void AdoWriteFieldSingle(AdoControl& control, float value, std::string_view field);
void AdoSetFieldMemo(AdoControl& control, std::string_view text, std::string_view field);
void AdoSetFieldMemoAppend(AdoControl& control, std::string_view text, std::string_view field);
void AdoSetFieldTF(AdoControl& control, bool value, std::string_view field);
// DATE is a date as the conversion writes dates (M/D/YYYY, as NormalizeDate gives them); an
// empty text stores no date (Null).
void AdoSetFieldDate(AdoControl& control, std::string_view date, std::string_view field);
// A source field (written back into the .dbf when the caller saves): DaoTrim of the text.
void DaoSetField(DataControl& control, std::string_view text, std::string_view field);
void AdoWriteFieldTF(AdoControl& control, bool value, std::string_view field);

// Reads: the field's value as trimmed text (numbers in plain decimal, dates M/D/YYYY, flags
// True/False, nulls and blanks empty), as a flag, as a single-precision number, and the
// column's ADO type code (202 text, 203 memo, 11 Yes/No, 3 Long, ...).
std::string adogetfield(AdoControl& control, std::string_view field);
std::string DATgetfield(DataControl& control, std::string_view field);
std::string AdoGetFieldRJ(AdoControl& control, std::string_view field);
bool adogetfieldtf(AdoControl& control, std::string_view field);
float adogetfieldSingle(AdoControl& control, std::string_view field);
std::int16_t adogetfieldType(AdoControl& control, std::string_view field);

// The text made safe inside a single-quoted SQL literal: ' doubled, and # and * doubled too,
// as the office's look-ups always did.
std::string SqlQuote(std::string_view text);
// True when the text holds any of the characters SqlQuote doubles.
bool AdoQuickCheckChars(std::string_view text);

// Dates as the office's records hold them. SepDate splits "M/D/Y" (or with '-' or '.') into
// its three numbers; false when the text is not three numbers.
bool SepDate(std::string_view text, int& month, int& day, int& year);
// The date with a four-digit year: 00..24 are 2000s, 25..99 1900s, 100..999 "01/01/1900";
// "" for an empty text (and for a text that is not a date).
std::string NormalizeDate(std::string_view text);
// A usable date: at least six characters, not 12/30/1899 (the empty date), a real day.
bool IsDate(std::string_view text);
// M/D/YYYY as an OLE day number; nullopt when it is not a real date.
std::optional<double> DateToOleDays(std::string_view text);

// Numbers: the digits, '-' and '.' of the text; a single-precision number from them (0 when
// nothing is left, or only a sign or a point, or no number); an integer without blanks.
std::string NumericChars(std::string_view text);
float Csingle(std::string_view text);
std::string Int2Str(std::int16_t number);

}  // namespace qorvane::data
