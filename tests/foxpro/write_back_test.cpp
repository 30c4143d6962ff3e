// Writing back into source tables: Edit/Update round trips read by the independent reader,
// the backup, every index tag verified after each write (rooms.cdx FOR tags included, on a
// copy), refusal of tags that cannot be rebuilt, and writes that fail halfway.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

#include "common/error.h"
#include "common/os.h"
#include "foxpro/cdx.h"
#include "foxpro/format.h"
#include "foxpro/index_maintenance.h"
#include "foxpro/record_set.h"
#include "record_text.h"
#include "sample_tables.h"
#include "test_support/temp_dir.h"
#include "test_util.h"

namespace qorvane::foxpro {
namespace {

using qorvane::test::FixturePath;
using qorvane::test::TempDir;

// The backup folder a run started at 11/15/2026 9:05:07 names.
std::string BackupFolder() { return "qorvane-backup-261115-957"; }

std::string Join(const std::vector<std::string>& lines) {
  std::string all;
  for (const auto& line : lines) all += line + "\n";
  return all;
}

// Every tag of the table's index matches the table.
void ExpectIndexVerified(const std::string& dbf, const std::string& cdx) {
  auto table = Table::Open(dbf, {437, nullptr});
  auto index = CompoundIndex::Open(cdx);
  IndexCheck check = VerifyIndex(*table, index);
  EXPECT_TRUE(check.ok()) << Join(check.problems);
  EXPECT_TRUE(check.unchecked.empty()) << Join(check.unchecked);
}

std::vector<std::byte> Bytes(const std::string& path) { return os::ReadWholeFile(path); }

class WriteBackTest : public ::testing::Test {
 protected:
  void SetUp() override {
    test::WritePropertyTable(folder_.path());
    test::WriteClientTable(folder_.path());
    dbf_ = folder_.path() + "/Property.DBF";
    cdx_ = folder_.path() + "/Property.cdx";
  }
  void TearDown() override { os::FaultInjection::Reset(); }
  std::unique_ptr<RecordSet> Open(const std::string& source) {
    return RecordSet::Open(folder_.path(), source, {437, &reporter_, &backup_});
  }
  TempDir folder_;
  CollectingReporter reporter_;
  BackupSession backup_{BackupFolder(), &reporter_};
  std::string dbf_, cdx_;
};

TEST_F(WriteBackTest, EditUpdateRoundTripsEveryWritableType) {
  {
    auto set = Open("select file_num, inv_num, Cli_Num, pr_apprval, pr_dreceiv, pref_bill from property");
    set->MoveNext();  // "ab 12"
    set->Edit();
    set->SetText("FILE_NUM", "AB12");
    set->SetValue("PR_APPRVAL", test::Number(99.999));  // rounded to the field's 2 decimals
    set->SetText("PR_DRECEIV", "3/4/2024");
    set->SetText("PREF_BILL", "True");
    EXPECT_EQ(test::Text(*set, "FILE_NUM"), "AB12");  // the edit buffer is visible before Update
    set->Update();
    set->MoveNext();
    set->Edit();
    set->SetText("PR_DRECEIV", "");
    set->SetValue("PR_APPRVAL", Value{});
    set->Update();
    set->MoveNext();
    set->Edit();
    EXPECT_THROW(set->SetValue("PR_APPRVAL", test::Number(123456789012.0)), qorvane::Error);  // does not fit N(10,2)
    EXPECT_THROW(set->SetText("PR_DRECEIV", "2/30/2024"), qorvane::Error);
    EXPECT_THROW(set->SetText("FILE_NUM", std::string(300, '9')), qorvane::Error);  // refused, not cut
    set->CancelUpdate();
    set->Flush();
  }
  auto check = Open("PROPERTY");
  check->MoveNext();
  EXPECT_EQ(test::Text(*check, "FILE_NUM"), "AB12");
  EXPECT_EQ(test::Text(*check, "PR_APPRVAL"), "100");
  EXPECT_EQ(test::Text(*check, "PR_DRECEIV"), "3/4/2024");
  EXPECT_EQ(test::Text(*check, "PREF_BILL"), "True");
  EXPECT_EQ(test::Text(*check, "PR_STREET"), "Elm Road");
  check->MoveNext();
  EXPECT_EQ(test::Text(*check, "PR_DRECEIV"), "");
  EXPECT_EQ(test::Text(*check, "PR_APPRVAL"), "");
  EXPECT_EQ(test::Text(*check, "PR_COMM"), std::string(150, 'x'));
  ExpectIndexVerified(dbf_, cdx_);
  ExpectIndexVerified(folder_.path() + "/client.dbf", folder_.path() + "/client.cdx");
  bool ok = false;
  std::string expected = test::DbfreadDump(dbf_, "cp1252", ok);
  ASSERT_TRUE(ok);
  EXPECT_EQ(test::DumpTable(*Table::Open(dbf_, {})), expected);
}

TEST_F(WriteBackTest, FirstWriteBacksUpOnceAndUnchangedRecordsWriteNothing) {
  auto original = Bytes(dbf_);
  auto original_memo = Bytes(folder_.path() + "/Property.fpt");
  auto original_index = Bytes(cdx_);
  auto set = Open("PROPERTY");
  set->Edit();
  set->SetText("FILE_NUM", "4521");  // the value it already has
  set->Update();
  EXPECT_EQ(Bytes(dbf_), original);
  EXPECT_TRUE(reporter_.messages.empty()) << Join(reporter_.messages);
  EXPECT_FALSE(os::IsDirectory(folder_.path() + "/qorvane-backup-261115-957"));

  for (set->MoveFirst(); !set->EndOfFile(); set->MoveNext()) {
    set->Edit();
    set->SetText("INV_NUM", "X" + test::Text(*set, "INV_NUM"));
    set->Update();
  }
  set->Flush();
  std::string backup = folder_.path() + "/qorvane-backup-261115-957";
  EXPECT_EQ(Bytes(backup + "/Property.DBF"), original);
  EXPECT_EQ(Bytes(backup + "/Property.fpt"), original_memo);
  EXPECT_EQ(Bytes(backup + "/Property.cdx"), original_index);
  ASSERT_EQ(reporter_.messages.size(), 3u) << Join(reporter_.messages);
  EXPECT_EQ(reporter_.messages[0], "backed up " + dbf_ + " to " + backup + "/Property.DBF");
  ExpectIndexVerified(dbf_, cdx_);

  // A second run in the same second keeps the first backup and makes its own.
  CollectingReporter second_reporter;
  BackupSession second(BackupFolder(), &second_reporter);
  auto again = RecordSet::Open(folder_.path(), "PROPERTY", {437, &second_reporter, &second});
  again->Edit();
  again->SetText("INV_NUM", "Y");
  again->Update();
  EXPECT_EQ(Bytes(backup + "/Property.DBF"), original);
  EXPECT_TRUE(os::IsRegularFile(backup + "-2/Property.DBF"));
}

TEST_F(WriteBackTest, DuplicateClientCorrectionKeepsEveryTagTrue) {
  auto sorted = Open("Select * from client order by cli_lname");
  auto table = Open("CLIENT");
  table->SetIndex("CLI_NUM");
  std::string previous;
  std::vector<std::pair<std::string, std::string>> listed;  // (client number, previous key)
  for (; !sorted->EndOfFile(); sorted->MoveNext()) {
    std::string key = test::Text(*sorted, "CLI_LNAME");
    if (key.empty() || key == previous || key.find('&') != std::string::npos) listed.push_back({test::Text(*sorted, "CLI_NUM"), previous});
    previous = key;
  }
  for (auto& [number, key] : listed) {
    ASSERT_TRUE(table->Seek(number));
    table->Edit();
    table->SetText("CLI_LNAME", number + key);
    table->Update();
  }
  table->Flush();
  auto check = Open("Select * from client order by cli_lname");
  std::vector<std::string> keys;
  for (; !check->EndOfFile(); check->MoveNext()) keys.push_back(test::Text(*check, "CLI_LNAME"));
  EXPECT_EQ(keys, (std::vector<std::string>{"12SMITH", "40", "5", "9SMITH", "JONES", "SMITH"}));
  ExpectIndexVerified(folder_.path() + "/client.dbf", folder_.path() + "/client.cdx");
  // The Seek index followed the changes too.
  table->SetIndex("CLI_LNAME");
  EXPECT_TRUE(table->Seek("12smith"));
  EXPECT_FALSE(table->Seek("A&B"));
}

TEST_F(WriteBackTest, RoomsForTagsStayTrueOnACopy) {
  for (const char* name : {"rooms.dbf", "rooms.cdx"}) {
    os::CopyFile(FixturePath(std::string("foxpro/fp2x_cdx_rooms/") + name), folder_.path() + "/" + name);
  }
  auto before = CompoundIndex::Open(folder_.path() + "/rooms.cdx");
  const IndexTag* roomname_tag = nullptr;
  for (const auto& tag : before.tags()) {
    if (tag.name == "ROOMNAME") roomname_tag = &tag;
  }
  ASSERT_NE(roomname_tag, nullptr);
  auto roomname_keys = before.ReadTag(*roomname_tag, ' ');
  {
    auto set = Open("ROOMS");
    int changed = 0;
    for (; !set->EndOfFile(); set->MoveNext()) {
      std::string facility = test::Text(*set, "FACILITY");
      std::string swapped = facility == "Audio" ? "Film" : facility == "Film" ? "audio" : facility;
      if (swapped == facility) continue;
      set->Edit();
      set->SetText("FACILITY", swapped);
      set->Update();
      ++changed;
    }
    EXPECT_GT(changed, 0);
    set->Flush();
  }
  ExpectIndexVerified(folder_.path() + "/rooms.dbf", folder_.path() + "/rooms.cdx");
  auto after = CompoundIndex::Open(folder_.path() + "/rooms.cdx");
  for (const auto& tag : after.tags()) {
    if (tag.name == "ROOMNAME") {
      EXPECT_EQ(after.ReadTag(tag, ' '), roomname_keys);
    }
    if (tag.name == "AUDIO") {
      EXPECT_EQ(tag.for_expression, "TRIM(UPPER(facility))==\"AUDIO\"");
    }
  }
}

TEST_F(WriteBackTest, TagsThatCannotBeRebuiltStopTheWriteBeforeAnything) {
  // An index whose tag on CLI_LNAME uses a function the evaluator does not know.
  auto client = Table::Open(folder_.path() + "/client.dbf", {});
  TagContent unknown;
  unknown.tag.name = "SOUND";
  unknown.tag.key_expression = "SOUNDEX(CLI_LNAME)";
  unknown.tag.key_length = 4;
  TagContent number;
  number.tag.name = "CLI_NUM";
  number.tag.key_expression = "CLI_NUM";
  number.tag.key_length = 6;
  for (std::uint32_t r = 0; r < client->record_count(); ++r) {
    number.entries.push_back({std::string(client->RawField(r, 0)), r + 1});
  }
  std::sort(number.entries.begin(), number.entries.end(), [](auto& a, auto& b) { return a.key < b.key; });
  os::WriteWholeFile(folder_.path() + "/client.cdx", BuildCompoundIndex({unknown, number}));
  client.reset();
  auto original = Bytes(folder_.path() + "/client.dbf");
  auto set = Open("CLIENT");
  set->Edit();
  set->SetText("CLI_LNAME", "NEW");
  try {
    set->Update();
    ADD_FAILURE() << "the update went through";
  } catch (const qorvane::Error& error) {
    EXPECT_EQ(error.kind(), ErrorKind::NotSupported);
    EXPECT_NE(std::string(error.what()).find("tag SOUND (SOUNDEX(CLI_LNAME))"), std::string::npos) << error.what();
  }
  EXPECT_EQ(Bytes(folder_.path() + "/client.dbf"), original);
  EXPECT_FALSE(os::IsDirectory(folder_.path() + "/" + backup_.folder_name()));
  // A field that tag does not read can still be written.
  set->Edit();
  set->SetValue("BALANCE", test::Number(2));
  set->Update();
  set->Flush();

  // A collation other than MACHINE is refused the same way.
  auto index = Bytes(folder_.path() + "/client.cdx");
  auto parsed = CompoundIndex(index, "client.cdx");
  for (const auto& tag : parsed.tags()) {
    if (tag.name == "CLI_NUM") std::memcpy(index.data() + tag.header_offset + format::kTagCollationOffset, "GENERAL", 7);
  }
  os::WriteWholeFile(folder_.path() + "/client.cdx", index);
  auto collated = Open("CLIENT");
  collated->Edit();
  collated->SetText("CLI_NUM", "77");
  try {
    collated->Update();
    ADD_FAILURE() << "the update went through";
  } catch (const qorvane::Error& error) {
    EXPECT_NE(std::string(error.what()).find("collation GENERAL"), std::string::npos) << error.what();
  }
}

TEST_F(WriteBackTest, AWriteThatFailsHalfwayLeavesTheTableReadableAndTheBackupWhole) {
  auto original = Bytes(dbf_);
  std::string backup = folder_.path() + "/" + backup_.folder_name();
  // Writes in order: the three backup copies, then the record.
  for (int failing : {2, 4}) {
    SCOPED_TRACE(failing);
    BackupSession session(BackupFolder(), &reporter_);
    auto set = RecordSet::Open(folder_.path(), "PROPERTY", {437, &reporter_, &session});
    set->Edit();
    set->SetText("FILE_NUM", "CHANGED");
    os::FaultInjection::FailNthWrite(failing, ENOSPC);
    EXPECT_THROW(set->Update(), qorvane::Error);
    os::FaultInjection::Reset();
    EXPECT_EQ(Bytes(dbf_), original);
    auto table = Table::Open(dbf_, {});
    EXPECT_EQ(test::DumpTable(*table).find("CHANGED"), std::string::npos);
  }
  // The index rebuild fails: the old index stays in place, the table reads, the backup is whole.
  BackupSession session(BackupFolder(), &reporter_);
  auto set = RecordSet::Open(folder_.path(), "PROPERTY", {437, &reporter_, &session});
  set->Edit();
  set->SetText("FILE_NUM", "CHANGED");
  set->Update();
  auto old_index = Bytes(cdx_);
  os::FaultInjection::FailNthWrite(1, EIO);
  EXPECT_THROW(set->Flush(), qorvane::Error);
  os::FaultInjection::Reset();
  EXPECT_EQ(Bytes(cdx_), old_index);
  EXPECT_FALSE(os::IsRegularFile(cdx_ + ".qorvane-new"));
  EXPECT_NE(test::DumpTable(*Table::Open(dbf_, {})).find("CHANGED"), std::string::npos);
  std::string folder;
  for (const auto& name : os::ListDirectory(folder_.path())) {
    if (name.rfind("qorvane-backup-", 0) == 0 && os::IsRegularFile(folder_.path() + "/" + name + "/Property.cdx")) folder = name;
  }
  ASSERT_FALSE(folder.empty());
  EXPECT_EQ(Bytes(folder_.path() + "/" + folder + "/Property.DBF"), original);
  set->Flush();  // a retry succeeds
  ExpectIndexVerified(dbf_, cdx_);
}

// The file-number correction writes through one record set while another stays open: both have
// read record 0, and the second must not write its old copy back.
TEST_F(WriteBackTest, AnEditThroughAStaleRecordSetKeepsTheOthersWrite) {
  auto first = Open("PROPERTY");
  auto second = Open("PROPERTY");
  std::string old_number = test::Text(*second, "FILE_NUM");
  first->Edit();
  first->SetText("FILE_NUM", "FIXED-1");
  first->Update();
  first->Flush();
  second->Edit();
  second->SetText("INV_NUM", "INV-9");
  second->Update();
  second->Flush();
  auto reread = Open("PROPERTY");
  EXPECT_EQ(test::Text(*reread, "FILE_NUM"), "FIXED-1") << "was " << old_number;
  EXPECT_EQ(test::Text(*reread, "INV_NUM"), "INV-9");
  ExpectIndexVerified(dbf_, cdx_);
}

}  // namespace
}  // namespace qorvane::foxpro
