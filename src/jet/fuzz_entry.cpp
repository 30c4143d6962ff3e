// Reads a whole database held in memory twice: without a reporter (stopping quietly at the
// first format error) and with one (reading past the damage it can skip).
#include "jet/fuzz_entry.h"

#include <algorithm>

#include "common/error.h"
#include "common/reporter.h"
#include "jet/database.h"

namespace qorvane::jet {
namespace {

std::size_t ReadAll(const std::vector<std::byte>& bytes, Reporter* reporter) {
  std::size_t rows = 0;
  try {
    auto database = Database::OpenBytes(bytes, "fuzz input", reporter);
    for (const auto& summary : database->ListTables(true)) {
      try {
        Table& table = database->GetTable(summary.name);
        for (RowId row : table.RowIds()) {
          table.ReadRow(row);
          ++rows;
        }
      } catch (const Error&) {
        // A damaged table: go on with the next one.
      }
    }
  } catch (const Error&) {
  }
  return rows;
}

}  // namespace

std::size_t ReadEverything(std::vector<std::byte> bytes) {
  CollectingReporter reporter;
  std::size_t rows = ReadAll(bytes, nullptr);
  std::size_t read_past = ReadAll(bytes, &reporter);
  return std::max(rows, read_past);
}

}  // namespace qorvane::jet
