// The sample office: the same bytes for the same seed, every table and index readable by our
// reader and by python3-dbfread, the tables agreeing with each other, the mistakes there in
// their proportions, and the command's exit statuses (a folder with tables refused).
#include <gtest/gtest.h>


#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "common/reporter.h"
#include "foxpro/cdx.h"
#include "foxpro/index_maintenance.h"
#include "foxpro/table.h"
#include "sample/office_model.h"
#include "sample/sample_office.h"
#include "test_support/oracles.h"
#include "test_support/run_command.h"
#include "test_support/temp_dir.h"

namespace qorvane {
namespace {

using foxpro::Value;

constexpr std::uint64_t kOrders = 400;
const std::vector<std::string> kTables = {"applied.dbf", "appraisr.dbf", "apprexp.dbf", "apprfee.dbf", "assign.dbf",
                                          "client.dbf",  "cliexp.dbf",   "clifee.dbf",  "forms.dbf",   "invoice.dbf",
                                          "payfee.dbf",  "property.dbf", "rooms.dbf",   "user.dbf"};

std::string FileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// A whole table as our reader gives it: rows of named values, and the damage it reported.
struct ReadTable {
  std::vector<std::map<std::string, Value>> rows;
  std::vector<Damage> damages;
  std::string Text(std::size_t row, const std::string& field) const {
    auto it = rows[row].find(field);
    return it == rows[row].end() || it->second.is_null() ? std::string() : it->second.text;
  }
  double Number(std::size_t row, const std::string& field) const { return rows[row].at(field).number; }
};

ReadTable Read(const std::string& path) {
  ReadTable result;
  CollectingReporter reporter;
  auto table = foxpro::Table::Open(path, {437, &reporter});
  for (std::uint32_t r = 0; r < table->record_count(); ++r) {
    std::map<std::string, Value> row;
    for (std::size_t f = 0; f < table->fields().size(); ++f) row[table->fields()[f].name] = table->ReadValue(r, f);
    result.rows.push_back(std::move(row));
  }
  result.damages = reporter.damages;
  return result;
}

// Characters the preliminary correction calls illegal in a file number.
bool HasIllegalCharacter(const std::string& text) {
  for (unsigned char c : text) {
    if (c < 32 || c > 126 || std::string("%*$#&").find(static_cast<char>(c)) != std::string::npos) return true;
  }
  return false;
}

std::size_t Permille(std::uint64_t records, unsigned per_thousand) {
  return std::max<std::size_t>(1, (records * per_thousand + 500) / 1000);
}

class SampleOffice : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    folder_ = new test::TempDir();
    result_ = new sample::SampleResult(sample::WriteSampleOffice(Folder(), {.orders = kOrders, .seed = 7}));
  }
  static void TearDownTestSuite() {
    delete result_;
    delete folder_;
  }
  static std::string Folder() { return folder_->path() + "/office"; }
  static std::string PathOf(const std::string& table) { return Folder() + "/" + table; }
  static std::uint64_t CountOf(const std::string& file) {
    for (const auto& table : result_->tables) {
      if (table.file == file) return table.records;
    }
    return 0;
  }
  static test::TempDir* folder_;
  static sample::SampleResult* result_;
};
test::TempDir* SampleOffice::folder_ = nullptr;
sample::SampleResult* SampleOffice::result_ = nullptr;

TEST_F(SampleOffice, TheSameSeedWritesTheSameBytesAndAnotherSeedOthers) {
  test::TempDir other;
  sample::WriteSampleOffice(other.path() + "/same", {.orders = kOrders, .seed = 7});
  sample::WriteSampleOffice(other.path() + "/different", {.orders = kOrders, .seed = 8});
  for (const auto& name : os::ListDirectory(Folder())) {
    EXPECT_EQ(FileBytes(PathOf(name)), FileBytes(other.path() + "/same/" + name)) << name;
  }
  EXPECT_EQ(os::ListDirectory(Folder()).size(), os::ListDirectory(other.path() + "/same").size());
  for (const char* name : {"property.dbf", "property.fpt", "invoice.dbf", "client.dbf", "appraisr.dbf", "applied.dbf"}) {
    EXPECT_NE(FileBytes(PathOf(name)), FileBytes(other.path() + "/different/" + name)) << name;
  }
}

