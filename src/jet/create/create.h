// Creation of a new Jet 4 (Access 2000) database from nothing: the header, the global usage map,
// the four system tables with the catalog rows and permissions a new database holds, and user
// tables with columns, AutoNumber primary keys and indexes, all empty.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "jet/format/table_definition.h"

namespace qorvane::jet::create {

// The type of a schema column: one of the engine's column types, and whether Jet numbers the
// column itself (Access's AutoNumber, a Long). Named as Access lists its data types.
struct SchemaType {
  jet::ColumnType type = jet::ColumnType::Text;
  bool autonumber = false;
  bool operator==(const SchemaType&) const = default;
  static const SchemaType Boolean, Byte, Integer, Long, Currency, Single, Double, DateTime, Text, Memo,
      AutoNumber;
};
inline constexpr SchemaType SchemaType::Boolean{jet::ColumnType::Boolean};
inline constexpr SchemaType SchemaType::Byte{jet::ColumnType::Byte};
inline constexpr SchemaType SchemaType::Integer{jet::ColumnType::Integer};
inline constexpr SchemaType SchemaType::Long{jet::ColumnType::Long};
inline constexpr SchemaType SchemaType::Currency{jet::ColumnType::Currency};
inline constexpr SchemaType SchemaType::Single{jet::ColumnType::Single};
inline constexpr SchemaType SchemaType::Double{jet::ColumnType::Double};
inline constexpr SchemaType SchemaType::DateTime{jet::ColumnType::DateTime};
inline constexpr SchemaType SchemaType::Text{jet::ColumnType::Text};
inline constexpr SchemaType SchemaType::Memo{jet::ColumnType::Memo};
inline constexpr SchemaType SchemaType::AutoNumber{jet::ColumnType::Long, true};

struct ColumnSchema {
  std::string name;     // UTF-8, at most 64 characters
  SchemaType type = SchemaType::Text;
  uint16_t size = 0;    // Text: characters (1..255); ignored for other types
};

enum class IndexKind { PrimaryKey, Unique, Normal };

struct IndexSchema {
  std::string name;                  // "PrimaryKey" for the primary key, by Access's habit
  std::vector<std::string> columns;  // column names, ascending
  IndexKind kind = IndexKind::Normal;
};

struct TableSchema {
  std::string name;
  std::vector<ColumnSchema> columns;
  std::vector<IndexSchema> indexes;
};

// Timestamp written as creation date (days since 1899-12-30); a test can fix it.
struct CreateOptions {
  double creation_date = 0;  // 0 = now
};

// Writes a new database at PATH holding TABLES (empty). Refuses (Error(InvalidArgument)) to
// replace an existing file and checks the schema first: names, sizes, duplicate columns,
// index columns that exist. Nothing is left at PATH when it fails.
void CreateDatabase(const std::string& path, std::span<const TableSchema> tables,
                    const CreateOptions& options = {});

// A blank database: the system tables only.
inline void CreateBlankDatabase(const std::string& path) { CreateDatabase(path, {}); }

}  // namespace qorvane::jet::create
