// The page store under a full disk and at the sizes where the free-page map changes form. A
// write that fails (while rows go in and the small cache spills, or in the commit's own flush)
// is retried and every row reaches the file; a sync that fails leaves the file as it was and
// the store refusing until its changes are dropped, after which it works again. The free-page
// map on page 1 covers every page of a file, inline or as bitmap pages, also when the page
// count is a multiple of 32 and no page is free. Read back with mdb-count and the checker.
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

#include "common/error.h"
#include "common/os.h"
#include "jet/database.h"
#include "readers.h"
#include "test_support/temp_dir.h"
#include "work_files.h"

namespace qorvane::jet {
namespace {

using qorvane::test::TempDir;
constexpr std::uint64_t kPage = 4096;

using test::NewOffice;

std::unique_ptr<Database> OpenForWriting(const std::string& path, std::size_t cache_pages) {
  return test::OpenForWriting(path, {.cache_pages = cache_pages});
}

void InsertProperty(Table& property, int i) {
  std::vector<Value> row(property.columns().size());
  row[*property.FindColumn("Address")] = Value::String(std::to_string(i) + " Main Street");
  row[*property.FindColumn("Owner")] = Value::String("Owner " + std::to_string(i));
  row[*property.FindColumn("Legal")] = Value::String("Lot " + std::to_string(i) + " of the block by the river");
  property.Insert(row);
}

// Calls ACTION; when it throws, calls it once more (the error box's Retry). Counts the failures.
template <typename Action>
void WithOneRetry(Action action, int& failures) {
  try {
    action();
  } catch (const Error&) {
    ++failures;
    action();
  }
}

struct DiskFull {
  const char* name;
  bool while_inserting;  // else in the commit
  bool sync;             // a sync fails, else a write
};

class FullDisk : public ::testing::TestWithParam<DiskFull> {
 protected:
  void TearDown() override { os::FaultInjection::Reset(); }
};

TEST_P(FullDisk, ARetriedWriteCommitsEveryRowAndAFailedSyncLeavesTheFileAsItWas) {
  const DiskFull& fault = GetParam();
  constexpr int kRows = 3000;
  TempDir dir;
  const std::string path = NewOffice(dir);
  const std::vector<std::byte> blank = os::ReadWholeFile(path);
  auto arm = [&] { fault.sync ? os::FaultInjection::FailNthSync(1, ENOSPC) : os::FaultInjection::FailNthWrite(1, ENOSPC); };
  int failures = 0;
  auto database = OpenForWriting(path, 8);  // a few pages: the inserts write all along
  Table& property = database->GetTable("Property");
  for (int i = 0; i < kRows; ++i) {
    if (fault.while_inserting && i == kRows / 2) arm();
    WithOneRetry([&] { InsertProperty(property, i); }, failures);
  }
  if (!fault.while_inserting) arm();
  if (!fault.sync) {
    WithOneRetry([&] { database->Commit(); }, failures);
    EXPECT_EQ(failures, 1);
    database.reset();
    EXPECT_EQ(test::MdbCount(path, "Property"), kRows);
    std::string report;
    EXPECT_TRUE(test::Jetcheck(path, &report)) << report;
    return;
  }
  // After a failed sync the copy is not trusted: the commit is refused again, naming the file,
  // until the changes are dropped; then the store works as new.
  EXPECT_THROW(database->Commit(), Error);
  try {
    database->Commit();
    ADD_FAILURE() << "a second commit after a failed sync went through";
  } catch (const Error& refused) {
    EXPECT_NE(std::string(refused.what()).find(path + ": the changes since it was last saved are not saved"), std::string::npos)
        << refused.what();
  }
  EXPECT_EQ(os::ReadWholeFile(path), blank);
  database->Rollback();
  InsertProperty(database->GetTable("Property"), 1);
  database->Commit();
  database.reset();
  EXPECT_EQ(test::MdbCount(path, "Property"), 1);
  EXPECT_EQ(os::ListDirectory(dir.path()).size(), 1u) << "a work or lock file was left";
}

INSTANTIATE_TEST_SUITE_P(Faults, FullDisk,
                         ::testing::Values(DiskFull{"WriteWhileInserting", true, false},
                                           DiskFull{"WriteInTheCommit", false, false},
                                           DiskFull{"SyncInTheCommit", false, true}),
                         [](const auto& info) { return std::string(info.param.name); });

// The form the free-page map row on page 1 has in the file: 0 inline, 1 bitmap pages.
int FreePageMapForm(const std::string& path) {
  std::vector<std::byte> bytes = os::ReadWholeFile(path);
  const auto* page = reinterpret_cast<const unsigned char*>(bytes.data()) + kPage;
  std::size_t row = (page[14] | page[15] << 8) & 0x1FFF;
  return page[row];
}

struct FileSize {
  const char* name;
  std::uint32_t pages;
  int form;
};

class FreePageMap : public ::testing::TestWithParam<FileSize> {};

// The file is grown to its size with pages of zeros (used pages, to the map), then a commit
// writes the map; the checker wants every page of the file in it.
TEST_P(FreePageMap, CoversEveryPageOfTheFile) {
  const FileSize& size = GetParam();
  TempDir dir;
  const std::string path = NewOffice(dir);
  std::filesystem::resize_file(path, std::uint64_t{size.pages} * kPage);
  {
    auto database = OpenForWriting(path, DatabaseOptions{}.cache_pages);
    InsertProperty(database->GetTable("Property"), 1);
    database->Commit();
  }
  EXPECT_EQ(FreePageMapForm(path), size.form);
  std::string report;
  test::Jetcheck(path, &report);
  EXPECT_NE(report.find("PASS usage.global"), std::string::npos) << report;
  EXPECT_EQ(test::MdbCount(path, "Property"), 1);
}

INSTANTIATE_TEST_SUITE_P(Sizes, FreePageMap,
                         ::testing::Values(FileSize{"InlineNotAMultipleOf32", 743, 0},
                                           FileSize{"InlineAMultipleOf32", 864, 0},
                                           FileSize{"BitmapPagesInTwoRanges", 40000, 1}),
                         [](const auto& info) { return std::string(info.param.name); });

// Tables filled for the first time past the 512 pages a fresh map covers: their maps start near
// their first page and keep their 69 bytes, as Access writes them (a map of northwind's first
// filled at page 677 starts at 672), instead of growing a bit for every page below.
TEST(TableMaps, AMapFirstFilledPastPage512StartsNearItsFirstPage) {
  TempDir dir;
  const std::string path = NewOffice(dir);
  {
    auto database = OpenForWriting(path, DatabaseOptions{}.cache_pages);
    Table& property = database->GetTable("Property");
    for (int i = 0; i < 6000; ++i) {
      std::vector<Value> row(property.columns().size());
      row[*property.FindColumn("Legal")] = Value::String(std::to_string(i) + std::string(200, 'x'));
      property.Insert(row);
    }
    database->Commit();
  }
  const std::uint64_t pages = std::filesystem::file_size(path) / kPage;
  ASSERT_GT(pages, 520u);
  {
    auto database = OpenForWriting(path, DatabaseOptions{}.cache_pages);
    Table& company = database->GetTable("Company");
    std::vector<Value> row(company.columns().size());
    row[*company.FindColumn("Company")] = Value::String("Acme Appraisals");
    company.Insert(row);
    database->Commit();
  }
  std::string report;
  EXPECT_TRUE(test::Jetcheck(path, &report)) << report;
  std::size_t line = report.find("usage[Company]");
  ASSERT_NE(line, std::string::npos) << report;
  std::string usage = report.substr(line, report.find('\n', line) - line);
  EXPECT_NE(usage.find("owned map inline@"), std::string::npos) << usage;
  EXPECT_NE(usage.find(" start " + std::to_string(pages & ~std::uint64_t{7}) + ", 1 pages"), std::string::npos) << usage;
  EXPECT_EQ(test::MdbCount(path, "Company"), 1);
}

}  // namespace
}  // namespace qorvane::jet
