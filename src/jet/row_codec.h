// Turns the bytes of one row into values and values into row bytes, following the Jet 4 row
// layout: column count, fixed region, variable data, offset table (reversed) and null mask.
// Long values (Memo/OLE) are read and written through callbacks, because they live on other
// pages. Text uses Jet's "Unicode compression" when the column asks for it. Internal header.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "jet/bytes.h"
#include "jet/table_definition.h"
#include "jet/value.h"

namespace qorvane::jet {

// Reads a long value given its 12-byte descriptor followed by any inline data; returns the
// value's raw bytes.
using LongValueReader = std::function<std::vector<std::byte>(Bytes descriptor, const ColumnDefinition&)>;
// Stores a long value and returns its descriptor (with inline data when INLINE_ALLOWED).
using LongValueWriter = std::function<std::vector<std::byte>(Bytes data, const ColumnDefinition&, bool inline_allowed)>;

// Text bytes as stored (compressed or UCS-2LE) to UTF-8, and back. COMPRESS asks for Jet's
// compression when it makes the value shorter and every character allows it.
std::string DecodeText(Bytes stored);
std::vector<std::byte> EncodeText(std::u16string_view text, bool compress);

// Decodes every column of the definition (values in column order). CONTEXT names table and
// row for errors; a damaged row throws Corrupt.
std::vector<Value> DecodeRow(const TableDefinition& definition, Bytes row, const LongValueReader& long_values,
                             const std::string& context);
// Decodes one column only (for hashing keys without decoding the whole row).
Value DecodeColumn(const TableDefinition& definition, std::size_t column, Bytes row,
                   const LongValueReader& long_values, const std::string& context);

// Encodes VALUES (one per column, column order; already converted to the column types) into
// a row of at most kMaxRowSize bytes, or throws Constraint naming CONTEXT and the column.
std::vector<std::byte> EncodeRow(const TableDefinition& definition, const std::vector<Value>& values,
                                 const LongValueWriter& long_values, const std::string& context);

// Converts a caller's value to what a column stores (text to numbers, numbers to text, ...),
// checking text length against the column. Throws Constraint/InvalidArgument naming CONTEXT.
Value CoerceToColumn(const ColumnDefinition& column, const Value& value, const std::string& context);

}  // namespace qorvane::jet
