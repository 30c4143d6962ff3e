// Value conversions: text forms, OLE dates, UTF-8/UTF-16 and Jet's case-blind comparison.
#include "jet/value.h"
#include "common/calendar.h"
#include "common/utf8.h"

#include "jet/format/pages.h"
#include "jet/format/table_definition.h"
#include "jet/format/index_pages.h"
#include "jet/index/key.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace qorvane::jet {
namespace {

// Reads 1 to MAX_DIGITS decimal digits at text[at]; nullopt when there is none.
std::optional<int> ReadNumber(std::string_view text, std::size_t& at, std::size_t max_digits) {
  std::size_t start = at;
  int value = 0;
  while (at < text.size() && at - start < max_digits && text[at] >= '0' && text[at] <= '9') {
    value = value * 10 + (text[at++] - '0');
  }
  if (at == start) return std::nullopt;
  return value;
}

bool Skip(std::string_view text, std::size_t& at, char expected) {
  if (at >= text.size() || text[at] != expected) return false;
  ++at;
  return true;
}

std::string FormatDouble(double value) {
  char buffer[64];
  auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

std::string FormatFloat(float value) {
  char buffer[64];
  auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

char16_t FoldCharacter(char16_t c) {
  if (c >= u'a' && c <= u'z') return static_cast<char16_t>(c - 32);
  // Latin-1 lower-case letters (except the division sign and y with diaeresis).
  if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return static_cast<char16_t>(c - 32);
  if (c == 0xFF) return 0x178;
  return c;
}

}  // namespace

const char* ColumnTypeName(ColumnType type) {
  switch (type) {
    case ColumnType::Boolean: return "Boolean";
    case ColumnType::Byte: return "Byte";
    case ColumnType::Integer: return "Integer";
    case ColumnType::Long: return "Long";
    case ColumnType::Currency: return "Currency";
    case ColumnType::Single: return "Single";
    case ColumnType::Double: return "Double";
    case ColumnType::DateTime: return "DateTime";
    case ColumnType::Binary: return "Binary";
    case ColumnType::Text: return "Text";
    case ColumnType::Ole: return "OLE";
    case ColumnType::Memo: return "Memo";
    case ColumnType::Guid: return "GUID";
    case ColumnType::Numeric: return "Numeric";
  }
  return "unknown";
}

bool IsKnownColumnType(std::uint8_t code) {
  return (code >= 0x01 && code <= 0x0C) || code == 0x0F || code == 0x10;
}

double Value::AsDouble() const {
  switch (kind) {
    case Kind::Null: return 0;
    case Kind::Boolean: return integer ? -1 : 0;
    case Kind::Integer: return static_cast<double>(integer);
    case Kind::Currency: return static_cast<double>(integer) / 10000.0;
    case Kind::Single:
    case Kind::Double:
    case Kind::DateTime: return number;
    case Kind::Text: return std::strtod(bytes.c_str(), nullptr);
    case Kind::Binary: return 0;
  }
  return 0;
}

bool Value::AsBool() const {
  if (kind == Kind::Text) return !bytes.empty() && AsDouble() != 0;
  return AsDouble() != 0;
}

std::string Value::AsText() const {
  switch (kind) {
    case Kind::Null: return "";
    case Kind::Boolean: return integer ? "1" : "0";
    case Kind::Integer: return std::to_string(integer);
    case Kind::Currency: {
      std::int64_t whole = integer / 10000;
      std::int64_t fraction = std::llabs(integer % 10000);
      std::string text = (integer < 0 && whole == 0 ? "-" : "") + std::to_string(whole);
      if (fraction != 0) {
        char buffer[8];
        std::snprintf(buffer, sizeof buffer, "%04lld", static_cast<long long>(fraction));
        std::string digits = buffer;
        while (!digits.empty() && digits.back() == '0') digits.pop_back();
        text += "." + digits;
      }
      return text;
    }
    case Kind::Single: return FormatFloat(static_cast<float>(number));
    case Kind::Double: return FormatDouble(number);
    case Kind::DateTime: return FormatOleDate(number);
    case Kind::Text: return bytes;
    case Kind::Binary: {
      static constexpr char kHex[] = "0123456789abcdef";
      std::string text;
      for (unsigned char c : bytes) {
        text += kHex[c >> 4];
        text += kHex[c & 15];
      }
      return text;
    }
  }
  return "";
}

bool operator==(const Value& a, const Value& b) {
  return a.kind == b.kind && a.integer == b.integer && a.bytes == b.bytes &&
         (a.number == b.number || (std::isnan(a.number) && std::isnan(b.number)));
}

double OleDateFromParts(int year, int month, int day, int hour, int minute, int second) {
  double days = static_cast<double>(calendar::DaysFromCivil(year, month, day) + calendar::kOleDayOf1970);
  double time = (hour * 3600.0 + minute * 60.0 + second) / 86400.0;
  // Before 1899-12-30 the day part is negative but the time still counts forward.
  return days < 0 ? days - time : days + time;
}

std::string FormatOleDate(double ole_days) {
  if (!std::isfinite(ole_days) || std::fabs(ole_days) > 3e6) return "";
  double whole = std::trunc(ole_days);
  double fraction = std::fabs(ole_days - whole);
  std::int64_t seconds = std::llround(fraction * 86400.0);
  std::int64_t day_number = static_cast<std::int64_t>(whole);
  if (seconds >= 86400) {
    seconds -= 86400;
    day_number += 1;
  }
  const auto [year, month, day] = calendar::CivilFromDays(day_number - calendar::kOleDayOf1970);
  char buffer[48];
  std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d %02d:%02d:%02d", year, month, day,
                static_cast<int>(seconds / 3600), static_cast<int>(seconds / 60 % 60),
                static_cast<int>(seconds % 60));
  return buffer;
}

bool IsOleDateInRange(double ole_days) {
  // Both bounds are whole days; the fraction of a day beyond them is its time.
  return std::isfinite(ole_days) && ole_days > -657435.0 && ole_days < 2958466.0;
}

std::optional<double> ParseDateText(std::string_view text, std::string& why) {
  std::size_t first = text.find_first_not_of(' ');
  std::size_t last = text.find_last_not_of(' ');
  text = first == std::string_view::npos ? std::string_view() : text.substr(first, last - first + 1);
  std::size_t at = 0;
  auto a = ReadNumber(text, at, 4);
  char separator = at < text.size() ? text[at] : 0;
  auto b = (separator == '-' || separator == '/') && Skip(text, at, separator) ? ReadNumber(text, at, 2) : std::nullopt;
  auto c = b && Skip(text, at, separator) ? ReadNumber(text, at, 4) : std::nullopt;
  int hour = 0, minute = 0, second = 0;
  bool well_formed = a && c;
  if (well_formed && at < text.size()) {
    if (!Skip(text, at, 'T')) {
      while (at < text.size() && text[at] == ' ') ++at;
    }
    auto h = ReadNumber(text, at, 2);
    auto m = h && Skip(text, at, ':') ? ReadNumber(text, at, 2) : std::nullopt;
    auto s = m && Skip(text, at, ':') ? ReadNumber(text, at, 2) : std::optional<int>(0);
    well_formed = h && m && s && at == text.size();
    if (well_formed) hour = *h, minute = *m, second = *s;
  }
  if (!well_formed) {
    why = "not a date (the forms are YYYY-MM-DD and M/D/YYYY, with an optional time H:MM:SS)";
    return std::nullopt;
  }
  int year = separator == '-' ? *a : *c;
  int month = separator == '-' ? *b : *a;
  int day = separator == '-' ? *c : *b;
  if (year < kFirstDateYear || year > kLastDateYear) {
    why = "year " + std::to_string(year) + " is outside the dates Access keeps (years 100 to 9999; two-digit years "
          "are not guessed)";
    return std::nullopt;
  }
  if (month < 1 || month > 12) {
    why = "no such date (month " + std::to_string(month) + ")";
    return std::nullopt;
  }
  if (day < 1 || day > calendar::DaysInMonth(year, month)) {
    why = "no such date (month " + std::to_string(month) + " of " + std::to_string(year) + " has " +
          std::to_string(calendar::DaysInMonth(year, month)) + " days)";
    return std::nullopt;
  }
  if (hour > 23 || minute > 59 || second > 59) {
    why = "no such time of day";
    return std::nullopt;
  }
  return OleDateFromParts(year, month, day, hour, minute, second);
}

std::u16string Utf8ToUtf16(std::string_view utf8) {
  // Plain ASCII (most text) widens byte by byte.
  if (std::all_of(utf8.begin(), utf8.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; })) {
    return std::u16string(utf8.begin(), utf8.end());
  }
  std::u16string out;
  out.reserve(utf8.size());
  for (std::size_t i = 0; i < utf8.size();) {
    char32_t code = DecodeUtf8(utf8, i);
    if (code >= 0x10000) {
      code -= 0x10000;
      out.push_back(static_cast<char16_t>(0xD800 + (code >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + (code & 0x3FF)));
    } else {
      out.push_back(static_cast<char16_t>(code));
    }
  }
  return out;
}

std::string Utf16ToUtf8(std::u16string_view utf16) {
  std::string out;
  out.reserve(utf16.size());
  for (std::size_t i = 0; i < utf16.size(); ++i) {
    char32_t code = utf16[i];
    if (code >= 0xD800 && code < 0xDC00 && i + 1 < utf16.size() && utf16[i + 1] >= 0xDC00 &&
        utf16[i + 1] < 0xE000) {
      code = 0x10000 + ((code - 0xD800) << 10) + (utf16[i + 1] - 0xDC00);
      ++i;
    } else if (code >= 0xD800 && code < 0xE000) {
      code = 0xFFFD;
    }
    AppendUtf8(out, code);
  }
  return out;
}

std::u16string FoldForComparison(std::u16string_view text) {
  std::size_t end = text.size();
  while (end > 0 && text[end - 1] == u' ') --end;
  std::u16string out(text.substr(0, end));
  for (char16_t& c : out) c = FoldCharacter(c);
  return out;
}

std::string FoldForComparison(std::string_view utf8) {
  // ASCII fast path: most keys are plain ASCII.
  bool ascii = true;
  for (char c : utf8) {
    if (static_cast<unsigned char>(c) >= 0x80) {
      ascii = false;
      break;
    }
  }
  if (!ascii) return Utf16ToUtf8(FoldForComparison(Utf8ToUtf16(utf8)));
  std::size_t end = utf8.size();
  while (end > 0 && utf8[end - 1] == ' ') --end;
  std::string out(utf8.substr(0, end));
  for (char& c : out) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
  }
  return out;
}

