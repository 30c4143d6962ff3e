// Code pages through iconv, and the parsers of stored numbers, dates and logicals.
#include <gtest/gtest.h>

#include "common/error.h"
#include "foxpro/codepage.h"
#include "foxpro/value.h"

namespace qorvane::foxpro {
namespace {

TEST(CodePage, EveryByteOfTheFoxProPagesRoundTrips) {
  for (int number : {437, 850, 852, 865, 866, 1250, 1251, 1252}) {
    CodePage code_page(number);
    std::string all;
    for (int byte = 1; byte < 256; ++byte) all.push_back(static_cast<char>(byte));
    std::string utf8 = code_page.Decode(all);
    auto back = code_page.Encode(utf8);
    ASSERT_TRUE(back) << number;
    EXPECT_EQ(*back, all) << number;
  }
  EXPECT_EQ(CodePage(437).Decode("caf\x82"), "café");
  EXPECT_EQ(CodePage(850).Decode("\x9D"), "Ø");
  EXPECT_EQ(CodePage(866).Decode("\x8F\xE0\xA8"), "При");
  EXPECT_EQ(CodePage(1251).Decode("\xCF"), "П");
  EXPECT_EQ(CodePage(1250).Decode("\x8A"), "Š");
  EXPECT_EQ(CodePage(1252).Decode("\x81"), "\u0081");  // undefined in 1252: kept, not lost
  EXPECT_FALSE(CodePage(437).Encode("€"));              // no euro sign in 437
  EXPECT_FALSE(CodePage(1252).Encode("a\xC0\xAF"));       // not UTF-8 (overlong '/'): no bytes for it
  EXPECT_EQ(CodePage(437).Upper(0x82), 0x90);           // é -> É
  EXPECT_EQ(CodePage(1252).Upper('a'), 'A');
  EXPECT_EQ(CodePageFromMark(0x03), 1252);
  EXPECT_EQ(CodePageFromMark(0x64), 852);
  EXPECT_EQ(CodePageFromMark(0x00), 0);
  EXPECT_EQ(MarkFromCodePage(437), 0x01);
  EXPECT_THROW(CodePage(895), qorvane::Error);  // Kamenicky: glibc has no table for it
}

TEST(Values, NumbersAsFoxProAndOtherWritersStoreThem) {
  auto good = [](const char* stored, double value, const char* text) {
    ParsedNumber number = ParseNumber(stored);
    EXPECT_EQ(number.status, ParseStatus::Good) << stored;
    EXPECT_DOUBLE_EQ(number.value, value) << stored;
    EXPECT_EQ(number.text, text) << stored;
  };
  good("    123.45", 123.45, "123.45");
  good("  -42.50", -42.5, "-42.50");
  good("10855   ", 10855, "10855");  // left-justified
  good("+.5", 0.5, "0.5");
  good("1,5", 1.5, "1.5");
  good("05.11\0PA", 5.11, "5.11");
  good("-0", 0, "0");
  good("12345678901234567", 12345678901234567.0, "12345678901234567");
  EXPECT_EQ(ParseNumber("          ").status, ParseStatus::Blank);
  EXPECT_EQ(ParseNumber("").status, ParseStatus::Blank);
  for (const char* bad : {"******", "1 2", "12a", "-", ".", "1.2.3"}) EXPECT_EQ(ParseNumber(bad).status, ParseStatus::Invalid) << bad;
  EXPECT_EQ(FormatNumber(12.5), "12.5");
  EXPECT_EQ(FormatNumber(-3), "-3");
  EXPECT_EQ(FormatNumber(0.1), "0.1");
  EXPECT_EQ(FormatNumber(1e20), "100000000000000000000");
}

TEST(Values, DatesAndLogicals) {
  EXPECT_EQ(ParseDate("20240229").date, (Date{2024, 2, 29}));
  for (const char* blank : {"        ", "00000000", "0000    ", std::string(8, '\0').c_str()}) {
    EXPECT_EQ(ParseDate(std::string_view(blank, 8)).status, ParseStatus::Blank);
  }
  for (const char* bad : {"20230229", "20241301", "24/01/20", "2024010", "1999123a"}) {
    EXPECT_EQ(ParseDate(bad).status, ParseStatus::Invalid) << bad;
  }
  EXPECT_EQ(JulianDay(Date{2000, 1, 1}), 2451545);
  EXPECT_EQ(JulianDay(Date{1995, 1, 31}), 2449749);
  EXPECT_EQ(DateFromJulianDay(2451545), (Date{2000, 1, 1}));
  for (std::int64_t day = 2300000; day < 2500000; day += 997) EXPECT_EQ(JulianDay(DateFromJulianDay(day)), day);
  for (char c : std::string("TtYy")) EXPECT_TRUE(ParseLogical(c).value);
  for (char c : std::string("FfNn")) EXPECT_EQ(ParseLogical(c).status, ParseStatus::Good);
  EXPECT_EQ(ParseLogical(' ').status, ParseStatus::Blank);
  EXPECT_EQ(ParseLogical('?').status, ParseStatus::Blank);
  EXPECT_EQ(ParseLogical('x').status, ParseStatus::Invalid);
}

}  // namespace
}  // namespace qorvane::foxpro
