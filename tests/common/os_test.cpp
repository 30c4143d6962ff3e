// The operating-system layer: case-blind look-ups and whole-file round trips. (The injected
// failures are exercised by the engines' full-disk tests, which fail when an injection misses.)
#include "common/os.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "test_support/temp_dir.h"

namespace qorvane::os {
namespace {

std::span<const std::byte> Bytes(const std::string& text) {
  return std::as_bytes(std::span<const char>(text.data(), text.size()));
}

TEST(FindCaseInsensitive, FindsWindowsSpellingsAndPrefersExactMatch) {
  test::TempDir dir;
  WriteWholeFile(dir.path() + "/PROPERTY.DBF", Bytes("x"));
  EXPECT_EQ(FindCaseInsensitive(dir.path(), "property.dbf"), dir.path() + "/PROPERTY.DBF");
  EXPECT_EQ(FindCaseInsensitive(dir.path() + "/", "Property.Dbf"), dir.path() + "/PROPERTY.DBF");
  EXPECT_FALSE(FindCaseInsensitive(dir.path(), "invoice.dbf").has_value());
  EXPECT_FALSE(FindCaseInsensitive(dir.path() + "/missing", "x").has_value());
  WriteWholeFile(dir.path() + "/property.dbf", Bytes("y"));
  EXPECT_EQ(FindCaseInsensitive(dir.path(), "property.dbf"), dir.path() + "/property.dbf");
}

TEST(File, RoundTripAndErrorsNameThePath) {
  test::TempDir dir;
  std::string path = dir.path() + "/a.bin";
  WriteWholeFile(path, Bytes("hello"));
  auto data = ReadWholeFile(path);
  ASSERT_EQ(data.size(), 5u);
  EXPECT_EQ(static_cast<char>(data[4]), 'o');
  EXPECT_EQ(FileSize(path), 5u);
  EXPECT_FALSE(FileSize(dir.path() + "/none").has_value());
  try {
    ReadWholeFile(dir.path() + "/none");
    FAIL() << "expected an error";
  } catch (const Error& error) {
    EXPECT_EQ(error.kind(), ErrorKind::NotFound);
    EXPECT_NE(std::string(error.what()).find("/none"), std::string::npos);
  }
}

}  // namespace
}  // namespace qorvane::os
