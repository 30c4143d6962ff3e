// Record sets: query evaluation (hash look-up for equality terms, scan otherwise, ORDER BY),
// cursor movement, Find, the edit buffer, and Execute for DELETE statements.
#include "jet/recordset.h"

#include <algorithm>
#include <functional>
#include <unordered_map>

#include "common/error.h"
#include "jet/format/index_pages.h"
#include "jet/index/key.h"
#include "jet/sql.h"

namespace qorvane::jet {
namespace {

bool HasColumnReference(const Expression& expression) {
  if (expression.kind == Expression::Kind::Column) return true;
  for (const auto& operand : expression.operands) {
    if (HasColumnReference(*operand)) return true;
  }
  return false;
}

// The rows of TABLE matching WHERE (all when null), in table order.
std::vector<RowId> SelectRows(Table& table, const Expression* where) {
  if (!where) return table.RowIds();
  if (!HasColumnReference(*where)) {
    return IsTrue(*where, {}) ? table.RowIds() : std::vector<RowId>{};
  }
  std::vector<RowId> candidates;
  if (auto term = FindEqualityTerm(*where)) {
    candidates = table.FindEqual({term->first}, {term->second});
  } else {
    candidates = table.RowIds();
  }
  // Only the columns the condition names are decoded; the others stay null in the row given
  // to the test.
  std::vector<std::size_t> columns;
  std::function<void(const Expression&)> collect = [&](const Expression& expression) {
    if (expression.kind == Expression::Kind::Column &&
        std::find(columns.begin(), columns.end(), expression.column) == columns.end()) {
      columns.push_back(expression.column);
    }
    for (const auto& operand : expression.operands) collect(*operand);
  };
  collect(*where);
  std::vector<Value> values(table.columns().size());
  std::vector<Value> read(columns.size());
  std::vector<RowId> rows;
  for (RowId row : candidates) {
    table.ReadValues(row, columns, read);
    for (std::size_t k = 0; k < columns.size(); ++k) values[columns[k]] = std::move(read[k]);
    if (IsTrue(*where, values)) rows.push_back(row);
  }
  return rows;
}

}  // namespace

Recordset::Recordset(Database& database, std::string sql)
    : database_(database), sql_(std::move(sql)), statement_(std::make_unique<Statement>(ParseStatement(sql_))) {
  if (statement_->kind != Statement::Kind::Select) {
    throw Error(ErrorKind::InvalidArgument, "SQL \"" + sql_ + "\": a record set needs a SELECT statement");
  }
  if (!database_.HasTable(statement_->table)) {
    throw Error(ErrorKind::InvalidArgument, database_.file_name() + ": SQL \"" + sql_ + "\": there is no table " +
                                                statement_->table);
  }
  table_ = &database_.GetTable(statement_->table);
  if (statement_->where) Bind(*statement_->where, *table_, sql_);
  auto add_field = [&](std::size_t column) {
    const ColumnDefinition& definition = table_->columns()[column];
    fields_.push_back({definition.name, definition.type, definition.defined_size(), column});
  };
  if (statement_->columns.empty()) {
    for (std::size_t i = 0; i < table_->columns().size(); ++i) add_field(i);
  } else {
    for (const auto& name : statement_->columns) {
      auto column = table_->FindColumn(name);
      if (!column) {
        throw Error(ErrorKind::InvalidArgument, "SQL \"" + sql_ + "\": table " + table_->name() + " has no column " + name);
      }
      add_field(*column);
    }
  }
  for (const auto& term : statement_->order_by) {
    if (!table_->FindColumn(term.column)) {
      throw Error(ErrorKind::InvalidArgument, "SQL \"" + sql_ + "\": table " + table_->name() + " has no column " +
                                                  term.column);
    }
  }
  whole_table_ = !statement_->where && statement_->order_by.empty();
  Refresh();
}

Recordset::~Recordset() = default;

void Recordset::Refresh() {
  edit_mode_ = EditMode::None;
  edit_buffer_.clear();
  cached_row_.reset();
  current_deleted_ = false;
  if (whole_table_) {
    rows_.clear();
    current_ = table_->FirstRow();
    return;
  }
  Materialize();
}

std::vector<RowId> OrderRows(Table& table, std::vector<RowId> rows,
                             const std::vector<std::pair<std::size_t, bool>>& order_by) {
  if (order_by.empty() || rows.size() < 2) return rows;
  // Per row and key column: the value, and its sort key when it has one that decides (text in
  // the General order, up to the characters an index key holds); otherwise CompareValues.
  struct Key {
    Value value;
    std::vector<std::uint8_t> sort_key;
    bool keyed = false;
  };
  std::vector<std::size_t> columns;
  for (const auto& [column, descending] : order_by) columns.push_back(column);
  std::vector<std::vector<Key>> keys(rows.size(), std::vector<Key>(columns.size()));
  std::vector<Value> values(columns.size());
  std::u16string utf16;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    table.ReadValues(rows[i], columns, values);
    for (std::size_t k = 0; k < columns.size(); ++k) {
      Key& key = keys[i][k];
      key.value = std::move(values[k]);
      if (key.value.kind == Value::Kind::Text) {
        utf16 = Utf8ToUtf16(key.value.bytes);
        key.keyed = utf16.size() <= format::kMaxTextKeyCharacters && index::AppendTextSortKey(key.sort_key, utf16);
      }
    }
  }
  std::vector<std::size_t> order(rows.size());
  for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    for (std::size_t k = 0; k < columns.size(); ++k) {
      const Key& x = keys[a][k];
      const Key& y = keys[b][k];
      int compared;
      if (x.keyed && y.keyed) {
        compared = x.sort_key < y.sort_key ? -1 : (x.sort_key == y.sort_key ? 0 : 1);
      } else {
        compared = CompareValues(x.value, y.value);
      }
      if (compared != 0) return order_by[k].second ? compared > 0 : compared < 0;
    }
    return false;
  });
  std::vector<RowId> sorted(rows.size());
  for (std::size_t i = 0; i < order.size(); ++i) sorted[i] = rows[order[i]];
  return sorted;
}

