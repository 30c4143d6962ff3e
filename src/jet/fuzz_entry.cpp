// Reads a whole database held in memory, stopping quietly at the first format error.
#include "jet/fuzz_entry.h"

#include "common/error.h"
#include "jet/database.h"

namespace qorvane::jet {

std::size_t ReadEverything(std::vector<std::byte> bytes) {
  std::size_t rows = 0;
  try {
    auto database = Database::OpenBytes(std::move(bytes), "fuzz input");
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

}  // namespace qorvane::jet
