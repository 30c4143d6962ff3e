// Recursive-descent parser (over the shared SQL tokenizer) and evaluator for the record sets' SQL.
#include "jet/sql.h"

#include <cstdlib>

#include "common/error.h"
#include "common/sql_tokens.h"
#include "jet/table.h"

namespace qorvane::jet {
namespace {

using Token = SqlToken;

class Parser {
 public:
  explicit Parser(const std::string& sql) : sql_(sql), cursor_(TokenizeSql(sql)) {
    if (Peek().kind == Token::Kind::Error) Fail(Peek().text);
  }

  Statement ParseStatementText() {
    Statement statement;
    if (Keyword("SELECT")) {
      statement.kind = Statement::Kind::Select;
      if (!Symbol("*")) {
        do {
          statement.columns.push_back(NameText("a column name"));
        } while (Symbol(","));
      }
      Expect("FROM");
      statement.table = TableName();
      if (Keyword("WHERE")) statement.where = ParseOr();
      if (Keyword("ORDER")) {
        Expect("BY");
        do {
          OrderTerm term;
          term.column = NameText("a column name");
          if (Keyword("DESC")) {
            term.descending = true;
          } else {
            Keyword("ASC");
          }
          statement.order_by.push_back(term);
        } while (Symbol(","));
      }
    } else if (Keyword("DELETE")) {
      statement.kind = Statement::Kind::Delete;
      Symbol("*");
      Expect("FROM");
      statement.table = TableName();
      if (Keyword("WHERE")) statement.where = ParseOr();
    } else {
      Fail("expected SELECT or DELETE");
    }
    Symbol(";");
    if (Peek().kind != Token::Kind::End) Fail("unexpected \"" + Peek().text + "\"");
    return statement;
  }

  std::unique_ptr<Expression> ParseFilterText() {
    auto expression = ParseOr();
    if (Peek().kind != Token::Kind::End) Fail("unexpected \"" + Peek().text + "\"");
    return expression;
  }

 private:
  const Token& Peek() const { return cursor_.Peek(); }
  [[noreturn]] void Fail(const std::string& why) const {
    throw Error(ErrorKind::InvalidArgument,
                "SQL \"" + sql_ + "\": " + why + " at character " + std::to_string(Peek().offset + 1));
  }
  bool Keyword(const char* word) { return cursor_.AcceptWord(word); }
  void Expect(const char* word) {
    if (!Keyword(word)) Fail(std::string("expected ") + word);
  }
  bool Symbol(const char* symbol) { return cursor_.AcceptSymbol(symbol); }
  std::string NameText(const char* what) {
    if (Peek().kind != Token::Kind::Name && Peek().kind != Token::Kind::QuotedName) Fail(std::string("expected ") + what);
    return cursor_.Take().text;
  }
  // [path].[table], owner.table or table: the last part names the table.
  std::string TableName() {
    std::string name = NameText("a table name");
    while (Symbol(".")) name = NameText("a table name");
    return name;
  }

  std::unique_ptr<Expression> Node(Expression::Kind kind, std::string name = {}) {
    auto node = std::make_unique<Expression>();
    node->kind = kind;
    node->name = std::move(name);
    return node;
  }

