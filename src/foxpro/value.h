// Field values of FoxPro tables and the parsers that turn a field's stored bytes into them:
// numbers, dates and logicals as FoxPro writes them, with blanks, '*' overflow, NUL padding and
// other damage told apart from good values, never thrown. Used by the table reader, the index
// expression evaluator and the writer.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qorvane::foxpro {

// A calendar date; year 0 means the empty date. Hours, minutes and seconds are only set by
// Visual FoxPro datetime fields.
struct Date {
  int year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
  bool empty() const { return year == 0; }
  friend bool operator==(const Date&, const Date&) = default;
};

// One decoded field value. Text and memo values are UTF-8; Number keeps the stored digits in
// plain decimal as well as a double; Binary holds raw bytes (pictures, OLE objects).
struct Value {
  enum class Kind { Null, Text, Number, Date, Logical, Binary };
  Kind kind = Kind::Null;
  std::string text;       // Text, Binary, and the decimal digits of a Number
  double number = 0;
  Date date;
  bool logical = false;

  bool is_null() const { return kind == Kind::Null; }
};

enum class ParseStatus { Blank, Good, Invalid };

struct ParsedNumber {
  ParseStatus status = ParseStatus::Blank;
  double value = 0;
  std::string text;  // plain decimal ("-12.5", "0.25"); empty unless Good
};
// N and F fields: blanks are Blank; '*' (overflow) and anything not a number are Invalid.
// Accepts leading '+', a decimal comma, left-justified digits and a cut at the first NUL.
ParsedNumber ParseNumber(std::string_view stored);

struct ParsedDate {
  ParseStatus status = ParseStatus::Blank;
  Date date;
};
// D fields: YYYYMMDD. Blanks, zeros and NULs are Blank; non-digits and impossible dates Invalid.
ParsedDate ParseDate(std::string_view stored);

// L fields: T/t/Y/y true, F/f/N/n false; blank and '?' not set; anything else Invalid (not set).
struct ParsedLogical {
  ParseStatus status = ParseStatus::Blank;
  bool value = false;
};
ParsedLogical ParseLogical(unsigned char stored);

// Julian day number of a date (2000-01-01 = 2451545), as CDX date keys store it.
std::int64_t JulianDay(const Date& date);
Date DateFromJulianDay(std::int64_t julian_day);
bool IsValidDate(int year, int month, int day);

// Shortest plain decimal text of a double ("12.5", "-3", "0.1"); never exponent notation.
std::string FormatNumber(double value);

// Trims ASCII blanks (and NULs) on both sides / on the right.
std::string_view TrimBlanks(std::string_view text);
std::string_view TrimRightBlanks(std::string_view text);

}  // namespace qorvane::foxpro
