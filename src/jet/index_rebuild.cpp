// Collects (key, row) for every real index of a table, builds fresh trees through the index
// module and swaps them in.
#include "jet/index_rebuild.h"

#include <cstring>

#include "common/error.h"
#include "jet/format.h"
#include "jet/index/key.h"
#include "jet/index/tree.h"
#include "jet/page_store.h"
#include "jet/table.h"

namespace qorvane::jet {
namespace {

index::KeyValue ToKeyValue(const ColumnDefinition& column, const Value& value) {
  using Kind = Value::Kind;
  switch (value.kind) {
    case Kind::Null: return index::Null{};
    case Kind::Boolean: return value.integer != 0;
    case Kind::Integer:
    case Kind::Currency: return value.integer;
    case Kind::Single:
    case Kind::Double:
    case Kind::DateTime: return value.number;
    case Kind::Text: return Utf8ToUtf16(value.bytes);
    case Kind::Binary: return std::vector<std::uint8_t>(value.bytes.begin(), value.bytes.end());
  }
  return index::Null{};
}

}  // namespace

std::vector<std::uint32_t> IndexRebuild::Run(Table& table) {
  TableDefinition& definition = table.definition_;
  std::vector<std::uint32_t> distinct(definition.real_indexes.size(), 0);
  if (definition.real_indexes.empty()) return distinct;
  PageStore& store = table.store_;
  std::string where = store.file_name() + ": table " + table.name_;

  // Key layout of each real index: column positions, key types and orders.
  struct Layout {
    std::vector<std::size_t> positions;
    std::vector<index::KeyColumn> columns;
    index::NullKeys nulls = index::NullKeys::Store;
  };
  std::vector<Layout> layouts(definition.real_indexes.size());
  for (std::size_t i = 0; i < definition.real_indexes.size(); ++i) {
    const RealIndexDefinition& real = definition.real_indexes[i];
    layouts[i].nulls = (real.flags & format::kIndexFlagIgnoreNulls) ? index::NullKeys::Ignore : index::NullKeys::Store;
    for (const auto& part : real.columns) {
      for (std::size_t c = 0; c < definition.columns.size(); ++c) {
        const ColumnDefinition& column = definition.columns[c];
        if (column.id != part.column_id) continue;
        auto type = index::KeyTypeFromColumnType(static_cast<std::uint8_t>(column.type));
        if (!type) {
          throw Error(ErrorKind::NotSupported, where + ": cannot maintain an index on column " + column.name +
                                                   " of type " + ColumnTypeName(column.type));
        }
        if (IsTextType(column.type) &&
            !(column.sort_order[0] == 0x09 && column.sort_order[1] == 0x04 && column.sort_order[2] == 0 &&
              column.sort_order[3] == 0)) {
          throw Error(ErrorKind::NotSupported, where + ": column " + column.name +
                                                   " uses a sort order other than General (1033); its index cannot be written");
        }
        layouts[i].positions.push_back(c);
        layouts[i].columns.push_back({*type, part.ascending ? index::SortOrder::Ascending : index::SortOrder::Descending});
      }
    }
  }

  // One pass over the rows: decode each row once, make the keys of every index.
  std::vector<std::vector<index::Entry>> entries(layouts.size());
  const std::vector<RowId>& rows = table.RowIds();
  for (auto& list : entries) list.reserve(rows.size());
  for (RowId row : rows) {
    std::vector<Value> values = table.ReadRow(row);
    for (std::size_t i = 0; i < layouts.size(); ++i) {
      std::vector<index::KeyValue> key_values;
      for (std::size_t position : layouts[i].positions) {
        key_values.push_back(ToKeyValue(definition.columns[position], values[position]));
      }
      auto key = index::MakeKey(layouts[i].columns, key_values, layouts[i].nulls);
      if (!key) continue;
      entries[i].push_back({std::move(*key), row >> 8, static_cast<std::uint8_t>(row & 0xFF)});
    }
  }

  for (std::size_t i = 0; i < layouts.size(); ++i) {
    RealIndexDefinition& real = definition.real_indexes[i];
    index::SortEntries(entries[i]);
    UsageMap& map = table.Map(real.usage_map, "index " + std::to_string(i) + " pages");
    for (std::uint32_t page : map.Pages()) {
      map.Set(page, false);
      store.Free(page);
    }
    index::PageSink sink;
    sink.allocate_page = [&]() {
      std::uint32_t page = store.Allocate();
      map.Set(page, true);
      return page;
    };
    sink.write_page = [&](std::uint32_t page, std::span<const std::uint8_t> bytes) {
      MutableBytes target = store.Write(page);
      std::memcpy(target.data(), bytes.data(), std::min(bytes.size(), target.size()));
    };
    index::BuiltTree built = index::BuildTree(entries[i], definition.page, sink);
    real.root_page = built.root;
    distinct[i] = built.distinct_keys;
    std::vector<index::Entry>().swap(entries[i]);
  }
  return distinct;
}

}  // namespace qorvane::jet
