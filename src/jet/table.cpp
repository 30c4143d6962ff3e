// Table rows: scanning through the owned-page map, reading rows (following relocated rows and
// long values), inserting into the tail page, updating in place or by relocation, deleting,
// AutoNumber, unique checks and the hash tables behind equality look-ups.
#include "jet/table.h"

#include <algorithm>
#include <cstring>
#include <functional>

#include "common/error.h"
#include "jet/data_page.h"
#include "jet/format/index_pages.h"
#include "jet/format/pages.h"
#include "jet/format/table_definition.h"
#include "jet/index/key.h"
#include "jet/index_keys.h"
#include "jet/index_rebuild.h"
#include "jet/page_store.h"
#include "jet/row_codec.h"

namespace qorvane::jet {

namespace {

// Whether the values at POSITIONS are the same in A and B (an Update that left a key alone).
bool SameAt(const std::vector<std::size_t>& positions, const std::vector<Value>& a, const std::vector<Value>& b) {
  return std::all_of(positions.begin(), positions.end(), [&](std::size_t p) { return a[p] == b[p]; });
}

}  // namespace

using namespace format;

// Row ids by a hash of their key values (text as its index key); candidates are checked
// against the row.
// Open addressing in one flat array of 8-byte entries (32 bits of the hash and the row id;
// linear probing; removed entries stay as tombstones until the next growth), so keeping it
// current costs no allocation per row. Row id 0 (page 0 is the header) marks an empty entry.
class HashIndex {
 public:
  explicit HashIndex(std::vector<std::size_t> columns) : columns_(std::move(columns)) {}
  const std::vector<std::size_t>& columns() const { return columns_; }
  void Add(std::uint64_t hash, RowId row) {
    if ((occupied_ + 1) * 4 > entries_.size() * 3) Grow(live_ + 1);
    Place(Tag(hash), row);
  }
  void Remove(std::uint64_t hash, RowId row) {
    if (entries_.empty()) return;
    std::uint32_t tag = Tag(hash);
    for (std::size_t at = tag & mask_;; at = (at + 1) & mask_) {
      Entry& entry = entries_[at];
      if (entry.row == kEmpty) return;
      if (entry.row == row && entry.tag == tag) {
        entry.row = kRemoved;
        --live_;
        return;
      }
    }
  }
  // Rows stored under HASH (and perhaps a few others sharing its 32 bits), in table order;
  // nothing allocated when there are none.
  std::vector<RowId> Candidates(std::uint64_t hash) const {
    std::vector<RowId> found;
    if (entries_.empty()) return found;
    std::uint32_t tag = Tag(hash);
    for (std::size_t at = tag & mask_;; at = (at + 1) & mask_) {
      const Entry& entry = entries_[at];
      if (entry.row == kEmpty) break;
      if (entry.row != kRemoved && entry.tag == tag) found.push_back(entry.row);
    }
    std::sort(found.begin(), found.end());
    return found;
  }
  // Appends the rows stored under HASH to OUT, unsorted; nothing allocated when OUT has room.
  void CandidatesInto(std::uint64_t hash, std::vector<RowId>& out) const {
    if (entries_.empty()) return;
    std::uint32_t tag = Tag(hash);
    for (std::size_t at = tag & mask_;; at = (at + 1) & mask_) {
      const Entry& entry = entries_[at];
      if (entry.row == kEmpty) break;
      if (entry.row != kRemoved && entry.tag == tag) out.push_back(entry.row);
    }
  }
  void Reserve(std::size_t count) {
    if ((count + 1) * 4 > entries_.size() * 3) Grow(count);
  }

 private:
  static constexpr RowId kEmpty = 0;
  static constexpr RowId kRemoved = 0xFFFFFFFFu;  // page 2^24 - 1 lies past any Jet file
  struct Entry {
    std::uint32_t tag = 0;
    RowId row = kEmpty;
  };
  static std::uint32_t Tag(std::uint64_t hash) {
    // Mixes all 64 bits into the 32 kept, whose low bits also pick the home slot.
    hash ^= hash >> 33;
    hash *= 0xff51afd7ed558ccdull;
    hash ^= hash >> 33;
    return static_cast<std::uint32_t>(hash);
  }
  void Place(std::uint32_t tag, RowId row) {
    for (std::size_t at = tag & mask_;; at = (at + 1) & mask_) {
      Entry& entry = entries_[at];
      if (entry.row != kEmpty && entry.row != kRemoved) continue;
      if (entry.row == kEmpty) ++occupied_;
      entry = Entry{tag, row};
      ++live_;
      return;
    }
  }
  // Room for COUNT entries at most half full; tombstones are dropped.
  void Grow(std::size_t count) {
    std::size_t size = 16;
    while (size < 2 * count) size *= 2;
    std::vector<Entry> old = std::move(entries_);
    entries_.assign(size, Entry{});
    mask_ = size - 1;
    occupied_ = 0;
    live_ = 0;
    for (const Entry& entry : old) {
      if (entry.row != kEmpty && entry.row != kRemoved) Place(entry.tag, entry.row);
    }
  }

