// Turns the bytes of one row into values and values into row bytes, following the Jet 4 row
// layout: column count, fixed region, variable data, offset table (reversed) and null mask.
// Long values (Memo/OLE) are read and written through callbacks, because they live on other
// pages. Text uses Jet's "Unicode compression" when the column asks for it. Internal header.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "jet/bytes.h"
#include "jet/table_definition.h"
#include "jet/value.h"

namespace qorvane::jet {

// Text naming the row being decoded (file, table, row), built only when an error is thrown:
// decoding a value names no row unless the row is damaged. Holds a reference to a string or to
// a callable that returns one; either must outlive the call it is passed to.
class RowPlace {
 public:
  RowPlace(const std::string& text) : object_(&text), build_(&FromText) {}
  template <typename Build>
    requires std::is_invocable_r_v<std::string, const Build&>
  RowPlace(const Build& build) : object_(&build), build_(&Call<Build>) {}
  std::string str() const { return build_(object_); }

 private:
  static std::string FromText(const void* text) { return *static_cast<const std::string*>(text); }
  template <typename Build>
  static std::string Call(const void* build) {
    return (*static_cast<const Build*>(build))();
  }
  const void* object_;
  std::string (*build_)(const void*);
};

// Reads a long value given its 12-byte descriptor followed by any inline data; returns the
// value's raw bytes.
using LongValueReader = std::function<std::vector<std::byte>(Bytes descriptor, const ColumnDefinition&)>;
// Stores a long value and appends its descriptor (with inline data when INLINE_ALLOWED) to
// DESCRIPTOR.
using LongValueWriter =
    std::function<void(Bytes data, const ColumnDefinition&, bool inline_allowed, std::vector<std::byte>& descriptor)>;

// Text bytes as stored (compressed or UCS-2LE) to UTF-8, and back. COMPRESS asks for Jet's
// compression when it makes the value shorter and every character allows it.
std::string DecodeText(Bytes stored);
std::u16string DecodeTextUtf16(Bytes stored);
std::vector<std::byte> EncodeText(std::u16string_view text, bool compress);
// The same from UTF-8, appended to OUT (plain ASCII goes straight through without widening).
void AppendEncodedText(std::string_view utf8, bool compress, std::vector<std::byte>& out);

// Decodes every column of the definition (values in column order). CONTEXT names table and
// row for errors; a damaged row throws Corrupt.
std::vector<Value> DecodeRow(const TableDefinition& definition, Bytes row, const LongValueReader& long_values,
                             const RowPlace& context);
// Decodes one column only (for hashing keys without decoding the whole row).
Value DecodeColumn(const TableDefinition& definition, std::size_t column, Bytes row,
                   const LongValueReader& long_values, const RowPlace& context);

// Decodes the columns COLUMNS (positions in the definition) of ROW into OUT, in that order,
// reading the row's frame once.
void DecodeColumns(const TableDefinition& definition, std::span<const std::size_t> columns, Bytes row,
                   const LongValueReader& long_values, const RowPlace& context, std::span<Value> out);

// Whether ROW has the place of COLUMN's fixed value (Boolean included: its null-mask bit), so
// that WriteFixedInPlace can change it: false for a variable column and for a row written
// before the column was added.
bool FitsFixedInPlace(const ColumnDefinition& column, Bytes row);
// Writes VALUE (already converted to the column's type) into ROW where the column's fixed value
// lies, and its null-mask bit: the row keeps its size and every other column. Only when
// FitsFixedInPlace.
void WriteFixedInPlace(const ColumnDefinition& column, MutableBytes row, const Value& value);

// The stored bytes of one column of ROW (for a long value, its descriptor); nullopt when the
// value is null. Not for Boolean columns, whose value is the null-mask bit.
std::optional<Bytes> ColumnBytes(const TableDefinition& definition, std::size_t column, Bytes row,
                                 const RowPlace& context);

// Encodes rows of one table. The layout (column count, fixed region, variable slots) is worked
// out once from the definition, and the buffers are kept from row to row, so encoding a row
// allocates nothing once they have grown to the table's row size.
class RowEncoder {
 public:
  explicit RowEncoder(const TableDefinition& definition);
  // Encodes VALUES (one per column, column order; already converted to the column types) into
  // a row of at most kMaxRowSize bytes, or throws Constraint naming CONTEXT and the column.
  // The bytes stay valid until the next call.
  Bytes Encode(const std::vector<Value>& values, const LongValueWriter& long_values, const std::string& context);

 private:
  struct Piece {
    std::size_t column = 0;  // position in the definition
    std::size_t start = 0;   // in the scratch buffer
    std::size_t size = 0;
  };
  const TableDefinition& definition_;
  std::size_t column_count_ = 0;
  std::size_t fixed_size_ = 0;
  std::size_t variable_count_ = 0;
  std::vector<std::byte> row_;
  std::vector<std::uint8_t> mask_;
  std::vector<std::byte> scratch_;      // variable values, then long-value data, back to back
  std::vector<Piece> variable_;         // by variable slot
  std::vector<Piece> pending_long_;     // long values waiting for the inline decision
};

// Converts a caller's value to what a column stores (text to numbers, numbers to text, ...),
// checking text length against the column. Text is moved, not copied. Throws
// Constraint/InvalidArgument naming CONTEXT, the column and the value.
// Refused: a date text in no known form or naming a day the calendar does not have
// (2/30/2024), any date outside the years 100..9999 (two-digit years included), and numeric
// dates that are NaN, infinite or outside that range. Replaced, not refused: bytes of text
// that are not well-formed UTF-8 become U+FFFD when the text is encoded (the rest of the text
// is worth keeping, and the damage stays visible).
Value CoerceToColumn(const ColumnDefinition& column, Value value, const std::string& context);
// The same in place: nulls and text for text columns, the bulk of most rows, are checked
// where they are without moving them.
void CoerceInPlace(const ColumnDefinition& column, Value& value, const std::string& context);

}  // namespace qorvane::jet
