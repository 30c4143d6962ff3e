// What the FoxPro fuzz targets do with one input, shared with the test that replays the saved
// regression inputs. An input for the table reader is a 2-byte little-endian table length, the
// table bytes, then the memo file bytes (none: no memo file).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "common/error.h"
#include "common/reporter.h"
#include "foxpro/cdx.h"
#include "foxpro/expression.h"
#include "foxpro/table.h"

namespace qorvane::foxpro::fuzz {

// Opens the table and reads every value of every record; errors must be qorvane::Error.
inline void ReadTableAndMemo(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return;
  std::size_t table_length = std::min<std::size_t>(data[0] | data[1] << 8, size - 2);
  const auto* bytes = reinterpret_cast<const std::byte*>(data + 2);
  std::vector<std::byte> table(bytes, bytes + table_length);
  std::optional<std::vector<std::byte>> memo;
  if (size - 2 > table_length) memo.emplace(bytes + table_length, bytes + (size - 2));
  CollectingReporter reporter;
  try {
    auto opened = Table::FromBytes("fuzz.dbf", std::move(table), std::move(memo), {437, &reporter});
    for (std::uint32_t record = 0; record < opened->record_count() && record < 10000; ++record) {
      for (std::size_t field = 0; field < opened->fields().size(); ++field) opened->ReadValue(record, field);
    }
    // Index expressions over the fuzzed fields.
    if (opened->record_count() > 0 && !opened->fields().empty()) {
      try {
        auto expression = Expression::Parse("UPPER(" + opened->fields()[0].name + ")", *opened);
        expression.Evaluate(opened->RecordBytes(0));
      } catch (const Error&) {
      }
    }
  } catch (const Error&) {
  }
}

// Parses an index and reads every tag.
inline void ReadIndex(const std::uint8_t* data, std::size_t size) {
  const auto* bytes = reinterpret_cast<const std::byte*>(data);
  try {
    CompoundIndex index(std::vector<std::byte>(bytes, bytes + size), "fuzz.cdx");
    for (const IndexTag& tag : index.tags()) index.ReadTag(tag, ' ');
  } catch (const Error&) {
  }
}

}  // namespace qorvane::foxpro::fuzz
