// `qorvane export` from both engines: a .mdb's table list and rows, a .dbf's live records in the
// agreed forms, warnings for damage read past, and the exit statuses of files it cannot read.
#include <gtest/gtest.h>

#include <sstream>

#include "cli/export.h"
#include "common/os.h"
#include "foxpro/sample_tables.h"
#include "test_support/temp_dir.h"

namespace qorvane::cli {
namespace {

using qorvane::test::FixturePath;
using qorvane::test::TempDir;

TEST(Export, MdbListsTablesAndPrintsRows) {
  ExportOptions options;
  options.file = FixturePath("mdb/testV2000.mdb");
  std::ostringstream out, err;
  EXPECT_EQ(Export(options, out, err), kExportDone);
  EXPECT_EQ(out.str(), "table,rows\nTable1,2\nTable2,0\nTable3,0\nTable4,0\n");
  options.table = "table1";
  out.str("");
  EXPECT_EQ(Export(options, out, err), kExportDone);
  EXPECT_EQ(out.str(),
            "A,B,C,D,E,F,G,H,I\nabcdefg,hijklmnop,2,222,333333333,444.555,1974-09-21 00:00:00,3.5,1\n"
            "a,b,0,0,0,0,1981-12-12 00:00:00,0,0\n");
  options.table = "NoSuchTable";
  EXPECT_EQ(Export(options, out, err), kExportBadFile);
  options.file = FixturePath("mdb/testV1997.mdb");
  EXPECT_EQ(Export(options, out, err), kExportUnreadable);
  EXPECT_NE(err.str().find("testV1997.mdb"), std::string::npos);
}

TEST(Export, DbfPrintsLiveRecordsInTheAgreedForms) {
  TempDir folder;
  foxpro::test::WritePropertyTable(folder.path());
  std::ostringstream out, err;
  ExportOptions options;
  options.file = folder.path() + "/Property.DBF";
  ASSERT_EQ(Export(options, out, err), kExportDone) << err.str();
  std::string csv = out.str();
  EXPECT_EQ(csv.substr(0, csv.find('\n')), "FILE_NUM,INV_NUM,CLI_NUM,PR_STREET,PR_APPRVAL,PR_DRECEIV,PREF_BILL,PR_COMM");
  EXPECT_NE(csv.find("4521,INV1,7,12 Main St,123456.78,1999-12-31 00:00:00,1,\"First line\r\nsecond line\"\n"), std::string::npos) << csv;
  EXPECT_NE(csv.find("ab 12,INV2,9,Elm Road,,,,\n"), std::string::npos) << csv;
  EXPECT_NE(csv.find("Café Straße,-42.50,"), std::string::npos) << csv;
  EXPECT_EQ(csv.find("Gone"), std::string::npos);  // the deleted record
  EXPECT_EQ(err.str(), "");
}

TEST(Export, DamageReadPastIsAWarningAndTheRowsStillCome) {
  TempDir folder;
  foxpro::test::WritePropertyTable(folder.path());
  os::RemoveFile(folder.path() + "/Property.fpt");
  std::ostringstream out, err;
  ExportOptions options;
  options.file = folder.path() + "/Property.DBF";
  ASSERT_EQ(Export(options, out, err), kExportDone) << err.str();
  EXPECT_EQ(err.str(), "warning: Property.DBF: the memo file Property.fpt is missing; memo fields read as empty\n");
  EXPECT_NE(out.str().find("4521,INV1,7,12 Main St,123456.78,1999-12-31 00:00:00,1,\n"), std::string::npos) << out.str();
}

TEST(Export, FilesItCannotReadOrDoesNotKnow) {
  TempDir folder;
  std::ostringstream out, err;
  ExportOptions options;
  options.file = folder.path() + "/nothing.dbf";
  EXPECT_EQ(Export(options, out, err), kExportUnreadable);
  EXPECT_NE(err.str().find("nothing.dbf"), std::string::npos);
  options.file = folder.path() + "/notes.txt";
  EXPECT_EQ(Export(options, out, err), kExportBadFile);
  EXPECT_EQ(out.str(), "");
}

}  // namespace
}  // namespace qorvane::cli
