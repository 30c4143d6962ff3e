// Databases the engine's tests write: a copy of a shared fixture or a blank office.mdb in a
// test's temporary folder, and the engine opened on one for writing.
#pragma once

#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

#include "common/os.h"
#include "data/init_target.h"
#include "jet/database.h"
#include "test_support/temp_dir.h"

namespace qorvane::jet::test {

// A copy of the fixture mdb/FIXTURE as DIR/office.mdb; returns its path.
inline std::string CopyFixture(const qorvane::test::TempDir& dir, const std::string& fixture) {
  std::string path = dir.path() + "/office.mdb";
  os::CopyFile(qorvane::test::FixturePath("mdb/" + fixture), path);
  return path;
}

// The blank office.mdb init-target writes, in DIR; returns its path.
inline std::string NewOffice(const qorvane::test::TempDir& dir) {
  std::ostringstream out, err;
  if (data::InitTarget(dir.path(), out, err) != 0) throw std::runtime_error(err.str());
  return dir.path() + "/office.mdb";
}

// The database at PATH opened for writing, with OPTIONS' other choices.
inline std::unique_ptr<Database> OpenForWriting(const std::string& path, DatabaseOptions options = {}) {
  options.open_for = OpenFor::Writing;
  return Database::Open(path, options);
}

}  // namespace qorvane::jet::test
