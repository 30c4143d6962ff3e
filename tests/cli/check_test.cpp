// `qorvane check` on a source office: what the corrections would repair, in the log's wording,
// a line per table, the exit status, and not one byte or time of the source changed.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <map>

#include "test_support/run_command.h"
#include "test_support/sample_office.h"
#include "test_support/temp_dir.h"
#include "test_support/whole_tables.h"

namespace qorvane {
namespace {

using test::FoxText;

using CheckRun = test::CommandResult;

CheckRun Check(const std::string& folder, const std::string& options = "") {
  return test::RunForResult(std::string(QORVANE_CLI_PATH) + " check --source " + test::ShellQuote(folder) + options +
                            " 2>&1");
}

// Every file of FOLDER with its bytes and its modification time.
std::map<std::string, std::pair<std::string, long long>> Snapshot(const std::string& folder) {
  std::map<std::string, std::pair<std::string, long long>> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    struct stat info {};
    stat(entry.path().c_str(), &info);
    files[entry.path().filename()] = {test::Command("cat " + test::ShellQuote(entry.path())),
                                      info.st_mtim.tv_sec * 1000000000LL + info.st_mtim.tv_nsec};
  }
  return files;
}

class SourceCheck : public ::testing::Test {
 protected:
  void SetUp() override {
    source = dir.path() + "/pyx";
    std::filesystem::create_directories(source);
    WriteProperty({{{"FILE_NUM", "1001"}, {"INV_NUM", "I1"}, {"CLI_NUM", "C1"}}, {{"FILE_NUM", "1002"}}});
    WriteClients({{{"CLI_NUM", "1"}, {"CLI_LNAME", "ADAMS"}}, {{"CLI_NUM", "2"}, {"CLI_LNAME", "BAKER"}}});
  }
  void WriteProperty(const std::vector<test::FieldValues>& rows) {
    test::WriteWholeTable(source + "/PROPERTY.DBF", "property.dbf", rows, {{"FILE_NUM", "FILE_NUM", "", false}});
  }
  void WriteClients(const std::vector<test::FieldValues>& rows) {
    test::WriteWholeTable(source + "/CLIENT.DBF", "client.dbf", rows, {{"CLI_NUM", "CLI_NUM", "", false}});
  }
  test::TempDir dir;
  std::string source;
};

TEST_F(SourceCheck, ACleanOfficeNeedsNothingAndSaysSo) {
  auto before = Snapshot(source);
  CheckRun run = Check(source);
  EXPECT_EQ(run.status, 0) << run.out;
  EXPECT_NE(run.out.find("property.dbf: 2 records\n"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("client.dbf: 2 records\n"), std::string::npos);
  EXPECT_NE(run.out.find("No file number needs the Preliminary Corrections.\n"
                         "No client key needs the duplicate-client correction.\nNothing was written.\n"
                         "next: qorvane convert --source " + source + "/ --target DIR\n"),
            std::string::npos) << run.out;
  EXPECT_EQ(Snapshot(source), before);
}

TEST_F(SourceCheck, IllegalNumbersAndBadClientKeysAreListedAndNothingIsWritten) {
  WriteProperty({{{"FILE_NUM", "1#2#3&4"}, {"INV_NUM", "1#2#3&4"}, {"CLI_NUM", "C&1"}}, {{"FILE_NUM", "ab 12"}}});
  WriteClients({{{"CLI_NUM", "7"}, {"CLI_LNAME", "SMITH"}}, {{"CLI_NUM", "9"}, {"CLI_LNAME", "SMITH"}, {"CLI_BILL", "X*"}}});
  auto before = Snapshot(source);
  // Listed numbers: one the source holds (as the old program shows it), one it does not.
  CheckRun run = Check(source, " --files '1#2#3&4,77-1'");
  EXPECT_EQ(run.status, 1) << run.out;
  EXPECT_NE(run.out.find("File number 77-1 is not in property.dbf or invoice.dbf: a conversion with --files 77-1 would "
                         "delete its rows in office.mdb"), std::string::npos) << run.out;
  EXPECT_EQ(run.out.find("File number 1#2#3&4"), std::string::npos) << run.out;
  for (const char* line : {"Preliminary data correction to illegal VL property.dbf fields (file_num and Inv_num)\n"
                           "VL CORRECTION: illegal file_num (1#2#3&4) converted = 1-2-3&4\n"
                           "VL CORRECTION: illegal Inv_num (1#2#3&4) converted = 1-2-3&4\n"
                           "VL CORRECTION: illegal Cli_num (C&1) converted = C-1\n",
                           "Preliminary data correction to illegal VL Client.dbf field (Cli_Bill)\n"
                           "VL CORRECTION: illegal Cli_Bill (X*) converted = X-\n",
                           "Checking For duplicate Client Listings\nClientnum: 9 Cli_lname: SMITH = 9SMITH\n",
                           // A number met in two fields is one number to repair, in two places.
                           "3 numbers would be repaired by the Preliminary Corrections, in 4 places:\n"
                           "  1#2#3&4 becomes 1-2-3&4 (property.dbf Inv_num and property.dbf file_num)\n"
                           "  C&1 becomes C-1 (property.dbf Cli_num)\n  X* becomes X- (client.dbf Cli_Bill)\n",
                           "1 client key in client.dbf would be changed by the duplicate-client correction",
                           "  client 9 SMITH becomes 9SMITH: its number followed by its key, which another client has too\n"
                           "Nothing was written.\nnext: qorvane convert --source "}) {
    EXPECT_NE(run.out.find(line), std::string::npos) << line << "\n---\n" << run.out;
  }
  EXPECT_EQ(Snapshot(source), before);
  EXPECT_FALSE(std::filesystem::exists(source + "/qorvane-backup-"));
}

TEST_F(SourceCheck, ADamagedTableIsNamedAndAnUnreadableOneGivesStatusThree) {
  // A table cut short: the records that are there are counted and the damage is reported.
  std::string path = source + "/PROPERTY.DBF";
  std::filesystem::resize_file(path, std::filesystem::file_size(path) - 20);
  CheckRun run = Check(source);
  EXPECT_NE(run.out.find("property.dbf: 1 records\n  "), std::string::npos) << run.out;
  // Not a table at all.
  test::Command("printf 'not a table' > " + test::ShellQuote(source + "/INVOICE.DBF"));
  run = Check(source);
  EXPECT_EQ(run.status, 3) << run.out;
  EXPECT_NE(run.out.find("invoice.dbf: cannot be read: "), std::string::npos) << run.out;
  EXPECT_EQ(Check(dir.path() + "/nowhere").status, 2);
}

}  // namespace
}  // namespace qorvane