int CompareValues(const Value& a, const Value& b) {
  if (a.is_null() || b.is_null()) return (a.is_null() ? 0 : 1) - (b.is_null() ? 0 : 1);
  bool a_text = a.kind == Value::Kind::Text;
  bool b_text = b.kind == Value::Kind::Text;
  if (a_text && b_text) {
    // The same text is equal in any order: most look-ups find their key as it was written.
    if (a.bytes == b.bytes) return 0;
    // Empty text ranks before any text holding a letter, digit or sign of ASCII (a test for a
    // blank value meets mostly these).
    auto has_printable = [](const std::string& text) {
      return std::any_of(text.begin(), text.end(), [](char c) { return c > 0x20 && c < 0x7F; });
    };
    if (a.bytes.empty() && has_printable(b.bytes)) return -1;
    if (b.bytes.empty() && has_printable(a.bytes)) return 1;
    // As the General sort order ranks them (the order of their index keys); texts the keys
    // cannot tell apart past their first 255 characters, or that have a character without a
    // weight, fall back to their case-folded forms.
    std::u16string x = Utf8ToUtf16(a.bytes);
    std::u16string y = Utf8ToUtf16(b.bytes);
    std::vector<std::uint8_t> x_key, y_key;
    if (index::AppendTextSortKey(x_key, x) && index::AppendTextSortKey(y_key, y)) {
      if (x_key != y_key) return x_key < y_key ? -1 : 1;
      if (x.size() <= format::kMaxTextKeyCharacters && y.size() <= format::kMaxTextKeyCharacters) return 0;
    }
    x = FoldForComparison(x);
    y = FoldForComparison(y);
    return x < y ? -1 : (x == y ? 0 : 1);
  }
  if (a.kind == Value::Kind::Binary || b.kind == Value::Kind::Binary) {
    return a.bytes < b.bytes ? -1 : (a.bytes == b.bytes ? 0 : 1);
  }
  double x = a.AsDouble();
  double y = b.AsDouble();
  return x < y ? -1 : (x == y ? 0 : 1);
}

}  // namespace qorvane::jet