  std::unique_ptr<Expression> ParseOr() {
    auto left = ParseAnd();
    while (Keyword("OR")) {
      auto node = Node(Expression::Kind::Or);
      node->operands.push_back(std::move(left));
      node->operands.push_back(ParseAnd());
      left = std::move(node);
    }
    return left;
  }
  std::unique_ptr<Expression> ParseAnd() {
    auto left = ParseNot();
    while (Keyword("AND")) {
      auto node = Node(Expression::Kind::And);
      node->operands.push_back(std::move(left));
      node->operands.push_back(ParseNot());
      left = std::move(node);
    }
    return left;
  }
  std::unique_ptr<Expression> ParseNot() {
    if (Keyword("NOT")) {
      auto node = Node(Expression::Kind::Not);
      node->operands.push_back(ParseNot());
      return node;
    }
    return ParseComparison();
  }
  std::unique_ptr<Expression> ParseComparison() {
    auto left = ParseOperand();
    std::string op;
    if (Peek().kind == Token::Kind::Symbol &&
        (Peek().text == "=" || Peek().text == "<>" || Peek().text == "<" || Peek().text == ">" ||
         Peek().text == "<=" || Peek().text == ">=")) {
      op = cursor_.Take().text;
    } else if (Keyword("LIKE")) {
      op = "LIKE";
    } else if (Keyword("IS")) {
      bool negate = Keyword("NOT");
      Expect("NULL");
      auto node = Node(Expression::Kind::Compare, negate ? "IS NOT NULL" : "IS NULL");
      node->operands.push_back(std::move(left));
      return node;
    } else {
      return left;
    }
    auto node = Node(Expression::Kind::Compare, op);
    node->operands.push_back(std::move(left));
    node->operands.push_back(ParseOperand());
    return node;
  }
  std::unique_ptr<Expression> ParseOperand() {
    const Token token = Peek();
    if (Symbol("(")) {
      auto inner = ParseOr();
      if (!Symbol(")")) Fail("expected )");
      return inner;
    }
    if (bool negative = Symbol("-"); negative || Symbol("+")) {
      if (Peek().kind != Token::Kind::Number) Fail("expected a number");
      auto node = Node(Expression::Kind::Literal);
      double number = std::strtod(cursor_.Take().text.c_str(), nullptr);
      node->literal = Value::Real(negative ? -number : number);
      return node;
    }
    if (token.kind == Token::Kind::Number) {
      auto node = Node(Expression::Kind::Literal);
      node->literal = Value::Real(std::strtod(cursor_.Take().text.c_str(), nullptr));
      return node;
    }
    if (token.kind == Token::Kind::Text) {
      auto node = Node(Expression::Kind::Literal);
      node->literal = Value::String(cursor_.Take().text);
      return node;
    }
    if (token.kind == Token::Kind::Name || token.kind == Token::Kind::QuotedName) {
      std::string name = cursor_.Take().text;
      if (token.kind == Token::Kind::Name) {
        std::string upper = UpperAscii(name);
        if (upper == "TRUE" || upper == "FALSE") {
          auto node = Node(Expression::Kind::Literal);
          node->literal = Value::Int(upper == "TRUE" ? -1 : 0);
          return node;
        }
        if (upper == "NULL") return Node(Expression::Kind::Literal);
        if (Symbol("(")) {
          auto node = Node(Expression::Kind::Function, upper);
          if (!Symbol(")")) {
            do {
              node->operands.push_back(ParseOr());
            } while (Symbol(","));
            if (!Symbol(")")) Fail("expected )");
          }
          return node;
        }
      }
      // table.column: the last part names the column.
      while (Symbol(".")) name = NameText("a column name");
      return Node(Expression::Kind::Column, name);
    }
    Fail("expected a value or a column");
  }

