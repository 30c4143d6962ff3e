// Rebuild at commit: after the engine changed a table, every real index of it holds exactly the
// keys of the live rows, in a tree the index module's verifier accepts, and the index usage map
// names exactly the tree's pages.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <optional>

#include "common/os.h"
#include "jet/database.h"
#include "jet/index/key.h"
#include "jet/index/tree.h"
#include "jet/page_store.h"
#include "jet/table_definition.h"
#include "jet/usage_map.h"
#include "test_support/temp_dir.h"

namespace qorvane::jet {
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

// Adds 600 customers, deletes the row at DELETE_AT (when given), changes another, commits, then
// deletes a row of Order Details and commits again.
void ChangeNorthwind(const std::string& path, std::optional<std::size_t> delete_at) {
  DatabaseOptions options;
  options.open_for = OpenFor::Writing;
  auto database = Database::Open(path, options);
  Table& customers = database->GetTable("Customers");
  for (int i = 0; i < 600; ++i) {
    std::vector<Value> row(customers.columns().size());
    row[*customers.FindColumn("CustomerID")] = Value::String("N" + std::to_string(i));
    row[*customers.FindColumn("CompanyName")] = Value::String("Société " + std::to_string(i % 37));
    row[*customers.FindColumn("City")] = Value::String(i % 3 ? "Zürich" : "O'Fallon");
    customers.Insert(row);
  }
  if (delete_at) customers.Delete(customers.RowIds()[*delete_at]);
  std::vector<Value> changed = customers.ReadRow(customers.RowIds()[7]);
  changed[*customers.FindColumn("PostalCode")] = Value::String("99999");
  customers.Update(customers.RowIds()[7], changed);
  database->Commit();
  Table& details = database->GetTable("Order Details");
  details.Delete(details.RowIds()[0]);
  database->Commit();  // a second commit rebuilds again from the committed file
}

TEST(IndexRebuild, IndexesOfChangedTablesHoldExactlyTheLiveRows) {
  qorvane::test::TempDir dir;
  std::string path = dir.path() + "/office.mdb";
  os::CopyFile(qorvane::test::FixturePath("mdb/northwind-V2000.mdb"), path);
  ChangeNorthwind(path, 300);
  EXPECT_NO_THROW(ExpectIndexesMatchRows(path, "Customers"));
  EXPECT_NO_THROW(ExpectIndexesMatchRows(path, "Order Details"));
}

// With the customer at position 5 deleted, the first leaf of the CustomerID index is filled to
// the last byte of its page; the tree must still read back and verify.
TEST(IndexRebuild, TreeBuilderHandlesAFullFirstLeaf) {
  qorvane::test::TempDir dir;
  std::string path = dir.path() + "/office.mdb";
  os::CopyFile(qorvane::test::FixturePath("mdb/northwind-V2000.mdb"), path);
  ChangeNorthwind(path, 5);
  EXPECT_NO_THROW(ExpectIndexesMatchRows(path, "Customers"));
  EXPECT_NO_THROW(ExpectIndexesMatchRows(path, "Order Details"));
}

}  // namespace
}  // namespace qorvane::jet
