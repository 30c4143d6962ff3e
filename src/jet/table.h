// One table of an open database: its columns and indexes, and its rows, read and written by
// row id. Rows are kept in table order (ascending row id). Equality look-ups go through hash
// tables built on first use and kept current as rows change, so they cost O(1) whatever the
// table size. Unique indexes are checked before anything of a row is written.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "common/reporter.h"
#include "jet/index/key.h"
#include "jet/table_definition.h"
#include "jet/usage_map.h"
#include "jet/value.h"

namespace qorvane::jet {

class PageStore;
class HashIndex;
class RowEncoder;
struct IndexKeyLayout;

// Buffers reused from value to value when values are turned into comparable keys.
struct KeyScratch {
  std::u16string text;
  std::vector<std::uint8_t> key;
  std::string comparable;
};

// A row's place: page << 8 | slot of its first (header) row.
using RowId = std::uint32_t;

// What a commit does with the indexes of a changed table: rebuild them from the rows (the
// normal case), or leave them as they were (only for tools that rebuild them some other way).
enum class IndexMaintenance { Rebuild, Skip };

struct IndexInfo {
  std::string name;
  std::vector<std::string> columns;
  bool unique = false;
  bool primary_key = false;
  bool ignore_nulls = false;
};

// Damage a table reads past when it has a REPORTER (reported, and reading goes on): a row whose
// place on its page is damaged (left out of the row list), a long value whose pages are
// missing or cut (the bytes that can be read are kept) and, in a database opened for reading,
// an index definition that points nowhere (the index is left out). Without a reporter, and
// for any other damage, Corrupt is thrown naming the file, the table and the row.
class Table {
 public:
  Table(PageStore& store, std::string name, std::uint32_t definition_page, Reporter* reporter = nullptr);
  ~Table();
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;

  const std::string& name() const { return name_; }
  std::uint32_t definition_page() const { return definition_.page; }
  const std::vector<ColumnDefinition>& columns() const { return definition_.columns; }
  std::vector<IndexInfo> indexes() const;
  // The column's position, names compared without regard to case; nullopt when absent.
  std::optional<std::size_t> FindColumn(std::string_view name) const;
  // The name of column COLUMN case-folded as FindColumn compares names (folded once per table).
  const std::string& FoldedColumnName(std::size_t column) const;
  // The row count stored in the definition (what Access and mdb-count report).
  std::uint32_t stored_row_count() const { return definition_.row_count; }
  // Live rows, counted by scanning.
  std::size_t row_count();

  // Every live row id, in table order. Valid until the next change to the table.
  const std::vector<RowId>& RowIds();
  // Walking the live rows without copying them: first, last, the one after or before ROW (which
  // may have been deleted meanwhile). Each O(log n).
  std::optional<RowId> FirstRow();
  std::optional<RowId> LastRow();
  std::optional<RowId> NextRow(RowId row);
  std::optional<RowId> PreviousRow(RowId row);
  bool IsLive(RowId row);
  std::vector<Value> ReadRow(RowId row);
  Value ReadValue(RowId row, std::size_t column);
  // The values of COLUMNS of ROW into OUT (same order), decoding only those columns.
  void ReadValues(RowId row, std::span<const std::size_t> columns, std::span<Value> out);
  // Rows whose COLUMNS equal VALUES, in table order. Text compares as its index keys do (Jet's
  // General order): case and trailing blanks do not count, ß equals ss, Æ AE, ² 2.
  std::vector<RowId> FindEqual(const std::vector<std::size_t>& columns, const std::vector<Value>& values);
  // The first row, in table order, whose COLUMN equals VALUE as FindEqual compares; nullopt
  // when none does. A prepared look-up: the column's hash is built once and kept current, and
  // nothing is allocated per call once it is.
  std::optional<RowId> FindFirst(std::size_t column, const Value& value);

  // Adds a row (one value per column, column order; nulls where nothing is set). A null
  // AutoNumber gets the next number. Returns the new row id. Throws Constraint naming the
  // table, the column or index and the value when the row breaks a rule (a duplicate in a
  // unique index, a value an index key cannot hold); nothing is written then.
  RowId Insert(std::vector<Value> values);
  // The same with the caller's buffer, which is left holding the values as stored (converted
  // to the column types, the AutoNumber filled in); no copy of the row is made.
  RowId InsertInPlace(std::vector<Value>& values);
  void Update(RowId row, std::vector<Value> values);
  // Changes only the columns CHANGES names and leaves the others, long values included, as they
  // are. Fixed-size values (numbers, dates, flags) of columns no index, unique key or look-up
  // reads are written where they lie in the row; anything else goes through Update.
  struct ColumnValue {
    std::size_t column = 0;
    Value value;
  };
  void UpdateValues(RowId row, std::vector<ColumnValue> changes);
  void Delete(RowId row);

  // Whether rows changed since the last commit. StoreChanges rebuilds the table's indexes (one
  // call for the whole table), then writes its usage maps and counters back.
  bool changed() const { return changed_; }
  void StoreChanges();
  void set_index_maintenance(IndexMaintenance maintenance) { index_maintenance_ = maintenance; }