  std::vector<std::size_t> columns_;
  std::vector<Entry> entries_;
  std::size_t mask_ = 0;
  std::size_t occupied_ = 0;  // live and removed
  std::size_t live_ = 0;
};

namespace {

// The comparable form of a value in a column, appended to OUT: text as the bytes its index key
// holds (so that values an index sees as one are one here too: case, ß and ss, Æ and AE,
// superscript digits), numbers by value, null apart. False when the value cannot equal anything
// in the column (text that is not a number).
bool AppendComparable(const ColumnDefinition& column, const Value& value, KeyScratch& scratch, std::string& out) {
  if (value.is_null()) {
    out += 'Z';
    return true;
  }
  if (IsTextType(column.type)) {
    const std::string* utf8 = &value.bytes;
    std::string printed;
    if (value.kind != Value::Kind::Text) utf8 = &(printed = value.AsText());
    bool ascii = std::all_of(utf8->begin(), utf8->end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    if (ascii) {
      scratch.text.assign(utf8->begin(), utf8->end());
    } else {
      scratch.text = Utf8ToUtf16(*utf8);
    }
    scratch.key.clear();
    if (index::AppendTextSortKey(scratch.key, scratch.text)) {
      out += 'T';
      out.append(reinterpret_cast<const char*>(scratch.key.data()), scratch.key.size());
    } else {
      out += 'U';  // a character without a weight: such text is never indexed by us
      out += FoldForComparison(*utf8);
    }
    return true;
  }
  if (value.kind == Value::Kind::Binary || column.type == ColumnType::Binary || column.type == ColumnType::Ole ||
      column.type == ColumnType::Guid || column.type == ColumnType::Numeric) {
    out += 'B';
    out += value.bytes;
    return true;
  }
  double number;
  if (value.kind == Value::Kind::Text) {
    char* end = nullptr;
    number = std::strtod(value.bytes.c_str(), &end);
    if (end == value.bytes.c_str()) return false;
  } else {
    number = value.AsDouble();
  }
  if (column.type == ColumnType::Boolean) number = number != 0 ? -1 : 0;
  if (column.type == ColumnType::Single) number = static_cast<float>(number);
  if (number == 0) number = 0;  // -0 equals 0
  out += 'N';
  out.append(reinterpret_cast<const char*>(&number), sizeof number);
  return true;
}

// Whether two texts of printable ASCII are the same to an index: letters without regard to
// case, trailing blanks not counting, only the first characters a text key holds. Nullopt when
// either holds anything else (such text is compared by its sort key). Each printable ASCII
// character has a weight of its own apart from case (a test of the weights table checks it).
std::optional<bool> SameAsciiText(std::string_view a, std::string_view b) {
  auto printable = [](std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= 0x20 && c <= 0x7E; });
  };
  if (!printable(a) || !printable(b)) return std::nullopt;
  a = a.substr(0, std::min(a.size(), format::kMaxTextKeyCharacters));
  b = b.substr(0, std::min(b.size(), format::kMaxTextKeyCharacters));
  while (!a.empty() && a.back() == ' ') a.remove_suffix(1);
  while (!b.empty() && b.back() == ' ') b.remove_suffix(1);
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    char x = a[i], y = b[i];
    if (x >= 'a' && x <= 'z') x = static_cast<char>(x - 32);
    if (y >= 'a' && y <= 'z') y = static_cast<char>(y - 32);
    if (x != y) return false;
  }
  return true;
}

std::optional<std::string> KeyOf(const ColumnDefinition& column, const Value& value, KeyScratch& scratch) {
  std::string key;
  if (!AppendComparable(column, value, scratch, key)) return std::nullopt;
  return key;
}

constexpr std::uint64_t kHashSeed = 1469598103934665603ull;
constexpr std::uint64_t kHashPrime = 1099511628211ull;

std::uint64_t HashBytes(std::string_view bytes) { return std::hash<std::string_view>{}(bytes); }

// The hash of KeyOf's result (equal keys hash alike), built in SCRATCH. Nullopt as KeyOf.
std::optional<std::uint64_t> KeyHash(const ColumnDefinition& column, const Value& value, KeyScratch& scratch) {
  scratch.comparable.clear();
  if (!AppendComparable(column, value, scratch, scratch.comparable)) return std::nullopt;
  return HashBytes(scratch.comparable);
}

// Combines the key hashes of several columns; VALUE_AT(k) gives the value of the k-th column.
// A value that cannot equal anything hashes as the empty key, or makes the result nullopt.
enum class Unmatchable { HashAsEmpty, GiveNothing };
template <typename ValueAt>
std::optional<std::uint64_t> RowKeyHash(const TableDefinition& definition, const std::vector<std::size_t>& columns,
                                        ValueAt value_at, Unmatchable unmatchable, KeyScratch& scratch) {
  std::uint64_t hash = kHashSeed;
  for (std::size_t k = 0; k < columns.size(); ++k) {
    std::optional<std::uint64_t> part = KeyHash(definition.columns[columns[k]], value_at(k), scratch);
    if (!part) {
      if (unmatchable == Unmatchable::GiveNothing) return std::nullopt;
      part = HashBytes("");
    }
    hash ^= *part;
    hash *= kHashPrime;
  }
  return hash;
}

}  // namespace

Table::Table(PageStore& store, std::string name, std::uint32_t definition_page, Reporter* reporter)
    : store_(store),
      name_(std::move(name)),
      reporter_(reporter),
      definition_(TableDefinition::Load(store, definition_page, name_, reporter)) {}

Table::~Table() = default;

std::string Table::Context(RowId row) const {
  return store_.file_name() + ": table " + name_ + ", row at page " + std::to_string(row >> 8) + " slot " +
         std::to_string(row & 0xFF);
}

std::vector<IndexInfo> Table::indexes() const {
  std::vector<IndexInfo> result;
  for (const auto& logical : definition_.logical_indexes) {
    const RealIndexDefinition& real = definition_.real_indexes[logical.real_index];
    IndexInfo info;
    info.name = logical.name;
    info.unique = (real.flags & kIndexFlagUnique) != 0;
    info.ignore_nulls = (real.flags & kIndexFlagIgnoreNulls) != 0;
    info.primary_key = logical.index_type == kLogicalIndexTypePrimary;
    for (const auto& key : real.columns) {
      for (const auto& column : definition_.columns) {
        if (column.id == key.column_id) info.columns.push_back(column.name);
      }
    }
    result.push_back(std::move(info));
  }
  return result;
}

const std::string& Table::FoldedColumnName(std::size_t column) const {
  if (folded_column_names_.size() != definition_.columns.size()) {
    folded_column_names_.clear();
    for (const auto& each : definition_.columns) folded_column_names_.push_back(FoldForComparison(each.name));
  }
  return folded_column_names_.at(column);
}

std::optional<std::size_t> Table::FindColumn(std::string_view name) const {
  if (definition_.columns.empty()) return std::nullopt;
  FoldedColumnName(0);  // builds the folded names
  std::string wanted = FoldForComparison(name);
  for (std::size_t i = 0; i < folded_column_names_.size(); ++i) {
    if (folded_column_names_[i] == wanted) return i;
  }
  return std::nullopt;
}

