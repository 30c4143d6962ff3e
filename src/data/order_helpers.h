// Helpers the order converters need that are about the engines, not about one table: the stored
// text of a source field (to tell a blank field from one the reader could not decode), a
// one-pass index of a source table by a key field (so that a per-record look-up of the records
// of one key costs O(1) instead of a query that scans the table), and whether a text fits a
// target column.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "data/controls.h"

namespace qorvane::data {

// The bytes stored in FIELD of the current source record, decoded as text and trimmed: "" for
// a blank field; "20240231" for a date the reader reads as blank because it is impossible.
// Failures are reported as the other field helpers report theirs, and give "".
std::string DATgetfieldStored(DataControl& control, std::string_view field);

// The records of a source record set grouped by the trimmed, upper-cased text of one field,
// each group in table order. Built in one pass over the control's current record source.
class SourceKeyIndex {
 public:
  using Bookmark = foxpro::RecordSet::Bookmark;
  // Walks CONTROL's record set once; the cursor ends past the last record.
  void Build(DataControl& control, std::string_view field);
  bool built() const { return built_; }
  // The records whose key equals KEY (compared trimmed and upper-cased); empty when none.
  const std::vector<Bookmark>& Records(std::string_view key) const;

 private:
  bool built_ = false;
  std::unordered_map<std::string, std::vector<Bookmark>> groups_;
};

// Positions CONTROL on the record BOOKMARK.
void DATgoto(DataControl& control, SourceKeyIndex::Bookmark bookmark);

// The number of characters COLUMN of the current target row holds (its DefinedSize); 0 when it
// is not a text column of known width.
std::int32_t TextColumnWidth(AdoControl& control, std::string_view column);
// The characters (code points) of UTF-8 text.
std::size_t TextLength(std::string_view text);

}  // namespace qorvane::data