 private:
  friend class IndexRebuild;
  struct Location {
    std::uint32_t page = 0;
    std::uint16_t slot = 0;
  };
  std::string Context(RowId row) const;
  void LoadRows();
  Location Resolve(RowId row, std::uint16_t* header_flags = nullptr);
  std::vector<std::byte> ReadRowBytes(RowId row);
  // The row's bytes in the page cache, valid until the next TrimCache.
  Bytes RowBytes(RowId row);
  // The bytes of a long value of ROW, given its descriptor; damage as the class comment says.
  std::vector<std::byte> ReadLongValue(Bytes descriptor, const ColumnDefinition& column, RowId row);
  std::function<std::vector<std::byte>(Bytes, const ColumnDefinition&)> LongValues(RowId row);
  void WriteLongValue(Bytes data, const ColumnDefinition& column, bool inline_allowed, std::vector<std::byte>& out);
  // The row's bytes, valid until the next Encode.
  Bytes Encode(const std::vector<Value>& values, RowId row);
  const std::string& NewRowContext();
  Location PlaceRow(Bytes row, std::uint16_t flags);
  std::uint32_t NewDataPage();
  std::uint32_t LongValuePage(const ColumnDefinition& column, std::size_t length);
  struct LongValueColumn;
  LongValueColumn& LongValueState(const ColumnDefinition& column);
  // Gives back the long-value rows the stored row ROW_BYTES points to (a row being replaced or
  // deleted): each piece is deleted, and a page left without live rows leaves the column's maps
  // and returns to the file's free pages. A piece that does not look like one of the column's
  // is left alone (space may leak, data never goes).
  void FreeLongValues(Bytes row_bytes, const std::string& context);
  UsageMap& Map(RowPointer where, const std::string& what);
  HashIndex& Hash(const std::vector<std::size_t>& columns);
  // Whether COLUMN is read by an index key, a unique key or a look-up hash.
  bool ReadByIndex(std::size_t column);
  // Rows whose COLUMNS equal the values VALUE_AT(k) gives for the k-th of them.
  template <typename ValueAt>
  std::vector<RowId> FindMatching(const std::vector<std::size_t>& columns, ValueAt value_at);
  struct UniqueKey {
    std::size_t real_index = 0;
    std::vector<std::size_t> columns;  // positions in the definition
  };
  const std::vector<UniqueKey>& UniqueKeys();
  // FRESH_NUMBER: an AutoNumber column whose value Insert just handed out above every stored
  // one; a unique index on that column alone is not looked up. OLD_VALUES (an Update's row as it
  // was): a unique index whose columns did not change is not looked up either.
  void CheckUnique(const std::vector<Value>& values, std::optional<RowId> self,
                   std::optional<std::size_t> fresh_number = std::nullopt,
                   const std::vector<Value>* old_values = nullptr);
  // Whether no stored value of the AutoNumber COLUMN is above the counter: found by one scan,
  // then kept true by Insert and Update, which raise the counter to any larger value written.
  bool CounterCoversStoredNumbers(std::size_t column);
  // Throws Constraint when an index key of VALUES cannot be built (a character without a
  // weight, a key longer than Jet allows). OLD_VALUES (an Update's row as it was) lets a key
  // pass whose columns did not change: the rebuild keeps that row's stored key.
  void CheckKeys(const std::vector<Value>& values, const std::vector<Value>* old_values);
  // The name Access shows for real index REAL: its primary key, else a plain index, else any.
  std::string IndexName(std::size_t real) const;
  void IndexRow(RowId row, const std::vector<Value>& values, bool add);
  // An Update's look-up hashes: only those whose columns changed move the row.
  void ReindexRow(RowId row, const std::vector<Value>& old_values, const std::vector<Value>& values);

  PageStore& store_;
  std::string name_;
  Reporter* reporter_ = nullptr;
  TableDefinition definition_;
  mutable std::vector<std::string> folded_column_names_;  // FindColumn's, built on first use
  bool rows_loaded_ = false;
  std::vector<RowId> rows_;
  std::unordered_set<RowId> deleted_;  // still in rows_ until the next RowIds()
  std::uint32_t data_tail_ = 0;
  // Per long-value column: its page maps and the page being filled.
  struct LongValueColumn {
    std::uint16_t column_id = 0;
    UsageMap* owned = nullptr;
    UsageMap* free = nullptr;
    std::uint32_t tail = 0;
  };
  std::vector<LongValueColumn> long_value_columns_;
  std::unordered_map<std::uint32_t, std::unique_ptr<UsageMap>> maps_;  // by encoded pointer
  std::vector<std::unique_ptr<HashIndex>> hashes_;
  std::vector<HashIndex*> single_column_hashes_;  // FindFirst's, by column position
  std::vector<bool> index_key_columns_;            // columns an index key or unique key reads
  std::string wanted_;                             // FindFirst's comparable form of the value
  std::vector<RowId> candidates_;                  // FindFirst's rows sharing the hash
  std::optional<std::vector<UniqueKey>> unique_keys_;
  std::optional<bool> counter_covers_stored_;
  std::unique_ptr<std::vector<IndexKeyLayout>> key_layouts_;
  std::vector<index::KeyValue> key_values_;
  // Reused from row to row: the encoder's buffers, a long-value piece, a folded key.
  std::unique_ptr<RowEncoder> encoder_;
  std::vector<std::byte> long_value_piece_;
  KeyScratch key_scratch_;
  std::string new_row_context_;
  bool changed_ = false;
  IndexMaintenance index_maintenance_ = IndexMaintenance::Rebuild;
};

}  // namespace qorvane::jet
