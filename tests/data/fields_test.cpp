// The width rules and the SQL quoting of the field helpers, on the cases the office's data
// holds: blanks around values, values longer than their column, accents (widths count
// characters, not bytes), and names with apostrophes.
#include "data/fields.h"

#include <gtest/gtest.h>

#include "data/lookups.h"

namespace qorvane::data {
namespace {

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
  EXPECT_FALSE(AdoQuickCheckChars("plain"));
  EXPECT_EQ(FilterFormtype("O'Neil"), "Formtype='O''Neil'");
  EXPECT_EQ(FilterClient(""), "Client=''");
}

}  // namespace
}  // namespace qorvane::data
