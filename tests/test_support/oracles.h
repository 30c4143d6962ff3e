// The independent readers the tests check the engines' files with (mdb-reader, mdbtools,
// python3's dbfread, the shared jetcheck.py), and what a test does when one of them is not
// here: it fails at once with one line naming the missing reader and how to install it, rather
// than failing later on the reader's empty output ("bad JSON at 0") or passing without the check.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>

#include <unistd.h>

#include "test_support/temp_dir.h"

namespace qorvane::test {

enum class Oracle {
  MdbReader,  // the npm package mdb-reader in tools/mdb-reader, run by node
  Mdbtools,   // mdb-export, mdb-count, mdb-json, mdb-schema, mdb-tables, mdb-ver
  Dbfread,    // python3-dbfread, for /usr/bin/python3 (the Debian package's interpreter)
  Jetcheck,   // the shared folder's tools/jetcheck.py, run by python3
  Python3,    // python3 on the PATH, for small scripts of the standard library
};

// Thrown by RequireOracle; GoogleTest reports its one line as the test's failure.
class MissingOracle : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// True when COMMAND names an executable file on the PATH.
inline bool OnPath(const std::string& command) {
  const char* path = std::getenv("PATH");
  std::string folders = path ? path : "";
  std::size_t start = 0;
  while (start <= folders.size()) {
    std::size_t end = folders.find(':', start);
    if (end == std::string::npos) end = folders.size();
    std::string candidate = folders.substr(start, end - start) + "/" + command;
    if (std::filesystem::is_regular_file(candidate) && ::access(candidate.c_str(), X_OK) == 0) return true;
    start = end + 1;
  }
  return false;
}

inline std::string MdbReaderFolder() { return std::string(QORVANE_SOURCE_DIR) + "/tools/mdb-reader"; }
inline std::string JetcheckPath() { return FixturePath("../tools/jetcheck.py"); }

// Empty when ORACLE can run here; otherwise the line that says what is missing and what to do.
// Looked up once per test program.
inline std::string MissingOracleLine(Oracle oracle) {
  static std::map<Oracle, std::string> known;
  if (auto found = known.find(oracle); found != known.end()) return found->second;
  std::string line;
  switch (oracle) {
    case Oracle::MdbReader:
      if (!OnPath("node")) {
        line = "node (Node.js, which runs the .mdb reader mdb-reader) is not installed: run `make deps`, "
               "or `apt-get install nodejs npm` and then `cd tools/mdb-reader && npm ci`";
      } else if (!std::filesystem::is_directory(MdbReaderFolder() + "/node_modules/mdb-reader")) {
        line = "the .mdb reader mdb-reader is not installed in " + MdbReaderFolder() +
               "/node_modules: run `make deps`, or `cd tools/mdb-reader && npm ci`";
      }
      break;
    case Oracle::Mdbtools:
      for (const char* command : {"mdb-export", "mdb-count", "mdb-json", "mdb-schema", "mdb-tables", "mdb-ver"}) {
        if (!OnPath(command)) {
          line = std::string("mdbtools' ") + command + " is not on the PATH: run `make deps`, or `apt-get install mdbtools`";
          break;
        }
      }
      break;
    case Oracle::Dbfread:
      if (std::system("/usr/bin/python3 -c 'import dbfread' >/dev/null 2>&1") != 0) {
        line = "the .dbf reader dbfread is not installed for /usr/bin/python3: run `make deps`, "
               "or `apt-get install python3-dbfread`";
      }
      break;
    case Oracle::Jetcheck:
      if (!std::filesystem::is_regular_file(JetcheckPath())) {
        line = "the shared checker jetcheck.py is not at " + JetcheckPath() +
               ": the shared folder belongs beside the repository (or set QORVANE_SHARED_DIR to it)";
        break;
      }
      [[fallthrough]];
    case Oracle::Python3:
      if (!OnPath("python3")) line = "python3 is not on the PATH: run `make deps`, or `apt-get install python3`";
      break;
  }
  return known[oracle] = line;
}

// Fails the running test with that line when ORACLE cannot run here.
inline void RequireOracle(Oracle oracle) {
  if (std::string line = MissingOracleLine(oracle); !line.empty()) throw MissingOracle(line);
}

}  // namespace qorvane::test