void Recordset::Materialize() {
  rows_ = SelectRows(*table_, statement_->where.get());
  if (!statement_->order_by.empty()) {
    std::vector<std::pair<std::size_t, bool>> keys;
    for (const auto& term : statement_->order_by) keys.emplace_back(*table_->FindColumn(term.column), term.descending);
    rows_ = OrderRows(*table_, std::move(rows_), keys);
  }
  position_ = 0;
  current_ = rows_.empty() ? std::nullopt : std::optional<RowId>(rows_[0]);
}

std::optional<std::size_t> Recordset::PositionOf(RowId row) {
  if (statement_->order_by.empty()) {
    auto found = std::lower_bound(rows_.begin(), rows_.end(), row);
    if (found != rows_.end() && *found == row) return static_cast<std::size_t>(found - rows_.begin());
    return std::nullopt;
  }
  auto found = std::find(rows_.begin(), rows_.end(), row);
  if (found == rows_.end()) return std::nullopt;
  return static_cast<std::size_t>(found - rows_.begin());
}

void Recordset::SetCurrent(std::optional<RowId> row) {
  current_ = row;
  current_deleted_ = false;
}

std::size_t Recordset::RecordCount() {
  if (whole_table_) return table_->row_count();
  std::size_t count = 0;
  for (RowId row : rows_) count += table_->IsLive(row) ? 1 : 0;
  return count;
}

void Recordset::FinishEdit() {
  if (edit_mode_ != EditMode::None) Update();
}

void Recordset::MoveFirst() {
  FinishEdit();
  if (whole_table_) {
    SetCurrent(table_->FirstRow());
    return;
  }
  for (position_ = 0; position_ < rows_.size() && !table_->IsLive(rows_[position_]); ++position_) {
  }
  SetCurrent(position_ < rows_.size() ? std::optional<RowId>(rows_[position_]) : std::nullopt);
}

void Recordset::MoveLast() {
  FinishEdit();
  if (whole_table_) {
    SetCurrent(table_->LastRow());
    return;
  }
  position_ = rows_.size();
  while (position_ > 0 && !table_->IsLive(rows_[position_ - 1])) --position_;
  if (position_ == 0) {
    SetCurrent(std::nullopt);
    return;
  }
  --position_;
  SetCurrent(rows_[position_]);
}

void Recordset::MoveNext() {
  FinishEdit();
  if (!current_) {
    throw Error(ErrorKind::InvalidArgument, table_->name() + ": MoveNext past the end of the record set");
  }
  if (whole_table_) {
    SetCurrent(table_->NextRow(*current_));
    return;
  }
  do {
    ++position_;
  } while (position_ < rows_.size() && !table_->IsLive(rows_[position_]));
  SetCurrent(position_ < rows_.size() ? std::optional<RowId>(rows_[position_]) : std::nullopt);
}

