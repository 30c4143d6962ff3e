// Fuzz target: `qorvane export` of a damaged .mdb (the table list, then every table as CSV and
// as JSON) must print rows or a message with a non-zero status, never crash.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "cli/export.h"
#include "common/error.h"
#include "common/os.h"
#include "jet/database.h"

namespace {

// One file per process, rewritten for every input (in the temporary folder, tmpfs when it is).
const std::string& InputPath() {
  static const std::string path = [] {
    const char* folder = getenv("TMPDIR");
    return std::string(folder && *folder ? folder : "/tmp") + "/fuzz-export-" + std::to_string(getpid()) + ".mdb";
  }();
  return path;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qorvane;
  std::vector<std::byte> bytes(reinterpret_cast<const std::byte*>(data), reinterpret_cast<const std::byte*>(data) + size);
  std::vector<std::string> tables;
  try {
    auto database = jet::Database::OpenBytes(bytes, "fuzz input");
    for (const auto& summary : database->ListTables(false)) tables.push_back(summary.name);
  } catch (const Error&) {
  }
  os::WriteWholeFile(InputPath(), bytes);
  std::ostringstream out, err;
  cli::ExportOptions options;
  options.file = InputPath();
  cli::Export(options, out, err);
  for (const std::string& table : tables) {
    options.table = table;
    for (cli::ExportFormat format : {cli::ExportFormat::Csv, cli::ExportFormat::Json}) {
      options.format = format;
      cli::Export(options, out, err);
    }
    out.str("");
  }
  return 0;
}
