// A source folder (pyx) and a target folder (zul) inside a test's temporary directory, with
// the time zone fixed to UTC so that log times and names are the same on every machine.
#pragma once

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>

namespace qorvane::test {

struct OfficeFolders {
  explicit OfficeFolders(const std::string& root) : source(root + "/pyx"), target(root + "/zul") {
    setenv("TZ", "UTC", 1);
    tzset();
    std::filesystem::create_directories(source);
    std::filesystem::create_directories(target);
  }
  std::string source;
  std::string target;
};

}  // namespace qorvane::test
