// `qorvane sample`: writes a realistic source office of the old program (FoxPro 2.6 tables in
// code page 437, .fpt memos, structural .cdx indexes) with the mistakes real offices have, the
// same bytes for the same seed. The tables and their fields are those the conversion reads.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qorvane::sample {

struct SampleOptions {
  std::uint64_t orders = 200;
  std::uint64_t seed = 1;
};

struct TableCount {
  std::string file;          // "property.dbf"
  std::uint64_t records = 0;
};

struct SampleResult {
  std::string folder;
  std::vector<TableCount> tables;
  std::uint64_t records() const;
};

// Writes every table into folder, creating it when missing. Throws qorvane::Error:
// InvalidArgument when the folder already holds .dbf tables (nothing is written then) or the
// order count is 0; the I/O kinds when a file cannot be written.
SampleResult WriteSampleOffice(const std::string& folder, const SampleOptions& options);

// The .dbf files of a folder (any case), empty when there are none or no such folder.
std::vector<std::string> TablesIn(const std::string& folder);

}  // namespace qorvane::sample
