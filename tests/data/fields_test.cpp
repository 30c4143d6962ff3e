// The width rules every value written to a column follows and the value rules of the office's
// records, on the cases its data holds: blanks around values, values longer than their column,
// accents (widths count characters, not bytes), names with apostrophes, two-digit years and
// amounts typed with currency signs.
#include "data/fields.h"

#include <gtest/gtest.h>

#include "common/text.h"

namespace qorvane::data {
namespace {

using text::PadToWidth;
using text::RightJustify;
using text::TrimToWidth;

TEST(FieldWidths, TrimCutAndJustifyByCharacters) {
  EXPECT_EQ(TrimToWidth("  ABC  ", 2), "AB");
  EXPECT_EQ(TrimToWidth("  ABC  ", 10), "ABC");
  EXPECT_EQ(TrimToWidth("AB CD", 3), "AB");  // cut inside, trimmed again
  EXPECT_EQ(RightJustify("ABC", 6), "   ABC");
  EXPECT_EQ(RightJustify("ABCDEFG", 6), "BCDEFG");
  EXPECT_EQ(RightJustify(" 4521 ", 10), "      4521");
  EXPECT_EQ(PadToWidth("AB", 5), "AB   ");
  EXPECT_EQ(TrimToWidth("Zürich", 3), "Zür");
  EXPECT_EQ(RightJustify("Zürich", 4), "rich");
  EXPECT_EQ(RightJustify("Ærø", 4), " Ærø");
  EXPECT_EQ(PadToWidth("é", 2), "é ");
  EXPECT_EQ(TrimToWidth("ABC", 0), "");
}

TEST(SqlQuoting, DoublesQuotesHashesAndStars) {
  EXPECT_EQ(SqlQuote("O'Neil #5"), "O''Neil ##5");
  EXPECT_EQ(SqlQuote("a*b"), "a**b");
  EXPECT_EQ(SqlQuote("plain"), "plain");
}


TEST(DatesAndNumbers, TwoDigitYearsTheEmptyDateAndAmounts) {
  EXPECT_EQ(NormalizeDate("3/4/24"), "3/4/2024");
  EXPECT_EQ(NormalizeDate("3/4/25"), "3/4/1925");
  EXPECT_EQ(NormalizeDate("03/04/05"), "3/4/2005");
  EXPECT_EQ(NormalizeDate("7/8/150"), "01/01/1900");
  EXPECT_EQ(NormalizeDate("7/8/999"), "01/01/1900");
  EXPECT_EQ(NormalizeDate("12/30/1899"), "12/30/1899");
  EXPECT_EQ(NormalizeDate("  "), "");
  EXPECT_FALSE(IsDate("1/1/1"));         // shorter than six characters
  EXPECT_FALSE(IsDate("12/30/1899"));    // the empty date
  EXPECT_FALSE(IsDate("2/30/2024"));     // no such day
  EXPECT_FALSE(IsDate("not a date"));
  EXPECT_TRUE(IsDate("2/29/2024"));
  EXPECT_TRUE(IsDate("12/31/99"));
  EXPECT_FLOAT_EQ(Csingle("$1,234.50"), 1234.5f);
  EXPECT_EQ(Csingle("-"), 0.0f);
  EXPECT_EQ(Csingle("-."), 0.0f);
  EXPECT_EQ(Csingle("n/a"), 0.0f);
  EXPECT_FLOAT_EQ(Csingle("(-12.5)"), -12.5f);
  EXPECT_EQ(NumericChars("A1-2.3b"), "1-2.3");
}

}  // namespace
}  // namespace qorvane::data
