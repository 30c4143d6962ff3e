// Rebuild at commit: while a session writes, the index pages of a table are not touched; at
// commit every real index of a changed table is written afresh from the live rows (keys from
// the index module, sorted, new leaf and node pages), the old pages go back to the free-page
// map, and the index usage map, root page and statistics follow. Internal header.
#pragma once

#include <cstdint>
#include <vector>

namespace qorvane::jet {

class Table;

class IndexRebuild {
 public:
  // Rebuilds every real index of TABLE; returns the distinct key count of each (statistics).
  static std::vector<std::uint32_t> Run(Table& table);
};

}  // namespace qorvane::jet
