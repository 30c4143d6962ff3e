// The party converters' helpers (see party_helpers.h).
#include "data/party_helpers.h"

#include "app/paths.h"
#include "common/utf8.h"
#include "data/fields.h"

namespace qorvane::data {
namespace {

bool IsContinuation(unsigned char c) { return (c & 0xC0) == 0x80; }

// Decodes the code point at TEXT[i] and moves I past it; a malformed byte comes back as itself.
char32_t NextCodePoint(std::string_view text, std::size_t& i) {
  auto byte = static_cast<unsigned char>(text[i]);
  std::size_t length = byte < 0x80 ? 1 : (byte >> 5) == 0x6 ? 2 : (byte >> 4) == 0xE ? 3 : (byte >> 3) == 0x1E ? 4 : 0;
  if (length <= 1 || i + length > text.size()) {
    ++i;
    return byte;
  }
  char32_t code = byte & (0x7F >> length);
  for (std::size_t k = 1; k < length; ++k) {
    auto next = static_cast<unsigned char>(text[i + k]);
    if (!IsContinuation(next)) {
      ++i;
      return byte;
    }
    code = (code << 6) | (next & 0x3F);
  }
  i += length;
  return code;
}

char32_t UpperCodePoint(char32_t c) {
  if (c >= U'a' && c <= U'z') return c - 0x20;
  if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return c - 0x20;  // à..þ except ÷
  if (c == 0xFF) return 0x178;                               // ÿ
  if (c >= 0x100 && c <= 0x17F) {                            // Latin Extended-A pairs
    bool even_is_lower = (c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E);
    if (c == 0x131 || c == 0x138 || c == 0x149 || c == 0x17F) return c;
    if (even_is_lower ? (c % 2 == 0) : (c % 2 == 1)) return c - 1;
    return c;
  }
  if (c >= 0x3B1 && c <= 0x3C9 && c != 0x3C2) return c - 0x20;  // Greek α..ω
  if (c >= 0x430 && c <= 0x44F) return c - 0x20;                // Cyrillic а..я
  if (c >= 0x450 && c <= 0x45F) return c - 0x50;                // ѐ..џ
  return c;
}

std::string_view TrimBlanks(std::string_view text) {
  std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

}  // namespace

bool DATgetfieldtf(DataControl& control, std::string_view field) {
  return control.form().Guard("DATgetfieldtf", [&] {
    foxpro::Value value = control.Recordset().GetValue(field);
    if (value.kind == foxpro::Value::Kind::Logical) return value.logical;
    std::string text = UCaseTrim(value.text);
    return value.kind == foxpro::Value::Kind::Text && (text == "T" || text == "Y" || text == "TRUE");
  });
}

float DATgetfieldSingle(DataControl& control, std::string_view field) {
  return control.form().Guard("DATgetfieldSingle", [&] {
    foxpro::Value value = control.Recordset().GetValue(field);
    if (value.kind == foxpro::Value::Kind::Number) return static_cast<float>(value.number);
    if (value.kind == foxpro::Value::Kind::Text) return Csingle(value.text);
    return 0.0f;
  });
}

bool DATHasField(DataControl& control, std::string_view field) {
  if (!control.bound()) return false;
  for (const foxpro::Field& candidate : control.Recordset().table().fields()) {
    if (UCase(candidate.name) == UCase(field)) return true;
  }
  return false;
}

std::string DATRecordPlace(DataControl& control) {
  foxpro::RecordSet& records = control.Recordset();
  if (records.EndOfFile() || records.BeginningOfFile()) return records.table().name();
  return records.table().name() + " record " + std::to_string(records.GetBookmark() + 1);
}

app::StepResult RunSourceTableLoop(Context& context, const char* file, const RecordLoop& loop, const RecordBody& body) {
  if (!app::FileExists(context.Paths().source_folder + file)) return {};
  return RunRecordLoop(context, loop, body);
}

void AddNewRow(AdoControl& control, const std::function<void()>& fill) {
  control.Recordset().AddNew();
  UpdateRow(control, fill);
}

void UpdateRow(AdoControl& control, const std::function<void()>& fill) {
  jet::Recordset& records = control.Recordset();
  try {
    fill();
    records.Update();
  } catch (...) {
    records.CancelUpdate();
    throw;
  }
}

std::string KeyAsStored(Context& context, DataControl& source, AdoControl& target, std::string_view text,
                        std::string_view column) {
  std::string stored = AdoTrim(target, text, column);
  std::string_view given = TrimBlanks(text);
  if (CharLength(stored) < CharLength(given)) {
    context.Log(DATRecordPlace(source) + ": " + std::string(column) + " \"" + std::string(given) +
                "\" is longer than " + std::to_string(AdoGetSize(target, column)) + " characters; converted as \"" +
                stored + "\"");
  }
  return stored;
}

std::string UCase(std::string_view text) {
  std::string upper;
  upper.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    if (static_cast<unsigned char>(text[i]) < 0x80) {
      char c = text[i++];
      upper.push_back(c >= 'a' && c <= 'z' ? static_cast<char>(c - 0x20) : c);
      continue;
    }
    std::size_t start = i;
    char32_t code = NextCodePoint(text, i);
    char32_t mapped = UpperCodePoint(code);
    if (mapped == code) {
      upper.append(text.substr(start, i - start));
    } else {
      AppendUtf8(upper, mapped);
    }
  }
  return upper;
}

std::string UCaseTrim(std::string_view text) { return UCase(TrimBlanks(text)); }

std::size_t CharLength(std::string_view text) {
  std::size_t count = 0;
  for (char c : text) count += IsContinuation(static_cast<unsigned char>(c)) ? 0 : 1;
  return count;
}

std::string LeftChars(std::string_view text, std::size_t count) {
  std::size_t seen = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (IsContinuation(static_cast<unsigned char>(text[i]))) continue;
    if (seen == count) return std::string(text.substr(0, i));
    ++seen;
  }
  return std::string(text);
}

}  // namespace qorvane::data
