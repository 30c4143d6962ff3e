// Just enough of a Jet 4 reader for the index tests, kept apart from the engine so that the key
// oracle does not depend on it: table definitions (columns and real indexes) found by scanning
// the file for definition pages, and the values of one row given its page and row number.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "jet/index/key.h"
#include "jet/index/tree.h"

namespace qorvane::test {

struct FixtureColumn {
  uint8_t type = 0;
  uint16_t id = 0;
  uint16_t variable_slot = 0;
  uint16_t fixed_offset = 0;
  uint16_t length = 0;
  uint8_t flags = 0;
  std::string name;
};

struct FixtureIndex {
  std::vector<std::pair<uint16_t, jet::index::SortOrder>> columns;  // column id, order
  uint32_t root = 0;
  uint8_t flags = 0;  // 0x01 unique, 0x02 ignore nulls
};

struct FixtureTable {
  uint32_t tdef_page = 0;
  uint32_t row_count = 0;
  bool system = false;  // table type 'S'
  uint16_t variable_columns = 0;
  std::vector<FixtureColumn> columns;
  std::vector<FixtureIndex> indexes;
  const FixtureColumn& Column(uint16_t id) const;
};

class FixtureFile {
 public:
  explicit FixtureFile(const std::string& path);
  const std::string& path() const { return path_; }
  uint32_t page_count() const { return static_cast<uint32_t>(bytes_.size() / 4096); }
  std::span<const uint8_t> Page(uint32_t number) const;
  jet::index::PageSource Source() const;
  // Every table definition in the file (user and system tables).
  std::vector<FixtureTable> Tables() const;
  // The value of COLUMN in the row at PAGE:ROW (following a moved row's forward pointer).
  jet::index::KeyValue Value(const FixtureTable& table, const FixtureColumn& column, uint32_t page,
                             uint8_t row) const;

 private:
  FixtureTable ParseTable(uint32_t page) const;
  std::string path_;
  std::vector<uint8_t> bytes_;
};

}  // namespace qorvane::test
