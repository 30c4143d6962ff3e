// Opens bytes as a database and reads every row of every table, system tables included; what
// the fuzz target and its regression test run. Errors of the format are caught and counted.
#pragma once

#include <cstddef>
#include <vector>

namespace qorvane::jet {

// Reads without and with a reporter; returns the larger number of rows read. A damaged input
// ends early with no exception.
std::size_t ReadEverything(std::vector<std::byte> bytes);

}  // namespace qorvane::jet
