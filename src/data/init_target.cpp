// init-target: refuses to replace an existing office.mdb (whatever its letter case), else
// creates it from the office schema and says where it went.
#include "data/init_target.h"

#include <filesystem>
#include <system_error>

#include "common/error.h"
#include "common/os.h"
#include "jet/create/create.h"
#include "data/office_schema.h"

namespace qorvane::data {
namespace {
constexpr int kCannotWrite = 3;
}  // namespace

int InitTarget(const std::string& dir, std::ostream& out, std::ostream& err) {
  const std::string path = os::JoinPath(dir, "office.mdb");
  try {
    if (!os::IsDirectory(dir)) {
      std::error_code error;
      std::filesystem::create_directories(dir, error);
      if (error || !os::IsDirectory(dir)) {
        err << "init-target: cannot make the folder " << dir << ": "
            << (error ? error.message() : "a file of that name is in the way") << "\n";
        return kCannotWrite;
      }
    }
    if (auto existing = os::FindCaseInsensitive(dir, "office.mdb")) {
      err << "init-target: " << os::JoinPath(dir, *existing)
          << ": already exists; it is left as it is (remove it first to start afresh)\n";
      return 1;
    }
    const std::vector<jet::create::TableSchema> schema = OfficeSchema();
    jet::create::CreateDatabase(path, schema);
    out << "init-target: wrote " << path << " (" << schema.size() << " tables)\n";
    return 0;
  } catch (const Error& error) {
    err << "init-target: cannot write " << path << ": " << error.what() << "\n";
    return kCannotWrite;
  }
}

}  // namespace qorvane::data
