// A small tokenizer and parser for exactly the SELECT forms listed in query.h.
#include "foxpro/query.h"

#include <cctype>

#include "common/error.h"

namespace qorvane::foxpro {
namespace {

struct Token {
  enum class Kind { Word, Literal, Symbol, End };
  Kind kind = Kind::End;
  std::string text;
};

std::string Upper(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

class Parser {
 public:
  explicit Parser(std::string_view source) : source_(source) { Tokenize(); }

  SourceQuery Parse() {
    SourceQuery query;
    if (tokens_.size() == 2 && tokens_[0].kind == Token::Kind::Word && Upper(tokens_[0].text) != "SELECT") {
      query.table = TableName(tokens_[0].text);
      return query;
    }
    ExpectWord("SELECT");
    if (AcceptSymbol("*")) {
      // all columns
    } else {
      do {
        query.columns.push_back(Word("a column name"));
      } while (AcceptSymbol(","));
    }
    ExpectWord("FROM");
    query.table = TableName(Word("a table name"));
    if (AcceptWord("WHERE")) query.where = Condition();
    if (AcceptWord("ORDER")) {
      ExpectWord("BY");
      query.order_by = Word("a column name");
      AcceptWord("ASC");
    }
    if (Peek().kind != Token::Kind::End) Fail("unexpected '" + Peek().text + "'");
    return query;
  }

 private:
  [[noreturn]] void Fail(const std::string& what) {
    throw Error(ErrorKind::InvalidArgument,
                "the record source \"" + std::string(source_) + "\" is not one this program reads from FoxPro tables: " + what);
  }

  void Tokenize() {
    std::size_t i = 0;
    while (i < source_.size()) {
      char c = source_[i];
      if (std::isspace(static_cast<unsigned char>(c))) {
        ++i;
      } else if (std::isalnum(static_cast<unsigned char>(c)) || c == '_') {
        std::size_t start = i;
        while (i < source_.size() && (std::isalnum(static_cast<unsigned char>(source_[i])) || source_[i] == '_' ||
                                      source_[i] == '.')) ++i;
        tokens_.push_back({Token::Kind::Word, std::string(source_.substr(start, i - start))});
      } else if (c == '\'') {
        std::string literal;
        ++i;
        bool closed = false;
        while (i < source_.size()) {
          if (source_[i] == '\'') {
            if (i + 1 < source_.size() && source_[i + 1] == '\'') {
              literal.push_back('\'');
              i += 2;
              continue;
            }
            closed = true;
            ++i;
            break;
          }
          literal.push_back(source_[i++]);
        }
        if (!closed) Fail("a quoted text is not closed");
        tokens_.push_back({Token::Kind::Literal, literal});
      } else if (c == '*' || c == ',' || c == '=' || c == '(' || c == ')') {
        tokens_.push_back({Token::Kind::Symbol, std::string(1, c)});
        ++i;
      } else {
        Fail(std::string("unexpected character '") + c + "'");
      }
    }
    tokens_.push_back({Token::Kind::End, "end"});
  }

  const Token& Peek() const { return tokens_[position_]; }

  bool AcceptWord(const char* word) {
    if (Peek().kind == Token::Kind::Word && Upper(Peek().text) == word) {
      ++position_;
      return true;
    }
    return false;
  }
  void ExpectWord(const char* word) {
    if (!AcceptWord(word)) Fail(std::string("expected ") + word + " where it says '" + Peek().text + "'");
  }
  bool AcceptSymbol(const char* symbol) {
    if (Peek().kind == Token::Kind::Symbol && Peek().text == symbol) {
      ++position_;
      return true;
    }
    return false;
  }
  void ExpectSymbol(const char* symbol) {
    if (!AcceptSymbol(symbol)) Fail(std::string("expected '") + symbol + "' where it says '" + Peek().text + "'");
  }
  std::string Word(const char* what) {
    static const char* kReserved[] = {"SELECT", "FROM", "WHERE", "ORDER", "BY", "AND", "OR", "NOT"};
    if (Peek().kind != Token::Kind::Word) Fail(std::string("expected ") + what + " where it says '" + Peek().text + "'");
    for (const char* reserved : kReserved) {
      if (Upper(Peek().text) == reserved) Fail(std::string("expected ") + what + " where it says '" + Peek().text + "'");
    }
    return tokens_[position_++].text;
  }
  std::string TableName(std::string name) {
    std::string upper = Upper(name);
    if (upper.size() > 4 && upper.substr(upper.size() - 4) == ".DBF") name = name.substr(0, name.size() - 4);
    if (name.find('.') != std::string::npos) Fail("'" + name + "' is not a table name");
    return name;
  }

  SourceQuery::Condition Condition() {
    SourceQuery::Condition condition;
    std::string first = Word("a column name");
    std::string upper = Upper(first);
    if ((upper == "TRIM" || upper == "UCASE") && AcceptSymbol("(")) {
      std::string inner = Upper(Word("TRIM or UCASE"));
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
    if (Peek().kind != Token::Kind::Literal) Fail("a condition must compare with a quoted text");
    condition.literal = tokens_[position_++].text;
    if (Peek().kind == Token::Kind::Word && (Upper(Peek().text) == "AND" || Upper(Peek().text) == "OR")) {
      Fail("only one condition is understood");
    }
    return condition;
  }

  std::string_view source_;
  std::vector<Token> tokens_;
  std::size_t position_ = 0;
};

}  // namespace

SourceQuery ParseRecordSource(std::string_view source) {
  Parser parser(source);
  return parser.Parse();
}

}  // namespace qorvane::foxpro
