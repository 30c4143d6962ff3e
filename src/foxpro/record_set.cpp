// The record set: row selection and order from the record source, the in-memory Seek index,
// and write-back (backup, in-place record write, index rebuild at Flush).
#include "foxpro/record_set.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <limits>
#include <map>

#include "common/error.h"
#include "common/os.h"
#include "foxpro/byte_source.h"
#include "foxpro/cdx.h"
#include "foxpro/expression.h"
#include "foxpro/format.h"
#include "foxpro/index_maintenance.h"
#include "foxpro/query.h"
#include "foxpro/table_writer.h"

namespace qorvane::foxpro {
namespace {

constexpr std::size_t kBeforeFirst = std::numeric_limits<std::size_t>::max();
// How many moves a walk makes between two checks that its table is still the file opened.
constexpr std::size_t kCheckFileEvery = 1024;

std::string UpperAscii(std::string text) {
  for (char& c : text) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
  return text;
}

std::string WithExtension(const std::string& path, const char* extension) {
  auto slash = path.rfind('/');
  auto dot = path.rfind('.');
  std::string base = dot != std::string::npos && (slash == std::string::npos || dot > slash) ? path.substr(0, dot) : path;
  std::string directory = slash == std::string::npos ? "." : path.substr(0, slash);
  std::string name = base.substr(slash == std::string::npos ? 0 : slash + 1);
  auto found = os::FindCaseInsensitive(directory, name + extension);
  return found ? *found : std::string();
}

// Text made comparable without regard to case: code-page upper case, trailing blanks dropped.
std::string FoldedBytes(std::string_view bytes, const CodePage& code_page) {
  bytes = TrimRightBlanks(bytes);
  std::string out(bytes);
  for (char& c : out) c = static_cast<char>(code_page.Upper(static_cast<unsigned char>(c)));
  return out;
}

std::optional<Date> ParseDateText(std::string_view text) {
  text = TrimBlanks(text);
  ParsedDate compact = ParseDate(text);
  if (compact.status == ParseStatus::Good) return compact.date;
  int month = 0, day = 0, year = 0;
  char tail = 0;
  std::string copy(text);
  if (std::sscanf(copy.c_str(), "%d/%d/%d%c", &month, &day, &year, &tail) == 3 && IsValidDate(year, month, day)) {
    return Date{year, month, day};
  }
  return std::nullopt;
}

std::optional<bool> ParseLogicalText(std::string_view text) {
  std::string upper = UpperAscii(std::string(TrimBlanks(text)));
  if (upper == "T" || upper == "TRUE" || upper == ".T." || upper == "Y" || upper == "YES" || upper == "1" || upper == "-1") return true;
  if (upper == "F" || upper == "FALSE" || upper == ".F." || upper == "N" || upper == "NO" || upper == "0") return false;
  return std::nullopt;
}

// Keys of one index for every live record, and their order.
struct SeekIndex {
  std::string name;
  std::optional<Expression> key;
  std::optional<Expression> filter;
  std::size_t key_length = 0;
  std::vector<char> keys;                // key_length bytes per record, by record number
  std::vector<std::uint32_t> order;      // records with a key, sorted by (key, record)
  std::vector<bool> listed;              // record has a key in order

  std::string_view KeyOf(std::uint32_t record) const {
    return std::string_view(keys.data() + std::size_t(record) * key_length, key_length);
  }
  bool Less(std::uint32_t a, std::uint32_t b) const {
    int result = KeyOf(a).compare(KeyOf(b));
    return result != 0 ? result < 0 : a < b;
  }
};

}  // namespace

struct RecordSet::State {
  std::string folder;
  std::string source;
  RecordSetOptions options;
  std::unique_ptr<Table> table;
  std::string dbf_path, memo_path, index_path;
  std::optional<CompoundIndex> index;
  std::vector<std::size_t> columns;      // visible table fields
  std::vector<std::uint32_t> rows;       // visible records in order
  bool rows_in_record_order = true;
  std::vector<std::uint32_t> position_of;  // record -> position in rows, built on demand
  std::size_t position = 0;
  bool no_match = false;
  std::map<std::string, std::unique_ptr<SeekIndex>> seek_indexes;
  SeekIndex* current_index = nullptr;
  // Editing and write-back.
  bool editing = false;
  std::vector<std::byte> edit_buffer;
  os::File writable;
  bool header_dated = false;
  std::vector<std::size_t> checked_fields;  // fields the index was checked for
  std::vector<std::size_t> pending_fields;  // changed fields awaiting an index rebuild
  bool pending_sync = false;

