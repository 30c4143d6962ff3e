// The shared SQL tokenizer: what each kind of token takes in, where it starts, and where the
// text cannot be split; the cursor's case-blind keywords.
#include <gtest/gtest.h>

#include "common/sql_tokens.h"

namespace qorvane {
namespace {

using Kind = SqlToken::Kind;

std::string Describe(const std::vector<SqlToken>& tokens) {
  std::string text;
  for (const SqlToken& token : tokens) {
    static const char* kNames[] = {"end", "name", "qname", "text", "number", "symbol", "error"};
    text += std::string(kNames[static_cast<int>(token.kind)]) + "(" + token.text + ")@" + std::to_string(token.offset) + " ";
  }
  return text;
}

TEST(SqlTokens, SplitsTheFormsBothEnginesUse) {
  EXPECT_EQ(Describe(TokenizeSql("Select * from Property order by file_num")),
            "name(Select)@0 symbol(*)@7 name(from)@9 name(Property)@14 name(order)@23 name(by)@29 name(file_num)@32 end()@40 ");
  EXPECT_EQ(Describe(TokenizeSql("DELETE FROM [C:\\a b].[Table 1] WHERE trim(x)<>'it''s'")),
            "name(DELETE)@0 name(FROM)@7 qname(C:\\a b)@12 symbol(.)@20 qname(Table 1)@21 name(WHERE)@31 name(trim)@37 "
            "symbol(()@41 name(x)@42 symbol())@43 symbol(<>)@44 text(it's)@46 end()@53 ");
  EXPECT_EQ(Describe(TokenizeSql("a!=-1.5 AND b>=.5;")),
            "name(a)@0 symbol(<>)@1 symbol(-)@3 number(1.5)@4 name(AND)@8 name(b)@12 symbol(>=)@13 number(.5)@15 symbol(;)@17 end()@18 ");
  // Double quotes also close text; a table may start with digits; UTF-8 letters are letters.
  EXPECT_EQ(Describe(TokenizeSql("x=\"say \"\"hi\"\"\" from 2000data, Café.dbf")),
            "name(x)@0 symbol(=)@1 text(say \"hi\")@2 name(from)@15 name(2000data)@20 symbol(,)@28 name(Café)@30 "
            "symbol(.)@35 name(dbf)@36 end()@39 ");
}

TEST(SqlTokens, StopsWithAnErrorTokenWhereTheTextCannotBeSplit) {
  auto last = [](const char* sql) {
    SqlToken token = TokenizeSql(sql).back();
    return token.text + "@" + std::to_string(token.offset);
  };
  EXPECT_EQ(last("where a='open"), "a quoted text is not closed@13");
  EXPECT_EQ(last("from [open"), "a [name] is not closed@5");
  EXPECT_EQ(last("where a # 1"), "unexpected character '#'@8");
  EXPECT_EQ(TokenizeSql("a # 1").back().kind, Kind::Error);
  EXPECT_EQ(TokenizeSql("   ").size(), 1u);
}

TEST(SqlTokens, CursorMatchesKeywordsWithoutRegardToCaseAndStaysAtTheEnd) {
  SqlCursor cursor(TokenizeSql("select [From] from t"));
  EXPECT_TRUE(cursor.AcceptWord("SELECT"));
  EXPECT_FALSE(cursor.AtWord("FROM"));  // a bracketed name is never a keyword
  EXPECT_EQ(cursor.Take().text, "From");
  EXPECT_FALSE(cursor.AcceptSymbol("*"));
  EXPECT_TRUE(cursor.AcceptWord("FROM"));
  EXPECT_EQ(cursor.Take().text, "t");
  EXPECT_EQ(cursor.Take().kind, Kind::End);
  EXPECT_EQ(cursor.Take().kind, Kind::End);
}

}  // namespace
}  // namespace qorvane
