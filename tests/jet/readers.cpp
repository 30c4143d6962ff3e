// Our engine's rows in the dump script's forms, and the comparisons with the independent readers.
#include "readers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "common/utf8.h"
#include "jet/value_text.h"
#include "jet/index/key.h"
#include "jet/index/tree.h"
#include "jet/page_store.h"
#include "jet/table_definition.h"
#include "jet/usage_map.h"
#include "test_support/mdb_export.h"
#include "test_support/temp_dir.h"

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

ReadTable ReadWithMdbReader(const std::string& file, const std::string& table, long offset, long limit) {
  qorvane::test::RequireOracle(qorvane::test::Oracle::MdbReader);
  std::string range = limit < 0 ? "" : " " + std::to_string(offset) + " " + std::to_string(limit);
  ReadTable result;
  long record = 0;
  qorvane::test::ForEachCsvRecord("node " + Quote(DumpScript()) + " " + Quote(file) + " " + Quote(table) + range,
                                  [&](std::vector<Cell>& cells) {
                                    if (record++ == 0) {
                                      result.row_count = std::stol(cells.at(0).value_or("-1"));
                                    } else if (record == 2) {
                                      for (const Cell& name : cells) result.columns.push_back(name.value_or(""));
                                    } else {
                                      result.rows.push_back(std::move(cells));
                                    }
                                  });
  return result;
}

bool Jetcheck(const std::string& file, std::string* output) {
  qorvane::test::RequireOracle(qorvane::test::Oracle::Jetcheck);
  int status = 0;
  std::string report = Run("python3 " + Quote(qorvane::test::JetcheckPath()) + " " + Quote(file),
                           &status);
  if (output) *output = report;
  return status == 0 && !report.empty();
}

namespace {

index::KeyValue KeyValueOf(const Value& value) {
  switch (value.kind) {
    case Value::Kind::Null: return index::Null{};
    case Value::Kind::Boolean: return value.integer != 0;
    case Value::Kind::Integer:
    case Value::Kind::Currency: return value.integer;
    case Value::Kind::Single:
    case Value::Kind::Double:
    case Value::Kind::DateTime: return value.number;
    case Value::Kind::Text: return Utf8ToUtf16(value.bytes);
    case Value::Kind::Binary: return std::vector<std::uint8_t>(value.bytes.begin(), value.bytes.end());
  }
  return index::Null{};
}

}  // namespace

void ExpectIndexesMatchRows(const std::string& path, const std::string& name) {
  auto database = Database::Open(path);
  Table& table = database->GetTable(name);
  auto store = PageStore::OpenFile(path, AccessMode::ReadOnly);
  TableDefinition definition = TableDefinition::Load(*store, table.definition_page(), name);
  ASSERT_FALSE(definition.real_indexes.empty());
  index::PageSource source = [&](std::uint32_t page, std::span<std::uint8_t> out) {
    Bytes bytes = store->Read(page);
    std::memcpy(out.data(), bytes.data(), out.size());
  };
  for (const auto& real : definition.real_indexes) {
    std::vector<index::KeyColumn> columns;
    std::vector<std::size_t> positions;
    for (const auto& part : real.columns) {
      for (std::size_t c = 0; c < definition.columns.size(); ++c) {
        if (definition.columns[c].id != part.column_id) continue;
        positions.push_back(c);
        columns.push_back({*index::KeyTypeFromColumnType(static_cast<std::uint8_t>(definition.columns[c].type)),
                           part.ascending ? index::SortOrder::Ascending : index::SortOrder::Descending});
      }
    }
    std::vector<index::Entry> expected;
    for (RowId row : table.RowIds()) {
      std::vector<Value> values = table.ReadRow(row);
      std::vector<index::KeyValue> key_values;
      for (std::size_t position : positions) key_values.push_back(KeyValueOf(values[position]));
      auto key = index::MakeKey(columns, key_values,
                                (real.flags & 0x02) ? index::NullKeys::Ignore : index::NullKeys::Store);
      if (key) expected.push_back({*key, row >> 8, static_cast<std::uint8_t>(row & 0xFF)});
    }
    index::SortEntries(expected);
    SCOPED_TRACE(name + " root " + std::to_string(real.root_page));
    std::vector<std::uint32_t> pages = index::VerifyTree(real.root_page, definition.page, source, expected);
    std::vector<std::uint32_t> mapped = UsageMap::Load(*store, real.usage_map, "index").Pages();
    std::sort(pages.begin(), pages.end());
    EXPECT_EQ(pages, mapped) << name;
  }
}

void ExpectSameRows(ReadTable ours, ReadTable theirs, const std::string& where) {
  std::sort(ours.rows.begin(), ours.rows.end());
  std::sort(theirs.rows.begin(), theirs.rows.end());
  EXPECT_EQ(ours.row_count, theirs.row_count) << where;
  ASSERT_EQ(ours.columns, theirs.columns) << where;
  ASSERT_EQ(ours.rows.size(), theirs.rows.size()) << where;
  for (std::size_t r = 0; r < ours.rows.size(); ++r) {
    for (std::size_t c = 0; c < ours.columns.size(); ++c) {
      EXPECT_TRUE(SameCell(ours.rows[r][c], theirs.rows[r][c]))
          << where << " row " << r << " column " << ours.columns[c] << ": ours "
          << ours.rows[r][c].value_or("NULL").substr(0, 80) << ", mdb-reader "
          << theirs.rows[r][c].value_or("NULL").substr(0, 80);
    }
  }
}

void ExpectReadersAgree(const std::string& path, const std::string& table) {
  ReadTable ours = ReadWithEngine(path, table);
  EXPECT_EQ(ours.row_count, static_cast<long>(ours.rows.size())) << table;
  EXPECT_EQ(MdbCount(path, table), static_cast<long>(ours.rows.size())) << table;
  std::size_t exported = 0;
  qorvane::test::ForEachMdbExportRow(path, table, "", [&](const auto&, const auto&) { ++exported; });
  EXPECT_EQ(exported, ours.rows.size()) << table;
  ExpectSameRows(std::move(ours), ReadWithMdbReader(path, table), table);
}

}  // namespace qorvane::jet::test
