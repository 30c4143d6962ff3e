// Typed reads and writes of a target table (see target_table.h).
#include "data/target_table.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

#include "common/error.h"
#include "common/text.h"
#include "data/fields.h"

namespace qorvane::data {
namespace {

// A Jet date (OLE day number) as the old converter wrote dates: M/D/YYYY, with the time of day
// after it when there is one.
std::string OleDateText(double ole_days) {
  std::string iso = jet::FormatOleDate(ole_days);  // YYYY-MM-DD HH:MM:SS
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  if (std::sscanf(iso.c_str(), "%d-%d-%d %d:%d:%d", &year, &month, &day, &hour, &minute, &second) < 3) return iso;
  std::string text = fmt::format("{}/{}/{}", month, day, year);
  if (hour || minute || second) {
    int hour12 = hour % 12 == 0 ? 12 : hour % 12;
    text += fmt::format(" {}:{:02}:{:02} {}", hour12, minute, second, hour < 12 ? "AM" : "PM");
  }
  return text;
}

}  // namespace

std::string TargetValueText(const jet::Value& value) {
  using Kind = jet::Value::Kind;
  switch (value.kind) {
    case Kind::Null: return "";
    case Kind::Boolean: return value.integer ? "True" : "False";
    case Kind::Integer: return std::to_string(value.integer);
    case Kind::Single: return fmt::format("{}", static_cast<float>(value.number));
    case Kind::Double: return fmt::format("{}", value.number);
    case Kind::Currency: return fmt::format("{}", static_cast<double>(value.integer) / 10000.0);
    case Kind::DateTime: return OleDateText(value.number);
    case Kind::Text: return std::string(text::Trim(value.bytes));
    case Kind::Binary: return "";
  }
  return "";
}

void TargetRow::Put(const TargetColumn& column, jet::Value value) {
  if (!column.present()) return;
  if (column.position >= values_.size()) {
    values_.resize(column.position + 1);
    set_.resize(column.position + 1, false);
  }
  values_[column.position] = std::move(value);
  if (!set_[column.position]) {
    set_[column.position] = true;
    positions_.push_back(column.position);
  }
}

void TargetRow::Set(const TargetColumn& column, std::string_view text) {
  Put(column, jet::Value::String(text::TrimToWidth(text, column.width)));
}

void TargetRow::SetRJ(const TargetColumn& column, std::string_view text) {
  Put(column, jet::Value::String(text::RightJustify(text::Trim(text), column.width)));
}

void TargetRow::SetMemo(const TargetColumn& column, std::string_view text) {
  Put(column, jet::Value::String(std::string(text)));
}

void TargetRow::SetSingle(const TargetColumn& column, float value) { Put(column, jet::Value::Float(value)); }

void TargetRow::SetFlag(const TargetColumn& column, bool value) { Put(column, jet::Value::Bool(value)); }

void TargetRow::SetDate(const TargetColumn& column, std::string_view date) {
  std::string_view trimmed = text::Trim(date);
  if (trimmed.empty()) {
    Put(column, jet::Value::Null());
    return;
  }
  std::optional<double> days = DateToOleDays(trimmed);
  if (!days) {
    throw Error(ErrorKind::InvalidArgument, "'" + std::string(trimmed) + "' is not a date (column " + column.name + ")");
  }
  Put(column, jet::Value::Date(*days));
}

void TargetRow::SetValue(const TargetColumn& column, jet::Value value) { Put(column, std::move(value)); }

std::string TargetRow::Text(const TargetColumn& column) const {
  if (!IsSet(column)) return "";
  return TargetValueText(values_[column.position]);
}

void TargetRow::MarkSet(std::size_t position) {
  if (position >= set_.size()) set_.resize(position + 1, false);
  if (!set_[position]) {
    set_[position] = true;
    positions_.push_back(position);
  }
}

void TargetRow::Clear() {
  for (std::size_t position : positions_) {
    values_[position] = jet::Value::Null();
    set_[position] = false;
  }
  positions_.clear();
}

TargetColumn TargetTable::Column(std::string_view name) {
  TargetColumn column;
  column.name = std::string(name);
  auto position = table_.FindColumn(name);
  if (!position) {
    if (std::find(missing_.begin(), missing_.end(), column.name) == missing_.end()) missing_.push_back(column.name);
    return column;
  }
  const jet::ColumnDefinition& definition = table_.columns()[*position];
  column.position = *position;
  column.type = definition.type;
  column.width = static_cast<std::int16_t>(definition.defined_size());
  return column;
}

std::vector<std::string> TargetTable::TakeUnreportedMissingColumns() {
  std::vector<std::string> unreported(missing_.begin() + static_cast<std::ptrdiff_t>(reported_missing_), missing_.end());
  reported_missing_ = missing_.size();
  return unreported;
}

std::optional<jet::RowId> TargetTable::Find(const TargetColumn& column, std::string_view value) {
  if (!column.present()) return std::nullopt;
  return table_.FindFirst(column.position, jet::Value::String(std::string(value)));
}

std::vector<jet::RowId> TargetTable::FindAll(const TargetColumn& column, std::string_view value) {
  if (!column.present()) return {};
  return table_.FindEqual({column.position}, {jet::Value::String(std::string(value))});
}

jet::Value TargetTable::Value(jet::RowId row, const TargetColumn& column) {
  if (!column.present()) return jet::Value::Null();
  return table_.ReadValue(row, column.position);
}

void TargetTable::Values(jet::RowId row, std::span<const TargetColumn* const> columns, std::span<jet::Value> out) {
  positions_.clear();
  for (const TargetColumn* column : columns) {
    if (column->present()) positions_.push_back(column->position);
  }
  read_.resize(positions_.size());
  table_.ReadValues(row, positions_, read_);
  std::size_t next = 0;
  for (std::size_t k = 0; k < columns.size(); ++k) {
    out[k] = columns[k]->present() ? std::move(read_[next++]) : jet::Value::Null();
  }
}

std::string TargetTable::Text(jet::RowId row, const TargetColumn& column) { return TargetValueText(Value(row, column)); }

float TargetTable::Single(jet::RowId row, const TargetColumn& column) {
  return static_cast<float>(Value(row, column).AsDouble());
}

bool TargetTable::Flag(jet::RowId row, const TargetColumn& column) { return Value(row, column).AsBool(); }

namespace {

// Clears a row's values when a write is over, also when it failed: a row refused is never left
// half set for the next record.
struct ClearAfter {
  TargetRow& row;
  ~ClearAfter() { row.Clear(); }
};

}  // namespace

jet::RowId TargetTable::Add(TargetRow& row) {
  std::vector<jet::Value>& values = row.values();
  values.resize(table_.columns().size());
  // The insert converts the values in place and fills in the AutoNumber: every value it leaves
  // is forgotten afterwards, whether it succeeded or not.
  struct ForgetAll {
    TargetRow& row;
    ~ForgetAll() {
      for (std::size_t position = 0; position < row.values().size(); ++position) {
        if (!row.values()[position].is_null()) row.MarkSet(position);
      }
      row.Clear();
    }
  } forget{row};
  return table_.InsertInPlace(values);
}

void TargetTable::Update(jet::RowId id, TargetRow& row) {
  ClearAfter clear{row};
  std::vector<jet::Table::ColumnValue> changes;
  changes.reserve(row.set_positions().size());
  for (std::size_t position : row.set_positions()) changes.push_back({position, std::move(row.values()[position])});
  if (!changes.empty()) table_.UpdateValues(id, std::move(changes));
}

}  // namespace qorvane::data
