// Preparing office.mdb in real runs: the "Clear Data First" boxes (whole tables, the
// non-standard form types, only the "-A" rows of listed file numbers) and the deletion of rows
// without a key, read back through mdb-export, with the exact log lines; an office.mdb that
// lacks a table still has every other statement run.
#include <gtest/gtest.h>

#include <algorithm>

#include "data/office_schema.h"
#include "jet/database.h"
#include "jet/recordset.h"
#include "test_support/office_run.h"
#include "test_support/sample_office.h"

namespace qorvane::data {
namespace {

using Cells = std::vector<std::pair<std::string, jet::Value>>;

void AddRows(const std::string& mdb, const std::string& table, const std::vector<Cells>& rows) {
  auto database = jet::Database::Open(mdb, {.open_for = jet::OpenFor::Writing});
  jet::Recordset records(*database, "Select * from " + table);
  for (const Cells& row : rows) {
    records.AddNew();
    for (const auto& [column, value] : row) records.Set(column, value);
    records.Update();
  }
  database->Commit();
}

jet::Value Text(const std::string& text) { return jet::Value::String(text); }

std::vector<std::string> Column(const std::string& mdb, const std::string& table, const std::string& column) {
  std::vector<std::string> values;
  for (auto& row : test::MdbExport(mdb, table)) values.push_back(row[column]);
  std::sort(values.begin(), values.end());
  return values;
}

class TargetPreparation : public ::testing::Test {
 protected:
  void SetUp() override {
    test::WriteFoxTable(run.source + "/PROPERTY.DBF", {{"FILE_NUM", 'C', 10}}, {});
    mdb = run.target + "/office.mdb";
    AddRows(mdb, "FormTypes", {{{"FormType", Text("UA2")}, {"STANDARD", jet::Value::Bool(true)}},
                               {{"FormType", Text("COOP")}, {"STANDARD", jet::Value::Bool(false)}}});
    AddRows(mdb, "Client", {{{"Client", Text("SMITH")}}, {{"Client", Text("   ")}}});
    AddRows(mdb, "ClientContact", {{{"Client", Text("SMITH")}}});
    AddRows(mdb, "Appraiser", {{{"Appraiser", Text("JANE ROE")}}});
    AddRows(mdb, "Property", {{{"FileNumber", Text("      1001")}}, {{"FileNumber", Text("    1001-A")}},
                              {{"FileNumber", Text("      1002")}}, {{"FileNumber", Text("          ")}}});
    AddRows(mdb, "users", {{{"user", Text("ANN")}, {"rights", Text("ALL")}, {"password", Text("pw")}},
                           {{"user", Text("BOB")}, {"rights", Text("ALL")}, {"password", Text("")}}});
    run.Load();
  }
  test::OfficeRun run;
  std::string mdb;
};

TEST_F(TargetPreparation, CheckedBoxesEmptyTheirTablesAndLogInOrder) {
  for (auto box : {app::CheckBox::ckbClearFormTypes, app::CheckBox::ckbClearClient, app::CheckBox::ckbclearsystem,
                   app::CheckBox::ckbClearProperty}) {
    run.model().SetCheck(box, true);
  }
  auto log = run.Convert();
  ASSERT_EQ(run.form().outcome(), app::RunOutcome::Completed) << run.Notices();
  EXPECT_EQ(test::LinesFrom(log, "Clearing Selected Office.MDB tables (listed below if any)", "Qorvane"),
            (std::vector<std::string>{"Clearing Selected Office.MDB tables (listed below if any)",
                                      "Non-Standard records from Formtypes table cleared from office.mdb",
                                      "Client table cleared from office.mdb",
                                      "Property table cleared from office.mdb",
                                      "Users table cleared from office.mdb", ""}));
  EXPECT_EQ(Column(mdb, "FormTypes", "FormType"), (std::vector<std::string>{"UA2"}));
  EXPECT_TRUE(test::MdbExport(mdb, "Client").empty());
  EXPECT_TRUE(test::MdbExport(mdb, "ClientContact").empty());
  EXPECT_TRUE(test::MdbExport(mdb, "Property").empty());
  EXPECT_TRUE(test::MdbExport(mdb, "users").empty());
  EXPECT_EQ(Column(mdb, "Appraiser", "Appraiser"), (std::vector<std::string>{"JANE ROE"}));
  EXPECT_EQ(run.Report("clear selected tables").ledger.count(app::RecordOutcome::Deleted), 1 + 2 + 1 + 4 + 2);
}

TEST_F(TargetPreparation, NoBoxWritesOnlyTheHeadingAndAListLimitsTheOrderTablesToItsDashARows) {
  auto log = run.Convert();
  EXPECT_EQ(test::LinesFrom(log, "Clearing Selected Office.MDB tables (listed below if any)", "Qorvane"),
            (std::vector<std::string>{"Clearing Selected Office.MDB tables (listed below if any)", ""}));

  // Assigned as Property: a run limited to 1001 and 1003 clears only their rows, not the other
  // orders'; the payments of 1001 stay, since the payments step converts only the last listed
  // number (deleting them lost them).
  Cells payment = {{"Description", Text("Converted Form Payment")}, {"DescCode", Text("0")}};
  auto with = [](Cells cells, std::initializer_list<std::pair<std::string, jet::Value>> more) {
    cells.insert(cells.end(), more.begin(), more.end());
    return cells;
  };
  AddRows(mdb, "Assigned", {{{"FileNumber", Text("    1001-A")}, {"Appraiser", Text("JANE ROE")}, {"DescCode", Text("E1")}},
                            with(payment, {{"FileNumber", Text("    1001-A")}, {"Appraiser", Text("ANN")}}),
                            with(payment, {{"FileNumber", Text("    1003-A")}, {"Appraiser", Text("BOB")}}),
                            {{"FileNumber", Text("    1002-A")}, {"Appraiser", Text("JANE ROE")}}});
  run.model().SetCheck(app::CheckBox::ckbClearProperty, true);
  run.model().SetCheck(app::CheckBox::ckbclearapplied, true);
  run.model().SetCheck(app::CheckBox::ckbApplied, true);
  run.model().lstfilenum = {"1001", "1003"};
  log = run.Convert();
  EXPECT_EQ(std::count(log.begin(), log.end(), "Property table cleared from office.mdb"), 0);
  EXPECT_EQ(std::count(log.begin(), log.end(), "Assigned table cleared from office.mdb"), 0);
  EXPECT_EQ(Column(mdb, "Property", "FileNumber"),
            (std::vector<std::string>{"          ", "      1001", "      1002"}));
  EXPECT_EQ(Column(mdb, "Assigned", "FileNumber"), (std::vector<std::string>{"    1001-A", "    1002-A"}));
  EXPECT_EQ(Column(mdb, "Assigned", "Appraiser"), (std::vector<std::string>{"ANN", "JANE ROE"}));
}

TEST_F(TargetPreparation, RowsWithoutAKeyGoAndAMissingTableIsReportedNotFatal) {
  run.model().SetCheck(app::CheckBox::ckbMassage, true);
  run.Convert();
  ASSERT_EQ(run.form().outcome(), app::RunOutcome::Completed) << run.Notices();
  EXPECT_EQ(Column(mdb, "Property", "FileNumber"), (std::vector<std::string>{"      1001", "      1002", "    1001-A"}));
  EXPECT_EQ(Column(mdb, "Client", "Client"), (std::vector<std::string>{"SMITH"}));
  EXPECT_EQ(Column(mdb, "users", "user"), (std::vector<std::string>{"ANN"}));  // BOB had no password

  // The same run on an office.mdb without a usercontrol table.
  test::OfficeRun other;
  test::WriteFoxTable(other.source + "/PROPERTY.DBF", {{"FILE_NUM", 'C', 10}}, {});
  std::filesystem::remove(other.target + "/office.mdb");
  auto schema = data::OfficeSchema();
  std::erase_if(schema, [](const auto& table) { return table.name == "usercontrol"; });
  jet::create::CreateDatabase(other.target + "/office.mdb", schema);
  AddRows(other.target + "/office.mdb", "users",
          {{{"user", Text("BOB")}, {"rights", Text("ALL")}, {"password", Text(" ")}}});
  other.Load();
  other.model().SetCheck(app::CheckBox::ckbMassage, true);
  auto log = other.Convert();
  EXPECT_EQ(other.form().outcome(), app::RunOutcome::Completed);
  auto errors = std::count_if(log.begin(), log.end(), [](const std::string& line) {
    return line.rfind("Error # ", 0) == 0 && line.find("in module DeleteEmptyFilenumbe:") != std::string::npos &&
           line.find("usercontrol") != std::string::npos;
  });
  EXPECT_EQ(errors, 3);  // the routine's name cut to the reporter's 20 characters
  EXPECT_TRUE(test::MdbExport(other.target + "/office.mdb", "users").empty());  // the statements after it ran
}

}  // namespace
}  // namespace qorvane::data
