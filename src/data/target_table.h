// A table of office.mdb as a step writes and reads it: the columns it needs resolved once, by
// name, when the step starts (a typed handle per column), look-ups prepared per column (a key
// bound to the column's hash: no SQL text, no record set, no row decoded to learn whether a
// key exists), rows read a column at a time, new rows added whole and existing rows changed
// only in the columns a step sets. The text rules are the old converter's: a value written to a
// text column is trimmed and cut to the column's width, a right-justified one padded on the
// left, a memo kept whole; reading gives trimmed text, numbers in plain decimal, dates M/D/YYYY.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "jet/table.h"

namespace qorvane::data {

// One column of a target table: its position in the row, type and width. Not present when the
// table lacks the column: values set for it are left out and reads give the empty value.
struct TargetColumn {
  std::string name;
  std::size_t position = std::numeric_limits<std::size_t>::max();
  jet::ColumnType type = jet::ColumnType::Text;
  // The width text written to it is cut to: the column's DefinedSize as a 16-bit number, as the
  // old converter kept widths (characters for Text).
  std::int16_t width = 0;
  bool present() const { return position != std::numeric_limits<std::size_t>::max(); }
};

// The values a step sets for one row of one table: a new row, or the changes to an existing
// one. Set helpers follow the field-transfer rules; a column not present is ignored.
class TargetRow {
 public:
  explicit TargetRow(std::size_t columns = 0) : values_(columns), set_(columns, false) {}

  void Set(const TargetColumn& column, std::string_view text);    // trimmed, cut to the width
  void SetRJ(const TargetColumn& column, std::string_view text);  // right-justified to the width
  void SetMemo(const TargetColumn& column, std::string_view text);
  void SetSingle(const TargetColumn& column, float value);
  void SetFlag(const TargetColumn& column, bool value);
  // DATE as M/D/YYYY (or with '-' or '.'); an empty one stores no date. Throws InvalidArgument
  // naming the column for a text that is no date.
  void SetDate(const TargetColumn& column, std::string_view date);
  void SetValue(const TargetColumn& column, jet::Value value);

  bool IsSet(const TargetColumn& column) const { return column.present() && set_[column.position]; }
  // The value set for COLUMN as a read of the row would give it (trimmed text, "" when unset).
  std::string Text(const TargetColumn& column) const;
  // Forgets every value set (the buffers stay for the next row).
  void Clear();
  // Counts POSITION as set (its value was filled in by other means).
  void MarkSet(std::size_t position);

  // The values, one per column of the table (unset ones null), and the positions set.
  std::vector<jet::Value>& values() { return values_; }
  const std::vector<std::size_t>& set_positions() const { return positions_; }

 private:
  void Put(const TargetColumn& column, jet::Value value);
  std::vector<jet::Value> values_;
  std::vector<bool> set_;
  std::vector<std::size_t> positions_;
};

class TargetTable {
 public:
  explicit TargetTable(jet::Table& table) : table_(table) {}

  const std::string& name() const { return table_.name(); }
  jet::Table& table() { return table_; }
  // The column NAME (without regard to case); not present when the table lacks it, and then
  // counted among the missing columns.
  TargetColumn Column(std::string_view name);
  // The missing columns not yet said, which are then counted as said (each is said once per
  // open database).
  std::vector<std::string> TakeUnreportedMissingColumns();

  // A row for this table (sized to its columns).
  TargetRow NewRow() const { return TargetRow(table_.columns().size()); }

  // The first row, in table order, whose COLUMN equals VALUE as Jet's '=' compares (text
  // without regard to case or trailing blanks); nullopt when none does or the column is not
  // present. All such rows, in table order.
  std::optional<jet::RowId> Find(const TargetColumn& column, std::string_view value);
  std::vector<jet::RowId> FindAll(const TargetColumn& column, std::string_view value);

  // One column of a row: as a value, as text (adogetfield), as a single-precision number
  // (text parsed, null 0) and as a flag.
  jet::Value Value(jet::RowId row, const TargetColumn& column);
  // The values of COLUMNS of ROW into OUT, the row read once (a column not present gives null).
  void Values(jet::RowId row, std::span<const TargetColumn* const> columns, std::span<jet::Value> out);
  std::string Text(jet::RowId row, const TargetColumn& column);
  float Single(jet::RowId row, const TargetColumn& column);
  bool Flag(jet::RowId row, const TargetColumn& column);

  // Adds ROW (its unset columns null; an AutoNumber gets its number); ROW is cleared.
  jet::RowId Add(TargetRow& row);
  // Changes the columns ROW sets, leaving the others as they are; ROW is cleared.
  void Update(jet::RowId id, TargetRow& row);
  void Delete(jet::RowId id) { table_.Delete(id); }
  // The live rows, in table order (valid until the next change).
  const std::vector<jet::RowId>& Rows() { return table_.RowIds(); }

 private:
  jet::Table& table_;
  std::vector<std::string> missing_;
  std::vector<std::size_t> positions_;  // Values' buffers
  std::vector<jet::Value> read_;
  std::size_t reported_missing_ = 0;
};

// A value as adogetfield reads it: trimmed text, numbers in plain decimal, dates M/D/YYYY (with
// the time of day after it when there is one), flags True/False, null and binary empty.
std::string TargetValueText(const jet::Value& value);

}  // namespace qorvane::data
