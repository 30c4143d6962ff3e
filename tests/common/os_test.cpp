// The operating-system layer: case-blind look-ups, whole-file round trips, and the injected
// failures that the engines' crash-safety tests rely on.
#include "common/os.h"

#include <gtest/gtest.h>

#include <cerrno>
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

TEST(FaultInjection, FailsTheNthWriteAsDiskFullThenRecovers) {
  test::TempDir dir;
  File file = File::Open(dir.path() + "/f", OpenMode::CreateTruncate);
  FaultInjection::FailNthWrite(2, ENOSPC);
  file.WriteAt(0, Bytes("one"));
  try {
    file.WriteAt(3, Bytes("two"));
    FAIL() << "expected the second write to fail";
  } catch (const Error& error) {
    EXPECT_EQ(error.kind(), ErrorKind::DiskFull);
  }
  file.WriteAt(3, Bytes("two"));
  FaultInjection::Reset();
  EXPECT_EQ(file.Size(), 6u);
}

}  // namespace
}  // namespace qorvane::os