std::size_t Table::row_count() {
  LoadRows();
  return rows_.size() - deleted_.size();
}

bool Table::IsLive(RowId row) {
  LoadRows();
  return deleted_.count(row) == 0 && std::binary_search(rows_.begin(), rows_.end(), row);
}

std::optional<RowId> Table::FirstRow() { return NextRow(0); }

std::optional<RowId> Table::NextRow(RowId row) {
  LoadRows();
  for (auto it = std::upper_bound(rows_.begin(), rows_.end(), row); it != rows_.end(); ++it) {
    if (deleted_.count(*it) == 0) return *it;
  }
  return std::nullopt;
}

std::optional<RowId> Table::LastRow() { return PreviousRow(0xFFFFFFFFu); }

std::optional<RowId> Table::PreviousRow(RowId row) {
  LoadRows();
  for (auto it = std::lower_bound(rows_.begin(), rows_.end(), row); it != rows_.begin();) {
    --it;
    if (deleted_.count(*it) == 0) return *it;
  }
  return std::nullopt;
}

void Table::LoadRows() {
  if (rows_loaded_) return;
  UsageMap& owned = Map(definition_.owned_map, "owned pages");
  for (std::uint32_t page : owned.Pages()) {
    if (page >= store_.page_count()) continue;
    store_.TrimCache();
    Bytes bytes = store_.Read(page);
    if (Get8(bytes, 0) != kPageTypeData || Get32(bytes, kDataOwnerOffset) != definition_.page) continue;
    std::uint16_t slots = RowSlotCount(bytes);
    for (std::uint16_t slot = 0; slot < slots && slot < kMaxRowsPerPage; ++slot) {
      std::uint16_t word = Get16(bytes, kDataSlotsOffset + 2u * slot);
      if (word & kSlotDeleted) continue;
      if (reporter_ && !FindRow(bytes, slot)) {
        reporter_->Report({.kind = DamageKind::Row,
                           .file = store_.file_name(),
                           .table = name_,
                           .page = page,
                           .slot = slot,
                           .what = "the row's place on its page is damaged; the row is skipped"});
        continue;
      }
      rows_.push_back((page << 8) | slot);
    }
  }
  rows_loaded_ = true;
}

const std::vector<RowId>& Table::RowIds() {
  LoadRows();
  if (!deleted_.empty()) {
    std::erase_if(rows_, [this](RowId row) { return deleted_.count(row) != 0; });
    deleted_.clear();
  }
  return rows_;
}

Table::Location Table::Resolve(RowId row, std::uint16_t* header_flags) {
  Location location{row >> 8, static_cast<std::uint16_t>(row & 0xFF)};
  for (int hop = 0; hop < 4; ++hop) {
    if (location.page >= store_.page_count()) {
      throw Error(ErrorKind::Corrupt, Context(row) + ": points past the end of the file");
    }
    Bytes page = store_.Read(location.page);
    auto extent = FindRow(page, location.slot);
    if (Get8(page, 0) != kPageTypeData || Get32(page, kDataOwnerOffset) != definition_.page || !extent) {
      throw Error(ErrorKind::Corrupt, Context(row) + ": no such row on page " + std::to_string(location.page));
    }
    if (hop == 0) {
      if (header_flags) *header_flags = extent->flags;
      if ((extent->flags & kSlotDeleted) != 0) {
        throw Error(ErrorKind::InvalidArgument, Context(row) + ": the row was deleted");
      }
    }
    if ((extent->flags & kSlotOverflow) == 0 || hop > 0) return location;
    if (extent->end - extent->start < 4) throw Error(ErrorKind::Corrupt, Context(row) + ": short overflow pointer");
    RowPointer target = RowPointer::Decode(Get32(page, extent->start));
    location = {target.page, target.row};
  }
  return location;
}

Bytes Table::RowBytes(RowId row) {
  Location location = Resolve(row);
  Bytes page = store_.Read(location.page);
  auto extent = FindRow(page, location.slot);
  if (!extent) throw Error(ErrorKind::Corrupt, Context(row) + ": relocated row is missing");
  return page.subspan(extent->start, extent->end - extent->start);
}

std::vector<std::byte> Table::ReadRowBytes(RowId row) {
  Bytes bytes = RowBytes(row);
  return std::vector<std::byte>(bytes.begin(), bytes.end());
}

std::vector<Value> Table::ReadRow(RowId row) {
  // A public read holds no page across the call: the cache may be trimmed here, which keeps a
  // scan that only reads (a query, a massage) from holding every page of the table.
  store_.TrimCache();
  return DecodeRow(definition_, RowBytes(row), LongValues(row), [&] { return Context(row); });
}

Value Table::ReadValue(RowId row, std::size_t column) {
  store_.TrimCache();
  // The row's bytes stay in the cache until the next trim; long values are read beside them.
  return DecodeColumn(definition_, column, RowBytes(row), LongValues(row), [&] { return Context(row); });
}

void Table::ReadValues(RowId row, std::span<const std::size_t> columns, std::span<Value> out) {
  store_.TrimCache();
  DecodeColumns(definition_, columns, RowBytes(row), LongValues(row), [&] { return Context(row); }, out);
}

LongValueReader Table::LongValues(RowId row) {
  return [this, row](Bytes descriptor, const ColumnDefinition& column) { return ReadLongValue(descriptor, column, row); };
}

