// Damage the reader can read past, in copies of northwind's Categories table: a long value
// whose page is gone, a row whose place on its page is damaged, an index definition that
// points nowhere. With a reporter each is reported with its place and reading goes on; without
// one the same damage throws Corrupt, as it always did.
#include <gtest/gtest.h>

#include <algorithm>

#include "common/error.h"
#include "common/os.h"
#include "common/reporter.h"
#include "jet/data_page.h"
#include "jet/database.h"
#include "jet/format/pages.h"
#include "jet/format/table_definition.h"
#include "jet/page_store.h"
#include "jet/row_codec.h"
#include "jet/table_definition.h"
#include "test_support/temp_dir.h"

namespace qorvane::jet {
namespace {

using namespace format;

class DamagedDatabaseTest : public ::testing::Test {
 protected:
  void SetUp() override {
    bytes_ = os::ReadWholeFile(qorvane::test::FixturePath("mdb/northwind-V2000.mdb"));
    auto database = Database::OpenBytes(bytes_, "northwind.mdb");
    Table& table = database->GetTable("Categories");
    rows_ = table.RowIds();
    picture_ = *table.FindColumn("Picture");
    auto store = PageStore::OpenBuffer(bytes_, "northwind.mdb");
    definition_ = TableDefinition::Load(*store, table.definition_page(), "Categories");
  }

  std::unique_ptr<Database> Open(Reporter* reporter) {
    return Database::OpenBytes(bytes_, "northwind.mdb", reporter);
  }
  std::size_t PageStart(std::uint32_t page) const { return std::size_t(page) * kPageSize; }
  Bytes Page(std::uint32_t page) const { return Bytes(bytes_).subspan(PageStart(page), kPageSize); }

  // Where the long value of ROW's Picture starts: its first piece's page and its length.
  std::pair<std::uint32_t, std::size_t> PictureValue(RowId row) const {
    Bytes page = Page(row >> 8);
    auto extent = FindRow(page, row & 0xFF);
    Bytes row_bytes = page.subspan(extent->start, extent->end - extent->start);
    Bytes descriptor = *ColumnBytes(definition_, picture_, row_bytes, std::string("test"));
    return {RowPointer::Decode(Get32(descriptor, 4)).page, Get32(descriptor, 0) & kLongValueLengthMask};
  }

