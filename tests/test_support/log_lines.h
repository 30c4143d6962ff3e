// Reads a conversion log back as its lines, each line's CR LF removed.
#pragma once

#include <fstream>
#include <string>
#include <vector>

namespace qorvane::test {

inline std::vector<std::string> ReadLogLines(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::vector<std::string> lines;
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

}  // namespace qorvane::test
