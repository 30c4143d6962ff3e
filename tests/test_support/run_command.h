// Test support: runs a shell command (an independent reader such as mdb-ver or mdb-export) and
// returns what it printed on standard output and standard error together.
#pragma once

#include <cstdio>
#include <string>

namespace qorvane::test {

inline std::string RunCommand(const std::string& command) {
  std::string output;
  FILE* pipe = ::popen((command + " 2>&1").c_str(), "r");
  if (!pipe) return "popen failed";
  char buffer[4096];
  std::size_t got;
  while ((got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) output.append(buffer, got);
  ::pclose(pipe);
  return output;
}

}  // namespace qorvane::test