bool Recordset::Find(const std::string& criteria) {
  FinishEdit();
  auto filter = ParseFilter(criteria);
  Bind(*filter, *table_, criteria);
  if (!current_) return false;
  RowId start = *current_;
  std::optional<RowId> found;
  auto equality = FindEqualityTerm(*filter);
  if (equality) {
    std::size_t start_position = whole_table_ ? 0 : position_;
    std::optional<std::size_t> best;
    for (RowId row : table_->FindEqual({equality->first}, {equality->second})) {
      if (!table_->IsLive(row) || !IsTrue(*filter, table_->ReadRow(row))) continue;
      if (whole_table_) {
        if (row >= start) {
          found = row;
          break;
        }
        continue;
      }
      auto position = PositionOf(row);
      if (position && *position >= start_position && (!best || *position < *best)) best = position;
    }
    if (best) {
      position_ = *best;
      found = rows_[*best];
    }
  } else if (whole_table_) {
    for (std::optional<RowId> row = table_->IsLive(start) ? std::optional<RowId>(start) : table_->NextRow(start); row;
         row = table_->NextRow(*row)) {
      if (IsTrue(*filter, table_->ReadRow(*row))) {
        found = row;
        break;
      }
    }
  } else {
    for (std::size_t position = position_; position < rows_.size(); ++position) {
      if (table_->IsLive(rows_[position]) && IsTrue(*filter, table_->ReadRow(rows_[position]))) {
        position_ = position;
        found = rows_[position];
        break;
      }
    }
  }
  if (!found && !whole_table_) position_ = rows_.size();
  SetCurrent(found);
  return found.has_value();
}

const FieldInfo& Recordset::Field(std::string_view name) const {
  // Converters ask for fields by name for every value they move: the table folds its column
  // names once, not each record set made for one record.
  if (auto known = field_by_name_.find(name); known != field_by_name_.end()) return fields_[known->second];
  std::string wanted = FoldForComparison(name);
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    if (table_->FoldedColumnName(fields_[i].column) != wanted) continue;
    field_by_name_.emplace(std::string(name), i);
    return fields_[i];
  }
  throw Error(ErrorKind::InvalidArgument, database_.file_name() + ": table " + table_->name() + ": no field " +
                                              std::string(name) + " in \"" + sql_ + "\"");
}

const std::vector<Value>& Recordset::CurrentValues() {
  if (!current_ || current_deleted_) {
    throw Error(ErrorKind::InvalidArgument, database_.file_name() + ": table " + table_->name() +
                                                ": there is no current record (EOF, BOF or deleted)");
  }
  if (cached_row_ != current_) {
    cached_values_ = table_->ReadRow(*current_);
    cached_row_ = current_;
  }
  return cached_values_;
}

Value Recordset::Get(std::string_view field) {
  const FieldInfo& info = Field(field);
  if (edit_mode_ != EditMode::None) return edit_buffer_[info.column];
  return CurrentValues()[info.column];
}

void Recordset::Set(std::string_view field, Value value) {
  const FieldInfo& info = Field(field);
  if (edit_mode_ == EditMode::None) {
    edit_buffer_ = CurrentValues();
    edit_mode_ = EditMode::InProgress;
  }
  edit_buffer_[info.column] = std::move(value);
}

void Recordset::AddNew() {
  FinishEdit();
  edit_buffer_.assign(table_->columns().size(), Value());
  edit_mode_ = EditMode::Add;
}

void Recordset::Update() {
  if (edit_mode_ == EditMode::None) return;
  EditMode mode = edit_mode_;
  std::vector<Value> buffer = std::move(edit_buffer_);
  edit_mode_ = EditMode::None;
  edit_buffer_.clear();
  cached_row_.reset();
  if (mode == EditMode::Add) {
    RowId row = table_->Insert(std::move(buffer));
    if (!whole_table_) {
      rows_.push_back(row);
      position_ = rows_.size() - 1;
    }
    SetCurrent(row);
  } else {
    table_->Update(*current_, std::move(buffer));
  }
}

void Recordset::Delete() {
  edit_mode_ = EditMode::None;
  edit_buffer_.clear();
  if (!current_ || current_deleted_) {
    throw Error(ErrorKind::InvalidArgument, database_.file_name() + ": table " + table_->name() +
                                                ": Delete without a current record");
  }
  table_->Delete(*current_);
  current_deleted_ = true;
  cached_row_.reset();
}

std::size_t Execute(Database& database, const std::string& sql) {
  Statement statement = ParseStatement(sql);
  if (statement.kind != Statement::Kind::Delete) {
    throw Error(ErrorKind::InvalidArgument, "SQL \"" + sql + "\": only DELETE statements can be executed");
  }
  if (!database.HasTable(statement.table)) {
    throw Error(ErrorKind::InvalidArgument, database.file_name() + ": SQL \"" + sql + "\": there is no table " +
                                                statement.table);
  }
  Table& table = database.GetTable(statement.table);
  if (statement.where) Bind(*statement.where, table, sql);
  std::vector<RowId> rows = SelectRows(table, statement.where.get());
  for (RowId row : rows) table.Delete(row);
  return rows.size();
}

}  // namespace qorvane::jet