  std::string Where() const {
    return table->name() + (position < rows.size() ? ", record " + std::to_string(rows[position] + 1) : "");
  }
  std::size_t Column(std::string_view name) const {
    // Called for every field read: compares case-blind in place, without copies.
    auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; };
    auto same = [&](std::string_view a, std::string_view b) {
      if (a.size() != b.size()) return false;
      for (std::size_t i = 0; i < a.size(); ++i) {
        if (upper(a[i]) != upper(b[i])) return false;
      }
      return true;
    };
    for (std::size_t column : columns) {
      if (same(table->fields()[column].name, name)) return column;
    }
    throw Error(ErrorKind::InvalidArgument, table->name() + ": the record source \"" + source + "\" has no field named " + std::string(name));
  }
  std::uint32_t Current() const {
    if (position >= rows.size()) {
      throw Error(ErrorKind::InvalidArgument, table->name() + ": there is no current record (" +
                                                  (position == kBeforeFirst ? "before the first" : "past the last") + " record)");
    }
    return rows[position];
  }
  std::optional<std::size_t> PositionOf(std::uint32_t record) {
    if (rows_in_record_order) {
      auto found = std::lower_bound(rows.begin(), rows.end(), record);
      if (found == rows.end() || *found != record) return std::nullopt;
      return static_cast<std::size_t>(found - rows.begin());
    }
    if (position_of.empty()) {
      position_of.assign(table->record_count(), std::numeric_limits<std::uint32_t>::max());
      for (std::size_t i = 0; i < rows.size(); ++i) position_of[rows[i]] = static_cast<std::uint32_t>(i);
    }
    if (record >= position_of.size() || position_of[record] == std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
    return position_of[record];
  }
  void ComputeKey(SeekIndex& seek, std::uint32_t record, std::span<const std::byte> bytes) {
    bool keep = std::to_integer<std::uint8_t>(bytes[0]) != format::kDeletedFlag &&
                (!seek.filter || seek.filter->Evaluate(bytes).logical);
    seek.listed[record] = keep;
    if (!keep) return;
    ExpressionValue value = seek.key->Evaluate(bytes);
    std::string key = EncodeIndexKey(value, seek.key_length);
    if (value.type == ExpressionValue::Type::Character) {
      for (char& c : key) c = static_cast<char>(table->code_page().Upper(static_cast<unsigned char>(c)));
    }
    std::memcpy(seek.keys.data() + std::size_t(record) * seek.key_length, key.data(), seek.key_length);
  }
};

RecordSet::RecordSet() : state_(std::make_unique<State>()) {}

RecordSet::~RecordSet() {
  try {
    Flush();
  } catch (const std::exception& error) {
    if (state_->options.reporter) state_->options.reporter->Report({.kind = DamageKind::Index, .what = error.what()});
  } catch (...) {
    // A destructor never throws; the pending index work is lost, the table itself is written.
  }
}

const Table& RecordSet::table() const { return *state_->table; }

std::unique_ptr<RecordSet> RecordSet::Open(const std::string& folder, const std::string& record_source,
                                           const RecordSetOptions& options) {
  SourceQuery query = ParseRecordSource(record_source);
  auto set = std::unique_ptr<RecordSet>(new RecordSet());
  State& s = *set->state_;
  s.folder = folder;
  s.source = record_source;
  s.options = options;
  auto found = os::FindCaseInsensitive(folder, query.table + ".dbf");
  if (!found) {
    throw Error(ErrorKind::NotFound, os::JoinPath(folder, query.table + ".dbf") + ": the table is not there (record source \"" +
                                         record_source + "\")");
  }
  s.dbf_path = *found;
  s.table = Table::Open(s.dbf_path, {options.default_code_page, options.reporter});
  s.memo_path = WithExtension(s.dbf_path, ".fpt");
  s.index_path = WithExtension(s.dbf_path, ".cdx");
  if (!s.index_path.empty()) {
    try {
      s.index.emplace(CompoundIndex::Open(s.index_path));
    } catch (const Error& error) {
      // A broken index is not needed for reading; writes then refuse to go on (see Update).
      if (options.reporter) {
        options.reporter->Report(DamageFromMessage(DamageKind::Index, s.index_path.substr(s.index_path.rfind('/') + 1),
                                                   std::string(error.what()) + "; the index is not used"));
      }
    }
  } else if (s.table->header().has_structural_index() && options.reporter) {
    options.reporter->Report({.kind = DamageKind::Index,
                              .file = s.table->name(),
                              .what = "the header says a structural .cdx exists but it is not there"});
  }
  const Table& table = *s.table;
  if (query.columns.empty()) {
    for (std::size_t i = 0; i < table.fields().size(); ++i) s.columns.push_back(i);
  } else {
    for (const std::string& column : query.columns) {
      auto field = table.FindField(column);
      if (!field) throw Error(ErrorKind::InvalidArgument, table.name() + ": the record source \"" + record_source + "\" names the field " + column + ", which the table does not have");
      s.columns.push_back(*field);
    }
  }
  std::optional<std::size_t> where_field;
  std::string literal;
  if (query.where) {
    auto field = table.FindField(query.where->column);
    if (!field) throw Error(ErrorKind::InvalidArgument, table.name() + ": the record source \"" + record_source + "\" tests the field " + query.where->column + ", which the table does not have");
    where_field = field;
    auto encoded = table.code_page().Encode(query.where->literal);
    literal = encoded ? FoldedBytes(query.where->match == SourceQuery::Match::TrimmedUpperEquals ? TrimBlanks(*encoded) : std::string_view(*encoded), table.code_page())
                      : std::string("\x01no match\x01");
  }
  for (std::uint32_t record = 0; record < table.record_count(); ++record) {
    auto bytes = table.RecordBytes(record);
    std::uint8_t flag = std::to_integer<std::uint8_t>(bytes[0]);
    if (flag == format::kDeletedFlag) continue;
    if (where_field) {
      const Field& field = table.fields()[*where_field];
      std::string_view raw(reinterpret_cast<const char*>(bytes.data()) + field.offset, field.length);
      std::string value;
      if (field.type == 'C') {
        value = FoldedBytes(query.where->match == SourceQuery::Match::TrimmedUpperEquals ? TrimBlanks(raw) : raw, table.code_page());
      } else {
        // Other types compare as their trimmed stored text.
        value = FoldedBytes(TrimBlanks(raw), table.code_page());
      }
      if (value != literal) continue;
    }
    s.rows.push_back(record);
  }
  if (query.order_by) {
    auto field = table.FindField(*query.order_by);
    if (!field) throw Error(ErrorKind::InvalidArgument, table.name() + ": the record source \"" + record_source + "\" orders by " + *query.order_by + ", which the table does not have");
    // Sort keys as for an index on the field, text without regard to case.
    SeekIndex order;
    order.key.emplace(Expression::Parse(table.fields()[*field].name, table));
    order.key_length = order.key->type() == ExpressionValue::Type::Character ? table.fields()[*field].length : 8;
    if (order.key->type() == ExpressionValue::Type::Logical) order.key_length = 1;
    order.keys.resize(std::size_t(table.record_count()) * order.key_length);
    order.listed.resize(table.record_count());
    for (std::uint32_t record : s.rows) s.ComputeKey(order, record, table.RecordBytes(record));
    std::stable_sort(s.rows.begin(), s.rows.end(), [&](std::uint32_t a, std::uint32_t b) { return order.Less(a, b); });
    s.rows_in_record_order = false;
  }
  s.position = 0;
  return set;
}

void RecordSet::MoveFirst() {
  // A walk starts here: the table must still be the file the set was opened from.
  state_->table->CheckFileUnchanged();
  state_->editing = false;
  state_->position = 0;
}
void RecordSet::MoveLast() {
  state_->editing = false;
  state_->position = state_->rows.empty() ? 0 : state_->rows.size() - 1;
}
void RecordSet::MoveNext() {
  State& s = *state_;
  s.editing = false;
  if (s.position == kBeforeFirst) {
    s.position = 0;
  } else if (s.position < s.rows.size()) {
    ++s.position;
    // Now and then, and at the end of the walk, the table must still be the file opened: the
    // records of a small table were all read at the start.
    if (s.position == s.rows.size() || s.position % kCheckFileEvery == 0) s.table->CheckFileUnchanged();
  } else {
    throw Error(ErrorKind::InvalidArgument, s.table->name() + ": MoveNext past the end of the record set");
  }
}
void RecordSet::MovePrevious() {
  State& s = *state_;
  s.editing = false;
  if (s.position == kBeforeFirst) throw Error(ErrorKind::InvalidArgument, s.table->name() + ": MovePrevious before the first record");
  s.position = s.position == 0 ? kBeforeFirst : std::min(s.position, s.rows.size()) - 1;
  if (s.rows.empty()) s.position = kBeforeFirst;
}
bool RecordSet::EndOfFile() const { return state_->rows.empty() || (state_->position != kBeforeFirst && state_->position >= state_->rows.size()); }
bool RecordSet::BeginningOfFile() const { return state_->rows.empty() || state_->position == kBeforeFirst; }
std::uint32_t RecordSet::RecordCount() const { return static_cast<std::uint32_t>(state_->rows.size()); }

RecordSet::Bookmark RecordSet::GetBookmark() const { return state_->Current(); }

void RecordSet::SetBookmark(Bookmark bookmark) {
  State& s = *state_;
  auto position = s.PositionOf(bookmark);
  if (!position) throw Error(ErrorKind::InvalidArgument, s.table->name() + ": bookmark " + std::to_string(bookmark + 1) + " is not a record of this record set");
  s.editing = false;
  s.position = *position;
}

const Field& RecordSet::FieldInfo(std::string_view name) const { return state_->table->fields()[state_->Column(name)]; }

std::uint16_t RecordSet::FieldSize(std::string_view name) const { return FieldInfo(name).length; }

Value RecordSet::GetValue(std::string_view name) const {
  const State& s = *state_;
  std::size_t column = s.Column(name);
  std::uint32_t record = s.Current();
  if (s.editing) return s.table->DecodeField(s.edit_buffer, record, column);
  return s.table->ReadValue(record, column);
}

std::optional<std::size_t> RecordSet::FieldPosition(std::string_view name) const {
  try {
    return state_->Column(name);
  } catch (const Error&) {
    return std::nullopt;
  }
}

Value RecordSet::GetValueAt(std::size_t position) const {
  const State& s = *state_;
  std::uint32_t record = s.Current();
  if (s.editing) return s.table->DecodeField(s.edit_buffer, record, position);
  return s.table->ReadValue(record, position);
}

void RecordSet::SetIndex(const std::string& name) {
  State& s = *state_;
  std::string upper = UpperAscii(name);
  auto existing = s.seek_indexes.find(upper);
  if (existing != s.seek_indexes.end()) {
    s.current_index = existing->second.get();
    return;
  }
  const Table& table = *s.table;
  auto seek = std::make_unique<SeekIndex>();
  seek->name = upper;
  const IndexTag* tag = nullptr;
  if (s.index) {
    for (const IndexTag& candidate : s.index->tags()) {
      if (candidate.name == upper) tag = &candidate;
    }
  }
  if (tag) {
    try {
      seek->key.emplace(Expression::Parse(tag->key_expression, table));
      if (!tag->for_expression.empty()) seek->filter.emplace(Expression::Parse(tag->for_expression, table));
      seek->key_length = tag->key_length;
    } catch (const Error& error) {
      // A damaged tag does not make the table unreadable: it is said once, and look-ups by the
      // field of the same name read the table's own records instead.
      seek->key.reset();
      seek->filter.reset();
      std::string what = "index " + tag->name + " cannot be used: " + error.what();
      if (!table.FindField(name)) throw Error(ErrorKind::NotSupported, table.name() + ": " + what);
      if (s.options.reporter) {
        s.options.reporter->Report({.kind = DamageKind::Index,
                                    .file = s.index->name(),
                                    .what = what + "; look-ups by " + tag->name + " read " + table.name() +
                                            " without it (the table itself is whole)"});
      }
      tag = nullptr;
    }
  }
  if (!tag) {
    auto field = table.FindField(name);
    if (!field) throw Error(ErrorKind::InvalidArgument, table.name() + ": there is no index or field named " + name);
    const Field& info = table.fields()[*field];
    if (std::string_view("CNFDL").find(info.type) == std::string_view::npos) {
      throw Error(ErrorKind::NotSupported, table.name() + ": field " + info.name + " of type " + std::string(1, info.type) + " cannot be an index");
    }
    seek->key.emplace(Expression::Parse(info.name, table));
    seek->key_length = info.type == 'C' ? info.length : info.type == 'L' ? 1 : 8;
  }
  seek->keys.resize(std::size_t(table.record_count()) * seek->key_length);
  seek->listed.resize(table.record_count());
  for (std::uint32_t record = 0; record < table.record_count(); ++record) {
    s.ComputeKey(*seek, record, table.RecordBytes(record));
    if (seek->listed[record]) seek->order.push_back(record);
  }
  std::sort(seek->order.begin(), seek->order.end(), [&](std::uint32_t a, std::uint32_t b) { return seek->Less(a, b); });
  s.current_index = seek.get();
  s.seek_indexes[upper] = std::move(seek);
}

bool RecordSet::Seek(std::string_view key) {
  State& s = *state_;
  if (!s.current_index) throw Error(ErrorKind::InvalidArgument, s.table->name() + ": Seek needs an index (SetIndex) first");
  SeekIndex& seek = *s.current_index;
  s.no_match = true;
  ExpressionValue value;
  value.type = seek.key->type();
  switch (value.type) {
    case ExpressionValue::Type::Character: {
      auto encoded = s.table->code_page().Encode(key);
      if (!encoded) return false;
      value.bytes = *encoded;
      for (char& c : value.bytes) c = static_cast<char>(s.table->code_page().Upper(static_cast<unsigned char>(c)));
      break;
    }
    case ExpressionValue::Type::Numeric: {
      ParsedNumber number = ParseNumber(key);
      if (number.status == ParseStatus::Invalid) return false;
      value.number = number.value;
      break;
    }
    case ExpressionValue::Type::Date: {
      if (!TrimBlanks(key).empty()) {
        auto date = ParseDateText(key);
        if (!date) return false;
        value.julian_day = JulianDay(*date);
      }
      break;
    }
    case ExpressionValue::Type::Logical: {
      auto logical = ParseLogicalText(key);
      if (!logical) return false;
      value.logical = *logical;
      break;
    }
  }
  std::string wanted = EncodeIndexKey(value, seek.key_length);
  auto found = std::lower_bound(seek.order.begin(), seek.order.end(), wanted,
                                [&](std::uint32_t record, const std::string& target) { return seek.KeyOf(record) < target; });
  for (; found != seek.order.end() && seek.KeyOf(*found) == wanted; ++found) {
    auto position = s.PositionOf(*found);
    if (!position) continue;
    s.editing = false;
    s.position = *position;
    s.no_match = false;
    return true;
  }
  return false;
}

bool RecordSet::NoMatch() const { return state_->no_match; }

void RecordSet::Edit() {
  State& s = *state_;
  // Another record set on the same table may have written this record: start from the file
  // (the record alone is read again, not the window around it).
  s.edit_buffer = s.table->ReadRecordFromFile(s.Current());
  s.editing = true;
}

bool RecordSet::EditInProgress() const { return state_->editing; }

void RecordSet::SetValue(std::string_view name, const Value& value) {
  State& s = *state_;
  if (!s.editing) throw Error(ErrorKind::InvalidArgument, s.Where() + ": a field is set without Edit");
  std::size_t column = s.Column(name);
  const Field& field = s.table->fields()[column];
  if (std::string_view("CNFDL").find(field.type) == std::string_view::npos) {
    throw Error(ErrorKind::NotSupported, s.Where() + ": field " + field.name + " of type " + std::string(1, field.type) + " cannot be written");
  }
  Value converted = value;
  if (value.kind == Value::Kind::Text && field.type == 'D') {
    if (TrimBlanks(value.text).empty()) {
      converted = Value{};
    } else if (auto date = ParseDateText(value.text)) {
      converted = Value{Value::Kind::Date, "", 0, *date, false};
    }
  }
  if (value.kind == Value::Kind::Text && field.type == 'L') {
    if (TrimBlanks(value.text).empty()) {
      converted = Value{};
    } else if (auto logical = ParseLogicalText(value.text)) {
      converted = Value{Value::Kind::Logical, "", 0, {}, *logical};
    }
  }
  std::string stored;
  try {
    stored = EncodeFieldValue(field, converted, s.table->code_page());
  } catch (const Error& error) {
    throw Error(error.kind(), s.Where() + ": " + error.what());
  }
  std::memcpy(s.edit_buffer.data() + field.offset, stored.data(), field.length);
}

void RecordSet::SetText(std::string_view name, std::string_view text) {
  SetValue(name, Value{Value::Kind::Text, std::string(text), 0, {}, false});
}

void RecordSet::CancelUpdate() { state_->editing = false; }

void RecordSet::Update() {
  State& s = *state_;
  if (!s.editing) throw Error(ErrorKind::InvalidArgument, s.Where() + ": Update without Edit");
  const std::uint32_t record = s.Current();
  const Table& table = *s.table;
  auto stored = table.RecordBytes(record);
  std::vector<std::size_t> changed;
  for (std::size_t i = 0; i < table.fields().size(); ++i) {
    const Field& field = table.fields()[i];
    if (std::memcmp(stored.data() + field.offset, s.edit_buffer.data() + field.offset, field.length) != 0) changed.push_back(i);
  }
  s.editing = false;
  if (changed.empty()) return;

  // Everything that can refuse the write happens before the first byte is written.
  std::vector<std::size_t> all = s.pending_fields;
  for (std::size_t field : changed) {
    if (std::find(all.begin(), all.end(), field) == all.end()) all.push_back(field);
  }
  if (s.index_path.empty() && table.header().has_structural_index()) {
    // The index is missing: nothing to keep consistent (FoxPro rebuilds or complains on its own).
  } else if (!s.index_path.empty()) {
    if (!s.index) {
      throw Error(ErrorKind::Corrupt, s.Where() + ": the index " + s.index_path + " cannot be read, so the table is not written");
    }
    bool new_fields = std::any_of(changed.begin(), changed.end(), [&](std::size_t f) {
      return std::find(s.checked_fields.begin(), s.checked_fields.end(), f) == s.checked_fields.end();
    });
    if (new_fields) {
      CheckIndexRebuildable(table, *s.index, all);
      s.checked_fields = all;
    }
  }
  if (!s.options.backup) {
    throw Error(ErrorKind::InvalidArgument, s.Where() + ": writing into a source table needs a backup session");
  }
  s.options.backup->EnsureBackedUp({s.dbf_path, s.memo_path, s.index_path});
  s.options.backup->BeginWriting(s.dbf_path, &s);
  if (!s.writable.is_open()) s.writable = os::File::Open(s.dbf_path, os::OpenMode::ReadWrite);
  const std::uint64_t offset = table.header().header_length + std::uint64_t(record) * table.header().record_length;
  s.writable.WriteAt(offset, std::span<const std::byte>(s.edit_buffer.data(), s.edit_buffer.size()));
  table.NoteRecordWritten(record, s.edit_buffer);
  s.pending_fields = all;
  s.pending_sync = true;
  if (!s.header_dated) {
    std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    std::byte date[3] = {std::byte(local.tm_year % 100), std::byte(local.tm_mon + 1), std::byte(local.tm_mday)};
    s.writable.WriteAt(format::kUpdateYearOffset, date);
    s.header_dated = true;
  }
  // Keep every built Seek index in step with the new bytes.
  for (auto& entry : s.seek_indexes) {
    SeekIndex* seek = entry.second.get();
    auto& order = seek->order;
    bool was_listed = seek->listed[record];
    std::string old_key(seek->KeyOf(record));
    s.ComputeKey(*seek, record, s.edit_buffer);
    if (was_listed == seek->listed[record] && old_key == seek->KeyOf(record)) continue;  // key unchanged
    std::string new_key(seek->KeyOf(record));
    bool now_listed = seek->listed[record];
    std::memcpy(seek->keys.data() + std::size_t(record) * seek->key_length, old_key.data(), seek->key_length);
    if (was_listed) {
      auto at = std::lower_bound(order.begin(), order.end(), record, [&](std::uint32_t a, std::uint32_t b) { return seek->Less(a, b); });
      if (at != order.end() && *at == record) order.erase(at);
    }
    std::memcpy(seek->keys.data() + std::size_t(record) * seek->key_length, new_key.data(), seek->key_length);
    seek->listed[record] = now_listed;
    if (now_listed) {
      auto at = std::lower_bound(order.begin(), order.end(), record, [&](std::uint32_t a, std::uint32_t b) { return seek->Less(a, b); });
      order.insert(at, record);
    }
  }
}

void RecordSet::Flush() {
  State& s = *state_;
  if (!s.pending_sync) return;
  s.writable.Sync();
  if (s.index && !s.pending_fields.empty()) {
    // Another record set may have written this table and its index since this one opened:
    // rebuild from what is on disk now.
    s.table->Invalidate();
    s.index.emplace(CompoundIndex::Open(s.index_path));
    std::vector<std::byte> rebuilt = RebuildIndex(*s.table, *s.index, s.pending_fields);
    ReplaceIndexFile(s.index_path, rebuilt);
    s.index.emplace(CompoundIndex(std::move(rebuilt), s.index->name()));
  }
  s.pending_fields.clear();
  s.pending_sync = false;
  if (s.options.backup) s.options.backup->WritingDone(s.dbf_path, &s);
}

std::vector<std::string> RecordSet::Files() const {
  std::vector<std::string> files{state_->dbf_path};
  for (const std::string* path : {&state_->memo_path, &state_->index_path}) {
    if (!path->empty()) files.push_back(*path);
  }
  return files;
}

std::optional<std::string> RecordSet::WriteRefusal() const {
  const State& s = *state_;
  if (!s.index_path.empty() && !s.index) {
    return "its index " + s.index_path.substr(s.index_path.rfind('/') + 1) +
           " cannot be read, so the table is not written (the index would no longer agree with it)";
  }
  return std::nullopt;
}

}  // namespace qorvane::foxpro
