// New databases checked from outside: a schema is refused before anything is written when it
// is bad, a blank database is one mdbtools reads, and every column type and index kind reads
// back through mdbtools. The office schema written through the same creator is checked, index
// by index, in tests/data/office_schema_test.cpp.
#include <gtest/gtest.h>

#include "common/error.h"
#include "common/os.h"
#include "jet/create/create.h"
#include "jet/database.h"
#include "jet/table.h"
#include "test_support/oracles.h"
#include "test_support/run_command.h"
#include "test_support/temp_dir.h"

namespace qorvane::jet::create {
namespace {

using qorvane::test::RunCommand;

TEST(CreateTest, BadSchemasAreRefusedAndLeaveNoFile) {
  qorvane::test::RequireOracle(qorvane::test::Oracle::Mdbtools);
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
  EXPECT_NE(refused({"T", {{"A", SchemaType::Long}, {"a", SchemaType::Long}}, {}}).find("used twice"), std::string::npos);
  EXPECT_NE(refused({"T", {{"A", SchemaType::Text, 300}}, {}}).find("size 300"), std::string::npos);
  EXPECT_NE(refused({"T", {{"A", SchemaType::Long}}, {{"I", {"B"}, IndexKind::Normal}}}).find("no column B"), std::string::npos);
  EXPECT_NE(refused({"MSysThing", {{"A", SchemaType::Long}}, {}}).find("reserved"), std::string::npos);
  CreateBlankDatabase(path);
  EXPECT_EQ(RunCommand("mdb-ver '" + path + "'"), "JET4\n");
  EXPECT_THROW(CreateBlankDatabase(path), Error);
}

// A schema of every column type and index kind, written and read back by mdbtools and by the
// engine itself, with rows added.
TEST(CreateTest, EveryColumnTypeAndIndexKindReadsBack) {
  qorvane::test::RequireOracle(qorvane::test::Oracle::Mdbtools);
  test::TempDir dir;
  const std::string path = dir.path() + "/kinds.mdb";
  const TableSchema table{"Kinds",
                          {{"ID", SchemaType::AutoNumber},
                           {"Flag", SchemaType::Boolean},
                           {"Small", SchemaType::Byte},
                           {"Count", SchemaType::Integer},
                           {"Total", SchemaType::Long},
                           {"Price", SchemaType::Currency},
                           {"Ratio", SchemaType::Single},
                           {"Measure", SchemaType::Double},
                           {"Stamp", SchemaType::DateTime},
                           {"Code", SchemaType::Text, 12},
                           {"Notes", SchemaType::Memo}},
                          {{"PrimaryKey", {"ID"}, IndexKind::PrimaryKey},
                           {"Code", {"Code"}, IndexKind::Unique},
                           {"Total", {"Total", "Stamp"}, IndexKind::Normal}}};
  CreateDatabase(path, std::span(&table, 1));
  const std::string schema = RunCommand("mdb-schema '" + path + "'");
  for (const char* expected : {"[Flag]\t\t\tBoolean NOT NULL", "[Small]\t\t\tByte", "[Count]\t\t\tInteger",
                               "[Total]\t\t\tLong Integer", "[Price]\t\t\tCurrency", "[Ratio]\t\t\tSingle",
                               "[Measure]\t\t\tDouble", "[Stamp]\t\t\tDateTime", "[Code]\t\t\tText (12)",
                               "[Notes]\t\t\tMemo/Hyperlink"}) {
    EXPECT_NE(schema.find(expected), std::string::npos) << expected << "\n" << schema;
  }
  const std::string indexes = RunCommand("mdb-schema --indexes '" + path + "' postgres");
  EXPECT_NE(indexes.find("CREATE UNIQUE INDEX \"kinds_code_idx\""), std::string::npos) << indexes;
  EXPECT_NE(indexes.find("CREATE INDEX \"kinds_total_idx\" ON \"kinds\" (\"total\", \"stamp\")"), std::string::npos)
      << indexes;
  {
    auto database = Database::Open(path, {OpenFor::Writing});
    Table& kinds = database->GetTable("Kinds");
    std::vector<Value> row(kinds.columns().size(), Value::Null());
    row[*kinds.FindColumn("Flag")] = Value::Bool(true);
    row[*kinds.FindColumn("Code")] = Value::String("A-1");
    row[*kinds.FindColumn("Notes")] = Value::String(std::string(5000, 'n'));
    kinds.Insert(row);
    database->Commit();
  }
  EXPECT_EQ(RunCommand("mdb-count '" + path + "' Kinds"), "1\n");
  const std::string rows = RunCommand("mdb-export '" + path + "' Kinds");
  EXPECT_NE(rows.find("1,1,,,,,,,,\"A-1\",\"" + std::string(5000, 'n') + "\""), std::string::npos) << rows.substr(0, 300);
}

}  // namespace
}  // namespace qorvane::jet::create
