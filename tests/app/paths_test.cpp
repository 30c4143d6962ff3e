// The path helpers: trailing-separator rules and the "is the data file there" tests.
#include "app/paths.h"

#include <gtest/gtest.h>

#include <fstream>

#include "test_support/temp_dir.h"

namespace qorvane::app {
namespace {

TEST(CkRSlash, AddsOneSeparatorAndLeavesBlankPathsAlone) {
  std::string path = "  /data/pyx  ";
  EXPECT_EQ(CkRSlash(path), "/data/pyx");
  EXPECT_EQ(path, "/data/pyx/");
  std::string already = "/data/pyx/";
  EXPECT_EQ(CkRSlash(already), "/data/pyx/");
  EXPECT_EQ(already, "/data/pyx/");
  std::string blanks = "   ";
  EXPECT_EQ(CkRSlash(blanks), "");
  EXPECT_EQ(blanks, "   ");
}

TEST(RemoveRSlash, RemovesOnlyTheLastSeparator) {
  std::string path = " /data// ";
  RemoveRSlash(path);
  EXPECT_EQ(path, "/data/");
  std::string empty = "  ";
  RemoveRSlash(empty);
  EXPECT_EQ(empty, "");
  std::string stripped = "/data/";
  EXPECT_EQ(StripRChar(stripped), "/data");
  EXPECT_EQ(stripped, "/data");
}

TEST(ParseFileName, SplitsDirectoryNameAndExtension) {
  ParsedFileName parts = ParseFileName("/data/pyx/Property.DBF");
  EXPECT_EQ(parts.directory, "/data/pyx/");
  EXPECT_EQ(parts.file_name, "Property.DBF");
  EXPECT_EQ(parts.base_name, "Property");
  EXPECT_EQ(parts.extension, "DBF");
  EXPECT_EQ(ParseFileName("office.mdb").directory, "");
  EXPECT_EQ(ParseFileName("/data/").file_name, "");
}

TEST(FileExists, EmptyFilesCountAsMissingAndNamesAreCaseBlind) {
  test::TempDir dir;
  std::ofstream(dir.path() + "/PROPERTY.DBF") << "x";
  std::ofstream(dir.path() + "/empty.dbf");
  EXPECT_TRUE(FileExists(dir.path() + "/Property.dbf"));
  EXPECT_FALSE(FileExists(dir.path() + "/empty.dbf"));
  EXPECT_FALSE(FileExists(dir.path() + "/invoice.dbf"));
  EXPECT_FALSE(FileExists(""));
  EXPECT_TRUE(FilePathExists(dir.path() + "/property.dbf"));
  EXPECT_FALSE(FilePathExists("PROPERTY.DBF"));  // no directory part
  EXPECT_FALSE(FilePathExists(dir.path() + "/"));  // no file-name part
}

}  // namespace
}  // namespace qorvane::app
