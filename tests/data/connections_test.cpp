// The connections on real files: a source office of FoxPro tables written by our engine and an
// office.mdb made as init-target makes it. Checks the log lines of the bindings, the warnings
// for missing tables, the ordered property table, the company labels, and that rows a run
// writes through the ADO controls are in office.mdb afterwards, also after Stop.
#include "data/connections.h"

#include <gtest/gtest.h>

#include <fstream>

#include "../app/fake_view.h"
#include "data/fields.h"
#include "test_support/sample_office.h"
#include "test_support/scripted_routines.h"
#include "foxpro/table_writer.h"
#include "jet/create/create.h"
#include "data/office_schema.h"
#include "test_support/log_lines.h"
#include "test_support/office_folders.h"
#include "test_support/temp_dir.h"

namespace qorvane::data {
namespace {

using test::Command;
using test::WriteFoxTable;
foxpro::Value Text(const std::string& text) { return test::FoxText(text); }

class ConnectionsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    test::OfficeFolders folders(dir.path());
    source = folders.source;
    target = folders.target;
    // Every source table the connections bind; names spelled as Windows left them.
    for (const char* name : {"ASSIGN", "APPLIED", "appraisr", "APPREXP", "APPRFEE", "Client",
                             "CLIEXP", "CLIFEE", "PAYFEE", "ROOMS", "INVOICE"}) {
      WriteFoxTable(source + "/" + name + ".DBF", {{"FILE_NUM", 'C', 10}}, {});
    }
    WriteFoxTable(source + "/Property.dbf", {{"FILE_NUM", 'C', 10}, {"ADDRESS", 'C', 30}},
               {{Text("300"), Text("3 Elm")}, {Text("100"), Text("1 Oak")}, {Text("200"), Text("2 Ash")}});
    WriteFoxTable(source + "/user.dbf",
               {{"NAME", 'C', 30}, {"USER_PHONE", 'C', 15}, {"USER_FAX", 'C', 15}},
               {{Text("Acme Appraisals"), Text("555-0100"), Text("555-0101")}});
    auto schema = data::OfficeSchema();
    jet::create::CreateDatabase(target + "/office.mdb", schema);
    main_form.SetRoutines(routines);
  }

  void Load() {
    main_form.FormLoad({source, target});
    main_form.form().CheckBoxes.fill(0);
  }

  test::TempDir dir;
  std::string source, target;
  test::FakeView view;
  test::FakeClock clock{1794733507};
  app::MainForm main_form{view, app::Settings(dir.path() + "/settings"), clock};
  Connections connections{main_form, {}};
  // The connection routines of the run, over these connections; converters scripted by tests.
  struct Routines : test::ScriptedRoutines {
    explicit Routines(Connections& connections) : connections(connections) {}
    void Connect2Data() override { connections.Connect2Data(); }
    void LoadCompanyLabels() override { connections.LoadCompanyLabels(); }
    void PrepareSource() override { connections.PrepareSource(); }
    bool AdoConnect() override {
      connections.AdoConnect();
      return connections.target_database().is_open();
    }
    void RefreshSource() override { connections.RefreshSource(); }
    app::TableCounts EndRun() override { return connections.EndRun(); }
    Connections& connections;
  } routines{connections};
};