std::vector<std::byte> Table::ReadLongValue(Bytes descriptor, const ColumnDefinition& column, RowId row) {
  std::vector<std::byte> data;
  std::size_t length = 0;
  // Damage inside a long value: thrown, or with a reporter reported and the bytes read so far kept.
  auto damaged = [&](const std::string& why) {
    if (!reporter_) {
      throw Error(ErrorKind::Corrupt, store_.file_name() + ": table " + name_ + ", column " + column.name + ": " + why);
    }
    reporter_->Report({.kind = DamageKind::LongValue,
                       .file = store_.file_name(),
                       .table = name_,
                       .page = row >> 8,
                       .slot = static_cast<std::uint16_t>(row & 0xFF),
                       .field = column.name,
                       .bytes_dropped = length > data.size() ? length - data.size() : 0,
                       .what = why + "; the value keeps the " + std::to_string(data.size()) + " of its " +
                               std::to_string(length) + " bytes that could be read"});
    return std::move(data);
  };
  if (descriptor.size() < kLongValueDescriptorSize) {
    return damaged("long-value descriptor of " + std::to_string(descriptor.size()) + " bytes");
  }
  std::uint32_t head = Get32(descriptor, 0);
  length = head & kLongValueLengthMask;
  std::uint8_t form = static_cast<std::uint8_t>(head >> 24) & 0xC0;
  RowPointer pointer = RowPointer::Decode(Get32(descriptor, 4));
  if (form == kLongValueInline) {
    std::size_t available = descriptor.size() - kLongValueDescriptorSize;
    data.assign(descriptor.begin() + kLongValueDescriptorSize,
                descriptor.begin() + kLongValueDescriptorSize + std::min(length, available));
    return data;
  }
  std::string problem;
  auto read_piece = [&](RowPointer at) -> std::optional<Bytes> {
    if (at.page == 0 || at.page >= store_.page_count()) {
      problem = "long value points to page " + std::to_string(at.page);
      return std::nullopt;
    }
    Bytes page = store_.Read(at.page);
    auto extent = FindRow(page, at.row);
    if (Get8(page, 0) != kPageTypeData || !extent) {
      problem = "long value row " + std::to_string(at.row) + " of page " + std::to_string(at.page) + " is missing";
      return std::nullopt;
    }
    return page.subspan(extent->start, extent->end - extent->start);
  };
  if (form == kLongValueSinglePage) {
    std::optional<Bytes> piece = read_piece(pointer);
    if (!piece) return damaged(problem);
    data.assign(piece->begin(), piece->begin() + std::min(length, piece->size()));
    return data;
  }
  if (form != kLongValueChained) return damaged("unknown long-value form");
  data.reserve(std::min<std::size_t>(length, 64u << 20));
  std::size_t pieces = 0;
  while (data.size() < length) {
    if (++pieces > store_.page_count() * 255u) return damaged("long-value chain loops");
    std::optional<Bytes> piece = read_piece(pointer);
    if (!piece) return damaged(problem);
    if (piece->size() < 4) return damaged("long-value piece too short");
    std::size_t take = std::min(piece->size() - 4, length - data.size());
    data.insert(data.end(), piece->begin() + 4, piece->begin() + 4 + take);
    RowPointer next = RowPointer::Decode(Get32(*piece, 0));
    if (next.page == 0) break;
    pointer = next;
  }
  return data;
}

UsageMap& Table::Map(RowPointer where, const std::string& what) {
  auto& slot = maps_[where.Encode()];
  if (!slot) slot = std::make_unique<UsageMap>(UsageMap::Load(store_, where, "table " + name_ + " " + what));
  return *slot;
}

std::uint32_t Table::NewDataPage() {
  std::uint32_t page = store_.Allocate();
  InitDataPage(store_.Write(page), definition_.page);
  Map(definition_.owned_map, "owned pages").Set(page, true);
  UsageMap& free = Map(definition_.free_map, "free-space pages");
  if (data_tail_ != 0) free.Set(data_tail_, false);
  free.Set(page, true);
  data_tail_ = page;
  return page;
}

Table::Location Table::PlaceRow(Bytes row, std::uint16_t flags) {
  if (data_tail_ == 0) {
    // Continue on the last page Access marked as having room, when it is one of ours.
    auto last = Map(definition_.free_map, "free-space pages").LastSet();
    if (last && *last < store_.page_count() && Map(definition_.owned_map, "owned pages").Contains(*last)) {
      Bytes page = store_.Read(*last);
      if (Get8(page, 0) == kPageTypeData && Get32(page, kDataOwnerOffset) == definition_.page) data_tail_ = *last;
    }
  }
  if (data_tail_ == 0 || !RowFits(store_.Read(data_tail_), row.size())) NewDataPage();
  std::uint16_t slot = AppendRow(store_.Write(data_tail_), row, flags);
  return {data_tail_, slot};
}

Table::LongValueColumn& Table::LongValueState(const ColumnDefinition& column) {
  // The column's maps are looked up once per column and kept, with the page being filled.
  for (auto& entry : long_value_columns_) {
    if (entry.column_id == column.id) return entry;
  }
  const LongValueMaps* maps = nullptr;
  for (const auto& entry : definition_.long_value_maps) {
    if (entry.column_id == column.id) maps = &entry;
  }
  if (!maps) {
    throw Error(ErrorKind::Corrupt, store_.file_name() + ": table " + name_ + ", column " + column.name +
                                        ": no long-value page map in the table definition");
  }
  LongValueColumn& state = long_value_columns_.emplace_back();
  state.column_id = column.id;
  state.owned = &Map(maps->owned, "column " + column.name + " long-value pages");
  state.free = &Map(maps->free, "column " + column.name + " free long-value pages");
  return state;
}

std::uint32_t Table::LongValuePage(const ColumnDefinition& column, std::size_t length) {
  LongValueColumn& state = LongValueState(column);
  UsageMap& owned = *state.owned;
  UsageMap& free = *state.free;
  std::uint32_t& tail = state.tail;
  if (tail == 0) {
    auto last = free.LastSet();
    if (last && *last < store_.page_count() && owned.Contains(*last)) {
      Bytes page = store_.Read(*last);
      if (Get8(page, 0) == kPageTypeData && Get32(page, kDataOwnerOffset) == kLongValueOwner) tail = *last;
    }
  }
  if (tail != 0 && RowFits(store_.Read(tail), length)) return tail;
  std::uint32_t page = store_.Allocate();
  InitDataPage(store_.Write(page), kLongValueOwner);
  owned.Set(page, true);
  if (tail != 0) free.Set(tail, false);
  free.Set(page, true);
  tail = page;
  return page;
}