TEST_F(SampleOffice, EveryTableAndIndexReadsBackWithOurReaderAndWithDbfread) {
  ASSERT_EQ(result_->tables.size(), kTables.size());
  EXPECT_EQ(sample::TablesIn(Folder()).size(), kTables.size());
  std::map<std::string, std::size_t> damaged_dates;
  for (const std::string& name : kTables) {
    SCOPED_TRACE(name);
    CollectingReporter reporter;
    auto table = foxpro::Table::Open(PathOf(name), {437, &reporter});
    EXPECT_EQ(table->record_count(), CountOf(name));
    EXPECT_GT(table->record_count(), 0u);
    EXPECT_EQ(table->header().code_page_mark, 0x01);  // code page 437
    for (std::uint32_t r = 0; r < table->record_count(); ++r) {
      for (std::size_t f = 0; f < table->fields().size(); ++f) table->ReadValue(r, f);
    }
    // The only damage is the unusable dates, put there on purpose.
    for (const Damage& damage : reporter.damages) {
      EXPECT_EQ(damage.kind, DamageKind::Value) << DamageMessage(damage);
      EXPECT_NE(damage.what.find("is not a date"), std::string::npos) << DamageMessage(damage);
    }
    damaged_dates[name] = reporter.damages.size();
    std::string cdx = PathOf(name.substr(0, name.size() - 4) + ".cdx");
    if (name == "user.dbf") {
      EXPECT_FALSE(os::IsRegularFile(cdx));
      continue;
    }
    ASSERT_TRUE(table->header().has_structural_index());
    auto index = foxpro::CompoundIndex::Open(cdx);
    EXPECT_FALSE(index.tags().empty());
    foxpro::IndexCheck check = foxpro::VerifyIndex(*table, index);
    for (const auto& problem : check.problems) ADD_FAILURE() << problem;
    EXPECT_TRUE(check.unchecked.empty());
  }

  test::RequireOracle(test::Oracle::Dbfread);
  std::string script = std::string(QORVANE_SOURCE_DIR) + "/tests/sample/dbfread_tables.py";
  std::istringstream lines(test::RunCommand("/usr/bin/python3 " + test::ShellQuote(script) + " " + test::ShellQuote(Folder())));
  std::size_t tables_read = 0;
  std::string name;
  std::uint64_t records = 0, bad_dates = 0, memos = 0;
  while (lines >> name >> records >> bad_dates >> memos) {
    SCOPED_TRACE(name);
    ++tables_read;
    EXPECT_EQ(records, CountOf(name));
    EXPECT_EQ(bad_dates, damaged_dates[name]);
    if (name == "property.dbf") {
      EXPECT_GT(memos, kOrders / 2);
    }
  }
  EXPECT_EQ(tables_read, kTables.size());
}

