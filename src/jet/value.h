// The values a Jet table holds: column type names, a small tagged value (null, boolean, integer,
// floating point, currency, date, text, binary) and the conversions between them that the
// record sets and the export need (text as UTF-8, dates as OLE day numbers).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "jet/format/table_definition.h"

namespace qorvane::jet {

const char* ColumnTypeName(ColumnType type);
bool IsKnownColumnType(std::uint8_t code);
// Fixed columns live in the fixed region of a row; Text, Binary, Memo and Ole are variable.
inline bool IsVariableType(ColumnType type) {
  return type == ColumnType::Text || type == ColumnType::Binary || type == ColumnType::Memo || type == ColumnType::Ole;
}
inline bool IsLongValueType(ColumnType type) { return type == ColumnType::Memo || type == ColumnType::Ole; }
inline bool IsTextType(ColumnType type) { return type == ColumnType::Text || type == ColumnType::Memo; }

// One value of one column. Integer holds Byte/Integer/Long; Currency holds the value x 10000;
// DateTime holds the OLE day number (days since 1899-12-30, fraction = time of day); Text is
// UTF-8; Binary holds raw bytes (Binary, Ole, Guid, Numeric).
struct Value {
  enum class Kind : std::uint8_t { Null, Boolean, Integer, Single, Double, Currency, DateTime, Text, Binary };
  Kind kind = Kind::Null;
  std::int64_t integer = 0;  // Boolean (0/1), Integer, Currency
  double number = 0;         // Single (a float widened), Double, DateTime
  std::string bytes;         // Text (UTF-8) or Binary

  static Value Null() { return {}; }
  static Value Bool(bool value) { return {Kind::Boolean, value ? 1 : 0, 0, {}}; }
  static Value Int(std::int64_t value) { return {Kind::Integer, value, 0, {}}; }
  static Value Real(double value) { return {Kind::Double, 0, value, {}}; }
  static Value Float(float value) { return {Kind::Single, 0, value, {}}; }
  static Value Money(std::int64_t ten_thousandths) { return {Kind::Currency, ten_thousandths, 0, {}}; }
  static Value Date(double ole_days) { return {Kind::DateTime, 0, ole_days, {}}; }
  static Value String(std::string utf8) { return {Kind::Text, 0, 0, std::move(utf8)}; }
  static Value Bytes(std::string raw) { return {Kind::Binary, 0, 0, std::move(raw)}; }

  bool is_null() const { return kind == Kind::Null; }
  // The value as a number (text is parsed; null and unparsable text give 0).
  double AsDouble() const;
  // The value as text, as the export prints it: numbers in plain decimal, booleans 1/0 (or
  // Access's -1 when asked), dates "YYYY-MM-DD HH:MM:SS", binary as hex; null is empty.
  std::string AsText() const;
  bool AsBool() const;
};

bool operator==(const Value& a, const Value& b);

// OLE day number <-> calendar date and time (whole seconds, as Access keeps them).
double OleDateFromParts(int year, int month, int day, int hour, int minute, int second);
std::string FormatOleDate(double ole_days);

// The dates Access keeps are 100-01-01 to 9999-12-31: OLE days -657434 to 2958465, a time of
// day taking a day before 1899-12-30 further below zero and one after it further above. Values
// outside (and NaN, infinities) are no date any reader shows.
inline constexpr int kFirstDateYear = 100;
inline constexpr int kLastDateYear = 9999;
bool IsOleDateInRange(double ole_days);
// Reads "YYYY-MM-DD" or "M/D/YYYY", each optionally followed by " H:MM" or " H:MM:SS" ('T'
// instead of the blank too; blanks around allowed). Returns the OLE day number, or nullopt with the reason in WHY for another
// form, a day the calendar does not have (2/30/2024) or a year outside 100..9999 (two-digit
// years are not guessed).
std::optional<double> ParseDateText(std::string_view text, std::string& why);

// UTF-8 <-> UTF-16 (UCS-2 as Jet stores it). Bytes that are not well-formed UTF-8 (overlong
// forms, surrogates, past U+10FFFF, cut short) are replaced by U+FFFD (see DecodeUtf8 in
// common/utf8.h), never refused.
std::u16string Utf8ToUtf16(std::string_view utf8);
std::string Utf16ToUtf8(std::u16string_view utf16);

// Case folding as Jet compares text in the General sort order: letters of Latin-1 compare
// without regard to case; trailing blanks do not count.
std::u16string FoldForComparison(std::u16string_view text);
std::string FoldForComparison(std::string_view utf8);
// Compares two values as Jet's '=' and ORDER BY do: text in the General sort order (as its index
// keys rank it: case-blind, ß = ss, accents after letters), numbers by value, null first.
// Returns <0, 0, >0.
int CompareValues(const Value& a, const Value& b);

}  // namespace qorvane::jet