TEST_F(ConnectionsTest, ARunLogsEveryBindingAndStartUpFillsTheCompanyLabels) {
  Load();
  EXPECT_EQ(main_form.form().lblCompany, "Acme Appraisals");
  EXPECT_EQ(main_form.form().lblphone, "555-0100");
  EXPECT_EQ(main_form.form().lblfax, "555-0101");
  EXPECT_TRUE(view.messages.empty());
  main_form.cmdNEWConvert();
  ASSERT_EQ(main_form.outcome(), app::RunOutcome::Completed) << view.notices.size();
  std::vector<std::string> connected;
  for (const std::string& line : test::ReadLogLines(main_form.LogPath())) {
    if (line.rfind("Connected to ", 0) == 0) connected.push_back(line);
  }
  ASSERT_EQ(connected.size(), 14u);
  EXPECT_EQ(connected[0], "Connected to " + source + "/assign.dbf");
  EXPECT_EQ(connected[2], "Connected to " + source + "/appraiser.dbf");
  EXPECT_EQ(connected[13], "Connected to " + source + "/invoice.dbf");
  EXPECT_EQ(test::ReadLogLines(main_form.LogPath())[0], "Company: Acme Appraisals");

  // The property control walks the table in file-number order; the second one in table order.
  auto& ordered = connections.source()[app::SourceControl::datproperty];
  EXPECT_EQ(ordered.RecordSource, "Select * from Property order by file_num");
  EXPECT_EQ(ordered.DatabaseName, source);
  EXPECT_EQ(ordered.Connect, "FoxPro 2.6;");
  ordered.Recordset().MoveFirst();
  EXPECT_EQ(DATgetfield(ordered, "file_num"), "100");
  auto& plain = connections.source()[app::SourceControl::datproperty2];
  plain.Recordset().MoveFirst();
  EXPECT_EQ(DATgetfield(plain, "FILE_NUM"), "300");
}

TEST_F(ConnectionsTest, AMissingPropertyTableWarnsOnceForEachOfItsTwoControls) {
  std::filesystem::remove(source + "/Property.dbf");
  Load();
  std::string warning = "Warning.  The file " + source + "/property.dbf is missing.";
  EXPECT_EQ(std::count(view.messages.begin(), view.messages.end(), warning), 2);
  EXPECT_FALSE(connections.source()[app::SourceControl::datproperty].bound());
  EXPECT_TRUE(connections.source()[app::SourceControl::datAssign].bound());
}

TEST_F(ConnectionsTest, Connect2DbfTakesATableNameThatAlreadyEndsInDbf) {
  Load();
  foxpro::RecordSetOptions options;
  DataControl bound(app::SourceControl::datforms, &options, &main_form);
  connections.Connect2DBF(bound, source + "/", "ROOMS.dbf", 1);
  EXPECT_TRUE(bound.bound());
  EXPECT_EQ(bound.DatabaseName, source);
  EXPECT_EQ(bound.RecordSource, "ROOMS.dbf");
  EXPECT_THROW(connections.Connect2DBF(bound, source, "NOSUCH", 1), app::ProgramEnd);
  EXPECT_EQ(view.messages.back(), "The file " + source + "/NOSUCH.DBF was not found.  Please correct and try again.");
}

TEST_F(ConnectionsTest, RowsWrittenDuringARunAreInOfficeMdbAfterItEvenAfterStop) {
  Load();
  main_form.form().SetCheck(app::CheckBox::ckbappraiser, true);
  main_form.form().SetCheck(app::CheckBox::ckbProperty, true);
  routines.On(&app::RunRoutines::ConvertAppraisrDBF, [&] {
    TargetTable& appraisers = connections.target_database().Table("Appraiser");
    TargetRow row = appraisers.NewRow();
    row.Set(appraisers.Column("Appraiser"), "JANE ROE");
    row.SetFlag(appraisers.Column("Active"), true);
    appraisers.Add(row);
    view.requests.push_back(app::UserRequest::Quit);
    return test::Shown(1);
  });
  view.escape_answers.push_back(app::EscapeChoice::Stop);
  EXPECT_EQ(connections.target()[app::TargetControl::adoproperty].bound(), false);
  main_form.cmdNEWConvert();
  EXPECT_EQ(main_form.outcome(), app::RunOutcome::Stopped);
  EXPECT_EQ(connections.target()[app::TargetControl::adoproperty].RecordSource, "Select * from property order by FileNumber");
  EXPECT_FALSE(connections.target_database().is_open());
  std::string exported = Command("mdb-export " + target + "/office.mdb Appraiser 2>&1");
  EXPECT_NE(exported.find("\"JANE ROE\""), std::string::npos) << exported;
}

}  // namespace
}  // namespace qorvane::data