TEST_F(SampleOffice, TheTablesAgreeWithEachOtherAndHoldTheMistakesInTheirProportions) {
  ReadTable property = Read(PathOf("property.dbf"));
  ReadTable invoice = Read(PathOf("invoice.dbf"));
  ReadTable client = Read(PathOf("client.dbf"));
  ReadTable applied = Read(PathOf("applied.dbf"));
  ReadTable cliexp = Read(PathOf("cliexp.dbf"));
  ASSERT_EQ(property.rows.size(), kOrders);
  ASSERT_EQ(invoice.rows.size(), kOrders);
  std::set<std::string> file_numbers, client_numbers;
  int first_year = 9999, last_year = 0;
  for (std::size_t r = 0; r < property.rows.size(); ++r) {
    EXPECT_TRUE(file_numbers.insert(property.Text(r, "FILE_NUM")).second) << property.Text(r, "FILE_NUM");
    EXPECT_EQ(property.Text(r, "INV_NUM"), property.Text(r, "FILE_NUM"));
    EXPECT_LE(property.Text(r, "FILE_NUM").size(), 8u);  // room for "-A" in a ten-character key
    const Value& received = property.rows[r].at("PR_DRECEIV");
    if (!received.is_null() && received.date.year > 1900) {  // 12/30/1899 is one of the unusable dates
      first_year = std::min(first_year, received.date.year);
      last_year = std::max(last_year, received.date.year);
    }
  }
  EXPECT_EQ(first_year, 1995);
  EXPECT_EQ(last_year, 2009);
  for (std::size_t r = 0; r < client.rows.size(); ++r) client_numbers.insert(client.Text(r, "CLI_NUM"));
  EXPECT_EQ(client_numbers.size(), client.rows.size());
  std::size_t tilde = 0, billed_elsewhere = 0, accented = 0;
  for (std::size_t r = 0; r < client.rows.size(); ++r) {
    tilde += client.Text(r, "CLI_LNAME").starts_with("~");
    if (!client.Text(r, "CLI_BILL").empty()) {
      ++billed_elsewhere;
      EXPECT_TRUE(client_numbers.contains(client.Text(r, "CLI_BILL")));
    }
  }
  EXPECT_GT(tilde, 0u);
  EXPECT_GT(billed_elsewhere, client.rows.size() / 10);
  for (std::size_t r = 0; r < property.rows.size(); ++r) {
    std::string number = property.Text(r, "CLI_NUM");
    EXPECT_TRUE(number.empty() || client_numbers.contains(number)) << number;
    for (const char* field : {"PR_OWNER", "PR_BORROWR", "PR_CONT1"}) {
      std::string name = property.Text(r, field);
      accented += std::any_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
    }
  }
  EXPECT_GT(accented, 0u);
  for (std::size_t r = 0; r < invoice.rows.size(); ++r) EXPECT_TRUE(file_numbers.contains(invoice.Text(r, "INV_NUM")));
  for (std::size_t r = 0; r < cliexp.rows.size(); ++r) {
    EXPECT_TRUE(file_numbers.contains(cliexp.Text(r, "INV_NUM")));
    EXPECT_TRUE(std::set<std::string>({"EXP1", "EXP2", "EXP3"}).contains(cliexp.Text(r, "EXP_TYPE")));
  }
  for (std::size_t r = 0; r < applied.rows.size(); ++r) EXPECT_TRUE(file_numbers.contains(applied.Text(r, "FILE_NUM")));

  // The mistakes are there in their proportions.
  using Rates = sample::MistakeRates;
  ReadTable appraisers = Read(PathOf("appraisr.dbf"));
  std::size_t illegal = 0;
  for (std::size_t r = 0; r < property.rows.size(); ++r) illegal += HasIllegalCharacter(property.Text(r, "FILE_NUM"));
  EXPECT_EQ(illegal, Permille(kOrders, Rates::kIllegalFileNumber));

  // Unusable dates: stored bytes that are no date, or the 12/30/1899 that old tools meant as none.
  std::size_t unusable = property.damages.size() + invoice.damages.size();
  for (const ReadTable* table : {&property, &invoice}) {
    for (const auto& row : table->rows) {
      for (const auto& [name, value] : row) unusable += value.kind == Value::Kind::Date && value.date.year == 1899;
    }
  }
  EXPECT_EQ(unusable, Permille(kOrders, Rates::kUnusableDate));

  std::map<std::string, double> expense_lines;
  for (std::size_t r = 0; r < cliexp.rows.size(); ++r) expense_lines[cliexp.Text(r, "INV_NUM")] += cliexp.Number(r, "EXP_AMT");
  std::size_t disagreeing = 0;
  for (std::size_t r = 0; r < invoice.rows.size(); ++r) {
    disagreeing += std::abs(invoice.Number(r, "INV_EXP") - expense_lines[invoice.Text(r, "INV_NUM")]) > 0.005;
  }
  EXPECT_EQ(disagreeing, Permille(kOrders, Rates::kAmountDisagrees));

  std::set<std::string> known;
  for (std::size_t r = 0; r < appraisers.rows.size(); ++r) known.insert(appraisers.Text(r, "APP_NUM"));
  std::set<std::string> orders_paying_strangers;
  for (std::size_t r = 0; r < applied.rows.size(); ++r) {
    if (!known.contains(applied.Text(r, "APP_NUM"))) orders_paying_strangers.insert(applied.Text(r, "FILE_NUM"));
  }
  EXPECT_EQ(orders_paying_strangers.size(), Permille(kOrders, Rates::kUnknownAppraiser));

  // A duplicate may copy a client whose own key was emptied, so it can count one short.
  std::set<std::string> keys;
  std::size_t empty = 0, duplicates = 0, illegal_keys = 0;
  for (std::size_t r = 0; r < client.rows.size(); ++r) {
    std::string key = client.Text(r, "CLI_LNAME");
    illegal_keys += HasIllegalCharacter(key);  // law firms' "&", accented private persons
    if (key.empty()) {
      ++empty;
    } else if (!keys.insert(key).second) {
      ++duplicates;
    }
  }
  EXPECT_LE(illegal_keys, client.rows.size() * 4 / 100);
  EXPECT_EQ(empty, Permille(client.rows.size(), Rates::kEmptyClientKey));
  EXPECT_GE(duplicates + 1, Permille(client.rows.size(), Rates::kDuplicateClientKey));
  EXPECT_LE(duplicates, Permille(client.rows.size(), Rates::kDuplicateClientKey));
}