void Table::FreeLongValues(Bytes row_bytes, const std::string& context) {
  for (std::size_t c = 0; c < definition_.columns.size(); ++c) {
    const ColumnDefinition& column = definition_.columns[c];
    if (!IsLongValueType(column.type)) continue;
    std::optional<Bytes> descriptor = ColumnBytes(definition_, c, row_bytes, context);
    if (!descriptor || descriptor->size() < kLongValueDescriptorSize) continue;
    std::uint32_t head = Get32(*descriptor, 0);
    std::uint8_t form = static_cast<std::uint8_t>(head >> 24) & 0xC0;
    bool mapped = std::any_of(definition_.long_value_maps.begin(), definition_.long_value_maps.end(),
                              [&](const LongValueMaps& maps) { return maps.column_id == column.id; });
    if (form == kLongValueInline || !mapped) continue;
    LongValueColumn& state = LongValueState(column);
    // The pieces first, every one checked, then the deletions.
    std::vector<RowPointer> pieces;
    RowPointer at = RowPointer::Decode(Get32(*descriptor, 4));
    std::size_t remaining = head & kLongValueLengthMask;
    for (;;) {
      if (at.page == 0 || at.page >= store_.page_count() || !state.owned->Contains(at.page)) break;
      Bytes page = store_.Read(at.page);
      auto extent = FindRow(page, at.row);
      if (Get8(page, 0) != kPageTypeData || Get32(page, kDataOwnerOffset) != kLongValueOwner || !extent ||
          (extent->flags & kSlotDeleted) != 0 || extent->start == extent->end) {
        break;
      }
      pieces.push_back(at);
      if (form != kLongValueChained || extent->end - extent->start < 4) break;
      std::size_t carried = extent->end - extent->start - 4u;
      if (carried == 0 || carried >= remaining) break;
      remaining -= carried;
      at = RowPointer::Decode(Get32(page, extent->start));
    }
    for (RowPointer piece : pieces) {
      // The piece shrinks to nothing rather than being flagged deleted: its room goes back to
      // the page, and mdb-reader, which takes a flagged slot's word as the end of the next row,
      // still reads the rows after it.
      MutableBytes page = store_.Write(piece.page);
      ReplaceRow(page, piece.row, Bytes());
      bool live = false;
      for (std::uint16_t slot = 0, count = RowSlotCount(page); slot < count && !live; ++slot) {
        auto extent = FindRow(page, slot);
        live = extent && (extent->flags & kSlotDeleted) == 0 && extent->start != extent->end;
      }
      if (live || !state.owned->Contains(piece.page)) continue;
      state.owned->Set(piece.page, false);
      state.free->Set(piece.page, false);
      if (state.tail == piece.page) state.tail = 0;
      store_.Free(piece.page);
    }
  }
}

void Table::WriteLongValue(Bytes data, const ColumnDefinition& column, bool inline_allowed,
                           std::vector<std::byte>& out) {
  std::size_t at = out.size();
  out.resize(at + kLongValueDescriptorSize, std::byte{0});
  MutableBytes descriptor(out.data() + at, kLongValueDescriptorSize);
  std::uint32_t length = static_cast<std::uint32_t>(data.size());
  if (inline_allowed) {
    Put32(descriptor, 0, length | (static_cast<std::uint32_t>(kLongValueInline) << 24));
    out.insert(out.end(), data.begin(), data.end());
    return;
  }
  if (data.size() <= kLongValueSinglePageLimit) {
    std::uint32_t page = LongValuePage(column, data.size());
    std::uint16_t slot = AppendRow(store_.Write(page), data, 0);
    Put32(descriptor, 0, length | (static_cast<std::uint32_t>(kLongValueSinglePage) << 24));
    Put32(descriptor, 4, RowPointer{page, static_cast<std::uint8_t>(slot)}.Encode());
    return;
  }
  // Chained: write the pieces from the last to the first so each knows its successor. The
  // chain stamp is left zero in the descriptor and on the pages, which readers accept.
  std::size_t pieces = (data.size() + kLongValueChainPieceData - 1) / kLongValueChainPieceData;
  RowPointer next{0, 0};
  for (std::size_t k = pieces; k-- > 0;) {
    std::size_t from = k * kLongValueChainPieceData;
    std::size_t size = std::min(kLongValueChainPieceData, data.size() - from);
    long_value_piece_.resize(4 + size);
    Put32(long_value_piece_, 0, next.Encode());
    std::memcpy(long_value_piece_.data() + 4, data.data() + from, size);
    std::uint32_t page = LongValuePage(column, long_value_piece_.size());
    std::uint16_t slot = AppendRow(store_.Write(page), long_value_piece_, 0);
    next = RowPointer{page, static_cast<std::uint8_t>(slot)};
  }
  Put32(descriptor, 0, length | (static_cast<std::uint32_t>(kLongValueChained) << 24));
  Put32(descriptor, 4, next.Encode());
}

HashIndex& Table::Hash(const std::vector<std::size_t>& columns) {
  for (auto& hash : hashes_) {
    if (hash->columns() == columns) return *hash;
  }
  auto hash = std::make_unique<HashIndex>(columns);
  const auto& rows = RowIds();
  hash->Reserve(rows.size());
  // Decodes only the hashed columns, and trims the page cache as it goes so that hashing a
  // large table does not keep all its pages in memory.
  std::vector<Value> key(columns.size());
  for (RowId row : rows) {
    store_.TrimCache();
    std::vector<std::byte> bytes = ReadRowBytes(row);
    for (std::size_t k = 0; k < columns.size(); ++k) {
      key[k] = DecodeColumn(definition_, columns[k], bytes, LongValues(row), [&] { return Context(row); });
    }
    hash->Add(*RowKeyHash(definition_, columns, [&](std::size_t k) -> const Value& { return key[k]; },
                          Unmatchable::HashAsEmpty, key_scratch_),
              row);
  }
  hashes_.push_back(std::move(hash));
  return *hashes_.back();
}

