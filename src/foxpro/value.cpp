// Parsers of stored N, F, D and L field bytes, Julian days (on the shared calendar) and number formatting.
// Locale-independent throughout (std::from_chars / std::to_chars).
#include "foxpro/value.h"

#include "common/calendar.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace qorvane::foxpro {
namespace {

bool IsBlankByte(char c) { return c == ' ' || c == '\0'; }

}  // namespace

std::string_view TrimBlanks(std::string_view text) {
  while (!text.empty() && IsBlankByte(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlankByte(text.back())) text.remove_suffix(1);
  return text;
}

std::string_view TrimRightBlanks(std::string_view text) {
  while (!text.empty() && IsBlankByte(text.back())) text.remove_suffix(1);
  return text;
}

ParsedNumber ParseNumber(std::string_view stored) {
  ParsedNumber result;
  std::size_t nul = stored.find('\0');
  if (nul != std::string_view::npos) stored = stored.substr(0, nul);
  stored = TrimBlanks(stored);
  if (stored.empty()) return result;
  result.status = ParseStatus::Invalid;
  std::string digits;
  digits.reserve(stored.size() + 1);
  std::size_t position = 0;
  bool negative = false;
  if (stored[0] == '-' || stored[0] == '+') {
    negative = stored[0] == '-';
    position = 1;
  }
  bool seen_digit = false;
  bool seen_point = false;
  for (; position < stored.size(); ++position) {
    char c = stored[position];
    if (c >= '0' && c <= '9') {
      seen_digit = true;
      digits.push_back(c);
    } else if ((c == '.' || c == ',') && !seen_point) {
      seen_point = true;
      digits.push_back('.');
    } else {
      return result;  // '*' overflow, letters, inner blanks
    }
  }
  if (!seen_digit) return result;
  double value = 0;
  auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (error != std::errc() || end != digits.data() + digits.size()) return result;
  // Plain decimal text: no leading zeros beyond one, a 0 before a leading point, no sign on 0.
  std::size_t first = 0;
  while (first + 1 < digits.size() && digits[first] == '0' && digits[first + 1] != '.') ++first;
  std::string text = digits.substr(first);
  if (text[0] == '.') text.insert(text.begin(), '0');
  if (text.back() == '.') text.pop_back();
  result.status = ParseStatus::Good;
  result.value = negative ? -value : value;
  result.text = (negative && value != 0) ? "-" + text : text;
  return result;
}

bool IsValidDate(int year, int month, int day) {
  if (year < 1 || year > 9999 || month < 1 || month > 12 || day < 1) return false;
  return day <= calendar::DaysInMonth(year, month);
}

ParsedDate ParseDate(std::string_view stored) {
  ParsedDate result;
  bool empty = true;
  for (char c : stored) {
    if (c != ' ' && c != '0' && c != '\0') empty = false;
  }
  if (empty) return result;
  result.status = ParseStatus::Invalid;
  if (stored.size() != 8) return result;
  int parts[3] = {0, 0, 0};
  const int widths[3] = {4, 2, 2};
  std::size_t position = 0;
  for (int part = 0; part < 3; ++part) {
    for (int i = 0; i < widths[part]; ++i, ++position) {
      char c = stored[position];
      if (c < '0' || c > '9') return result;
      parts[part] = parts[part] * 10 + (c - '0');
    }
  }
  if (!IsValidDate(parts[0], parts[1], parts[2])) return result;
  result.status = ParseStatus::Good;
  result.date = Date{parts[0], parts[1], parts[2]};
  return result;
}

ParsedLogical ParseLogical(unsigned char stored) {
  switch (stored) {
    case 'T': case 't': case 'Y': case 'y': return {ParseStatus::Good, true};
    case 'F': case 'f': case 'N': case 'n': return {ParseStatus::Good, false};
    case ' ': case '?': case '\0': return {ParseStatus::Blank, false};
    default: return {ParseStatus::Invalid, false};
  }
}

std::int64_t JulianDay(const Date& date) {
  return calendar::DaysFromCivil(date.year, date.month, date.day) + calendar::kJulianDayOf1970;
}

Date DateFromJulianDay(std::int64_t julian_day) {
  const calendar::CivilDate civil = calendar::CivilFromDays(julian_day - calendar::kJulianDayOf1970);
  return Date{civil.year, civil.month, civil.day};
}

std::string FormatNumber(double value) {
  if (value == 0) return "0";
  if (!std::isfinite(value)) return "0";
  char buffer[64];
  auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
  if (error != std::errc()) return "0";
  std::string text(buffer, end);
  // to_chars(fixed) gives the shortest round-trip digits; keep them.
  return text;
}

}  // namespace qorvane::foxpro
