// New databases checked from outside: a schema is refused before anything is written when it
// is bad, and a blank database is one mdbtools reads. The office schema written through the
// same creator is checked column by column in tests/data/office_schema_test.cpp.
#include <gtest/gtest.h>

#include "common/error.h"
#include "common/os.h"
#include "jet/create/create.h"
#include "test_support/run_command.h"
#include "test_support/temp_dir.h"

namespace qorvane::jet::create {
namespace {

using qorvane::test::RunCommand;

TEST(CreateTest, BadSchemasAreRefusedAndLeaveNoFile) {
  test::TempDir dir;
  const std::string path = dir.path() + "/x.mdb";
  auto refused = [&](const TableSchema& table) {
    try {
      CreateDatabase(path, std::span(&table, 1));
    } catch (const Error& error) {
      EXPECT_FALSE(os::IsRegularFile(path));
      return std::string(error.what());
    }
    return std::string("accepted");
  };
  EXPECT_NE(refused({"T", {{"A", ColumnType::Long}, {"a", ColumnType::Long}}, {}}).find("used twice"), std::string::npos);
  EXPECT_NE(refused({"T", {{"A", ColumnType::Text, 300}}, {}}).find("size 300"), std::string::npos);
  EXPECT_NE(refused({"T", {{"A", ColumnType::Long}}, {{"I", {"B"}, IndexKind::Normal}}}).find("no column B"), std::string::npos);
  EXPECT_NE(refused({"MSysThing", {{"A", ColumnType::Long}}, {}}).find("reserved"), std::string::npos);
  CreateBlankDatabase(path);
  EXPECT_EQ(RunCommand("mdb-ver '" + path + "'"), "JET4\n");
  EXPECT_THROW(CreateBlankDatabase(path), Error);
}

}  // namespace
}  // namespace qorvane::jet::create
