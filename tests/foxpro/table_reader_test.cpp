// The table reader against the real fixture files: every value as python3-dbfread reads it,
// header facts from the fixtures' SOURCES.md, and Visual FoxPro tables read without failing.
#include <gtest/gtest.h>

#include <algorithm>

#include "common/reporter.h"
#include "foxpro/table.h"
#include "test_util.h"

namespace qorvane::foxpro {
namespace {

using qorvane::test::FixturePath;

struct FixtureCase {
  const char* path;
  const char* encoding;  // dbfread's name for the code page the table is read in
};

class FixtureMatchesDbfread : public ::testing::TestWithParam<FixtureCase> {};

TEST_P(FixtureMatchesDbfread, EveryValue) {
  const FixtureCase& fixture = GetParam();
  std::string path = FixturePath(std::string("foxpro/") + fixture.path);
  CollectingReporter reporter;
  auto table = Table::Open(path, {437, &reporter});
  bool ok = false;
  std::string expected = test::DbfreadDump(path, fixture.encoding, ok);
  ASSERT_TRUE(ok) << "dbfread failed on " << path;
  // A failure shows the dumps from the start of the first line that differs.
  std::string actual = test::DumpTable(*table);
  std::size_t at = std::mismatch(actual.begin(), actual.end(), expected.begin(), expected.end()).first - actual.begin();
  std::size_t line = at == 0 ? 0 : actual.rfind('\n', at - 1) + 1;  // npos + 1 is 0
  EXPECT_EQ(actual.substr(line, 300), expected.substr(line, 300)) << fixture.path << " from byte " << line;
}

INSTANTIATE_TEST_SUITE_P(
    Fixtures, FixtureMatchesDbfread,
    ::testing::Values(FixtureCase{"fp2x_memo_dbase_f5/dbase_f5.dbf", "cp437"},
                      FixtureCase{"fp2x_cdx_rooms/rooms.dbf", "cp437"},
                      FixtureCase{"fp2x_odd_php_xbase/pr90.dbf", "cp437"},
                      FixtureCase{"fp2x_odd_php_xbase/91.dbf", "cp1250"},
                      FixtureCase{"cdx_multilevel_test10k/TEST10K.DBF", "cp437"},
                      FixtureCase{"odd_field_names/dbase_03.dbf", "cp437"},
                      FixtureCase{"odd_field_names/KUNDEN-schema-only.DBF", "cp437"}));

TEST(TableReader, HeaderFactsOfTheFixtures) {
  CollectingReporter reporter;
  auto f5 = Table::Open(FixturePath("foxpro/fp2x_memo_dbase_f5/dbase_f5.dbf"), {437, &reporter});
  EXPECT_EQ(f5->header().version, 0xF5);
  EXPECT_EQ(f5->record_count(), 975u);
  EXPECT_EQ(f5->fields().size(), 59u);
  EXPECT_EQ(f5->header().last_update.year, 2004);
  EXPECT_EQ(f5->code_page().number(), 437);
  int memos = 0;
  auto memo_field = f5->FindField("obse");
  ASSERT_TRUE(memo_field);
  for (std::uint32_t r = 0; r < f5->record_count(); ++r) {
    if (!f5->ReadValue(r, *memo_field).is_null()) ++memos;
  }
  EXPECT_EQ(memos, 211);
  EXPECT_TRUE(reporter.messages.empty()) << reporter.messages.front();

  auto pr90 = Table::Open(FixturePath("foxpro/fp2x_odd_php_xbase/pr90.dbf"), {437, &reporter});
  auto note = pr90->FindField("NOTE");
  ASSERT_TRUE(note);
  EXPECT_EQ(pr90->fields()[*note].length, 300);

  auto cp1250 = Table::Open(FixturePath("foxpro/fp2x_odd_php_xbase/91.dbf"), {437, &reporter});
  EXPECT_EQ(cp1250->code_page().number(), 1250);
  EXPECT_EQ(cp1250->record_count(), 0u);
  EXPECT_EQ(cp1250->fields().size(), 108u);
}

TEST(TableReader, RoomsDamagedHeaderIsReadAndReported) {
  CollectingReporter reporter;
  auto rooms = Table::Open(FixturePath("foxpro/fp2x_cdx_rooms/rooms.dbf"), {437, &reporter});
  EXPECT_EQ(rooms->record_count(), 42u);
  EXPECT_TRUE(rooms->header().has_structural_index());
  ASSERT_EQ(reporter.messages.size(), 1u);
  EXPECT_NE(reporter.messages[0].find("rooms.dbf: the field list ends with 0x0A"), std::string::npos);
}

TEST(TableReader, FieldNamePitfallsAreReported) {
  CollectingReporter reporter;
  auto kunden = Table::Open(FixturePath("foxpro/odd_field_names/KUNDEN-schema-only.DBF"), {437, &reporter});
  EXPECT_TRUE(kunden->FindField("K_VORZ"));
  bool garbage_reported = false;
  for (const auto& message : reporter.messages) {
    if (message.find("K_VORZ has bytes after its terminating NUL") != std::string::npos) garbage_reported = true;
  }
  EXPECT_TRUE(garbage_reported);

  reporter.messages.clear();
  auto dbase03 = Table::Open(FixturePath("foxpro/odd_field_names/dbase_03.dbf"), {437, &reporter});
  auto point = dbase03->FindField("POINT_ID");
  ASSERT_TRUE(point);
  EXPECT_EQ(dbase03->fields()[*point].type, 'C');  // the first of the two wins
  std::string all;
  for (const auto& message : reporter.messages) all += message + "\n";
  EXPECT_NE(all.find("Point_ID occurs more than once"), std::string::npos) << all;
  EXPECT_NE(all.find("not in upper case"), std::string::npos) << all;
}

TEST(TableReader, VisualFoxProTablesReadWithoutFailing) {
  for (const char* path : {"vfp_cdx_xsource/employees.dbf", "vfp_cdx_xsource/payments.dbf",
                           "vfp_cdx_northwind/orders.dbf", "fp2x_odd_php_xbase/Foxpro2.dbf"}) {
    CollectingReporter reporter;
    auto table = Table::Open(FixturePath(std::string("foxpro/") + path), {437, &reporter});
    for (std::uint32_t r = 0; r < table->record_count(); ++r) {
      for (std::size_t f = 0; f < table->fields().size(); ++f) table->ReadValue(r, f);
    }
  }
  CollectingReporter reporter;
  auto orders = Table::Open(FixturePath("foxpro/vfp_cdx_northwind/orders.dbf"), {437, &reporter});
  EXPECT_EQ(orders->record_count(), 830u);
  auto employees = Table::Open(FixturePath("foxpro/vfp_cdx_xsource/employees.dbf"), {437, &reporter});
  EXPECT_EQ(employees->record_count(), 5u);
}

}  // namespace
}  // namespace qorvane::foxpro