void Table::IndexRow(RowId row, const std::vector<Value>& values, bool add) {
  for (auto& hash : hashes_) {
    const std::vector<std::size_t>& columns = hash->columns();
    std::uint64_t key = *RowKeyHash(definition_, columns, [&](std::size_t k) -> const Value& { return values[columns[k]]; },
                                    Unmatchable::HashAsEmpty, key_scratch_);
    if (add) {
      hash->Add(key, row);
    } else {
      hash->Remove(key, row);
    }
  }
}

void Table::ReindexRow(RowId row, const std::vector<Value>& old_values, const std::vector<Value>& values) {
  for (auto& hash : hashes_) {
    const std::vector<std::size_t>& columns = hash->columns();
    if (SameAt(columns, old_values, values)) continue;
    auto key_of = [&](const std::vector<Value>& row_values) {
      return *RowKeyHash(definition_, columns, [&](std::size_t k) -> const Value& { return row_values[columns[k]]; },
                         Unmatchable::HashAsEmpty, key_scratch_);
    };
    hash->Remove(key_of(old_values), row);
    hash->Add(key_of(values), row);
  }
}

template <typename ValueAt>
std::vector<RowId> Table::FindMatching(const std::vector<std::size_t>& columns, ValueAt value_at) {
  auto key = RowKeyHash(definition_, columns, value_at, Unmatchable::GiveNothing, key_scratch_);
  if (!key) return {};
  std::vector<RowId> candidates = Hash(columns).Candidates(*key);
  if (candidates.empty()) return candidates;
  std::vector<std::string> wanted;
  for (std::size_t k = 0; k < columns.size(); ++k) {
    wanted.push_back(*KeyOf(definition_.columns[columns[k]], value_at(k), key_scratch_));
  }
  std::vector<RowId> found;
  for (RowId row : candidates) {
    bool equal = true;
    for (std::size_t k = 0; k < columns.size() && equal; ++k) {
      equal = KeyOf(definition_.columns[columns[k]], ReadValue(row, columns[k]), key_scratch_) == wanted[k];
    }
    if (equal) found.push_back(row);
  }
  return found;
}

std::vector<RowId> Table::FindEqual(const std::vector<std::size_t>& columns, const std::vector<Value>& values) {
  return FindMatching(columns, [&](std::size_t k) -> const Value& { return values[k]; });
}

std::optional<RowId> Table::FindFirst(std::size_t column, const Value& value) {
  const ColumnDefinition& definition = definition_.columns.at(column);
  if (single_column_hashes_.size() != definition_.columns.size()) {
    single_column_hashes_.assign(definition_.columns.size(), nullptr);
  }
  HashIndex*& hash = single_column_hashes_[column];
  if (!hash) hash = &Hash({column});
  // The value's comparable form, kept apart from the scratch the candidates' use.
  wanted_.clear();
  if (!AppendComparable(definition, value, key_scratch_, wanted_)) return std::nullopt;
  std::uint64_t key = kHashSeed;
  key ^= HashBytes(wanted_);
  key *= kHashPrime;
  candidates_.clear();
  hash->CandidatesInto(key, candidates_);
  if (candidates_.size() > 1) std::sort(candidates_.begin(), candidates_.end());
  for (RowId row : candidates_) {
    store_.TrimCache();
    Value stored = DecodeColumn(definition_, column, RowBytes(row), LongValues(row), [&] { return Context(row); });
    if (IsTextType(definition.type) && value.kind == Value::Kind::Text && stored.kind == Value::Kind::Text) {
      if (std::optional<bool> same = SameAsciiText(value.bytes, stored.bytes)) {
        if (*same) return row;
        continue;
      }
    }
    key_scratch_.comparable.clear();
    if (AppendComparable(definition, stored, key_scratch_, key_scratch_.comparable) &&
        key_scratch_.comparable == wanted_) {
      return row;
    }
  }
  return std::nullopt;
}

const std::vector<Table::UniqueKey>& Table::UniqueKeys() {
  if (unique_keys_) return *unique_keys_;
  unique_keys_.emplace();
  for (std::size_t r = 0; r < definition_.real_indexes.size(); ++r) {
    const RealIndexDefinition& real = definition_.real_indexes[r];
    if ((real.flags & kIndexFlagUnique) == 0) continue;
    UniqueKey unique{r, {}};
    for (const auto& part : real.columns) {
      for (std::size_t i = 0; i < definition_.columns.size(); ++i) {
        if (definition_.columns[i].id == part.column_id) unique.columns.push_back(i);
      }
    }
    if (!unique.columns.empty()) unique_keys_->push_back(std::move(unique));
  }
  return *unique_keys_;
}

bool Table::CounterCoversStoredNumbers(std::size_t column) {
  if (!counter_covers_stored_) {
    counter_covers_stored_ = true;
    for (RowId row : RowIds()) {
      Value value = ReadValue(row, column);
      if (!value.is_null() && value.integer > static_cast<std::int32_t>(definition_.auto_number)) {
        counter_covers_stored_ = false;
        break;
      }
    }
  }
  return *counter_covers_stored_;
}

void Table::CheckUnique(const std::vector<Value>& values, std::optional<RowId> self,
                        std::optional<std::size_t> fresh_number, const std::vector<Value>* old_values) {
  for (const UniqueKey& unique : UniqueKeys()) {
    const std::vector<std::size_t>& columns = unique.columns;
    if (old_values && SameAt(columns, *old_values, values)) continue;
    // A number above every stored one cannot be taken; no look-up (and no hash of the column).
    if (fresh_number && columns.size() == 1 && columns[0] == *fresh_number) continue;
    if (std::any_of(columns.begin(), columns.end(), [&](std::size_t c) { return values[c].is_null(); })) continue;
    for (RowId other : FindMatching(columns, [&](std::size_t k) -> const Value& { return values[columns[k]]; })) {
      if (self && other == *self) continue;
      std::string shown, held;
      for (std::size_t c : columns) {
        shown += (shown.empty() ? "" : ", ") + ("'" + values[c].AsText() + "'");
        held += (held.empty() ? "" : ", ") + ("'" + ReadValue(other, c).AsText() + "'");
      }
      std::string same = held == shown ? "" : " (" + held + ", the same to the index)";
      throw Error(ErrorKind::Constraint, store_.file_name() + ": table " + name_ + ": index " + IndexName(unique.real_index) +
                                             " is unique and already holds " + shown + same);
    }
  }
}

