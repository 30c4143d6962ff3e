// TDEF parsing (header, column descriptors, names, index definitions, long-value maps) and
// the in-place update of its counters.
#include "jet/table_definition.h"

#include <algorithm>
#include <unordered_set>

#include "common/error.h"
#include "jet/format/pages.h"
#include "jet/format/table_definition.h"
#include "jet/page_store.h"

namespace qorvane::jet {
namespace {

using namespace format;

constexpr std::size_t kContinuationData = kPageSize - kTdefContinuationHeaderSize;

[[noreturn]] void Damaged(PageStore& store, const std::string& table, std::uint32_t page,
                          const std::string& why) {
  throw Error(ErrorKind::Corrupt, store.file_name() + ": table " + table +
                                      ": definition at page " + std::to_string(page) + " " + why);
}

// Where byte POSITION of the reassembled definition lives.
std::pair<std::uint32_t, std::size_t> Locate(const std::vector<std::uint32_t>& pages, std::size_t position) {
  if (position < kPageSize) return {pages[0], position};
  std::size_t rest = position - kPageSize;
  std::size_t index = 1 + rest / kContinuationData;
  return {index < pages.size() ? pages[index] : 0, kTdefContinuationHeaderSize + rest % kContinuationData};
}

}  // namespace

std::int32_t ColumnDefinition::defined_size() const {
  switch (type) {
    case ColumnType::Text: return length / 2;
    case ColumnType::Memo:
    case ColumnType::Ole: return 536870910;
    case ColumnType::Boolean: return 2;
    default: return length;
  }
}

TableDefinition TableDefinition::Load(PageStore& store, std::uint32_t page, const std::string& table,
                                      Reporter* reporter) {
  TableDefinition definition;
  definition.page = page;
  std::unordered_set<std::uint32_t> seen;
  std::uint32_t current = page;
  while (current != 0) {
    if (current >= store.page_count() || !seen.insert(current).second) {
      Damaged(store, table, page, "continues to page " + std::to_string(current) +
                                      (seen.count(current) ? " twice" : ", past the end of the file"));
    }
    Bytes bytes = store.Read(current);
    if (Get8(bytes, 0) != kPageTypeTableDefinition) {
      Damaged(store, table, page, "continues to page " + std::to_string(current) +
                                      ", which is not a table-definition page");
    }
    definition.pages.push_back(current);
    std::size_t from = definition.pages.size() == 1 ? 0 : kTdefContinuationHeaderSize;
    definition.bytes.insert(definition.bytes.end(), bytes.begin() + from, bytes.end());
    current = Get32(bytes, kTdefNextPageOffset);
  }
  Bytes data = definition.bytes;
  std::size_t length = Get32(data, kTdefLengthOffset);
  if (length > data.size()) Damaged(store, table, page, "claims " + std::to_string(length) + " bytes");
  data = data.first(length);
  definition.row_count = Get32(data, kTdefRowCountOffset);
  definition.auto_number = Get32(data, kTdefAutoNumberOffset);
  definition.auto_increment = static_cast<std::int32_t>(Get32(data, kTdefAutoIncrementOffset));
  if (definition.auto_increment == 0) definition.auto_increment = 1;
  definition.table_type = Get8(data, kTdefTableTypeOffset);
  definition.max_columns = Get16(data, kTdefMaxColumnsOffset);
  definition.variable_columns = Get16(data, kTdefVariableColumnsOffset);
  std::size_t column_count = Get16(data, kTdefColumnCountOffset);
  std::size_t logical_count = Get32(data, kTdefLogicalIndexCountOffset);
  std::size_t real_count = Get32(data, kTdefRealIndexCountOffset);
  definition.owned_map = RowPointer::Decode(Get32(data, kTdefOwnedMapOffset));
  definition.free_map = RowPointer::Decode(Get32(data, kTdefFreeMapOffset));
  if (column_count > 256 || real_count > 64 || logical_count > 256) {
    Damaged(store, table, page, "has impossible counts (" + std::to_string(column_count) + " columns, " +
                                    std::to_string(real_count) + " indexes)");
  }
  std::size_t at = kTdefBodyOffset;
  auto need = [&](std::size_t bytes) {
    if (at + bytes > data.size()) Damaged(store, table, page, "ends early (byte " + std::to_string(at) + ")");
  };
  auto read_name = [&]() {
    need(2);
    std::size_t name_length = Get16(data, at);
    at += 2;
    need(name_length);
    std::u16string name;
    for (std::size_t i = 0; i + 1 < name_length; i += 2) name.push_back(static_cast<char16_t>(Get16(data, at + i)));
    at += name_length;
    return Utf16ToUtf8(name);
  };
  std::vector<std::size_t> statistics(real_count);
  for (std::size_t i = 0; i < real_count; ++i) {
    statistics[i] = at;
    at += kRealIndexStatisticsSize;
  }
  need(column_count * kColumnDescriptorSize);
  for (std::size_t i = 0; i < column_count; ++i, at += kColumnDescriptorSize) {
    ColumnDefinition column;
    std::uint8_t code = Get8(data, at + kColumnTypeOffset);
    if (!IsKnownColumnType(code)) {
      Damaged(store, table, page, "has a column of unknown type 0x" + std::to_string(code));
    }
    column.type = static_cast<ColumnType>(code);
    column.id = Get16(data, at + kColumnIdOffset);
    column.variable_slot = Get16(data, at + kColumnVariableSlotOffset);
    for (int k = 0; k < 4; ++k) column.sort_order[k] = Get8(data, at + kColumnSortOrderOffset + k);
    column.flags = Get8(data, at + kColumnFlagsOffset);
    column.extended_flags = Get8(data, at + kColumnExtendedFlagsOffset);
    column.fixed_offset = Get16(data, at + kColumnFixedOffsetOffset);
    column.length = Get16(data, at + kColumnLengthOffset);
    definition.columns.push_back(column);
  }
  for (auto& column : definition.columns) column.name = read_name();
  std::stable_sort(definition.columns.begin(), definition.columns.end(),
                   [](const ColumnDefinition& a, const ColumnDefinition& b) { return a.id < b.id; });
  need(real_count * kRealIndexDefinitionSize);
  for (std::size_t i = 0; i < real_count; ++i, at += kRealIndexDefinitionSize) {
    RealIndexDefinition index;
    index.definition_offset = at;
    index.statistics_offset = statistics[i];
    for (std::size_t k = 0; k < kRealIndexMaxColumns; ++k) {
      std::uint16_t id = Get16(data, at + kRealIndexColumnsOffset + 3 * k);
      if (id == 0xFFFF) continue;
      index.columns.push_back({id, Get8(data, at + kRealIndexColumnsOffset + 3 * k + 2) != 0});
    }
    index.usage_map = RowPointer::Decode(Get32(data, at + kRealIndexUsageMapOffset));
    index.root_page = Get32(data, at + kRealIndexRootPageOffset);
    index.flags = Get8(data, at + kRealIndexFlagsOffset);
    definition.real_indexes.push_back(index);
  }
  need(logical_count * kLogicalIndexDefinitionSize);
  for (std::size_t i = 0; i < logical_count; ++i, at += kLogicalIndexDefinitionSize) {
    LogicalIndexDefinition index;
    index.real_index = Get32(data, at + kLogicalIndexRealNumberOffset);
    index.index_type = Get8(data, at + kLogicalIndexTypeOffset);
    if (index.real_index >= real_count && (!reporter || store.writable())) {
      Damaged(store, table, page, "has a logical index on missing real index " + std::to_string(index.real_index));
    }
    definition.logical_indexes.push_back(index);
  }
  for (auto& index : definition.logical_indexes) index.name = read_name();
  // Reading needs no index: one that points nowhere is reported and left out.
  std::erase_if(definition.logical_indexes, [&](const LogicalIndexDefinition& index) {
    if (index.real_index < real_count) return false;
    reporter->Report({.kind = DamageKind::Index,
                      .file = store.file_name(),
                      .table = table,
                      .page = page,
                      .what = "index " + index.name + " is defined on missing real index " +
                              std::to_string(index.real_index) + "; the index is not used"});
    return true;
  });
  for (;;) {
    need(2);
    std::uint16_t column_id = Get16(data, at);
    if (column_id == kTdefTerminator) break;
    need(kLongValueColumnEntrySize);
    definition.long_value_maps.push_back({column_id, RowPointer::Decode(Get32(data, at + 2)),
                                          RowPointer::Decode(Get32(data, at + 6))});
    at += kLongValueColumnEntrySize;
  }
  return definition;
}

void TableDefinition::StoreCounters(PageStore& store, const std::vector<std::uint32_t>& distinct_keys) const {
  auto put32 = [&](std::size_t position, std::uint32_t value) {
    for (int k = 0; k < 4; ++k) {
      auto [target, offset] = Locate(pages, position + k);
      if (target == 0) return;
      Put8(store.Write(target), offset, static_cast<std::uint8_t>(value >> (8 * k)));
    }
  };
  put32(kTdefRowCountOffset, row_count);
  put32(kTdefAutoNumberOffset, auto_number);
  for (std::size_t i = 0; i < real_indexes.size(); ++i) {
    put32(real_indexes[i].definition_offset + kRealIndexRootPageOffset, real_indexes[i].root_page);
    put32(real_indexes[i].definition_offset + kRealIndexUsageMapOffset, real_indexes[i].usage_map.Encode());
    if (i < distinct_keys.size()) {
      put32(real_indexes[i].statistics_offset, 0);
      put32(real_indexes[i].statistics_offset + 4, distinct_keys[i]);
      put32(real_indexes[i].statistics_offset + 8, 0);
    }
  }
}

}  // namespace qorvane::jet
