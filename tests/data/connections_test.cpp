// The connections on real files, through the run layer alone: a source office of FoxPro tables
// written by our engine and an office.mdb made as init-target makes it. Checks the log lines of
// the bindings, the warnings for missing tables, the ordered property table, the company
// labels, and that rows written through the target tables are in office.mdb once the run ends,
// also when it was stopped.
#include "data/connections.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "data/fields.h"
#include "test_support/office_run.h"
#include "test_support/oracles.h"
#include "test_support/plain_run.h"
#include "test_support/sample_office.h"

namespace qorvane::data {
namespace {

using test::WriteFoxTable;
foxpro::Value Text(const std::string& text) { return test::FoxText(text); }

// The source folder of OFFICE with every source table the connections bind, names spelled as
// Windows left them; the property table is left out when WITH_PROPERTY is false.
std::string WithSourceTables(const test::OfficeRun& office, bool with_property = true) {
  const std::string& source = office.source;
  for (const char* name : {"ASSIGN", "APPLIED", "appraisr", "APPREXP", "APPRFEE", "Client", "CLIEXP", "CLIFEE",
                           "PAYFEE", "ROOMS", "INVOICE"}) {
    WriteFoxTable(source + "/" + name + ".DBF", {{"FILE_NUM", 'C', 10}}, {});
  }
  if (with_property) {
    WriteFoxTable(source + "/Property.dbf", {{"FILE_NUM", 'C', 10}, {"ADDRESS", 'C', 30}},
                  {{Text("300"), Text("3 Elm")}, {Text("100"), Text("1 Oak")}, {Text("200"), Text("2 Ash")}});
  }
  WriteFoxTable(source + "/user.dbf", {{"NAME", 'C', 30}, {"USER_PHONE", 'C', 15}, {"USER_FAX", 'C', 15}},
                {{Text("Acme Appraisals"), Text("555-0100"), Text("555-0101")}});
  return source;
}

TEST(Connections, EveryBindingIsLoggedAndTheCompanyLabelsFilled) {
  test::OfficeRun office;
  test::PlainRun run(WithSourceTables(office), office.target);
  const std::string& source = office.source;
  run.connections.LoadCompanyLabels();
  EXPECT_EQ(run.layer.model.lblCompany, "Acme Appraisals");
  EXPECT_EQ(run.layer.model.lblphone, "555-0100");
  EXPECT_EQ(run.layer.model.lblfax, "555-0101");
  EXPECT_TRUE(run.layer.notices.empty());
  std::vector<std::string> connected;
  for (const std::string& line : run.layer.log) {
    if (line.rfind("Connected to ", 0) == 0) connected.push_back(line);
  }
  ASSERT_EQ(connected.size(), 14u);
  EXPECT_EQ(connected[0], "Connected to " + source + "/assign.dbf");
  EXPECT_EQ(connected[2], "Connected to " + source + "/appraiser.dbf");
  EXPECT_EQ(connected[13], "Connected to " + source + "/invoice.dbf");

  // Once the source is prepared, the property control walks the table in file-number order; the
  // second one in table order.
  run.connections.PrepareSource();
  auto& ordered = run.connections.source()[app::SourceControl::datproperty];
  EXPECT_EQ(ordered.RecordSource, "Select * from Property order by file_num");
  EXPECT_EQ(ordered.DatabaseName, source);
  EXPECT_EQ(ordered.Connect, "FoxPro 2.6;");
  ordered.Recordset().MoveFirst();
  EXPECT_EQ(DATgetfield(ordered, "file_num"), "100");
  auto& plain = run.connections.source()[app::SourceControl::datproperty2];
  plain.Recordset().MoveFirst();
  EXPECT_EQ(DATgetfield(plain, "FILE_NUM"), "300");

  // A table name that already ends in .dbf is taken as it is; a missing table ends the program.
  foxpro::RecordSetOptions options;
  DataControl bound(app::SourceControl::datforms, &options, &run.layer);
  run.connections.Connect2DBF(bound, source + "/", "ROOMS.dbf", 1);
  EXPECT_TRUE(bound.bound());
  EXPECT_EQ(bound.DatabaseName, source);
  EXPECT_EQ(bound.RecordSource, "ROOMS.dbf");
  EXPECT_THROW(run.connections.Connect2DBF(bound, source, "NOSUCH", 1), app::ProgramEnd);
  EXPECT_EQ(run.layer.notices.back(), "The file " + source + "/NOSUCH.DBF was not found.  Please correct and try again.");
}

TEST(Connections, AMissingPropertyTableWarnsOnceForEachOfItsTwoControls) {
  test::OfficeRun office;
  test::PlainRun run(WithSourceTables(office, false), office.target);
  std::string warning = "Warning.  The file " + office.source + "/property.dbf is missing.";
  EXPECT_EQ(std::count(run.layer.notices.begin(), run.layer.notices.end(), warning), 2);
  EXPECT_FALSE(run.connections.source()[app::SourceControl::datproperty].bound());
  EXPECT_TRUE(run.connections.source()[app::SourceControl::datAssign].bound());
}

TEST(Connections, RowsWrittenDuringARunAreInOfficeMdbAfterItEvenWhenStopped) {
  test::OfficeRun office;
  test::PlainRun run(WithSourceTables(office), office.target);
  EXPECT_EQ(run.connections.target()[app::TargetControl::adoproperty].RecordSource,
            "Select * from property order by FileNumber");
  TargetTable& appraisers = run.connections.target_database().Table("Appraiser");
  TargetRow row = appraisers.NewRow();
  row.Set(appraisers.Column("Appraiser"), "JANE ROE");
  row.SetFlag(appraisers.Column("Active"), true);
  appraisers.Add(row);
  run.layer.state.AbortRequested = true;
  run.Finish();
  EXPECT_FALSE(run.connections.target_database().is_open());
  test::RequireOracle(test::Oracle::Mdbtools);
  std::string exported = test::Command("mdb-export " + office.target + "/office.mdb Appraiser 2>&1");
  EXPECT_NE(exported.find("\"JANE ROE\""), std::string::npos) << exported;
}

}  // namespace
}  // namespace qorvane::data
