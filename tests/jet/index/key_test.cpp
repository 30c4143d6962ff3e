// Key bytes for values the fixtures do not hold (descending columns of every type, booleans,
// binary chunks, long texts) and the ordering promise: keys compare as the values sort in Jet.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "common/error.h"
#include "jet/index/key.h"

namespace qorvane::jet::index {
namespace {

std::vector<uint8_t> Key(KeyType type, SortOrder order, const KeyValue& value) {
  std::vector<uint8_t> key;
  AppendKeyColumn(key, type, order, value);
  return key;
}
std::vector<uint8_t> Asc(KeyType type, const KeyValue& value) { return Key(type, SortOrder::Ascending, value); }
std::vector<uint8_t> Desc(KeyType type, const KeyValue& value) { return Key(type, SortOrder::Descending, value); }
using Bytes = std::vector<uint8_t>;

TEST(KeyTest, TextFollowsTheGeneralSortOrder) {
  EXPECT_EQ(Asc(KeyType::Text, u"México"), (Bytes{0x7F, 0x60, 0x51, 0x75, 0x59, 0x4D, 0x64, 0x01, 0x02, 0x0E, 0x00}));
  EXPECT_EQ(Asc(KeyType::Text, u"-1"), (Bytes{0x7F, 0x38, 0x01, 0x01, 0x01, 0x01, 0x80, 0x07, 0x06, 0x82, 0x00}));
  EXPECT_EQ(Asc(KeyType::Text, u"O'Brien"),
            (Bytes{0x7F, 0x64, 0x4C, 0x69, 0x59, 0x51, 0x62, 0x01, 0x01, 0x01, 0x01, 0x80, 0x0B, 0x06, 0x80, 0x00}));
  // Case-blind, trailing spaces dropped, only the first 255 characters count.
  EXPECT_EQ(Asc(KeyType::Text, u"abc  "), Asc(KeyType::Text, u"ABC"));
  EXPECT_EQ(Asc(KeyType::Text, std::u16string(255, u'x') + u"yz"), Asc(KeyType::Text, std::u16string(255, u'X')));
  // ß expands to two letters and so takes two accent slots: the é after it sits in the third.
  EXPECT_EQ(Asc(KeyType::Text, u"ßé"), (Bytes{0x7F, 0x6B, 0x6B, 0x51, 0x01, 0x02, 0x02, 0x0E, 0x00}));
  EXPECT_EQ(Asc(KeyType::Text, u""), (Bytes{0x7F, 0x01, 0x00}));
  EXPECT_EQ(Desc(KeyType::Text, u"A"), (Bytes{0x80, 0xB5, 0xFE, 0xFF, 0x00}));
  EXPECT_EQ(Asc(KeyType::Memo, u"A"), Asc(KeyType::Text, u"A"));
  EXPECT_EQ(Asc(KeyType::Text, Null{}), (Bytes{0x00}));
  EXPECT_EQ(Desc(KeyType::Text, Null{}), (Bytes{0xFF}));
}

// Characters beyond Latin-1: other Latin letters with their accents, Greek, Cyrillic, box
// drawing and math symbols (two-byte elements), CJK, expansions such as ﬁ (two elements, so an
// accent after it takes the third slot), combining marks, and kana with their flag section.
TEST(KeyTest, TextBeyondLatin1FollowsTheGeneralSortOrder) {
  EXPECT_EQ(Asc(KeyType::Text, u"Łódź"),
            (Bytes{0x7F, 0x5E, 0x64, 0x4F, 0x78, 0x01, 0x1F, 0x0E, 0x02, 0x0E, 0x00}));
  EXPECT_EQ(Asc(KeyType::Text, u"Ωμέγα"), (Bytes{0x7F, 0x79, 0x23, 0x79, 0x17, 0x79, 0x10, 0x79, 0x0E, 0x79, 0x0C,
                                                  0x01, 0x02, 0x02, 0x05, 0x00}));
  EXPECT_EQ(Asc(KeyType::Text, u"ЖУК"), Asc(KeyType::Text, u"жук"));
  EXPECT_EQ(Asc(KeyType::Text, u"░≥½"), (Bytes{0x7F, 0x34, 0xA5, 0x33, 0x6C, 0x37, 0x16, 0x01, 0x04, 0x00}));
  EXPECT_EQ(Asc(KeyType::Text, u"中文"), (Bytes{0x7F, 0x9F, 0x3D, 0xB6, 0xF6, 0x01, 0x00}));
  EXPECT_EQ(Asc(KeyType::Text, u"ﬁé"), (Bytes{0x7F, 0x53, 0x59, 0x51, 0x01, 0x02, 0x02, 0x0E, 0x00}));
  EXPECT_EQ(Asc(KeyType::Text, u"ﬁle"), Asc(KeyType::Text, u"FILE"));
  EXPECT_EQ(Asc(KeyType::Text, u"e\u0301"), Asc(KeyType::Text, u"é"));
  EXPECT_EQ(Asc(KeyType::Text, u"ā"), (Bytes{0x7F, 0x4A, 0x01, 0x17, 0x00}));
  EXPECT_EQ(Asc(KeyType::Text, u"アガ"),
            (Bytes{0x7F, 0x7F, 0x02, 0x7F, 0x0A, 0x01, 0x02, 0x03, 0x01, 0x01, 0xFF, 0x02, 0x80, 0xFF, 0x80, 0x00}));
  EXPECT_EQ(Asc(KeyType::Text, u"ア-"),
            (Bytes{0x7F, 0x7F, 0x02, 0x01, 0x01, 0x01, 0xFF, 0x02, 0x80, 0xFF, 0x80, 0xFF, 0x01, 0x80, 0x0B, 0x06, 0x82,
                   0x00}));
}

TEST(KeyTest, TextWithoutKnownWeightIsRefusedByName) {
  try {
    Asc(KeyType::Text, u"\U0001F600");
    FAIL() << "no error";
  } catch (const Error& error) {
    EXPECT_EQ(error.kind(), ErrorKind::NotSupported);
    EXPECT_NE(std::string(error.what()).find("U+D83D"), std::string::npos) << error.what();
  }
}

TEST(KeyTest, NumbersAreBigEndianWithTheSignFolded) {
  EXPECT_EQ(Asc(KeyType::Long, int64_t{1}), (Bytes{0x7F, 0x80, 0x00, 0x00, 0x01}));
  EXPECT_EQ(Asc(KeyType::Long, int64_t{-1}), (Bytes{0x7F, 0x7F, 0xFF, 0xFF, 0xFF}));
  EXPECT_EQ(Desc(KeyType::Long, int64_t{19}), (Bytes{0x80, 0x7F, 0xFF, 0xFF, 0xEC}));
  EXPECT_EQ(Asc(KeyType::Byte, int64_t{200}), (Bytes{0x7F, 0xC8}));
  EXPECT_EQ(Asc(KeyType::Integer, int64_t{-2}), (Bytes{0x7F, 0x7F, 0xFE}));
  EXPECT_EQ(Asc(KeyType::Currency, int64_t{10000}), (Bytes{0x7F, 0x80, 0, 0, 0, 0, 0, 0x27, 0x10}));
  EXPECT_EQ(Asc(KeyType::Double, 1.0), (Bytes{0x7F, 0xBF, 0xF0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(Asc(KeyType::Single, -1.0), (Bytes{0x7F, 0x40, 0x7F, 0xFF, 0xFF}));
  EXPECT_THROW(Asc(KeyType::Integer, int64_t{40000}), Error);
  EXPECT_THROW(Asc(KeyType::Long, 1.5), Error);
}

// Sorting values and sorting their keys give the same order, both directions, for each type.
TEST(KeyTest, KeyOrderIsValueOrder) {
  std::mt19937_64 random(7);
  std::vector<double> doubles = {0.0, -0.5, 1e300, -1e300, 3.25, -3.25, 1e-300, 36525.5, -700.25};
  std::vector<int64_t> longs = {0, 1, -1, INT32_MAX, INT32_MIN, 65536, -65536};
  for (int i = 0; i < 200; ++i) {
    doubles.push_back(std::ldexp(static_cast<double>(random() % 100000) - 50000, static_cast<int>(random() % 40) - 20));
    longs.push_back(static_cast<int32_t>(random()));
  }
  auto check = [](KeyType type, auto values) {
    std::sort(values.begin(), values.end());
    values.erase(std::unique(values.begin(), values.end()), values.end());
    for (size_t i = 1; i < values.size(); ++i) {
      EXPECT_LT(Asc(type, values[i - 1]), Asc(type, values[i])) << i;
      EXPECT_GT(Desc(type, values[i - 1]), Desc(type, values[i])) << i;
    }
  };
  check(KeyType::Double, doubles);
  check(KeyType::DateTime, doubles);
  check(KeyType::Long, longs);
  std::vector<std::u16string> texts = {u"", u"a", u"A b", u"ab", u"abc", u"b", u"ba", u"z", u"Zz9"};
  for (size_t i = 1; i < texts.size(); ++i) {
    EXPECT_LT(Asc(KeyType::Text, texts[i - 1]), Asc(KeyType::Text, texts[i])) << i;
    EXPECT_GT(Desc(KeyType::Text, texts[i - 1]), Desc(KeyType::Text, texts[i])) << i;
  }
  // NULL sorts first ascending and last descending.
  EXPECT_LT(Asc(KeyType::Long, Null{}), Asc(KeyType::Long, int64_t{INT32_MIN}));
  EXPECT_GT(Desc(KeyType::Long, Null{}), Desc(KeyType::Long, int64_t{INT32_MIN}));
}

TEST(KeyTest, BooleanBinaryAndGuid) {
  EXPECT_EQ(Asc(KeyType::Boolean, true), (Bytes{0x7F, 0x00}));
  EXPECT_EQ(Asc(KeyType::Boolean, false), (Bytes{0x7F, 0xFF}));
  EXPECT_EQ(Desc(KeyType::Boolean, true), (Bytes{0x80, 0xFF}));
  EXPECT_EQ(Asc(KeyType::Binary, Bytes{1, 2, 3, 4}), (Bytes{0x7F, 1, 2, 3, 4, 0, 0, 0, 0, 4}));
  EXPECT_EQ(Asc(KeyType::Binary, Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9}),
            (Bytes{0x7F, 1, 2, 3, 4, 5, 6, 7, 8, 0x09, 9, 0, 0, 0, 0, 0, 0, 0, 1}));
  EXPECT_EQ(Desc(KeyType::Binary, Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9}),
            (Bytes{0x80, 0xFE, 0xFD, 0xFC, 0xFB, 0xFA, 0xF9, 0xF8, 0xF7, 0x09, 0xF6, 0xFF, 0xFF, 0xFF,
                   0xFF, 0xFF, 0xFF, 0xFF, 0xFE}));
  Bytes guid = {0x33, 0x22, 0x11, 0x00, 0x55, 0x44, 0x77, 0x66, 8, 9, 10, 11, 12, 13, 14, 15};
  EXPECT_EQ(Asc(KeyType::Guid, guid),
            (Bytes{0x7F, 0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x09, 8, 9, 10, 11, 12, 13, 14, 15, 8}));
}

TEST(KeyTest, MakeKeyJoinsColumnsAndLeavesOutNullRowsWhenAsked) {
  const KeyColumn columns[] = {{KeyType::Long, SortOrder::Ascending}, {KeyType::Text, SortOrder::Descending}};
  const KeyValue values[] = {int64_t{1}, std::u16string(u"A")};
  EXPECT_EQ(*MakeKey(columns, values, NullKeys::Store),
            (Bytes{0x7F, 0x80, 0, 0, 1, 0x80, 0xB5, 0xFE, 0xFF, 0x00}));
  const KeyValue nulls[] = {Null{}, Null{}};
  EXPECT_FALSE(MakeKey(columns, nulls, NullKeys::Ignore).has_value());
  EXPECT_EQ(*MakeKey(columns, nulls, NullKeys::Store), (Bytes{0x00, 0xFF}));
  EXPECT_TRUE(AnyNull(nulls));
  EXPECT_FALSE(AnyNull(values));
  // 255 accented letters make a key past Jet's limit: refused, not truncated.
  const KeyColumn text[] = {{KeyType::Text, SortOrder::Ascending}};
  const KeyValue long_text[] = {std::u16string(255, u'é')};
  EXPECT_THROW(MakeKey(text, long_text, NullKeys::Store), Error);
  EXPECT_EQ(DescribeValue(std::u16string(u"Zoë")), "'Zoë'");
}

}  // namespace
}  // namespace qorvane::jet::index
