// A table as it is laid out on disk (columns with ids, slots and offsets; real and logical
// indexes; long-value maps), and the encoders that turn it into a table definition and rows.
// Internal to the creator: the public schema is in create.h.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "jet/bytes.h"
#include "jet/format/table_definition.h"
#include "jet/index/key.h"

namespace qorvane::jet::create {

struct ColumnLayout {
  std::u16string name;
  jet::ColumnType type = jet::ColumnType::Text;
  uint16_t id = 0;
  uint16_t variable_slot = 0; // variable columns: their slot; fixed ones: variable columns before
  uint16_t column_index = 0;  // user tables: the id again; system tables: 0
  uint8_t flags = 0;
  uint8_t extended_flags = 0;
  uint16_t fixed_offset = 0;  // fixed columns: offset in the fixed region
  uint16_t length = 0;        // bytes (Text: 2 x characters)
  bool fixed() const;
};

struct RealIndexLayout {
  std::vector<std::pair<uint16_t, index::SortOrder>> columns;  // column id, order
  uint32_t map_pointer = 0;  // usage map row: row << 0 | page << 8
  uint32_t root = 0;
  uint8_t flags = 0;
  uint32_t distinct_keys = 0;
};

struct LogicalIndexLayout {
  uint32_t number = 0;
  uint32_t real_index = 0;
  uint8_t kind = 0;  // 0 normal, 1 primary key
  std::u16string name;
};

struct LongValueLayout {
  uint16_t column_id = 0;
  uint32_t owned_map = 0;
  uint32_t free_map = 0;
};

struct TableLayout {
  std::u16string name;
  uint32_t tdef_page = 0;
  uint8_t table_type = 0;
  uint16_t max_columns = 0;
  uint16_t variable_columns = 0;
  uint32_t row_count = 0;
  uint32_t last_autonumber = 0;
  uint32_t owned_map = 0;
  uint32_t free_map = 0;
  std::vector<ColumnLayout> columns;        // in the order the definition stores them
  std::vector<RealIndexLayout> real_indexes;
  std::vector<LogicalIndexLayout> logical_indexes;  // in the order the definition stores them
  std::vector<LongValueLayout> long_values;
  const ColumnLayout& Column(uint16_t id) const;
};

// Packs a usage-map row pointer: row number in the low byte, page above it.
constexpr uint32_t MapPointer(uint32_t page, uint8_t row) { return RowPointer{page, row}.Encode(); }

// The table definition page (one page; Error(NotSupported) if it needs more).
std::vector<uint8_t> EncodeTableDefinition(const TableLayout& table);

// One row: VALUES[i] is the value of the column with id i (index::Null for NULL; bool for
// Boolean; int64_t for Byte/Integer/Long/Currency; double for Single/Double/DateTime;
// u16string for Text; bytes for Binary). Text is stored compressed when the column allows it.
std::vector<uint8_t> EncodeRow(const TableLayout& table, const std::vector<index::KeyValue>& values);

// An inline usage map row starting at page 0 with PAGES set.
std::vector<uint8_t> UsageMapRow(const std::vector<uint32_t>& pages);

// A data page being filled with rows from its end down.
class DataPage {
 public:
  explicit DataPage(uint32_t owner);
  // Adds ROW; returns its row number, or -1 when it does not fit.
  int Add(const std::vector<uint8_t>& row);
  const std::vector<uint8_t>& bytes() const { return bytes_; }

 private:
  std::vector<uint8_t> bytes_;
  size_t rows_ = 0;
  size_t lowest_ = 0;
};

}  // namespace qorvane::jet::create
