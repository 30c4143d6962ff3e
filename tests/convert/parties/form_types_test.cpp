// The form-types step end to end: a run of the whole program over a small source office and a
// new office.mdb, FormTypes read back through mdb-export. The 34 standard rows, the office's
// own codes through the mapping, a rerun that resets edited standard rows, and the ledger.
#include "convert/parties/form_types.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>

#include "../../app/fake_view.h"
#include "app/run_summary.h"
#include "convert/office.h"
#include "jet/create/create.h"
#include "data/office_schema.h"
#include "jet/database.h"
#include "test_support/log_lines.h"
#include "test_support/office_folders.h"
#include "test_support/sample_office.h"
#include "test_support/temp_dir.h"

namespace qorvane::convert {
namespace {

using test::FoxText;

class FormTypesTest : public ::testing::Test {
 protected:
  // A source office whose forms table holds CODES (description "Desc " + code), and a new
  // office.mdb, in folders whose names hold FOLDER_NAME.
  void MakeOffice(const std::vector<std::string>& codes, const std::string& folder_name = "") {
    root = dir.path() + (folder_name.empty() ? "" : "/" + folder_name);
    test::OfficeFolders folders(root);
    source = folders.source;
    target = folders.target;
    test::WriteFoxTable(source + "/PROPERTY.DBF", {{"FILE_NUM", 'C', 10}}, {});
    test::WriteFoxTable(source + "/ASSIGN.DBF", {{"FILE_NUM", 'C', 10}}, {});
    std::vector<std::vector<foxpro::Value>> rows;
    for (const std::string& code : codes) rows.push_back({FoxText(code), FoxText("Desc " + code)});
    test::WriteFoxTable(source + "/FORMS.DBF", {{"FORM_TYPE", 'C', 10}, {"FORM_DESC", 'C', 40}}, rows);
    jet::create::CreateDatabase(target + "/office.mdb", data::OfficeSchema());
  }

  // One run of the form-types step alone, as the command line runs it.
  void Run() {
    program = WireProgram(view, clock, {.settings_dir = dir.path() + "/settings"});
    program.main_form->FormLoad({source, target});
    program.main_form->form().CheckBoxes.fill(0);
    program.main_form->form().SetCheck(app::CheckBox::ckbformtypes, true);
    program.main_form->cmdNEWConvert();
    ASSERT_EQ(program.main_form->outcome(), app::RunOutcome::Completed) << Notices();
  }

  std::string Notices() const {
    std::string all;
    for (const std::string& notice : view.notices) all += notice + "\n";
    return all;
  }

  std::map<std::string, test::ExportedRow> FormTypes() const {
    std::map<std::string, test::ExportedRow> rows;
    for (auto& row : test::MdbExport(target + "/office.mdb", "FormTypes")) rows[row["FormType"]] = row;
    return rows;
  }

  const app::Ledger& Ledger() const {
    for (const auto& report : program.main_form->RunReport()) {
      if (report.kind == app::MainForm::ReportKind::Step && report.name == "formtypes") return report.result.ledger;
    }
    throw std::runtime_error("the form-types step did not run");
  }

