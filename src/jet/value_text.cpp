// GUID and NUMERIC values as text; the rest goes to Value::AsText.
#include "jet/value_text.h"

#include <cstdio>

#include "jet/bytes.h"

namespace qorvane::jet {
namespace {

std::string FormatGuid(const std::string& raw) {
  if (raw.size() != 16) return Value::Bytes(raw).AsText();
  Bytes b(reinterpret_cast<const std::byte*>(raw.data()), raw.size());
  char text[40];
  std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", Get32(b, 0), Get16(b, 4),
                Get16(b, 6), Get8(b, 8), Get8(b, 9), Get8(b, 10), Get8(b, 11), Get8(b, 12), Get8(b, 13), Get8(b, 14),
                Get8(b, 15));
  return text;
}

// NUMERIC: sign byte, then a 128-bit magnitude as four little-endian words, most significant
// first; the column's scale places the decimal point.
std::string FormatNumeric(const ColumnDefinition& column, const std::string& raw) {
  if (raw.size() < 17) return "";
  Bytes b(reinterpret_cast<const std::byte*>(raw.data()), raw.size());
  unsigned __int128 magnitude = 0;
  for (int word = 0; word < 4; ++word) magnitude = (magnitude << 32) | Get32(b, 1 + 4 * word);
  std::string digits;
  do {
    digits.insert(digits.begin(), static_cast<char>('0' + static_cast<int>(magnitude % 10)));
    magnitude /= 10;
  } while (magnitude != 0);
  std::size_t scale = column.sort_order[1];
  if (scale > 0) {
    if (digits.size() <= scale) digits.insert(0, scale - digits.size() + 1, '0');
    digits.insert(digits.size() - scale, ".");
  }
  if (Get8(b, 0) & 0x80) digits.insert(0, "-");
  return digits;
}

}  // namespace

std::string ColumnValueText(const ColumnDefinition& column, const Value& value) {
  if (value.kind == Value::Kind::Binary) {
    if (column.type == ColumnType::Guid) return FormatGuid(value.bytes);
    if (column.type == ColumnType::Numeric) return FormatNumeric(column, value.bytes);
  }
  return value.AsText();
}

}  // namespace qorvane::jet
