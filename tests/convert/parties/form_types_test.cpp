// The form-types step end to end: whole runs of the step over a small source office and a new
// office.mdb, FormTypes read back through mdb-export. The 34 standard rows, the office's own
// codes through the mapping, a rerun that resets edited standard rows, the ledger and the run's
// report.
#include "convert/parties/form_types.h"

#include <algorithm>
#include <set>

#include "../expect_cells.h"
#include "app/run_summary.h"
#include "jet/database.h"
#include "test_support/office_run.h"
#include "test_support/sample_office.h"

namespace qorvane::convert {
namespace {

using test::FoxText;

// A source office whose forms table holds CODES (description "Desc " + code) in RUN's folders.
void WriteForms(const test::OfficeRun& run, const std::vector<std::string>& codes) {
  test::WriteFoxTable(run.source + "/PROPERTY.DBF", {{"FILE_NUM", 'C', 10}}, {});
  test::WriteFoxTable(run.source + "/ASSIGN.DBF", {{"FILE_NUM", 'C', 10}}, {});
  std::vector<std::vector<foxpro::Value>> rows;
  for (const std::string& code : codes) rows.push_back({FoxText(code), FoxText("Desc " + code)});
  test::WriteFoxTable(run.source + "/FORMS.DBF", {{"FORM_TYPE", 'C', 10}, {"FORM_DESC", 'C', 40}}, rows);
}

// One run of the form-types step alone, as the command line runs it; its log lines.
std::vector<std::string> RunFormTypes(test::OfficeRun& run) {
  run.Load();
  run.model().SetCheck(app::CheckBox::ckbformtypes, true);
  auto log = run.Convert();
  EXPECT_EQ(run.form().outcome(), app::RunOutcome::Completed) << run.Notices();
  run.clock.Advance(60);  // the next run writes a log of its own
  return log;
}

std::map<std::string, test::ExportedRow> FormTypes(const test::OfficeRun& run) {
  std::map<std::string, test::ExportedRow> rows;
  for (auto& row : test::MdbExport(run.target + "/office.mdb", "FormTypes")) rows[row["FormType"]] = row;
  return rows;
}

bool Has(const std::vector<std::string>& lines, const std::string& line) {
  return std::find(lines.begin(), lines.end(), line) != lines.end();
}

// An empty forms table gives the standard rows alone; the office edits one, and a rerun with a
// code of its own resets the edit and adds that type once.
TEST(FormTypes, TheThirtyFourStandardRowsAndARerunThatResetsAnEditedOne) {
  test::OfficeRun run;
  WriteForms(run, {});
  auto log = RunFormTypes(run);
  auto rows = FormTypes(run);
  ASSERT_EQ(rows.size(), 34u);
  std::set<int> orders;
  for (auto& [code, row] : rows) {
    EXPECT_EQ(row["STANDARD"], "1") << code;
    orders.insert(std::stoi(row["DISPLAYORDER"]));
  }
  EXPECT_EQ(orders.size(), 34u);
  EXPECT_EQ(*orders.rbegin(), 34);
  ExpectCells(rows["UA2"], {{"DISPLAYORDER", "1"}});
  ExpectCells(rows["LIMOF"], {{"DISPLAYORDER", "34"}});
  ExpectCells(rows["CMR"], {{"FormDesc", "FORMDESC Condition and Marketability Report FHLMC 2070"}});
  ExpectCells(rows["2045"], {{"FormDesc", "Master Residential Appraisal Report  FHLMC 2045"}});
  ExpectCells(rows["BMA"], {{"CATEGORY", ""}});
  ExpectCells(rows["2055"], {{"FORM", "2055 9/96"}});
  // forms.dbf holds no record: the standard rows alone are no records read.
  EXPECT_TRUE(Has(log, "Formtypes table (standard) conversion complete: No records found"));

  {
    auto database = jet::Database::Open(run.target + "/office.mdb", {.open_for = jet::OpenFor::Writing});
    jet::Table& table = database->GetTable("FormTypes");
    for (auto row = table.FirstRow(); row; row = table.NextRow(*row)) {
      std::vector<jet::Value> values = table.ReadRow(*row);
      if (values[1].bytes != "UA2") continue;
      values[2] = jet::Value::String("edited by the office");
      table.Update(*row, std::move(values));
    }
    database->Commit();
  }
  ASSERT_EQ(FormTypes(run)["UA2"]["FormDesc"], "edited by the office");
  WriteForms(run, {"COOP"});
  RunFormTypes(run);
  RunFormTypes(run);
  rows = FormTypes(run);
  EXPECT_EQ(rows.size(), 35u);
  EXPECT_EQ(rows["UA2"]["FormDesc"], "Uniform Residential (FHLMC 70/ FNMA 1004)");
}

// In folders whose names hold a semicolon, blanks and accents.
TEST(FormTypes, OfficeCodesGoThroughTheMappingAndOnlyNewTypesAreAdded) {
  test::OfficeRun run("Office; Zürich 2026");
  WriteForms(run, {"F2000", "COOP", "2055x", "ZZZ", "", "coop", "UA2", "1092"});
  auto log = RunFormTypes(run);
  EXPECT_EQ(run.form().session().Paths.target_file, run.target + "/office.mdb");
  auto rows = FormTypes(run);
  ASSERT_EQ(rows.size(), 36u);  // the 34 standard rows, COOP and 1092
  ExpectCells(rows["COOP"], {{"CATEGORY", "OTHER"}, {"FORM", "COOP"}, {"STANDARD", "0"}, {"FormDesc", "Desc COOP"}});
  EXPECT_EQ(rows["1092"]["FormDesc"], "Desc 1092");
  EXPECT_EQ(rows.count("ZZZ"), 0u);
  EXPECT_EQ(rows.count("FRR2"), 1u);

  // The completion line counts the records read (it said "No records found" before).
  EXPECT_TRUE(Has(log, "Formtypes table (standard) conversion complete: 8 records"));
  // Every source record is accounted for, each skip with its reason.
  const app::Ledger& ledger = run.Report("formtypes").ledger;
  EXPECT_TRUE(ledger.Complete());
  EXPECT_EQ(ledger.read(), 8);
  EXPECT_EQ(ledger.count(app::RecordOutcome::Added), 2);
  EXPECT_EQ(ledger.count(app::RecordOutcome::Skipped), 6);
  std::set<std::string> reasons;
  for (const app::LedgerNote& note : ledger.notes()) reasons.insert(note.reason);
  EXPECT_EQ(reasons, (std::set<std::string>{"form code stands for no known form type", "no form code",
                                            "form type already in FormTypes",
                                            "the form type it stands for is already in FormTypes"}));
  ASSERT_FALSE(ledger.notes().empty());
  EXPECT_EQ(ledger.notes().front().record, "FORMS.DBF record 1 (Form_type F2000)");

  // The run's report: the step's counts with each reason counted, and office.mdb re-read from
  // disk after the run holding what the run wrote.
  const app::MainForm& form = run.form();
  EXPECT_EQ(form.RowsBefore().at("FormTypes"), 0);
  EXPECT_EQ(form.RowsWritten().at("FormTypes"), 36);
  EXPECT_EQ(form.RowsCommitted().at("FormTypes"), 36);
  std::string summary = app::RunSummaryText(form);
  // The step in the window's words: read = added + updated + unchanged + skipped + refused.
  for (const char* text : {"\nForm types             8       2       0         0       6       0  FORMS.DBF\n",
                           "    skipped 2: the form type it stands for is already in FormTypes\n",
                           "\nFormTypes              0      36        36\n",
                           "office.mdb on disk holds every row the run wrote."}) {
    EXPECT_NE(summary.find(text), std::string::npos) << text << "\n" << summary;
  }
  EXPECT_TRUE(app::RunSummaryProblems(form).empty());
  EXPECT_NE(app::RunSummaryJson(form).find("\"name\": \"formtypes\", \"caption\": \"Form types\", \"kind\": \"step\", "
                                           "\"read\": 8, \"found\": 8, \"added\": 2"),
            std::string::npos)
      << app::RunSummaryJson(form);
}

TEST(MapFormCode, FirstMatchingCaseWinsAndShadowedCasesStayUnreachable) {
  EXPECT_EQ(MapFormCode(" 2055x "), "2055");  // case 3 before the "2055x" of case 10
  EXPECT_EQ(MapFormCode("bma"), "BMA");
  EXPECT_EQ(MapFormCode(""), "NONE");
  EXPECT_EQ(MapFormCode("."), "NONE");
  EXPECT_EQ(MapFormCode("704SUMRY"), "SUMRY");
  EXPECT_EQ(MapFormCode("ERC"), "ER3");
}

}  // namespace
}  // namespace qorvane::convert
