// The field helpers and value rules (see fields.h).
#include "data/fields.h"

#include <fmt/format.h>

#include <charconv>

#include "common/text.h"
#include "data/controls.h"
#include "jet/value.h"

namespace qorvane::data {
namespace {

using text::Trim;

template <typename Body>
auto Guarded(DataControl& control, const char* routine, Body&& body) {
  return control.run().Guard(routine, std::forward<Body>(body));
}

// "M/D/Y" (or with '-' or '.') split into its three numbers; false when the text is not three
// numbers.
bool SepDate(std::string_view text, int& month, int& day, int& year) {
  text = Trim(text);
  int parts[3] = {0, 0, 0};
  int part = 0;
  bool digits = false;
  bool negative = false;
  for (char c : text) {
    if (c >= '0' && c <= '9') {
      if (parts[part] > 100000) return false;
      parts[part] = parts[part] * 10 + (c - '0');
      digits = true;
    } else if (c == '-' && !digits && part == 2 && !negative) {
      negative = true;
    } else if ((c == '/' || c == '-' || c == '.') && digits && part < 2) {
      ++part;
      digits = false;
    } else {
      return false;
    }
  }
  if (part != 2 || !digits) return false;
  month = parts[0];
  day = parts[1];
  year = negative ? -parts[2] : parts[2];
  return true;
}

}  // namespace

std::string AdoGetFieldRJ(TargetTable& table, jet::RowId row, const TargetColumn& column) {
  return text::RightJustify(table.Text(row, column), column.width);
}

std::int16_t DaoGetSize(DataControl& control, std::string_view field) {
  // Widths are 16-bit, as the office's program kept them.
  return Guarded(control, "DaoGetSize", [&] { return static_cast<std::int16_t>(control.Recordset().FieldSize(field)); });
}

std::string DaoTrim(DataControl& control, std::string_view text, std::string_view field) {
  return Guarded(control, "DaoTrim", [&] { return text::TrimToWidth(text, DaoGetSize(control, field)); });
}

std::string Trim2Size(DataControl& control, std::string_view text, std::string_view field) {
  return Guarded(control, "Trim2Size", [&] { return text::PadToWidth(text, DaoGetSize(control, field)); });
}

void DaoSetField(DataControl& control, std::string_view text, std::string_view field) {
  Guarded(control, "DaoSetField", [&] {
    foxpro::RecordSet& records = control.Recordset();
    std::string value = DaoTrim(control, text, field);
    if (!records.EditInProgress()) records.Edit();
    records.SetText(field, value);
  });
}

std::string DATgetfield(DataControl& control, std::string_view field) {
  return Guarded(control, "DATgetfield", [&] { return FoxValueText(control.Recordset().GetValue(field)); });
}

std::string SqlQuote(std::string_view text) {
  if (text.find_first_of("#'*") == std::string_view::npos) return std::string(text);
  std::string quoted;
  quoted.reserve(text.size() + 8);
  for (char c : text) {
    quoted += c;
    if (c == '\'' || c == '#' || c == '*') quoted += c;
  }
  return quoted;
}

std::string NormalizeDate(std::string_view text) {
  int month = 0, day = 0, year = 0;
  if (Trim(text).empty() || !SepDate(text, month, day, year)) return "";
  std::string month_day = std::to_string(month) + "/" + std::to_string(day) + "/";
  if (year >= 0 && year <= 24) return month_day + fmt::format("20{:02}", year);
  if (year >= 25 && year <= 99) return month_day + fmt::format("19{:02}", year);
  if (year >= 100 && year <= 999) return "01/01/1900";
  std::string year_text = std::to_string(year);
  if (year_text.size() >= 4) return month_day + year_text;
  return month_day + std::string(4 - year_text.size(), '0') + year_text;
}

std::optional<double> DateToOleDays(std::string_view text) {
  int month = 0, day = 0, year = 0;
  if (!SepDate(text, month, day, year)) return std::nullopt;
  if (year >= 0 && year <= 99) year += year <= 29 ? 2000 : 1900;  // as Windows reads two digits
  if (year < 100 || year > 9999 || month < 1 || month > 12 || day < 1) return std::nullopt;
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  int last = kDays[month - 1] + (month == 2 && leap ? 1 : 0);
  if (day > last) return std::nullopt;
  return jet::OleDateFromParts(year, month, day, 0, 0, 0);
}

bool IsDate(std::string_view text) {
  std::string_view trimmed = Trim(text);
  if (trimmed.size() < 6) return false;
  if (NormalizeDate(trimmed) == "12/30/1899") return false;
  return DateToOleDays(trimmed).has_value();
}

std::string NumericChars(std::string_view text) {
  std::string kept;
  for (char c : text) {
    if ((c >= '0' && c <= '9') || c == '-' || c == '.') kept += c;
  }
  return kept;
}

float Csingle(std::string_view text) {
  std::string number(Trim(NumericChars(text)));
  if (number.empty() || number == "-" || number == "." || number == "-.") return 0;
  float value = 0;
  const char* end = number.data() + number.size();
  auto [stop, error] = std::from_chars(number.data(), end, value);
  if (error != std::errc() || stop != end) return 0;
  return value;
}


}  // namespace qorvane::data
