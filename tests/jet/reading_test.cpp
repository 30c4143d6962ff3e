// Reading: every table of the Access-written fixtures, read in place, matches what mdb-reader
// reads; files that are not plain Jet 4 databases are refused with a message saying why.
#include <gtest/gtest.h>

#include <fstream>

#include "common/error.h"
#include "common/os.h"
#include "jet/database.h"
#include "readers.h"
#include "test_support/temp_dir.h"

namespace qorvane::jet {
namespace {

using qorvane::test::FixturePath;
using qorvane::test::TempDir;

TEST(Reading, EveryFixtureTableMatchesMdbReader) {
  const char* files[] = {"DateTestDatabase.mdb", "bigIndexTestV2000.mdb", "compIndexTestV2000.mdb",
                         "delColTestV2000.mdb", "delTestV2000.mdb", "fixedNumericTestV2000.mdb",
                         "fixedTextTestV2000.mdb", "indexTestV2000.mdb", "northwind-V2000.mdb",
                         "overflowTestV2000.mdb", "queryTestV2000.mdb", "test2V2000.mdb",
                         "testIndexPropertiesV2000.mdb", "testUnicodeCompV2003.mdb", "testV2000.mdb"};
  for (const char* name : files) {
    std::string file = FixturePath(std::string("mdb/") + name);
    auto database = Database::Open(file);
    for (const auto& table : database->ListTables()) {
      test::ExpectSameRows(test::ReadWithEngine(file, table.name), test::ReadWithMdbReader(file, table.name),
                           std::string(name) + " " + table.name);
    }
  }
}

TEST(Reading, CatalogGivesColumnsTypesSizesAndIndexes) {
  auto database = Database::Open(FixturePath("mdb/northwind-V2000.mdb"));
  std::vector<std::string> names;
  for (const auto& table : database->ListTables()) names.push_back(table.name);
  EXPECT_EQ(names.size(), 9u);
  EXPECT_TRUE(database->HasTable("order details"));
  Table& employees = database->GetTable("EMPLOYEES");
  auto last_name = employees.FindColumn("lastname");
  ASSERT_TRUE(last_name);
  EXPECT_EQ(employees.columns()[*last_name].type, ColumnType::Text);
  EXPECT_EQ(employees.columns()[*last_name].defined_size(), 20);
  EXPECT_EQ(employees.columns()[*employees.FindColumn("Notes")].type, ColumnType::Memo);
  EXPECT_EQ(employees.columns()[*employees.FindColumn("BirthDate")].type, ColumnType::DateTime);
  bool primary = false;
  for (const auto& index : employees.indexes()) {
    if (index.primary_key) {
      primary = true;
      EXPECT_TRUE(index.unique);
      EXPECT_EQ(index.columns, std::vector<std::string>{"EmployeeID"});
    }
  }
  EXPECT_TRUE(primary);
  EXPECT_THROW(database->GetTable("NoSuchTable"), Error);
}

// Writes a modified copy of a fixture into DIR and returns its path.
std::string PatchedCopy(const TempDir& dir, const std::string& fixture, std::size_t offset, std::uint8_t xor_mask) {
  auto bytes = os::ReadWholeFile(FixturePath("mdb/" + fixture));
  bytes[offset] ^= static_cast<std::byte>(xor_mask);
  std::string path = dir.path() + "/patched.mdb";
  os::WriteWholeFile(path, bytes);
  return path;
}

void ExpectRefused(const std::string& path, ErrorKind kind, const std::string& words) {
  try {
    Database::Open(path);
    ADD_FAILURE() << path << " was accepted";
  } catch (const Error& error) {
    EXPECT_EQ(error.kind(), kind) << error.what();
    EXPECT_NE(std::string(error.what()).find(words), std::string::npos) << error.what();
    EXPECT_NE(std::string(error.what()).find(path), std::string::npos) << error.what();
  }
}

TEST(Reading, RefusesWhatIsNotAPlainJet4DatabaseSayingWhich) {
  TempDir dir;
  ExpectRefused(FixturePath("mdb/testV1997.mdb"), ErrorKind::NotSupported, "Access 97");
  ExpectRefused(FixturePath("mdb/V2000_with-password.mdb"), ErrorKind::NotSupported, "password");
  ExpectRefused(PatchedCopy(dir, "empty.mdb", 0x14, 0x03), ErrorKind::NotSupported, ".accdb");
  ExpectRefused(PatchedCopy(dir, "empty.mdb", 0x3E, 0x5A), ErrorKind::NotSupported, "encrypted");
  std::string text = dir.path() + "/notes.mdb";
  std::ofstream(text) << "this is a letter, not a database\n";
  ExpectRefused(text, ErrorKind::Corrupt, "not an Access database");
  auto bytes = os::ReadWholeFile(FixturePath("mdb/empty.mdb"));
  bytes.resize(6000);
  std::string cut = dir.path() + "/cut.mdb";
  os::WriteWholeFile(cut, bytes);
  ExpectRefused(cut, ErrorKind::Corrupt, "damaged");
  ExpectRefused(dir.path() + "/missing.mdb", ErrorKind::NotFound, "no such");
}

}  // namespace
}  // namespace qorvane::jet
