// The field-transfer helpers (see fields.h).
#include "data/fields.h"

#include "common/error.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <cstdio>

namespace qorvane::data {
namespace {

// Trim as the office's program trims: blanks only, on both sides.
std::string_view TrimSpaces(std::string_view text) {
  std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  std::size_t last = text.find_last_not_of(' ');
  return text.substr(first, last - first + 1);
}

bool IsContinuationByte(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// The number of characters (code points) of UTF-8 text.
std::size_t CharacterCount(std::string_view text) {
  std::size_t count = 0;
  for (char c : text) count += IsContinuationByte(c) ? 0 : 1;
  return count;
}

// The first COUNT characters of UTF-8 text.
std::string_view FirstCharacters(std::string_view text, std::size_t count) {
  std::size_t seen = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (IsContinuationByte(text[i])) continue;
    if (seen == count) return text.substr(0, i);
    ++seen;
  }
  return text;
}

// The last COUNT characters of UTF-8 text.
std::string_view LastCharacters(std::string_view text, std::size_t count) {
  std::size_t total = CharacterCount(text);
  if (total <= count) return text;
  std::string_view head = FirstCharacters(text, total - count);
  return text.substr(head.size());
}

template <typename Control, typename Body>
auto Guarded(Control& control, const char* routine, Body&& body) {
  return control.form().Guard(routine, std::forward<Body>(body));
}

// A Jet date (OLE day number) as the office's program wrote dates: M/D/YYYY, with the time
// of day after it when there is one.
std::string OleDateText(double ole_days) {
  std::string iso = jet::FormatOleDate(ole_days);  // YYYY-MM-DD HH:MM:SS
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  if (std::sscanf(iso.c_str(), "%d-%d-%d %d:%d:%d", &year, &month, &day, &hour, &minute, &second) < 3) {
    return iso;
  }
  std::string text = fmt::format("{}/{}/{}", month, day, year);
  if (hour || minute || second) {
    int hour12 = hour % 12 == 0 ? 12 : hour % 12;
    text += fmt::format(" {}:{:02}:{:02} {}", hour12, minute, second, hour < 12 ? "AM" : "PM");
  }
  return text;
}

std::string JetValueText(const jet::Value& value) {
  using Kind = jet::Value::Kind;
  switch (value.kind) {
    case Kind::Null: return "";
    case Kind::Boolean: return value.integer ? "True" : "False";
    case Kind::Integer: return std::to_string(value.integer);
    case Kind::Single: return fmt::format("{}", static_cast<float>(value.number));
    case Kind::Double: return fmt::format("{}", value.number);
    case Kind::Currency: return fmt::format("{}", static_cast<double>(value.integer) / 10000.0);
    case Kind::DateTime: return OleDateText(value.number);
    case Kind::Text: return std::string(TrimSpaces(value.bytes));
    case Kind::Binary: return "";
  }
  return "";
}

std::string FoxValueText(const foxpro::Value& value) {
  using Kind = foxpro::Value::Kind;
  switch (value.kind) {
    case Kind::Text: return std::string(TrimSpaces(foxpro::TrimBlanks(value.text)));
    case Kind::Number: return foxpro::FormatNumber(value.number);
    case Kind::Date:
      if (value.date.empty()) return "";
      return fmt::format("{}/{}/{}", value.date.month, value.date.day, value.date.year);
    case Kind::Logical: return value.logical ? "True" : "False";
    case Kind::Null:
    case Kind::Binary: return "";
  }
  return "";
}

int AdoTypeCode(jet::ColumnType type) {
  using jet::ColumnType;
  switch (type) {
    case ColumnType::Boolean: return 11;   // adBoolean
    case ColumnType::Byte: return 17;      // adUnsignedTinyInt
    case ColumnType::Integer: return 2;    // adSmallInt
    case ColumnType::Long: return 3;       // adInteger
    case ColumnType::Currency: return 6;   // adCurrency
    case ColumnType::Single: return 4;     // adSingle
    case ColumnType::Double: return 5;     // adDouble
    case ColumnType::DateTime: return 7;   // adDate
    case ColumnType::Binary: return 204;   // adVarBinary
    case ColumnType::Text: return 202;     // adVarWChar
    case ColumnType::Ole: return 205;      // adLongVarBinary
    case ColumnType::Memo: return 203;     // adLongVarWChar
    case ColumnType::Guid: return 72;      // adGUID
    case ColumnType::Numeric: return 131;  // adNumeric
  }
  return 0;
}

// Widths are 16-bit, as the office's program kept them; a memo's huge DefinedSize wraps as it did.
std::int16_t Width16(std::int64_t width) { return static_cast<std::int16_t>(width); }

}  // namespace

std::string TrimToWidth(std::string_view text, int width) {
  if (width < 0) width = 0;
  std::string padded(TrimSpaces(text));
  std::size_t length = CharacterCount(padded);
  if (length < static_cast<std::size_t>(width)) padded.append(width - length, ' ');
  return std::string(TrimSpaces(FirstCharacters(padded, width)));
}

std::string RightJustify(std::string_view text, int width) {
  if (width < 0) width = 0;
  std::string padded(static_cast<std::size_t>(width), ' ');
  padded += TrimSpaces(text);
  return std::string(LastCharacters(padded, width));
}

std::string PadToWidth(std::string_view text, int width) {
  if (width < 0) width = 0;
  std::string padded(TrimSpaces(text));
  padded.append(static_cast<std::size_t>(width), ' ');
  return std::string(FirstCharacters(padded, width));
}

std::int16_t AdoGetSize(AdoControl& control, std::string_view field) {
  return Guarded(control, "AdoGetSize", [&] { return Width16(control.Recordset().Field(field).defined_size); });
}

std::int16_t AdoGetSize(DataControl& control, std::string_view field) { return DaoGetSize(control, field); }

std::int16_t DaoGetSize(DataControl& control, std::string_view field) {
  return Guarded(control, "DaoGetSize", [&] { return Width16(control.Recordset().FieldSize(field)); });
}

std::string AdoTrim(AdoControl& control, std::string_view text, std::string_view field) {
  return Guarded(control, "AdoTrim", [&] { return TrimToWidth(text, AdoGetSize(control, field)); });
}

std::string AdoTrim(DataControl& control, std::string_view text, std::string_view field) {
  return DaoTrim(control, text, field);
}

std::string DaoTrim(DataControl& control, std::string_view text, std::string_view field) {
  return Guarded(control, "DaoTrim", [&] { return TrimToWidth(text, DaoGetSize(control, field)); });
}

std::string AdoTrimRJ(AdoControl& control, std::string_view text, std::string_view field) {
  return Guarded(control, "AdoTrimRJ", [&] { return RightJustify(text, AdoGetSize(control, field)); });
}

std::string Trim2Size(DataControl& control, std::string_view text, std::string_view field) {
  return Guarded(control, "Trim2Size", [&] { return PadToWidth(text, DaoGetSize(control, field)); });
}

void AdoSetField(AdoControl& control, std::string_view text, std::string_view field) {
  Guarded(control, "AdoSetField", [&] {
    control.Recordset().Set(field, jet::Value::String(AdoTrim(control, text, field)));
  });
}

void AdoWriteField(AdoControl& control, std::string_view text, std::string_view field) {
  Guarded(control, "AdoWriteField", [&] {
    control.Recordset().Set(field, jet::Value::String(AdoTrim(control, text, field)));
    control.Recordset().Update();
  });
}

void AdoSetFieldRJ(AdoControl& control, std::string_view text, std::string_view field) {
  Guarded(control, "AdoSetFieldRJ", [&] {
    control.Recordset().Set(field, jet::Value::String(AdoTrimRJ(control, TrimSpaces(text), field)));
  });
}

void AdoSetFieldSingle(AdoControl& control, float value, std::string_view field) {
  Guarded(control, "AdoSetFieldSingle", [&] { control.Recordset().Set(field, jet::Value::Float(value)); });
}

void AdoWriteFieldSingle(AdoControl& control, float value, std::string_view field) {
  Guarded(control, "AdoWriteFieldSingle", [&] {
    control.Recordset().Set(field, jet::Value::Float(value));
    control.Recordset().Update();
  });
}

void AdoSetFieldMemo(AdoControl& control, std::string_view text, std::string_view field) {
  Guarded(control, "AdoSetFieldMemo", [&] { control.Recordset().Set(field, jet::Value::String(std::string(text))); });
}

void AdoSetFieldMemoAppend(AdoControl& control, std::string_view text, std::string_view field) {
  Guarded(control, "AdoSetFieldMemoAppend", [&] {
    std::string current = adogetfield(control, field);
    AdoSetFieldMemo(control, current.empty() ? std::string(text) : current + "\r\n" + std::string(text), field);
  });
}

void AdoSetFieldTF(AdoControl& control, bool value, std::string_view field) {
  Guarded(control, "AdoSetFieldTF", [&] { control.Recordset().Set(field, jet::Value::Bool(value)); });
}

void AdoWriteFieldTF(AdoControl& control, bool value, std::string_view field) {
  Guarded(control, "AdoWriteFieldTF", [&] {
    control.Recordset().Set(field, jet::Value::Bool(value));
    control.Recordset().Update();
  });
}

void AdoSetFieldDate(AdoControl& control, std::string_view date, std::string_view field) {
  Guarded(control, "AdoSetFieldDate", [&] {
    std::string text(TrimSpaces(date));
    if (text.empty()) {
      control.Recordset().Set(field, jet::Value::Null());
      return;
    }
    std::optional<double> days = DateToOleDays(text);
    if (!days) throw Error(ErrorKind::InvalidArgument, "'" + text + "' is not a date (column " + std::string(field) + ")");
    control.Recordset().Set(field, jet::Value::Date(*days));
  });
}

void DaoSetField(DataControl& control, std::string_view text, std::string_view field) {
  Guarded(control, "DaoSetField", [&] {
    foxpro::RecordSet& records = control.Recordset();
    std::string value = DaoTrim(control, text, field);
    if (!records.EditInProgress()) records.Edit();
    records.SetText(field, value);
  });
}

std::string adogetfield(AdoControl& control, std::string_view field) {
  return Guarded(control, "adogetfield", [&] { return JetValueText(control.Recordset().Get(field)); });
}

std::string DATgetfield(DataControl& control, std::string_view field) {
  return Guarded(control, "DATgetfield", [&] { return FoxValueText(control.Recordset().GetValue(field)); });
}

std::string AdoGetFieldRJ(AdoControl& control, std::string_view field) {
  return Guarded(control, "AdoGetFieldRJ", [&] { return AdoTrimRJ(control, adogetfield(control, field), field); });
}

bool adogetfieldtf(AdoControl& control, std::string_view field) {
  return Guarded(control, "adogetfieldtf", [&] { return control.Recordset().Get(field).AsBool(); });
}

float adogetfieldSingle(AdoControl& control, std::string_view field) {
  return Guarded(control, "adogetfieldSingle", [&] {
    return static_cast<float>(control.Recordset().Get(field).AsDouble());
  });
}

std::int16_t adogetfieldType(AdoControl& control, std::string_view field) {
  return Guarded(control, "adogetfieldType", [&] {
    return static_cast<std::int16_t>(AdoTypeCode(control.Recordset().Field(field).type));
  });
}

bool AdoQuickCheckChars(std::string_view text) { return text.find_first_of("#'*") != std::string_view::npos; }

std::string SqlQuote(std::string_view text) {
  if (!AdoQuickCheckChars(text)) return std::string(text);
  std::string quoted;
  quoted.reserve(text.size() + 8);
  for (char c : text) {
    quoted += c;
    if (c == '\'' || c == '#' || c == '*') quoted += c;
  }
  return quoted;
}

bool SepDate(std::string_view text, int& month, int& day, int& year) {
  text = TrimSpaces(text);
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

std::string NormalizeDate(std::string_view text) {
  int month = 0, day = 0, year = 0;
  if (TrimSpaces(text).empty() || !SepDate(text, month, day, year)) return "";
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
  std::string_view trimmed = TrimSpaces(text);
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
  std::string number(TrimSpaces(NumericChars(text)));
  if (number.empty() || number == "-" || number == "." || number == "-.") return 0;
  float value = 0;
  const char* end = number.data() + number.size();
  auto [stop, error] = std::from_chars(number.data(), end, value);
  if (error != std::errc() || stop != end) return 0;
  return value;
}

std::string Int2Str(std::int16_t number) { return std::to_string(number); }

}  // namespace qorvane::data
