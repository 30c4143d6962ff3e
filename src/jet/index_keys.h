// The keys a table's real indexes hold, from row values: each index's key columns (positions,
// key types, orders) and how a row's values become its key. Shared by the checks at Insert and
// Update (every key of a row must be buildable before the row is written) and by the rebuild at
// commit, so that a commit never meets a key an Insert let through. Internal header.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "jet/index/key.h"
#include "jet/table_definition.h"
#include "jet/value.h"

namespace qorvane::jet {

struct IndexKeyLayout {
  std::vector<std::size_t> positions;   // column positions in the definition, in key order
  std::vector<index::KeyColumn> columns;
  index::NullKeys nulls = index::NullKeys::Store;
};

// One layout per real index of DEFINITION. Throws NotSupported, WHERE first, when an index
// holds a column whose keys cannot be written (OLE, NUMERIC, a text sort order other than
// General).
std::vector<IndexKeyLayout> IndexKeyLayouts(const TableDefinition& definition, const std::string& where);

index::KeyValue ToKeyValue(const Value& value);
// Text as a key, lone surrogate halves replaced as a round trip through UTF-8 replaces them
// (the form every other path hands to the index module).
index::KeyValue TextKeyValue(std::u16string text);

}  // namespace qorvane::jet
