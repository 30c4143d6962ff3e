// The export command for .mdb files.
#include "jet/export.h"

#include <cstdio>

#include "common/error.h"
#include "jet/bytes.h"
#include "jet/database.h"

namespace qorvane {
namespace jet {
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

ExportValue ToExportValue(const ColumnDefinition& column, const Value& value) {
  using Kind = Value::Kind;
  if (value.is_null()) return ExportValue::Null();
  switch (value.kind) {
    case Kind::Boolean: return ExportValue::Boolean(value.integer != 0);
    case Kind::Integer:
    case Kind::Currency:
    case Kind::Single:
    case Kind::Double: return ExportValue::Number(value.AsText());
    case Kind::DateTime:
    case Kind::Text: return ExportValue::Text(value.AsText());
    case Kind::Binary:
      if (column.type == ColumnType::Guid) return ExportValue::Text(FormatGuid(value.bytes));
      if (column.type == ColumnType::Numeric) return ExportValue::Number(FormatNumeric(column, value.bytes));
      return ExportValue::Text(value.AsText());
    case Kind::Null: break;
  }
  return ExportValue::Null();
}

}  // namespace jet

int ExportMdb(const ExportOptions& options, std::ostream& out, std::ostream& err) {
  try {
    auto database = jet::Database::Open(options.file);
    ExportWriter writer(out, options.format);
    if (!options.table) {
      writer.Begin({"table", "rows"});
      for (const auto& summary : database->ListTables()) {
        jet::Table& table = database->GetTable(summary.name);
        writer.Row({ExportValue::Text(summary.name), ExportValue::Number(std::to_string(table.row_count()))});
      }
      writer.End();
      return 0;
    }
    if (!database->HasTable(*options.table)) {
      err << options.file << ": there is no table " << *options.table << "\n";
      return 2;
    }
    jet::Table& table = database->GetTable(*options.table);
    std::vector<std::string> names;
    for (const auto& column : table.columns()) names.push_back(column.name);
    writer.Begin(names);
    for (jet::RowId row : table.RowIds()) {
      std::vector<jet::Value> values = table.ReadRow(row);
      std::vector<ExportValue> exported;
      exported.reserve(values.size());
      for (std::size_t i = 0; i < values.size(); ++i) exported.push_back(jet::ToExportValue(table.columns()[i], values[i]));
      writer.Row(exported);
    }
    writer.End();
    return 0;
  } catch (const Error& error) {
    err << error.what() << "\n";
    return 3;
  } catch (const std::exception& error) {
    err << options.file << ": " << error.what() << "\n";
    return 3;
  }
}

}  // namespace qorvane
