// Collects (key, row) for every real index of a table in one scan that decodes only the key
// columns, then builds fresh trees through the index module one index at a time and swaps them in.
#include "jet/index_rebuild.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <unordered_map>

#include "common/error.h"
#include "jet/format/pages.h"
#include "jet/format/table_definition.h"
#include "jet/index/key.h"
#include "jet/index_keys.h"
#include "jet/index/tree.h"
#include "jet/page_store.h"
#include "jet/row_codec.h"
#include "jet/table.h"

namespace qorvane::jet {
namespace {

// The keys the tree under ROOT holds, by row: what Access (or an earlier commit) stored.
std::unordered_map<RowId, std::vector<std::uint8_t>> StoredKeys(PageStore& store, std::uint32_t root) {
  std::unordered_map<RowId, std::vector<std::uint8_t>> keys;
  if (root == 0 || root >= store.page_count()) return keys;
  index::PageSource source = [&store](std::uint32_t page, std::span<std::uint8_t> out) {
    if (page >= store.page_count()) throw Error(ErrorKind::Corrupt, "index page " + std::to_string(page) + " lies past the end");
    Bytes bytes = store.Read(page);
    std::memcpy(out.data(), bytes.data(), std::min(out.size(), bytes.size()));
  };
  for (index::Entry& entry : index::ReadTree(root, source)) {
    keys.emplace((entry.data_page << 8) | entry.data_row, std::move(entry.key));
  }
  return keys;
}

}  // namespace

std::vector<std::uint32_t> IndexRebuild::Run(Table& table) {
  TableDefinition& definition = table.definition_;
  std::vector<std::uint32_t> distinct(definition.real_indexes.size(), 0);
  if (definition.real_indexes.empty()) return distinct;
  PageStore& store = table.store_;
  std::string where = store.file_name() + ": table " + table.name_;

  std::vector<IndexKeyLayout> layouts = IndexKeyLayouts(definition, where);

  // One pass over the rows, decoding only the key columns. Keys go into one flat byte arena per
  // index (offsets apart), which costs far less memory than a vector per key; the page cache is
  // trimmed as the scan goes so the table's pages do not all stay in memory.
  struct Keys {
    std::vector<std::uint8_t> arena;
    std::vector<std::uint32_t> ends;  // end offset of key k in the arena
    std::vector<RowId> rows;          // row of key k
    std::span<const std::uint8_t> Key(std::size_t k) const {
      std::size_t begin = k == 0 ? 0 : ends[k - 1];
      return {arena.data() + begin, ends[k] - begin};
    }
    index::EntryRef Ref(std::size_t k) const {
      return {Key(k), rows[k] >> 8, static_cast<std::uint8_t>(rows[k] & 0xFF)};
    }
  };
  std::vector<Keys> keys(layouts.size());
  std::vector<RowId> rows = table.RowIds();
  for (auto& list : keys) {
    list.ends.reserve(rows.size());
    list.rows.reserve(rows.size());
  }
  std::vector<index::KeyValue> key_values;
  std::vector<std::optional<std::unordered_map<RowId, std::vector<std::uint8_t>>>> stored_keys(layouts.size());
  for (RowId row : rows) {
    store.TrimCache();
    Bytes bytes = table.RowBytes(row);
    for (std::size_t i = 0; i < layouts.size(); ++i) {
      key_values.clear();
      for (std::size_t position : layouts[i].positions) {
        if (definition.columns[position].type == ColumnType::Text) {
          // Text keys go from the stored bytes to UTF-16 without a detour through UTF-8.
          std::optional<Bytes> stored = ColumnBytes(definition, position, bytes, where);
          if (!stored) {
            key_values.emplace_back(std::in_place_type<index::Null>);
          } else {
            key_values.push_back(TextKeyValue(DecodeTextUtf16(*stored)));
          }
          continue;
        }
        Value value = DecodeColumn(definition, position, bytes, table.LongValues(row), where);
        key_values.push_back(ToKeyValue(value));
      }
      Keys& list = keys[i];
      bool has_key = false;
      try {
        has_key = index::AppendKey(list.arena, layouts[i].columns, key_values, layouts[i].nulls);
      } catch (const Error& error) {
        // Insert and Update refuse such keys, so this row's indexed values are as they were
        // when the tree was written (by Access, or by us keeping its key): keep the stored key.
        if (!stored_keys[i]) stored_keys[i] = StoredKeys(store, definition.real_indexes[i].root_page);
        auto found = stored_keys[i]->find(row);
        if (found == stored_keys[i]->end()) throw Error(error.kind(), where + ": " + error.what());
        list.arena.insert(list.arena.end(), found->second.begin(), found->second.end());
        has_key = true;
      }
      if (!has_key) continue;
      if (list.arena.size() > 0xFFFFFFFFu) {
        throw Error(ErrorKind::NotSupported, where + ": index keys exceed 4 GB");
      }
      list.ends.push_back(static_cast<std::uint32_t>(list.arena.size()));
      list.rows.push_back(row);
    }
  }
  std::vector<RowId>().swap(rows);

  // One index at a time: sort the key numbers, write the tree from the arena in that order and
  // free everything before the next index.
  for (std::size_t i = 0; i < layouts.size(); ++i) {
    Keys& list = keys[i];
    auto key_less = [&list](std::uint32_t a, std::uint32_t b) {
      auto left = list.Key(a), right = list.Key(b);
      std::size_t common = std::min(left.size(), right.size());
      if (common > 0) {
        int compared = std::memcmp(left.data(), right.data(), common);
        if (compared != 0) return compared < 0;
      }
      if (left.size() == right.size()) return list.rows[a] < list.rows[b];
      // One key is a prefix of the other: the index module decides from the on-disk bytes.
      return index::EntryLess(list.Ref(a), list.Ref(b));
    };
    // Sorted on the first 8 key bytes held beside the key number, which keeps most comparisons
    // out of the arena; keys whose first difference is not inside both prefixes go to KEY_LESS.
    struct SortItem {
      std::uint64_t prefix = 0;  // first bytes, big-endian, zero-padded
      std::uint32_t key = 0;
      std::uint32_t length = 0;
    };
    std::vector<SortItem> order(list.rows.size());
    for (std::size_t k = 0; k < order.size(); ++k) {
      auto key = list.Key(k);
      std::uint64_t prefix = 0;
      for (std::size_t b = 0; b < 8; ++b) prefix = (prefix << 8) | (b < key.size() ? key[b] : 0u);
      order[k] = {prefix, static_cast<std::uint32_t>(k), static_cast<std::uint32_t>(key.size())};
    }
    auto item_less = [&key_less](const SortItem& a, const SortItem& b) {
      if (a.prefix != b.prefix) {
        std::uint32_t first_difference = static_cast<std::uint32_t>(std::countl_zero(a.prefix ^ b.prefix)) / 8;
        if (first_difference < a.length && first_difference < b.length) return a.prefix < b.prefix;
      }
      return key_less(a.key, b.key);
    };
    // Keys that come in order already (a counter's, rows added in key order) need one pass only.
    if (!std::is_sorted(order.begin(), order.end(), item_less)) std::sort(order.begin(), order.end(), item_less);

    RealIndexDefinition& real = definition.real_indexes[i];
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
      // The tree's pages go to the work file as the cache fills, like the table's own.
      store.TrimCache();
      MutableBytes target = store.Write(page);
      std::memcpy(target.data(), bytes.data(), std::min(bytes.size(), target.size()));
    };
    index::BuiltTree built = index::BuildTree(
        order.size(), [&](std::size_t n) { return list.Ref(order[n].key); }, definition.page, sink);
    real.root_page = built.root;
    distinct[i] = built.distinct_keys;
    list = Keys();
    std::vector<SortItem>().swap(order);
  }
  return distinct;
}

}  // namespace qorvane::jet