  test::TempDir dir;
  std::string root, source, target;
  test::FakeView view;
  test::FakeClock clock{1794733507};
  Program program;
};

TEST_F(FormTypesTest, AnEmptyTargetGetsTheThirtyFourStandardRows) {
  MakeOffice({});
  Run();
  auto rows = FormTypes();
  ASSERT_EQ(rows.size(), 34u);
  std::set<int> orders;
  for (auto& [code, row] : rows) {
    EXPECT_EQ(row["STANDARD"], "1") << code;
    orders.insert(std::stoi(row["DISPLAYORDER"]));
  }
  EXPECT_EQ(orders.size(), 34u);
  EXPECT_EQ(*orders.begin(), 1);
  EXPECT_EQ(*orders.rbegin(), 34);
  EXPECT_EQ(std::stoi(rows["UA2"]["DISPLAYORDER"]), 1);
  EXPECT_EQ(std::stoi(rows["LIMOF"]["DISPLAYORDER"]), 34);
  EXPECT_EQ(rows["CMR"]["FormDesc"], "FORMDESC Condition and Marketability Report FHLMC 2070");
  EXPECT_EQ(rows["2045"]["FormDesc"], "Master Residential Appraisal Report  FHLMC 2045");
  EXPECT_EQ(rows["BMA"]["CATEGORY"], "");
  EXPECT_EQ(rows["2055"]["FORM"], "2055 9/96");

  // forms.dbf holds no record: the standard rows alone are no records read.
  auto lines = test::ReadLogLines(program.main_form->LogPath());
  EXPECT_NE(std::find(lines.begin(), lines.end(),
                      "Formtypes table (standard) conversion complete: No records found"),
            lines.end());
}

TEST_F(FormTypesTest, OfficeCodesGoThroughTheMappingAndOnlyNewTypesAreAdded) {
  MakeOffice({"F2000", "COOP", "2055x", "ZZZ", "", "coop", "UA2", "1092"});
  Run();
  auto rows = FormTypes();
  ASSERT_EQ(rows.size(), 36u);  // the 34 standard rows, COOP and 1092
  EXPECT_EQ(rows["COOP"]["CATEGORY"], "OTHER");
  EXPECT_EQ(rows["COOP"]["FORM"], "COOP");
  EXPECT_EQ(rows["COOP"]["STANDARD"], "0");
  EXPECT_EQ(rows["COOP"]["FormDesc"], "Desc COOP");
  EXPECT_EQ(rows["1092"]["FormDesc"], "Desc 1092");
  EXPECT_EQ(rows.count("ZZZ"), 0u);
  EXPECT_EQ(rows.count("FRR2"), 1u);

  // The completion line counts the records read (it said "No records found" before).
  auto lines = test::ReadLogLines(program.main_form->LogPath());
  EXPECT_NE(std::find(lines.begin(), lines.end(), "Formtypes table (standard) conversion complete: 8 records"),
            lines.end());
  // Every source record is accounted for, each skip with its reason.
  const app::Ledger& ledger = Ledger();
  EXPECT_TRUE(ledger.Complete());
  EXPECT_EQ(ledger.read(), 8);
  EXPECT_EQ(ledger.count(app::RecordOutcome::Added), 2);
  EXPECT_EQ(ledger.count(app::RecordOutcome::Skipped), 6);
  std::vector<std::string> reasons;
  for (const app::LedgerNote& note : ledger.notes()) reasons.push_back(note.reason);
  EXPECT_NE(std::find(reasons.begin(), reasons.end(), "form code stands for no known form type"), reasons.end());
  EXPECT_NE(std::find(reasons.begin(), reasons.end(), "no form code"), reasons.end());
  EXPECT_NE(std::find(reasons.begin(), reasons.end(), "form type already in FormTypes"), reasons.end());
  ASSERT_FALSE(ledger.notes().empty());
  EXPECT_EQ(ledger.notes().front().record, "FORMS.DBF record 1 (Form_type F2000)");

  // The run's report: the step's counts with each reason counted, and office.mdb re-read from
  // disk after the run holding what the run wrote.
  const app::MainForm& form = *program.main_form;
  EXPECT_EQ(form.RowsBefore().at("FormTypes"), 0);
  EXPECT_EQ(form.RowsWritten().at("FormTypes"), 36);
  EXPECT_EQ(form.RowsCommitted().at("FormTypes"), 36);
  std::string summary = app::RunSummaryText(form);
  // The step in the window's words: read = added + updated + unchanged + skipped + refused.
  EXPECT_NE(summary.find("\nForm types             8       2       0         0       6       0  FORMS.DBF\n"),
            std::string::npos) << summary;
  EXPECT_NE(summary.find("    skipped 2: the form type it stands for is already in FormTypes\n"), std::string::npos) << summary;
  EXPECT_NE(summary.find("\nFormTypes              0      36        36\n"), std::string::npos) << summary;
  EXPECT_NE(summary.find("office.mdb on disk holds every row the run wrote."), std::string::npos) << summary;
  EXPECT_TRUE(app::RunSummaryProblems(form).empty());
  std::string json = app::RunSummaryJson(form);
  EXPECT_NE(json.find("\"name\": \"formtypes\", \"caption\": \"Form types\", \"kind\": \"step\", \"read\": 8, "
                      "\"found\": 8, \"added\": 2"),
            std::string::npos) << json;
}

TEST_F(FormTypesTest, ARerunResetsAnEditedStandardRowAndAddsNothingTwice) {
  MakeOffice({"COOP"});
  Run();
  {
    auto database = jet::Database::Open(target + "/office.mdb", {.open_for = jet::OpenFor::Writing});
    jet::Table& table = database->GetTable("FormTypes");
    for (auto row = table.FirstRow(); row; row = table.NextRow(*row)) {
      std::vector<jet::Value> values = table.ReadRow(*row);
      if (values[1].bytes != "UA2") continue;
      values[2] = jet::Value::String("edited by the office");
      table.Update(*row, std::move(values));
    }
    database->Commit();
  }
  ASSERT_EQ(FormTypes()["UA2"]["FormDesc"], "edited by the office");
  Run();
  auto rows = FormTypes();
  EXPECT_EQ(rows.size(), 35u);
  EXPECT_EQ(rows["UA2"]["FormDesc"], "Uniform Residential (FHLMC 70/ FNMA 1004)");
}

TEST_F(FormTypesTest, FoldersWithSemicolonsBlanksAndAccentsWork) {
  MakeOffice({"COOP"}, "Office; Zürich 2026");
  Run();
  EXPECT_EQ(FormTypes().size(), 35u);
  EXPECT_EQ(program.main_form->session().Paths.target_file, target + "/office.mdb");
}

TEST(MapFormCode, FirstMatchingCaseWinsAndShadowedCasesStayUnreachable) {
  EXPECT_EQ(MapFormCode("F2000"), "FRR2");
  EXPECT_EQ(MapFormCode(" 2055x "), "2055");  // case 3 before the "2055x" of case 10
  EXPECT_EQ(MapFormCode("bma"), "BMA");
  EXPECT_EQ(MapFormCode(""), "NONE");
  EXPECT_EQ(MapFormCode("."), "NONE");
  EXPECT_EQ(MapFormCode("1092"), "1092");
  EXPECT_EQ(MapFormCode("704SUMRY"), "SUMRY");
  EXPECT_EQ(MapFormCode("ERC"), "ER3");
  EXPECT_EQ(MapFormCode("NOSUCH"), "");
}

}  // namespace
}  // namespace qorvane::convert
