// The office.mdb that init-target writes, checked from outside: mdbtools and mdb-reader read the
// office schema back (tables, columns, types, sizes, indexes), the catalog's own indexes hold
// its rows with the keys the oracle computes, rows added through the engine read back, and
// init-target never writes over an existing office.mdb.
#include <gtest/gtest.h>

#include <sstream>

#include "common/os.h"
#include "data/init_target.h"
#include "data/office_schema.h"
#include "jet/create/create.h"
#include "jet/database.h"
#include "jet/index/fixture_reader.h"
#include "jet/index/tree.h"
#include "jet/table.h"
#include "test_support/run_command.h"
#include "test_support/temp_dir.h"

namespace qorvane::data {
namespace {

using jet::create::ColumnSchema;
using ColumnType = jet::create::SchemaType;
using jet::create::IndexKind;
using jet::create::IndexSchema;
using jet::create::TableSchema;
namespace index = jet::index;

using qorvane::test::RunCommand;

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

// The tables of the .mdb at PATH as mdb-reader sees them ("name rows/rows read: column:type:size ..."),
// or "" when mdb-reader is not installed.
std::string MdbReaderSummary(const std::string& path) {
  const std::string entry = std::string(QORVANE_SOURCE_DIR) + "/tools/mdb-reader/node_modules/mdb-reader/lib/node/index.js";
  if (!os::IsRegularFile(entry)) return "";
  const std::string script = std::string(QORVANE_SOURCE_DIR) + "/tests/data/mdb_reader_summary.mjs";
  return RunCommand("node '" + script + "' '" + entry + "' '" + path + "'");
}

// Every index of the .mdb at PATH passes the verifier and holds one entry per row (unless it
// skips nulls), each entry's key the one the oracle recomputes from its row; returns how many.
size_t VerifyEveryIndex(const std::string& path) {
  test::FixtureFile file(path);
  size_t indexes = 0;
  for (const test::FixtureTable& table : file.Tables()) {
    for (const test::FixtureIndex& index : table.indexes) {
      std::vector<index::Entry> entries = index::ReadTree(index.root, file.Source());
      std::vector<index::KeyColumn> columns;
      for (auto [id, order] : index.columns) columns.push_back({*index::KeyTypeFromColumnType(table.Column(id).type), order});
      for (const index::Entry& entry : entries) {
        std::vector<index::KeyValue> values;
        for (auto [id, order] : index.columns) values.push_back(file.Value(table, table.Column(id), entry.data_page, entry.data_row));
        EXPECT_EQ(*index::MakeKey(columns, values, index::NullKeys::Store), entry.key);
      }
      if (!(index.flags & 0x02)) {
        EXPECT_EQ(entries.size(), table.row_count) << table.tdef_page;
      }
      EXPECT_NO_THROW(index::VerifyTree(index.root, table.tdef_page, file.Source(), entries)) << table.tdef_page;
      ++indexes;
    }
  }
  return indexes;
}

class OfficeDatabaseTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::ostringstream out, err;
    ASSERT_EQ(InitTarget(dir_.path(), out, err), 0) << err.str();
    path_ = dir_.path() + "/office.mdb";
  }
  test::TempDir dir_;
  std::string path_;
};

TEST_F(OfficeDatabaseTest, MdbtoolsSeeEveryTableColumnAndIndex) {
  EXPECT_EQ(RunCommand("mdb-ver '" + path_ + "'"), "JET4\n");
  const std::string schema = Lower(RunCommand("mdb-schema --indexes '" + path_ + "' postgres"));
  const std::string access = RunCommand("mdb-schema '" + path_ + "'");
  for (const TableSchema& table : OfficeSchema()) {
    EXPECT_NE(access.find("CREATE TABLE [" + table.name + "]"), std::string::npos) << table.name;
    EXPECT_EQ(RunCommand("mdb-count '" + path_ + "' '" + table.name + "'"), "0\n") << table.name;
    for (const ColumnSchema& column : table.columns) {
      std::string expected = "[" + column.name + "]";
      EXPECT_NE(access.find(expected), std::string::npos) << table.name << "." << column.name;
      if (column.type == ColumnType::Text) {
        const size_t at = access.find(expected);
        EXPECT_NE(access.find("Text (" + std::to_string(column.size) + ")", at), std::string::npos)
            << table.name << "." << column.name;
      }
    }
    const std::string key = "alter table \"" + Lower(table.name) + "\" add constraint \"" + Lower(table.name) +
                            "_pkey\" primary key (\"id\")";
    EXPECT_NE(schema.find(key), std::string::npos) << table.name;
    for (const IndexSchema& index : table.indexes) {
      if (index.kind == IndexKind::PrimaryKey) continue;
      std::string statement = (index.kind == IndexKind::Unique ? "create unique index \"" : "create index \"") +
                              Lower(table.name) + "_" + Lower(index.name) + "_idx\"";
      EXPECT_NE(schema.find(statement), std::string::npos) << table.name << " " << index.name;
    }
  }
}

