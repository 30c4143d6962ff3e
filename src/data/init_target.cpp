// init-target: refuses to replace an existing office.mdb (whatever its letter case), else
// creates it from the office schema and says where it went.
#include "data/init_target.h"

#include "common/error.h"
#include "common/os.h"
#include "jet/create/create.h"
#include "data/office_schema.h"

namespace qorvane::data {

int InitTarget(const std::string& dir, std::ostream& out, std::ostream& err) {
  const std::string path = os::JoinPath(dir, "office.mdb");
  try {
    if (!os::IsDirectory(dir)) {
      err << "init-target: " << dir << ": no such directory\n";
      return 1;
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
    err << "init-target: " << path << ": " << error.what() << "\n";
    return 1;
  }
}

}  // namespace qorvane::data