std::string Table::IndexName(std::size_t real) const {
  std::string name;
  int best = 3;
  for (const auto& logical : definition_.logical_indexes) {
    if (logical.real_index != real) continue;
    int rank = logical.index_type == kLogicalIndexTypePrimary ? 0 : (logical.index_type == kLogicalIndexTypeForeign ? 2 : 1);
    if (rank < best) best = rank, name = logical.name;
  }
  return name;
}

void Table::CheckKeys(const std::vector<Value>& values, const std::vector<Value>* old_values) {
  if (index_maintenance_ == IndexMaintenance::Skip || definition_.real_indexes.empty()) return;
  auto where = [&] { return store_.file_name() + ": table " + name_; };
  if (!key_layouts_) key_layouts_ = std::make_unique<std::vector<IndexKeyLayout>>(IndexKeyLayouts(definition_, where()));
  for (std::size_t i = 0; i < key_layouts_->size(); ++i) {
    const IndexKeyLayout& layout = (*key_layouts_)[i];
    // A key whose columns did not change passes: the rebuild keeps that row's stored key.
    if (old_values && SameAt(layout.positions, *old_values, values)) continue;
    // Printable ASCII text always has a weight, at most 4 key bytes a character, and a column's
    // flag and section marks take fewer than 16: a key of such values and numbers that cannot
    // pass the limit needs no building.
    std::size_t bound = 0;
    bool plain = true;
    for (std::size_t position : layout.positions) {
      const Value& value = values[position];
      if (value.kind == Value::Kind::Binary) plain = false;
      if (value.kind != Value::Kind::Text) {
        bound += 32;
        continue;
      }
      for (char c : value.bytes) plain &= c >= 0x20 && c <= 0x7E;
      bound += 16 + 4 * value.bytes.size();
    }
    if (plain && bound <= format::kMaxKeySize) continue;
    key_values_.clear();
    for (std::size_t position : layout.positions) {
      const Value& value = values[position];
      key_values_.push_back(value.kind == Value::Kind::Text ? TextKeyValue(Utf8ToUtf16(value.bytes)) : ToKeyValue(value));
    }
    try {
      index::MakeKey(layout.columns, key_values_, layout.nulls);
    } catch (const Error& error) {
      std::string columns, shown;
      for (std::size_t position : layout.positions) {
        columns += (columns.empty() ? "" : ", ") + definition_.columns[position].name;
        shown += (shown.empty() ? "" : ", ") + index::DescribeValue(ToKeyValue(values[position]));
      }
      std::string reason = error.what();
      if (reason.rfind("index key: ", 0) == 0) reason.erase(0, 11);
      throw Error(ErrorKind::Constraint, where() + ", index " + IndexName(i) + " (" + columns + "): the value " + shown +
                                             " cannot be indexed: " + reason);
    }
  }
}

const std::string& Table::NewRowContext() {
  if (new_row_context_.empty()) new_row_context_ = store_.file_name() + ": table " + name_ + ", new row";
  return new_row_context_;
}

Bytes Table::Encode(const std::vector<Value>& values, RowId row) {
  if (!encoder_) encoder_ = std::make_unique<RowEncoder>(definition_);
  LongValueWriter writer = [this](Bytes data, const ColumnDefinition& column, bool inline_allowed,
                                  std::vector<std::byte>& descriptor) {
    WriteLongValue(data, column, inline_allowed, descriptor);
  };
  return encoder_->Encode(values, writer, row ? Context(row) : NewRowContext());
}

RowId Table::Insert(std::vector<Value> values) { return InsertInPlace(values); }

RowId Table::InsertInPlace(std::vector<Value>& values) {
  store_.TrimCache();
  LoadRows();
  const std::string& context = NewRowContext();
  values.resize(definition_.columns.size());
  std::uint32_t auto_number = definition_.auto_number;
  std::optional<std::size_t> fresh_number;  // the column given a number above every stored one
  for (std::size_t i = 0; i < values.size(); ++i) {
    const ColumnDefinition& column = definition_.columns[i];
    CoerceInPlace(column, values[i], context);
    if (column.is_auto_number()) {
      if (values[i].is_null()) {
        std::int32_t before = static_cast<std::int32_t>(auto_number);
        auto_number = static_cast<std::uint32_t>(auto_number + definition_.auto_increment);
        values[i] = Value::Int(static_cast<std::int32_t>(auto_number));
        if (values[i].integer > before && CounterCoversStoredNumbers(i)) fresh_number = i;
      } else if (values[i].integer > static_cast<std::int32_t>(auto_number)) {
        auto_number = static_cast<std::uint32_t>(values[i].integer);
      }
    }
  }
  CheckKeys(values, nullptr);
  CheckUnique(values, std::nullopt, fresh_number);
  Bytes bytes = Encode(values, 0);
  Location location = PlaceRow(bytes, 0);
  RowId row = (location.page << 8) | location.slot;
  deleted_.erase(row);
  if (rows_.empty() || row > rows_.back()) {
    rows_.push_back(row);
  } else {
    rows_.insert(std::upper_bound(rows_.begin(), rows_.end(), row), row);
  }
  IndexRow(row, values, true);
  definition_.auto_number = auto_number;
  ++definition_.row_count;
  changed_ = true;
  return row;
}

