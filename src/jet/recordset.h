// ADO-like record sets over a Jet database, for what the run states as SQL (record sources,
// clearing rows): open from SQL, move (MoveFirst/MoveLast/MoveNext, EOF), read and set fields by
// name, AddNew / Update / Delete with an edit mode, RecordCount, Refresh, and Find with a
// filter. "Select * from T" walks the table itself; WHERE terms of the form column = value
// and Find filters of that form use the table's hash look-up, so they cost O(1).
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "jet/database.h"
#include "jet/value.h"

namespace qorvane::jet {

struct Statement;
struct Expression;

enum class EditMode { None, InProgress, Add };

struct FieldInfo {
  std::string name;
  ColumnType type = ColumnType::Text;
  std::int32_t defined_size = 0;  // ADO DefinedSize: characters for Text
  std::size_t column = 0;         // position in the table
};

class Recordset {
 public:
  // Opens SQL (a SELECT) on DATABASE; throws InvalidArgument naming the SQL when it cannot.
  Recordset(Database& database, std::string sql);
  ~Recordset();

  Table& table() { return *table_; }
  // Runs the query again (ADO Refresh/Requery); the cursor goes to the first row.
  void Refresh();

  bool eof() const { return !current_.has_value(); }
  std::size_t RecordCount();
  void MoveFirst();
  void MoveLast();
  void MoveNext();
  // Searches from the current row forward for the first row matching CRITERIA ("Client='X'");
  // leaves the cursor there, or at EOF when none. Returns whether one was found.
  bool Find(const std::string& criteria);

  const std::vector<FieldInfo>& fields() const { return fields_; }
  // A field by name (case-blind) among the selected ones; throws InvalidArgument naming it.
  const FieldInfo& Field(std::string_view name) const;
  // The value of FIELD in the current row (the edit buffer while editing).
  Value Get(std::string_view field);
  // Sets FIELD; starts editing the current row when no edit is in progress.
  void Set(std::string_view field, Value value);

  EditMode edit_mode() const { return edit_mode_; }
  void AddNew();
  // Writes the edit buffer (a new row after AddNew, else the current row).
  void Update();
  // Deletes the current row; the cursor stays on it until the next move.
  void Delete();

 private:
  void Materialize();
  std::optional<std::size_t> PositionOf(RowId row);
  void SetCurrent(std::optional<RowId> row);
  const std::vector<Value>& CurrentValues();
  void FinishEdit();

  Database& database_;
  std::string sql_;
  std::unique_ptr<Statement> statement_;
  Table* table_ = nullptr;
  std::vector<FieldInfo> fields_;
  // Field's answers by the name as asked (converters ask with the same few literals for every
  // record): the name is folded and searched for only the first time.
  struct NameHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const { return std::hash<std::string_view>{}(name); }
  };
  mutable std::unordered_map<std::string, std::size_t, NameHash, std::equal_to<>> field_by_name_;
  // A plain "select * from T" (no WHERE/ORDER BY) walks the table's own row list.
  bool whole_table_ = false;
  std::vector<RowId> rows_;  // the result otherwise, in result order
  std::size_t position_ = 0;
  std::optional<RowId> current_;
  bool current_deleted_ = false;
  std::optional<RowId> cached_row_;
  std::vector<Value> cached_values_;
  EditMode edit_mode_ = EditMode::None;
  std::vector<Value> edit_buffer_;
};

// ROWS of TABLE in the order ORDER_BY gives (column positions, each true when descending), as
// ORDER BY sorts them (General order for text, null first); rows that compare equal keep their
// order. Each row's key columns are decoded once and their sort keys built once.
std::vector<RowId> OrderRows(Table& table, std::vector<RowId> rows,
                             const std::vector<std::pair<std::size_t, bool>>& order_by);

// Runs a statement that returns no rows ("DELETE FROM [path].[table] WHERE trim(col)=''");
// returns the number of rows affected. The path part of the table name is not checked.
std::size_t Execute(Database& database, const std::string& sql);

}  // namespace qorvane::jet