TEST_F(OfficeDatabaseTest, MdbReaderReadsEveryTableAndEveryIndexVerifies) {
  size_t expected = 7;  // the system tables' own
  for (const TableSchema& table : OfficeSchema()) expected += table.indexes.size();
  EXPECT_EQ(VerifyEveryIndex(path_), expected);
  const std::string summary = MdbReaderSummary(path_);
  if (summary.empty()) GTEST_SKIP() << "mdb-reader is not installed (scripts/install-deps)";
  EXPECT_NE(summary.find("Property 0/0: ID:long:4 FileNumber:text:20"), std::string::npos) << summary;
  EXPECT_NE(summary.find("Status:memo"), std::string::npos) << summary;
  EXPECT_NE(summary.find("PaidInFull:boolean"), std::string::npos) << summary;
  for (const TableSchema& table : OfficeSchema()) {
    EXPECT_NE(summary.find(table.name + " 0/0: "), std::string::npos) << table.name << "\n" << summary;
  }
}

TEST_F(OfficeDatabaseTest, InitTargetNeverOverwrites) {
  const auto before = os::ReadWholeFile(path_);
  std::ostringstream out, err;
  EXPECT_EQ(InitTarget(dir_.path(), out, err), 1);
  EXPECT_NE(err.str().find("already exists"), std::string::npos) << err.str();
  EXPECT_TRUE(os::ReadWholeFile(path_) == before);
  os::Rename(path_, dir_.path() + "/OFFICE.MDB");
  EXPECT_EQ(InitTarget(dir_.path(), out, err), 1);
  // A missing folder is made; one that cannot be made is a file that cannot be written (3),
  // named in the message.
  EXPECT_EQ(InitTarget(dir_.path() + "/missing/deeper", out, err), 0) << err.str();
  EXPECT_TRUE(os::IsRegularFile(dir_.path() + "/missing/deeper/office.mdb"));
  std::ostringstream blocked;
  EXPECT_EQ(InitTarget(dir_.path() + "/OFFICE.MDB/inside", out, blocked), 3);
  EXPECT_NE(blocked.str().find("cannot make the folder " + dir_.path() + "/OFFICE.MDB/inside"),
            std::string::npos) << blocked.str();
}

// Rows added through the engine to a new office.mdb read back with mdbtools and mdb-reader, and
// the rebuilt indexes hold exactly those rows with their keys.
TEST_F(OfficeDatabaseTest, RowsAddedByTheEngineReadBack) {
  {
    auto database = jet::Database::Open(path_, {jet::OpenFor::Writing});
    jet::Table& client = database->GetTable("Client");
    const char* names[] = {"Crédit Agricole", "O'Neil & Sons", "Bank of America"};
    for (const char* name : names) {
      std::vector<jet::Value> row(client.columns().size(), jet::Value::Null());
      row[*client.FindColumn("Client")] = jet::Value::String(name);
      row[*client.FindColumn("Active")] = jet::Value::Bool(true);
      row[*client.FindColumn("MultipleInvoice")] = jet::Value::Bool(false);
      row[*client.FindColumn("ApplyFinanceCharge")] = jet::Value::Bool(false);
      client.Insert(std::move(row));
    }
    database->Commit();
  }
  EXPECT_EQ(RunCommand("mdb-count '" + path_ + "' Client"), "3\n");
  const std::string exported = RunCommand("mdb-export '" + path_ + "' Client");
  EXPECT_NE(exported.find("\"O'Neil & Sons\""), std::string::npos) << exported;
  EXPECT_NE(exported.find("Crédit Agricole"), std::string::npos) << exported;
  const std::string summary = MdbReaderSummary(path_);
  if (!summary.empty()) EXPECT_NE(summary.find("Client 3/3: "), std::string::npos) << summary;
  VerifyEveryIndex(path_);
}

}  // namespace
}  // namespace qorvane::data
