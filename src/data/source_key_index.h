// A one-pass index of a source table by a key field, so that a per-record look-up of the
// records of one key (the client expenses of an invoice) costs O(1) instead of a query that
// scans the table.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "foxpro/record_set.h"

namespace qorvane::data {

class DataControl;

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

}  // namespace qorvane::data
