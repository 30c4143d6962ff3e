// Index keys as Jet 4 builds them (sort order "General", LCID 1033): one flag byte per column
// then the value bytes, so that comparing two keys as unsigned byte strings sorts rows as Access
// does. The caller hands over primitive values decoded from rows; nothing here knows pages.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace qorvane::jet::index {

// Column types an index key can hold, by their Jet type codes (see KeyTypeFromColumnType).
enum class KeyType { Boolean, Byte, Integer, Long, Currency, Single, Double, DateTime, Binary,
                     Text, Memo, Guid };
enum class SortOrder { Ascending, Descending };

// Maps a column type code of a table definition (0x01 Boolean ... 0x0F GUID) to its key type;
// nullopt for types that cannot be indexed here (OLE, NUMERIC and unknown codes).
std::optional<KeyType> KeyTypeFromColumnType(uint8_t column_type);

// One column value, as a row holds it:
//  - Null: a NULL (never for Boolean, whose NULL reads as false);
//  - bool: Boolean;
//  - int64_t: Byte, Integer, Long, and Currency as the stored integer (value x 10000);
//  - double: Single, Double, DateTime (days since 1899-12-30, the stored double);
//  - std::u16string: Text and Memo (the whole value; only the first 255 characters count);
//  - std::vector<uint8_t>: Binary, and GUID as its 16 bytes in row order (Windows memory layout).
struct Null {};
using KeyValue = std::variant<Null, bool, int64_t, double, std::u16string, std::vector<uint8_t>>;

// Appends one column of a key: the flag byte, then the value bytes for TYPE in ORDER.
// Throws Error(InvalidArgument) when VALUE's alternative does not fit TYPE or an integer is out of
// the type's range, and Error(NotSupported) when a text holds a character without a known weight.
void AppendKeyColumn(std::vector<uint8_t>& key, KeyType type, SortOrder order,
                     const KeyValue& value);

// Appends the ascending General-order bytes of TEXT as a text key column holds them after its
// flag byte: two texts are the same to a Jet index (and so to a unique index and to '=')
// exactly when these bytes are. Returns false, leaving KEY as it was, when a character of TEXT
// has no known weight.
bool AppendTextSortKey(std::vector<uint8_t>& key, std::u16string_view text);

// The columns of one real index, in key order.
struct KeyColumn {
  KeyType type;
  SortOrder order;
};

// Whether entries whose key columns are all NULL are stored (index flag 0x02 clear) or left out.
enum class NullKeys { Store, Ignore };

// Builds the whole key of one row: VALUES[i] belongs to COLUMNS[i]. Returns nullopt when the row
// gets no entry (NullKeys::Ignore and every value NULL). Throws as AppendKeyColumn, and
// Error(Constraint) when the key is longer than Jet allows (format::kMaxKeySize).
std::optional<std::vector<uint8_t>> MakeKey(std::span<const KeyColumn> columns,
                                            std::span<const KeyValue> values, NullKeys nulls);
// The same key appended to OUT (which may hold other keys before it); false, OUT unchanged, when
// the row gets no entry. On a throw OUT holds what it held before.
bool AppendKey(std::vector<uint8_t>& out, std::span<const KeyColumn> columns, std::span<const KeyValue> values,
               NullKeys nulls);

// True when any of VALUES is NULL: such a key never breaks a unique index (as in Access, a
// unique index accepts any number of rows with a NULL in one of its columns).
bool AnyNull(std::span<const KeyValue> values);

// Readable form of a value for error messages ("'Smith'", "42", "NULL").
std::string DescribeValue(const KeyValue& value);

}  // namespace qorvane::jet::index
