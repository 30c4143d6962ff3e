// The .cdx reader, writer and verifier on the real fixture indexes and on indexes the engine
// builds itself.
#include <gtest/gtest.h>

#include "common/error.h"
#include "common/reporter.h"
#include "foxpro/cdx.h"
#include "foxpro/expression.h"
#include "foxpro/index_maintenance.h"
#include "foxpro/table.h"
#include "test_support/temp_dir.h"

namespace qorvane::foxpro {
namespace {

using qorvane::test::FixturePath;

std::string Join(const std::vector<std::string>& lines) {
  std::string all;
  for (const auto& line : lines) all += line + "\n";
  return all;
}

TEST(CompoundIndex, RoomsTagsAndForClausesMatchTheTable) {
  auto table = Table::Open(FixturePath("foxpro/fp2x_cdx_rooms/rooms.dbf"), {});
  auto index = CompoundIndex::Open(FixturePath("foxpro/fp2x_cdx_rooms/rooms.cdx"));
  std::vector<std::string> names;
  for (const auto& tag : index.tags()) names.push_back(tag.name);
  EXPECT_EQ(names, (std::vector<std::string>{"AUDIO", "FACILITY", "FILM", "MAIN", "ROOMNAME"}));
  EXPECT_EQ(index.tags()[0].for_expression, "TRIM(UPPER(facility))==\"AUDIO\"");
  EXPECT_EQ(index.tags()[0].key_expression, "roomname");
  IndexCheck check = VerifyIndex(*table, index);
  EXPECT_TRUE(check.ok()) << Join(check.problems);
  EXPECT_TRUE(check.unchecked.empty()) << Join(check.unchecked);
  // MACHINE order: upper case before lower case.
  auto keys = index.ReadTag(index.tags()[4], ' ');
  ASSERT_EQ(keys.size(), 42u);
}

TEST(CompoundIndex, MultiLevelNumericAndDateKeysOfTest10k) {
  auto table = Table::Open(FixturePath("foxpro/cdx_multilevel_test10k/TEST10K.DBF"), {});
  auto index = CompoundIndex::Open(FixturePath("foxpro/cdx_multilevel_test10k/TEST10K.CDX"));
  ASSERT_EQ(index.tags().size(), 7u);
  IndexCheck check = VerifyIndex(*table, index);
  EXPECT_TRUE(check.unchecked.empty()) << Join(check.unchecked);
  // That file was written by an engine with its own collation: a few character keys are out of
  // byte order, and nothing else may be wrong.
  for (const auto& problem : check.problems) {
    EXPECT_NE(problem.find("out of order"), std::string::npos) << problem;
    EXPECT_EQ(problem.find("tag AGE"), std::string::npos) << problem;
    EXPECT_EQ(problem.find("tag SALARY"), std::string::npos) << problem;
    EXPECT_EQ(problem.find("tag HIREDATE"), std::string::npos) << problem;
  }
  EXPECT_LE(check.problems.size(), 10u);
}

TEST(CompoundIndex, VisualFoxProIndexesDecodeAndAreSetAside) {
  auto table = Table::Open(FixturePath("foxpro/vfp_cdx_northwind/orders.dbf"), {});
  auto index = CompoundIndex::Open(FixturePath("foxpro/vfp_cdx_northwind/orders.cdx"));
  ASSERT_EQ(index.tags().size(), 6u);
  for (const auto& tag : index.tags()) EXPECT_EQ(index.ReadTag(tag, 0).size(), 830u) << tag.name;
  IndexCheck check = VerifyIndex(*table, index);
  for (const auto& problem : check.problems) ADD_FAILURE() << problem;
}

TEST(CompoundIndex, BuiltIndexRoundTripsAndVerifies) {
  auto table = Table::Open(FixturePath("foxpro/cdx_multilevel_test10k/TEST10K.DBF"), {});
  std::vector<TagDefinition> tags = {
      {"LAST", "UPPER(LAST)+UPPER(FIRST)", "", false},
      {"AGE", "AGE", "", false},
      {"HIRED", "DTOS(HIREDATE)+STR(SALARY,8,2)", "", false},
      {"MARRIED", "HIREDATE", "MARRIED .AND. .NOT. DELETED()", false},
      {"STATE", "STATE", "", true},
  };
  auto bytes = BuildIndexFromTable(*table, tags);
  CompoundIndex index(bytes, "built.cdx");
  ASSERT_EQ(index.tags().size(), 5u);
  IndexCheck check = VerifyIndex(*table, index);
  EXPECT_TRUE(check.ok()) << Join(check.problems);
  EXPECT_TRUE(check.unchecked.empty()) << Join(check.unchecked);
  for (const auto& tag : index.tags()) {
    if (tag.name == "LAST") {
      EXPECT_EQ(tag.key_length, 40);
      EXPECT_EQ(index.ReadTag(tag, ' ').size(), 10000u);
    }
    if (tag.name == "STATE") {
      EXPECT_LT(index.ReadTag(tag, ' ').size(), 100u);
    }
  }
}

TEST(Expression, EvaluatesTheFunctionsIndexesUse) {
  auto table = Table::Open(FixturePath("foxpro/cdx_multilevel_test10k/TEST10K.DBF"), {});
  auto record = table->RecordBytes(0);
  auto eval = [&](const char* text) { return Expression::Parse(text, *table).Evaluate(record); };
  std::string first = std::string(table->RawField(0, *table->FindField("FIRST")));
  EXPECT_EQ(eval("FIRST").bytes, first);
  EXPECT_EQ(eval("SUBSTR(FIRST,1,3)").bytes, first.substr(0, 3));
  EXPECT_EQ(eval("LEFT(FIRST,2)+RIGHT('abc',1)").bytes, first.substr(0, 2) + "c");
  EXPECT_EQ(eval("ALLT('  x  ')").bytes, "x");
  EXPECT_EQ(eval("LTRIM('  x  ')").bytes, "x  ");
  EXPECT_EQ(eval("STR(3.14159,6,2)").bytes, "  3.14");
  EXPECT_EQ(eval("STR(2.5)").bytes, "         3");
  EXPECT_EQ(eval("STR(123456,3)").bytes, "***");
  EXPECT_EQ(eval("STR(-1.5,5,1)").bytes, " -1.5");
  EXPECT_EQ(eval("UPPER('abc') = 'AB'").logical, true);
  EXPECT_EQ(eval("'AB' = 'ABC'").logical, false);
  EXPECT_EQ(eval("'abc' == 'abc  '").logical, true);
  EXPECT_EQ(eval("'b' $ 'abc' .AND. !.F. .OR. .F.").logical, true);
  EXPECT_EQ(eval("VAL('12.5') * 2").number, 25);
  EXPECT_EQ(eval("IIF(1 < 2, 'y', 'n')").bytes, "y");
  EXPECT_EQ(eval("DELETED()").logical, false);
  EXPECT_EQ(eval("test10k->AGE").number, eval("AGE").number);
  for (const char* bad : {"NOSUCHFIELD", "SOUNDEX(FIRST)", "UPPER(AGE)", "FIRST +", "FIRST = 1"}) {
    EXPECT_THROW(Expression::Parse(bad, *table), qorvane::Error) << bad;
  }
  // Order-preserving numeric keys.
  ExpressionValue one{ExpressionValue::Type::Numeric, "", 1, 0, false};
  ExpressionValue minus_one{ExpressionValue::Type::Numeric, "", -1, 0, false};
  EXPECT_EQ(EncodeIndexKey(one, 8), std::string("\xBF\xF0\0\0\0\0\0\0", 8));
  EXPECT_EQ(EncodeIndexKey(minus_one, 8), std::string("\x40\x0F\xFF\xFF\xFF\xFF\xFF\xFF", 8));
}

}  // namespace
}  // namespace qorvane::foxpro