void Table::Update(RowId row, std::vector<Value> values) {
  store_.TrimCache();
  std::string context = Context(row);
  std::vector<Value> old_values = ReadRow(row);
  values.resize(definition_.columns.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    CoerceInPlace(definition_.columns[i], values[i], context);
    if (definition_.columns[i].is_auto_number() && values[i].integer > static_cast<std::int32_t>(definition_.auto_number)) {
      definition_.auto_number = static_cast<std::uint32_t>(values[i].integer);
    }
  }
  CheckKeys(values, &old_values);
  CheckUnique(values, row, std::nullopt, &old_values);
  std::vector<std::byte> old_bytes = ReadRowBytes(row);
  Bytes encoded = Encode(values, row);
  std::vector<std::byte> bytes(encoded.begin(), encoded.end());
  std::uint16_t header_flags = 0;
  Location location = Resolve(row, &header_flags);
  MutableBytes page = store_.Write(location.page);
  auto extent = FindRow(page, location.slot);
  std::size_t old_size = extent->end - extent->start;
  if (bytes.size() <= old_size) {
    // In place, padded with zeros before the trailer so the trailer still ends the row.
    std::size_t mask = (Get16(bytes, 0) + 7u) / 8u;
    std::size_t trailer = mask + (definition_.variable_columns > 0 ? 4 + 2u * Get16(bytes, bytes.size() - mask - 2) : 0);
    bytes.insert(bytes.end() - static_cast<std::ptrdiff_t>(trailer), old_size - bytes.size(), std::byte{0});
    std::memcpy(page.data() + extent->start, bytes.data(), bytes.size());
  } else if (ReplaceRow(page, location.slot, bytes)) {
    // Grown in place; the other rows of the page moved but kept their slots.
  } else {
    // Relocate: the new row goes elsewhere, hidden from scans; the header row points to it.
    Location target = PlaceRow(bytes, kSlotDeleted);
    Location header{row >> 8, static_cast<std::uint16_t>(row & 0xFF)};
    if (header_flags & kSlotOverflow) SetSlotFlags(store_.Write(location.page), location.slot, kSlotDeleted | kSlotOverflow);
    MutableBytes header_page = store_.Write(header.page);
    auto header_extent = FindRow(header_page, header.slot);
    Put32(header_page, header_extent->start, RowPointer{target.page, static_cast<std::uint8_t>(target.slot)}.Encode());
    SetSlotFlags(header_page, header.slot, kSlotOverflow);
  }
  FreeLongValues(old_bytes, context);
  ReindexRow(row, old_values, values);
  changed_ = true;
}

bool Table::ReadByIndex(std::size_t column) {
  if (index_key_columns_.size() != definition_.columns.size()) {
    index_key_columns_.assign(definition_.columns.size(), false);
    if (index_maintenance_ == IndexMaintenance::Rebuild && !definition_.real_indexes.empty()) {
      if (!key_layouts_) {
        key_layouts_ = std::make_unique<std::vector<IndexKeyLayout>>(
            IndexKeyLayouts(definition_, store_.file_name() + ": table " + name_));
      }
      for (const IndexKeyLayout& layout : *key_layouts_) {
        for (std::size_t position : layout.positions) index_key_columns_[position] = true;
      }
    }
    for (const UniqueKey& unique : UniqueKeys()) {
      for (std::size_t position : unique.columns) index_key_columns_[position] = true;
    }
  }
  if (index_key_columns_[column]) return true;
  return std::any_of(hashes_.begin(), hashes_.end(), [&](const auto& hash) {
    const auto& columns = hash->columns();
    return std::find(columns.begin(), columns.end(), column) != columns.end();
  });
}

void Table::UpdateValues(RowId row, std::vector<ColumnValue> changes) {
  store_.TrimCache();
  bool in_place = true;
  for (const ColumnValue& change : changes) {
    const ColumnDefinition& column = definition_.columns.at(change.column);
    if (!column.is_fixed() || column.is_auto_number() || ReadByIndex(change.column)) in_place = false;
  }
  if (in_place) {
    std::string context = Context(row);
    for (ColumnValue& change : changes) CoerceInPlace(definition_.columns[change.column], change.value, context);
    Location location = Resolve(row);
    MutableBytes page = store_.Write(location.page);
    auto extent = FindRow(page, location.slot);
    if (!extent) throw Error(ErrorKind::Corrupt, context + ": relocated row is missing");
    MutableBytes bytes = page.subspan(extent->start, extent->end - extent->start);
    // A row written before one of the columns was added has no room for it: rewritten whole.
    in_place = std::all_of(changes.begin(), changes.end(), [&](const ColumnValue& change) {
      return FitsFixedInPlace(definition_.columns[change.column], bytes);
    });
    if (in_place) {
      for (const ColumnValue& change : changes) WriteFixedInPlace(definition_.columns[change.column], bytes, change.value);
      changed_ = true;
      return;
    }
  }
  std::vector<Value> values = ReadRow(row);
  for (ColumnValue& change : changes) values.at(change.column) = std::move(change.value);
  Update(row, std::move(values));
}

void Table::Delete(RowId row) {
  store_.TrimCache();
  LoadRows();
  std::vector<Value> old_values = ReadRow(row);
  std::vector<std::byte> old_bytes = ReadRowBytes(row);
  std::uint16_t header_flags = 0;
  Location location = Resolve(row, &header_flags);
  if (header_flags & kSlotOverflow) SetSlotFlags(store_.Write(location.page), location.slot, kSlotDeleted | kSlotOverflow);
  SetSlotFlags(store_.Write(row >> 8), static_cast<std::uint16_t>(row & 0xFF), kSlotDeleted | kSlotOverflow);
  FreeLongValues(old_bytes, Context(row));
  deleted_.insert(row);
  IndexRow(row, old_values, false);
  if (definition_.row_count > 0) --definition_.row_count;
  changed_ = true;
}

void Table::StoreChanges() {
  if (!changed_) return;
  std::vector<std::uint32_t> distinct_keys;
  if (index_maintenance_ == IndexMaintenance::Rebuild) distinct_keys = IndexRebuild::Run(*this);
  for (auto& [where, map] : maps_) map->Store(store_);
  definition_.StoreCounters(store_, distinct_keys);
  data_tail_ = 0;
  for (auto& entry : long_value_columns_) entry.tail = 0;
  changed_ = false;
}

}  // namespace qorvane::jet
