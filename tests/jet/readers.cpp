// Our engine's rows in the dump script's forms, and mdb-json's rows.
#include "readers.h"

#include <cmath>
#include <cstdlib>

#include "jet/value_text.h"

namespace qorvane::jet::test {

static std::string JsNumber(double number) {
  if (number == std::floor(number) && std::fabs(number) < 1e21) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.0f", number);
    return buffer;
  }
  char buffer[64];
  auto result = std::to_chars(buffer, buffer + sizeof buffer, number);
  return std::string(buffer, result.ptr);
}

Cell ScriptForm(const ColumnDefinition& column, const Value& value) {
  if (value.is_null()) return std::nullopt;
  switch (value.kind) {
    case Value::Kind::Boolean: return std::string(value.integer ? "1" : "0");
    case Value::Kind::Integer: return std::to_string(value.integer);
    case Value::Kind::Single:
    case Value::Kind::Double: return JsNumber(value.number);
    case Value::Kind::Currency: return JsNumber(static_cast<double>(value.integer) / 10000.0);
    default: break;
  }
  std::string text = ColumnValueText(column, value);
  if (column.type == ColumnType::Numeric) return JsNumber(std::strtod(text.c_str(), nullptr));
  return text;
}

ReadTable ReadWithEngine(const std::string& file, const std::string& name) {
  auto database = Database::Open(file);
  Table& table = database->GetTable(name);
  ReadTable result;
  result.row_count = table.stored_row_count();
  for (const auto& column : table.columns()) result.columns.push_back(column.name);
  for (RowId row : table.RowIds()) {
    std::vector<Value> values = table.ReadRow(row);
    std::vector<Cell> cells;
    for (std::size_t i = 0; i < values.size(); ++i) cells.push_back(ScriptForm(table.columns()[i], values[i]));
    result.rows.push_back(std::move(cells));
  }
  return result;
}

std::vector<std::map<std::string, Cell>> ReadWithMdbJson(const std::string& file, const std::string& table) {
  std::string output = Run("mdb-json -D '%Y-%m-%d %H:%M:%S' -T '%Y-%m-%d %H:%M:%S' " + Quote(file) + " " + Quote(table));
  std::vector<std::map<std::string, Cell>> rows;
  std::size_t start = 0;
  while (start < output.size()) {
    std::size_t end = output.find('\n', start);
    if (end == std::string::npos) end = output.size();
    std::string line = output.substr(start, end - start);
    start = end + 1;
    if (line.empty()) continue;
    Json json = JsonParser(line).Parse();
    std::map<std::string, Cell> row;
    for (const auto& [key, value] : json.members) row[key] = value.kind == Json::Kind::Null ? Cell() : Cell(value.text);
    rows.push_back(std::move(row));
  }
  return rows;
}

bool SameCell(const Cell& a, const Cell& b) {
  if (a.has_value() != b.has_value()) return false;
  if (!a) return true;
  if (*a == *b) return true;
  char* end_a = nullptr;
  char* end_b = nullptr;
  double x = std::strtod(a->c_str(), &end_a);
  double y = std::strtod(b->c_str(), &end_b);
  if (a->empty() || b->empty() || *end_a != 0 || *end_b != 0) return false;
  return std::fabs(x - y) <= 1e-6 * std::max(1.0, std::fabs(x));
}

}  // namespace qorvane::jet::test