namespace qorvane::foxpro {
namespace {

TEST(CompoundIndex, BrokenTreesAreReportedWithTheirPlace) {
  TagContent content;
  content.tag.name = "KEY";
  content.tag.key_expression = "KEY";
  content.tag.key_length = 4;
  for (std::uint32_t i = 1; i <= 300; ++i) {
    char key[5];
    std::snprintf(key, sizeof key, "%04u", i);
    content.entries.push_back({key, i});
  }
  auto bytes = BuildCompoundIndex({content});
  CompoundIndex good(bytes, "good.cdx");
  ASSERT_EQ(good.ReadTag(good.tags()[0], ' ').size(), 300u);
  // Make the first leaf its own right sibling.
  std::uint32_t root = good.tags()[0].root;
  std::uint32_t first_leaf = 0;
  for (std::uint32_t page = 0; page < bytes.size(); page += 512) {
    if (page >= 2048 && page != root && std::to_integer<int>(bytes[page]) == 2 &&
        std::to_integer<int>(bytes[page + 4]) == 0xFF) first_leaf = page;
  }
  ASSERT_NE(first_leaf, 0u);
  for (int i = 0; i < 4; ++i) bytes[first_leaf + 8 + i] = std::byte((first_leaf >> (8 * i)) & 0xFF);
  CompoundIndex looping(bytes, "loop.cdx");
  try {
    looping.ReadTag(looping.tags()[0], ' ');
    ADD_FAILURE();
  } catch (const qorvane::Error& error) {
    EXPECT_EQ(std::string(error.what()), "loop.cdx: tag KEY: page at byte " + std::to_string(first_leaf) + ": the leaf chain loops");
  }
  std::vector<std::byte> truncated(bytes.begin(), bytes.begin() + 1000);
  EXPECT_THROW(CompoundIndex(truncated, "short.cdx"), qorvane::Error);
}

}  // namespace
}  // namespace qorvane::foxpro
