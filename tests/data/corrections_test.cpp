// The file-number rules and the two corrections written back into the source: the preliminary
// corrections of property.dbf and the other tables, and the duplicate-client correction of
// client.dbf. Each runs inside a real run; the .dbf files are read back (and their .cdx
// verified) afterwards, the list and log lines compared exactly.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

#include "data/duplicate_clients.h"
#include "data/file_numbers.h"
#include "foxpro/cdx.h"
#include "foxpro/index_maintenance.h"
#include "foxpro/record_set.h"
#include "test_support/office_run.h"
#include "test_support/sample_office.h"
#include "test_support/whole_tables.h"

namespace qorvane::data {
namespace {

using test::FoxText;

// The cases the corrections and the order runs do not reach (their keys are checked there).
TEST(FileNumberRules, IllegalCharactersRepairsAndKeys) {
  EXPECT_FALSE(HasIllegalFileChars("12/3"));
  EXPECT_TRUE(HasIllegalFileChars("12\t3"));
  EXPECT_TRUE(HasIllegalFileChars("caf\xC3\xA9"));
  EXPECT_EQ(FixIllegalFileChars("95-\u00B00001\u00B0"), "95--0001-");  // one character, not its bytes
  EXPECT_EQ(FixIllegalFileChars("\u00E9t\u00E9#"), "-t-#");
  EXPECT_EQ(MakeFileNumber("12345678901"), "12345678901");
}

// The source tables of the office, by CLI_NUM / FILE_NUM etc., as the engine reads them back.
std::map<std::string, std::vector<std::string>> ReadBack(const std::string& folder, const std::string& table,
                                                         const std::vector<std::string>& fields) {
  std::map<std::string, std::vector<std::string>> rows;
  auto records = foxpro::RecordSet::Open(folder, table, {});
  for (; !records->EndOfFile(); records->MoveNext()) {
    std::vector<std::string> values;
    for (const std::string& field : fields) {
      std::string text = records->GetValue(field).text;
      values.push_back(text.substr(0, text.find_last_not_of(' ') + 1));
    }
    rows[std::to_string(records->GetBookmark() + 1)] = values;
  }
  return rows;
}

// The log without the lines that say where a table was backed up before its first write.
std::vector<std::string> WithoutBackupLines(std::vector<std::string> log) {
  std::erase_if(log, [](const std::string& line) { return line.rfind("backed up ", 0) == 0; });
  return log;
}

void ExpectIndexVerified(const std::string& dbf, const std::string& cdx) {
  auto table = foxpro::Table::Open(dbf, {437, nullptr});
  auto index = foxpro::CompoundIndex::Open(cdx);
  foxpro::IndexCheck check = foxpro::VerifyIndex(*table, index);
  EXPECT_TRUE(check.ok()) << (check.problems.empty() ? "" : check.problems.front());
}

class PreliminaryCorrections : public ::testing::Test {
 protected:
  void SetUp() override {
    test::WriteFoxTable(run.source + "/PROPERTY.DBF",
                        {{"FILE_NUM", 'C', 10}, {"INV_NUM", 'C', 10}, {"CLI_NUM", 'C', 10}},
                        {{FoxText("ab 12"), FoxText("I 5"), FoxText("c1")},
                         {FoxText("100"), FoxText("200"), FoxText("300")},
                         {FoxText("1#2#3&4"), FoxText("INV7"), FoxText("C&1")},
                         {FoxText("x y%"), FoxText(""), FoxText("")}},
                        {{"FILE_NUM", "FILE_NUM", "", false}, {"CLI_NUM", "UPPER(CLI_NUM)", "", false}});
    test::WriteFoxTable(run.source + "/INVOICE.DBF", {{"INV_NUM", 'C', 10}},
                        {{FoxText("A$1")}, {FoxText("B2")}}, {{"INV_NUM", "INV_NUM", "", false}});
    test::WriteFoxTable(run.source + "/CLIENT.DBF", {{"CLI_NUM", 'C', 5}, {"CLI_BILL", 'C', 5}, {"CLI_LNAME", 'C', 20}},
                        {{FoxText("7*"), FoxText("b 1"), FoxText("SMITH")}});
    run.Load();
    run.model().SetCheck(app::CheckBox::ckbPrelim, true);
  }
  test::OfficeRun run;
};

TEST_F(PreliminaryCorrections, RepairIllegalNumbersAndStoreCleanedOnesBack) {
  auto original = os::ReadWholeFile(run.source + "/PROPERTY.DBF");
  auto log = WithoutBackupLines(run.Convert());
  ASSERT_EQ(run.form().outcome(), app::RunOutcome::Completed) << run.Notices();
  EXPECT_EQ(test::LinesFrom(log, "Preliminary data correction to illegal VL property.dbf fields (file_num and Inv_num)", "Qorvane"),
            (std::vector<std::string>{
                "Preliminary data correction to illegal VL property.dbf fields (file_num and Inv_num)",
                "VL CORRECTION: illegal file_num (1#2#3&4) converted = 1-2-3&4",
                "VL CORRECTION: illegal Cli_num (C&1) converted = C-1",
                "VL CORRECTION: illegal file_num (XY%) converted = XY-",
                "Preliminary data correction to illegal VL Invoice.dbf field (Inv_num)",
                "VL CORRECTION: illegal Inv_num (A$1) converted = A-1",
                "Preliminary data correction to illegal VL Client.dbf field (Cli_num)",
                "VL CORRECTION: illegal Cli_num (7*) converted = 7-",
                "Preliminary data correction to illegal VL Client.dbf field (Cli_Bill)",
                ""}));
  EXPECT_EQ(run.model().lstIllegalFilenumbers,
            (std::vector<std::string>{"Property.file_num: 1#2#3&4 = 1-2-3&4", "Property.Cli_num: C&1 = C-1",
                                      "Property.file_num: XY% = XY-", "Invoice.Inv_num: A$1 = A-1",
                                      "Client.Cli_num: 7* = 7-"}));

  auto property = ReadBack(run.source, "PROPERTY", {"FILE_NUM", "INV_NUM", "CLI_NUM"});
  EXPECT_EQ(property["1"], (std::vector<std::string>{"AB12", "I5", "C1"}));  // cleaned, nothing illegal
  EXPECT_EQ(property["2"], (std::vector<std::string>{"100", "200", "300"}));
  EXPECT_EQ(property["3"], (std::vector<std::string>{"1-2-3&4", "INV7", "C-1"}));
  EXPECT_EQ(property["4"], (std::vector<std::string>{"XY-", "", ""}));
  EXPECT_EQ(ReadBack(run.source, "CLIENT", {"CLI_NUM", "CLI_BILL"})["1"], (std::vector<std::string>{"7-", "B1"}));
  ExpectIndexVerified(run.source + "/PROPERTY.DBF", run.source + "/PROPERTY.cdx");
  ExpectIndexVerified(run.source + "/INVOICE.DBF", run.source + "/INVOICE.cdx");

  // Every record read is accounted for; the first write backed up the table as it was.
  const app::Ledger& ledger = run.Report("correct property.dbf").ledger;
  EXPECT_TRUE(ledger.Complete());
  EXPECT_EQ(ledger.count(app::RecordOutcome::Updated), 3);
  EXPECT_EQ(ledger.count(app::RecordOutcome::Unchanged), 1);
  std::vector<std::string> backups;
  for (const auto& entry : std::filesystem::directory_iterator(run.source)) {
    if (entry.path().filename().string().rfind("qorvane-backup-", 0) == 0) backups.push_back(entry.path());
  }
  ASSERT_EQ(backups.size(), 1u);
  EXPECT_EQ(os::ReadWholeFile(backups[0] + "/PROPERTY.DBF"), original);
}

class DuplicateClients : public ::testing::Test {
 protected:
  void SetUp() override {
    test::WriteFoxTable(run.source + "/PROPERTY.DBF", {{"FILE_NUM", 'C', 10}}, {});
    std::vector<std::vector<foxpro::Value>> rows;
    for (auto [number, key] : std::vector<std::pair<const char*, const char*>>{
             {"7", "SMITH"}, {"9", "SMITH"}, {"12", "SMITH"}, {"40", ""}, {"3", "JONES"}, {"5", "K&B"}}) {
      rows.push_back({FoxText(number), FoxText(key)});
    }
    test::WriteFoxTable(run.source + "/CLIENT.DBF", {{"CLI_NUM", 'C', 5}, {"CLI_LNAME", 'C', 20}}, rows,
                        {{"CLI_NUM", "CLI_NUM", "", false}});
    run.Load();
    run.model().SetCheck(app::CheckBox::ckbClient, true);
    run.model().SetCheck(app::CheckBox::ckbPrelim, true);
  }
  test::OfficeRun run;
};

TEST_F(DuplicateClients, EmptyRepeatedAndIllegalKeysBecomeUniqueWithTheClientNumber) {
  auto log = WithoutBackupLines(run.Convert());
  ASSERT_EQ(run.form().outcome(), app::RunOutcome::Completed) << run.Notices();
  auto lines = test::LinesFrom(log, "Checking For duplicate Client Listings");
  lines.resize(std::min<std::size_t>(lines.size(), 6));
  EXPECT_EQ(lines, (std::vector<std::string>{"Checking For duplicate Client Listings", "",
                                             "Clientnum: 40 Cli_lname:  = 40",
                                             "Clientnum: 5 Cli_lname: JONES = 5JONES",
                                             "Clientnum: 9 Cli_lname: SMITH = 9SMITH",
                                             "Clientnum: 12 Cli_lname: SMITH = 12SMITH"}));
  const app::FormModel& form = run.model();
  EXPECT_EQ(form.lstduplicateclients, (std::vector<std::string>{"", "JONES", "SMITH", "SMITH"}));
  EXPECT_EQ(form.lstclinum, (std::vector<std::string>{"40", "5", "9", "12"}));
  EXPECT_EQ(form.lstafterdup, (std::vector<std::string>{"40", "5JONES", "9SMITH", "12SMITH"}));
  // Said without halting the run, with its count.
  EXPECT_NE(std::find(run.view.notices.begin(), run.view.notices.end(),
                      "Invalid Client records were found and corrected automatically. (4 client keys in client.dbf; "
                      "each is listed, with its correction, in the duplicate-client form)"),
            run.view.notices.end());

  std::map<std::string, std::string> keys;
  for (auto& [record, values] : ReadBack(run.source, "CLIENT", {"CLI_NUM", "CLI_LNAME"})) keys[values[0]] = values[1];
  EXPECT_EQ(keys, (std::map<std::string, std::string>{{"7", "SMITH"}, {"9", "9SMITH"}, {"12", "12SMITH"},
                                                      {"40", "40"}, {"3", "JONES"}, {"5", "5JONES"}}));
  ExpectIndexVerified(run.source + "/CLIENT.DBF", run.source + "/CLIENT.cdx");
  const app::Ledger& ledger = run.Report("client preparation").ledger;
  EXPECT_EQ(ledger.count(app::RecordOutcome::Updated), 4);
  EXPECT_EQ(ledger.count(app::RecordOutcome::Unchanged), 2);
}

// A key corrected into one that still breaks the rules ("A & B" twice: the second becomes
// "9A & B") was corrected again by every later run, to a new key, and each run added the same
// client once more. A key this program corrected is now left as it is, and the confirmation
// says when the source was corrected and where its copies are.
TEST(CorrectedClientKeys, ASecondRunWithTheCorrectionsLeavesThemAndAddsNoClient) {
  test::OfficeRun run;
  test::WriteFoxTable(run.source + "/PROPERTY.DBF", {{"FILE_NUM", 'C', 10}}, {});
  test::WriteWholeTable(run.source + "/CLIENT.DBF", "client.dbf",
                        {{{"CLI_NUM", "7"}, {"CLI_LNAME", "A & B"}},
                         {{"CLI_NUM", "9"}, {"CLI_LNAME", "A & B"}},
                         {{"CLI_NUM", "12"}, {"CLI_LNAME", "C&D"}}},
                        {{"CLI_NUM", "CLI_NUM", "", false}, {"CLI_LNAME", "UPPER(CLI_LNAME)", "", false}});
  auto convert = [&] {
    run.Load();
    run.model().SetCheck(app::CheckBox::ckbClient, true);
    run.model().SetCheck(app::CheckBox::ckbPrelim, true);
    auto log = run.Convert();
    EXPECT_EQ(run.form().outcome(), app::RunOutcome::Completed) << run.Notices();
    std::multiset<std::string> clients;
    for (const auto& row : test::MdbExport(run.target + "/office.mdb", "Client")) clients.insert(row.at("Client"));
    return std::pair{log, clients};
  };
  auto [first_log, first_clients] = convert();
  EXPECT_EQ(std::count_if(first_log.begin(), first_log.end(), [](const std::string& line) { return line.starts_with("Clientnum: "); }), 3);
  auto [second_log, second_clients] = convert();
  EXPECT_EQ(second_clients, first_clients);
  EXPECT_EQ(std::count_if(second_log.begin(), second_log.end(), [](const std::string& line) { return line.starts_with("Clientnum: "); }), 0)
      << "a corrected key was corrected again";
  EXPECT_NE(std::find(second_log.begin(), second_log.end(),
                      "2 client key(s) that an earlier run of this program corrected are left as they are (see "
                      "qorvane-repairs.journal in the source folder)"),
            second_log.end());
  // The confirmation of the second run says when and where the copies are.
  std::string confirmation;
  for (const std::string& message : run.view.messages) {
    if (message.find("Do you wish to continue?") != std::string::npos) confirmation = message;
  }
  EXPECT_NE(confirmation.find("The run started 11/15/2026 9:05:07 AM repaired CLIENT.DBF (3 client keys corrected then "
                              "are not corrected again); the tables as they were before are in " + run.source +
                              "/qorvane-backup-261115-957/."),
            std::string::npos) << confirmation;
  std::map<std::string, std::string> keys;
  for (auto& [record, values] : ReadBack(run.source, "CLIENT", {"CLI_NUM", "CLI_LNAME"})) keys[values[0]] = values[1];
  EXPECT_EQ(keys, (std::map<std::string, std::string>{{"7", "7"}, {"9", "9A & B"}, {"12", "12A & B"}}));
  ExpectIndexVerified(run.source + "/CLIENT.DBF", run.source + "/CLIENT.cdx");
}

TEST_F(DuplicateClients, WithoutPreliminaryCorrectionsClientDbfIsNotTouched) {
  run.model().SetCheck(app::CheckBox::ckbPrelim, false);
  auto before = os::ReadWholeFile(run.source + "/CLIENT.DBF");
  auto log = run.Convert();
  EXPECT_EQ(std::count(log.begin(), log.end(), "Checking For duplicate Client Listings"), 0);
  EXPECT_EQ(os::ReadWholeFile(run.source + "/CLIENT.DBF"), before);
}

TEST_F(DuplicateClients, ACleanClientTableIsLeftAloneWithoutAMessage) {
  test::WriteFoxTable(run.source + "/CLIENT.DBF", {{"CLI_NUM", 'C', 5}, {"CLI_LNAME", 'C', 20}},
                      {{FoxText("1"), FoxText("ADAMS")}, {FoxText("2"), FoxText("BAKER")}});
  run.Load();
  run.model().SetCheck(app::CheckBox::ckbClient, true);
  run.model().SetCheck(app::CheckBox::ckbPrelim, true);
  auto before = os::ReadWholeFile(run.source + "/CLIENT.DBF");
  run.Convert();
  EXPECT_TRUE(run.model().lstduplicateclients.empty());
  for (const std::string& message : run.view.messages) EXPECT_EQ(message.find("Invalid Client"), std::string::npos);
  EXPECT_EQ(os::ReadWholeFile(run.source + "/CLIENT.DBF"), before);
}

}  // namespace
}  // namespace qorvane::data
