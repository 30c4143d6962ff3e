// A small parser, over the shared SQL tokenizer, for exactly the SELECT forms listed in query.h.
#include "foxpro/query.h"

#include "common/error.h"
#include "common/sql_tokens.h"

namespace qorvane::foxpro {
namespace {

class Parser {
 public:
  explicit Parser(std::string_view source) : source_(source), cursor_(TokenizeSql(source)) {
    if (Peek().kind == SqlToken::Kind::Error) Fail(Peek().text);
  }

  SourceQuery Parse() {
    SourceQuery query;
    if (Peek().kind == SqlToken::Kind::Name && !cursor_.AtWord("SELECT")) {
      query.table = TableName(DottedName("a table name"));
      if (Peek().kind != SqlToken::Kind::End) Fail("unexpected '" + Peek().text + "'");
      return query;
    }
    ExpectWord("SELECT");
    if (cursor_.AcceptSymbol("*")) {
      // all columns
    } else {
      do {
        query.columns.push_back(Word("a column name"));
      } while (cursor_.AcceptSymbol(","));
    }
    ExpectWord("FROM");
    query.table = TableName(DottedName("a table name"));
    if (cursor_.AcceptWord("WHERE")) query.where = Condition();
    if (cursor_.AcceptWord("ORDER")) {
      ExpectWord("BY");
      query.order_by = Word("a column name");
      cursor_.AcceptWord("ASC");
    }
    if (Peek().kind != SqlToken::Kind::End) Fail("unexpected '" + Peek().text + "'");
    return query;
  }

 private:
  [[noreturn]] void Fail(const std::string& what) {
    throw Error(ErrorKind::InvalidArgument,
                "the record source \"" + std::string(source_) + "\" is not one this program reads from FoxPro tables: " + what);
  }

  const SqlToken& Peek() const { return cursor_.Peek(); }
  std::string Here() const { return Peek().kind == SqlToken::Kind::End ? "end" : Peek().text; }

  void ExpectWord(const char* word) {
    if (!cursor_.AcceptWord(word)) Fail(std::string("expected ") + word + " where it says '" + Here() + "'");
  }
  void ExpectSymbol(const char* symbol) {
    if (!cursor_.AcceptSymbol(symbol)) Fail(std::string("expected '") + symbol + "' where it says '" + Here() + "'");
  }
  std::string Word(const char* what) {
    static const char* kReserved[] = {"SELECT", "FROM", "WHERE", "ORDER", "BY", "AND", "OR", "NOT"};
    if (Peek().kind != SqlToken::Kind::Name) Fail(std::string("expected ") + what + " where it says '" + Here() + "'");
    for (const char* reserved : kReserved) {
      if (cursor_.AtWord(reserved)) Fail(std::string("expected ") + what + " where it says '" + Here() + "'");
    }
    return cursor_.Take().text;
  }
  // NAME or NAME.NAME...: a table is named with or without its ".dbf".
  std::string DottedName(const char* what) {
    std::string name = Word(what);
    while (cursor_.AcceptSymbol(".")) name += "." + Word(what);
    return name;
  }
  std::string TableName(std::string name) {
    std::string upper = UpperAscii(name);
    if (upper.size() > 4 && upper.substr(upper.size() - 4) == ".DBF") name = name.substr(0, name.size() - 4);
    if (name.find('.') != std::string::npos) Fail("'" + name + "' is not a table name");
    return name;
  }

  SourceQuery::Condition Condition() {
    SourceQuery::Condition condition;
    std::string first = Word("a column name");
    std::string upper = UpperAscii(first);
    if ((upper == "TRIM" || upper == "UCASE") && cursor_.AcceptSymbol("(")) {
      std::string inner = UpperAscii(Word("TRIM or UCASE"));
      if (!((upper == "TRIM" && inner == "UCASE") || (upper == "UCASE" && inner == "TRIM"))) {
        Fail("only TRIM(UCASE(column)) is understood in a condition");
      }
      ExpectSymbol("(");
      condition.column = Word("a column name");
      ExpectSymbol(")");
      ExpectSymbol(")");
      condition.match = SourceQuery::Match::TrimmedUpperEquals;
    } else {
      condition.column = first;
    }
    ExpectSymbol("=");
    if (Peek().kind != SqlToken::Kind::Text) Fail("a condition must compare with a quoted text");
    condition.literal = cursor_.Take().text;
    if (cursor_.AtWord("AND") || cursor_.AtWord("OR")) Fail("only one condition is understood");
    return condition;
  }

  std::string_view source_;
  SqlCursor cursor_;
};

}  // namespace

SourceQuery ParseRecordSource(std::string_view source) {
  Parser parser(source);
  return parser.Parse();
}

}  // namespace qorvane::foxpro