using CommandRun = test::CommandResult;

CommandRun Sample(const std::string& arguments) {
  return test::RunForResult(std::string(QORVANE_CLI_PATH) + " sample " + arguments + " 2>&1");
}

TEST(SampleCommand, ExitStatusesAndTheClosingLine) {
  test::TempDir dir;
  std::string folder = dir.path() + "/new/office";
  CommandRun made = Sample(test::ShellQuote(folder) + " --orders 50 --seed 3");
  EXPECT_EQ(made.status, 0) << made.out;
  EXPECT_NE(made.out.find("Wrote 14 tables"), std::string::npos) << made.out;
  EXPECT_NE(made.out.find(folder), std::string::npos) << made.out;
  EXPECT_EQ(sample::TablesIn(folder).size(), 14u);

  // A folder with tables is refused, named, and left as it was.
  std::vector<std::string> listing = os::ListDirectory(folder);
  CommandRun again = Sample(test::ShellQuote(folder) + " --orders 50");
  EXPECT_EQ(again.status, 2) << again.out;
  EXPECT_NE(again.out.find(folder), std::string::npos) << again.out;
  EXPECT_NE(again.out.find("already holds tables"), std::string::npos) << again.out;
  EXPECT_EQ(os::ListDirectory(folder), listing);

  for (const char* bad : {" --orders 0", " --orders many", " --seed -"}) {
    CommandRun refused = Sample(test::ShellQuote(dir.path() + "/other") + bad);
    EXPECT_EQ(refused.status, 2) << bad << ": " << refused.out;
  }
  EXPECT_FALSE(os::IsDirectory(dir.path() + "/other"));

  // A folder that cannot be made: its parent is a file.
  std::ofstream(dir.path() + "/plain-file") << "x";
  CommandRun unwritable = Sample(test::ShellQuote(dir.path() + "/plain-file/office"));
  EXPECT_EQ(unwritable.status, 3) << unwritable.out;
  EXPECT_NE(unwritable.out.find("plain-file/office"), std::string::npos) << unwritable.out;
}

}  // namespace
}  // namespace qorvane
