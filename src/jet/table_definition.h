// The table definition (TDEF) of one table: columns with their storage layout, real and
// logical indexes, long-value column maps and the header counters (row count, AutoNumber).
// Parsed from the TDEF page chain; only the counters and index roots are ever written back,
// in place, so the definition Access wrote stays as it was. Internal header.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/reporter.h"
#include "jet/bytes.h"
#include "jet/format/pages.h"
#include "jet/format/table_definition.h"
#include "jet/value.h"

namespace qorvane::jet {

class PageStore;

struct ColumnDefinition {
  std::string name;  // UTF-8
  ColumnType type = ColumnType::Text;
  std::uint16_t id = 0;             // null-mask bit, index reference
  std::uint16_t variable_slot = 0;  // variable columns: slot in the offset table
  std::uint16_t fixed_offset = 0;   // fixed columns: offset in the fixed region
  std::uint16_t length = 0;         // bytes (Text: 2 x characters)
  std::uint8_t flags = 0;
  std::uint8_t extended_flags = 0;
  std::uint8_t sort_order[4] = {};  // bytes 11..14 of the descriptor
  bool is_fixed() const {
    // Text and Binary are variable unless flagged fixed-length (a rare Access option).
    return !IsVariableType(type) || (!IsLongValueType(type) && (flags & format::kColumnFlagFixed) != 0);
  }
  bool is_auto_number() const { return type == ColumnType::Long && (flags & format::kColumnFlagAutoNumber) != 0; }
  bool is_compressed() const { return (extended_flags & format::kColumnExtendedFlagCompressed) != 0; }
  // ADO's DefinedSize: characters for Text, bytes for fixed types, 536870910 for Memo/OLE.
  std::int32_t defined_size() const;
};

struct IndexColumn {
  std::uint16_t column_id = 0;
  bool ascending = true;
};

struct RealIndexDefinition {
  std::vector<IndexColumn> columns;
  RowPointer usage_map;
  std::uint32_t root_page = 0;
  std::uint8_t flags = 0;
  std::size_t definition_offset = 0;  // of the 52-byte block inside the TDEF bytes
  std::size_t statistics_offset = 0;  // of the 12-byte statistics block
};

struct LogicalIndexDefinition {
  std::string name;
  std::uint32_t real_index = 0;
  std::uint8_t index_type = 0;  // 0 normal, 1 primary key, 2 foreign key
};

struct LongValueMaps {
  std::uint16_t column_id = 0;
  RowPointer owned;
  RowPointer free;
};

struct TableDefinition {
  std::uint32_t page = 0;
  std::vector<std::uint32_t> pages;  // the TDEF chain
  std::vector<std::byte> bytes;      // reassembled definition
  std::uint8_t table_type = 0;
  std::uint16_t max_columns = 0;
  std::uint16_t variable_columns = 0;
  std::uint32_t row_count = 0;
  std::uint32_t auto_number = 0;
  std::int32_t auto_increment = 1;
  RowPointer owned_map;
  RowPointer free_map;
  std::vector<ColumnDefinition> columns;  // in column-id order
  std::vector<RealIndexDefinition> real_indexes;
  std::vector<LogicalIndexDefinition> logical_indexes;
  std::vector<LongValueMaps> long_value_maps;

  // Reads and checks the definition starting at PAGE; TABLE names it in errors. With a
  // REPORTER, a read-only store drops (and reports) a logical index on a missing real index.
  static TableDefinition Load(PageStore& store, std::uint32_t page, const std::string& table,
                              Reporter* reporter = nullptr);
  // Writes the row count, AutoNumber, index roots and statistics back into the TDEF pages.
  void StoreCounters(PageStore& store, const std::vector<std::uint32_t>& distinct_keys) const;
};

}  // namespace qorvane::jet