  std::vector<std::byte> bytes_;
  std::vector<RowId> rows_;
  std::size_t picture_ = 0;
  TableDefinition definition_;
};

TEST_F(DamagedDatabaseTest, ALongValueWhosePageIsGoneIsReportedAndCut) {
  const RowId row = rows_.front();
  auto [first_page, length] = PictureValue(row);
  ASSERT_GT(length, kLongValueSinglePageLimit);  // a chained value
  bytes_[PageStart(first_page)] = std::byte{kPageTypeIndexLeaf};

  EXPECT_THROW(Open(nullptr)->GetTable("Categories").ReadRow(row), Error);

  CollectingReporter reporter;
  auto database = Open(&reporter);
  Table& table = database->GetTable("Categories");
  std::vector<Value> values = table.ReadRow(row);
  EXPECT_EQ(values[picture_].bytes, "");
  EXPECT_EQ(values[*table.FindColumn("CategoryName")].bytes, "Beverages");
  ASSERT_EQ(reporter.damages.size(), 1u);
  const Damage& damage = reporter.damages[0];
  EXPECT_EQ(damage.kind, DamageKind::LongValue);
  EXPECT_EQ(damage.table, "Categories");
  EXPECT_EQ(damage.page, row >> 8);
  EXPECT_EQ(damage.slot, row & 0xFF);
  EXPECT_EQ(damage.field, "Picture");
  EXPECT_EQ(damage.bytes_dropped, length);
  const std::string place = "northwind.mdb: table Categories, row at page " + std::to_string(row >> 8) + " slot " +
                            std::to_string(row & 0xFF) + ", column Picture: long value row ";
  EXPECT_EQ(reporter.messages[0].substr(0, place.size()), place);
  EXPECT_NE(reporter.messages[0].find(" of page " + std::to_string(first_page) + " is missing; the value keeps the 0 of its " +
                                      std::to_string(length) + " bytes that could be read"),
            std::string::npos)
      << reporter.messages[0];
  // The other rows read whole.
  EXPECT_EQ(table.ReadRow(rows_[1])[picture_].bytes.size(), PictureValue(rows_[1]).second);
}

TEST_F(DamagedDatabaseTest, ARowWhosePlaceOnItsPageIsDamagedIsSkipped) {
  const RowId row = rows_.back();
  // The last slot of its page: the slot before it still ends where it did.
  ASSERT_EQ((row & 0xFFu) + 1u, RowSlotCount(Page(row >> 8)));
  const std::size_t slot_word = PageStart(row >> 8) + kDataSlotsOffset + 2u * (row & 0xFF);
  bytes_[slot_word] = std::byte{0x01};  // the row would start inside the page header
  bytes_[slot_word + 1] = std::byte{0x00};

  EXPECT_THROW(Open(nullptr)->GetTable("Categories").ReadRow(row), Error);

  CollectingReporter reporter;
  auto database = Open(&reporter);
  Table& table = database->GetTable("Categories");
  const std::vector<RowId>& read = table.RowIds();
  EXPECT_EQ(read.size(), rows_.size() - 1);
  EXPECT_EQ(std::count(read.begin(), read.end(), row), 0);
  for (RowId other : read) EXPECT_NO_THROW(table.ReadRow(other));
  ASSERT_EQ(reporter.messages.size(), 1u);
  EXPECT_EQ(reporter.damages[0].kind, DamageKind::Row);
  EXPECT_EQ(reporter.messages[0], "northwind.mdb: table Categories, row at page " + std::to_string(row >> 8) +
                                      " slot " + std::to_string(row & 0xFF) +
                                      ": the row's place on its page is damaged; the row is skipped");
}

TEST_F(DamagedDatabaseTest, AnIndexOnAMissingRealIndexIsLeftOutWhenReading) {
  ASSERT_FALSE(definition_.logical_indexes.empty());
  const std::size_t logical = definition_.real_indexes.back().definition_offset + kRealIndexDefinitionSize;
  ASSERT_LT(logical + kLogicalIndexDefinitionSize, kPageSize);  // the definition fits its first page
  const std::size_t at = PageStart(definition_.page) + logical + kLogicalIndexRealNumberOffset;
  bytes_[at] = std::byte{200};
  const std::string broken = definition_.logical_indexes[0].name;

  EXPECT_THROW(Open(nullptr)->GetTable("Categories"), Error);

  CollectingReporter reporter;
  auto database = Open(&reporter);
  Table& table = database->GetTable("Categories");
  EXPECT_EQ(table.indexes().size(), definition_.logical_indexes.size() - 1);
  for (const IndexInfo& index : table.indexes()) EXPECT_NE(index.name, broken);
  EXPECT_EQ(table.RowIds().size(), rows_.size());
  ASSERT_EQ(reporter.messages.size(), 1u);
  EXPECT_EQ(reporter.damages[0].kind, DamageKind::Index);
  EXPECT_EQ(reporter.messages[0], "northwind.mdb: table Categories, page " + std::to_string(definition_.page) +
                                      ": index " + broken + " is defined on missing real index 200; the index is not used");

  // A database opened for writing keeps every index current: there the damage still refuses.
  qorvane::test::TempDir dir;
  const std::string path = dir.path() + "/northwind.mdb";
  os::WriteWholeFile(path, bytes_);
  auto writable = Database::Open(path, {.open_for = OpenFor::Writing, .reporter = &reporter});
  EXPECT_THROW(writable->GetTable("Categories"), Error);
}

}  // namespace
}  // namespace qorvane::jet
