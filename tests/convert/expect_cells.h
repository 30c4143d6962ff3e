// Table-driven checks of converted rows: the cells a test expects of one row of office.mdb as
// mdb-export read it back, compared column by column in one expectation.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "test_support/sample_office.h"

namespace qorvane::convert {

// Expects ROW (named WHAT when it fails) to hold CELLS; columns CELLS does not name are not looked at.
inline void ExpectCells(const test::ExportedRow& row, const std::map<std::string, std::string>& cells,
                        const std::string& what = "") {
  std::map<std::string, std::string> actual;
  for (const auto& [column, cell] : cells) {
    auto found = row.find(column);
    actual[column] = found == row.end() ? "<no column " + column + ">" : found->second;
  }
  EXPECT_EQ(actual, cells) << what;
}

}  // namespace qorvane::convert