  const std::string& sql_;
  SqlCursor cursor_;
};

std::string TrimText(const std::string& text, bool left, bool right) {
  std::size_t start = 0, end = text.size();
  if (left) while (start < end && text[start] == ' ') ++start;
  if (right) while (end > start && text[end - 1] == ' ') --end;
  return text.substr(start, end - start);
}

std::string ChangeCase(const std::string& text, bool upper) {
  std::u16string wide = Utf8ToUtf16(text);
  for (char16_t& c : wide) {
    if (upper && ((c >= u'a' && c <= u'z') || (c >= 0xE0 && c <= 0xFE && c != 0xF7))) c = static_cast<char16_t>(c - 32);
    if (!upper && ((c >= u'A' && c <= u'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7))) c = static_cast<char16_t>(c + 32);
  }
  return Utf16ToUtf8(wide);
}

}  // namespace

Statement ParseStatement(const std::string& sql) { return Parser(sql).ParseStatementText(); }

std::unique_ptr<Expression> ParseFilter(const std::string& filter) { return Parser(filter).ParseFilterText(); }

void Bind(Expression& expression, const Table& table, const std::string& sql) {
  if (expression.kind == Expression::Kind::Column) {
    auto column = table.FindColumn(expression.name);
    if (!column) {
      throw Error(ErrorKind::InvalidArgument, "SQL \"" + sql + "\": table " + table.name() + " has no column " +
                                                  expression.name);
    }
    expression.column = *column;
  }
  if (expression.kind == Expression::Kind::Function) {
    static const char* kKnown[] = {"TRIM", "LTRIM", "RTRIM", "UCASE", "LCASE", "LEN"};
    bool known = false;
    for (const char* name : kKnown) known = known || expression.name == name;
    if (!known || expression.operands.size() != 1) {
      throw Error(ErrorKind::NotSupported, "SQL \"" + sql + "\": function " + expression.name + " is not supported");
    }
  }
  for (auto& operand : expression.operands) Bind(*operand, table, sql);
}

Value Evaluate(const Expression& expression, const std::vector<Value>& row) {
  switch (expression.kind) {
    case Expression::Kind::Literal: return expression.literal;
    case Expression::Kind::Column: return expression.column < row.size() ? row[expression.column] : Value();
    case Expression::Kind::Function: {
      Value argument = Evaluate(*expression.operands[0], row);
      if (argument.is_null()) return argument;
      std::string text = argument.kind == Value::Kind::Text ? argument.bytes : argument.AsText();
      const std::string& name = expression.name;
      if (name == "TRIM") return Value::String(TrimText(text, true, true));
      if (name == "LTRIM") return Value::String(TrimText(text, true, false));
      if (name == "RTRIM") return Value::String(TrimText(text, false, true));
      if (name == "UCASE") return Value::String(ChangeCase(text, true));
      if (name == "LCASE") return Value::String(ChangeCase(text, false));
      return Value::Int(static_cast<std::int64_t>(Utf8ToUtf16(text).size()));  // LEN
    }
    case Expression::Kind::Compare:
    case Expression::Kind::And:
    case Expression::Kind::Or:
    case Expression::Kind::Not: return Value::Bool(IsTrue(expression, row));
  }
  return Value();
}

bool IsTrue(const Expression& expression, const std::vector<Value>& row) {
  switch (expression.kind) {
    case Expression::Kind::And: return IsTrue(*expression.operands[0], row) && IsTrue(*expression.operands[1], row);
    case Expression::Kind::Or: return IsTrue(*expression.operands[0], row) || IsTrue(*expression.operands[1], row);
    case Expression::Kind::Not: return !IsTrue(*expression.operands[0], row);
    case Expression::Kind::Compare: {
      Value left = Evaluate(*expression.operands[0], row);
      const std::string& op = expression.name;
      if (op == "IS NULL") return left.is_null();
      if (op == "IS NOT NULL") return !left.is_null();
      Value right = Evaluate(*expression.operands[1], row);
      if (left.is_null() || right.is_null()) return false;
      if (op == "LIKE") {
        std::string text = left.kind == Value::Kind::Text ? left.bytes : left.AsText();
        return LikeMatch(Utf8ToUtf16(text), Utf8ToUtf16(right.AsText()));
      }
      // A text literal against a number column (or the reverse) compares as numbers.
      if ((left.kind == Value::Kind::Text) != (right.kind == Value::Kind::Text)) {
        const Value& text = left.kind == Value::Kind::Text ? left : right;
        char* end = nullptr;
        std::strtod(text.bytes.c_str(), &end);
        if (end == text.bytes.c_str()) return false;
      }
      int order = CompareValues(left, right);
      if (op == "=") return order == 0;
      if (op == "<>") return order != 0;
      if (op == "<") return order < 0;
      if (op == ">") return order > 0;
      if (op == "<=") return order <= 0;
      return order >= 0;
    }
    default: {
      Value value = Evaluate(expression, row);
      return !value.is_null() && value.AsBool();
    }
  }
}

std::optional<std::pair<std::size_t, Value>> FindEqualityTerm(const Expression& expression) {
  if (expression.kind == Expression::Kind::And) {
    for (const auto& operand : expression.operands) {
      if (auto term = FindEqualityTerm(*operand)) return term;
    }
    return std::nullopt;
  }
  if (expression.kind != Expression::Kind::Compare || expression.name != "=") return std::nullopt;
  const Expression& left = *expression.operands[0];
  const Expression& right = *expression.operands[1];
  if (left.kind == Expression::Kind::Column && right.kind == Expression::Kind::Literal && !right.literal.is_null()) {
    return std::make_pair(left.column, right.literal);
  }
  if (right.kind == Expression::Kind::Column && left.kind == Expression::Kind::Literal && !left.literal.is_null()) {
    return std::make_pair(right.column, left.literal);
  }
  return std::nullopt;
}

bool LikeMatch(std::u16string_view text, std::u16string_view pattern) {
  auto fold = [](char16_t c) -> char16_t {
    if ((c >= u'a' && c <= u'z') || (c >= 0xE0 && c <= 0xFE && c != 0xF7)) return static_cast<char16_t>(c - 32);
    return c;
  };
  // Iterative matching with backtracking to the last '*'.
  std::size_t t = 0, p = 0, star = std::u16string_view::npos, resume = 0;
  while (t < text.size()) {
    if (p < pattern.size() && pattern[p] == u'*') {
      star = p++;
      resume = t;
      continue;
    }
    bool matched = false;
    std::size_t next = p + 1;
    if (p < pattern.size()) {
      char16_t c = pattern[p];
      if (c == u'?') {
        matched = true;
      } else if (c == u'#') {
        matched = text[t] >= u'0' && text[t] <= u'9';
      } else if (c == u'[') {
        std::size_t close = pattern.find(u']', p + 1);
        if (close != std::u16string_view::npos) {
          std::u16string_view set = pattern.substr(p + 1, close - p - 1);
          bool negate = !set.empty() && set[0] == u'!';
          if (negate) set.remove_prefix(1);
          bool in = false;
          for (std::size_t k = 0; k < set.size(); ++k) {
            if (k + 2 < set.size() && set[k + 1] == u'-') {
              in = in || (fold(text[t]) >= fold(set[k]) && fold(text[t]) <= fold(set[k + 2]));
              k += 2;
            } else {
              in = in || fold(text[t]) == fold(set[k]);
            }
          }
          matched = in != negate;
          next = close + 1;
        } else {
          matched = text[t] == c;
        }
      } else {
        matched = fold(text[t]) == fold(c);
      }
    }
    if (matched) {
      ++t;
      p = next;
    } else if (star != std::u16string_view::npos) {
      p = star + 1;
      t = ++resume;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == u'*') ++p;
  return p == pattern.size();
}

}  // namespace qorvane::jet
