// A temporary directory for one test, removed with everything in it when the test ends.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

namespace qorvane::test {

class TempDir {
 public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "qorvane-test-XXXXXX").string();
    char* made = ::mkdtemp(pattern.data());
    path_ = made ? made : pattern;
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// The shared fixtures folder (../shared/fixtures beside the repository).
inline std::string FixturePath(const std::string& relative) {
  const char* env = std::getenv("QORVANE_SHARED_DIR");
  std::string base = env && *env ? env : QORVANE_SHARED_DIR;
  return base + "/fixtures/" + relative;
}

}  // namespace qorvane::test
