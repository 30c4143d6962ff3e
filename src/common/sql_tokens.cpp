// The SQL tokenizer and the token cursor.
#include "common/sql_tokens.h"

namespace qorvane {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsNameStart(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}
bool IsNameChar(char c) { return IsNameStart(c) || IsDigit(c); }
bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v'; }

}  // namespace

std::vector<SqlToken> TokenizeSql(std::string_view sql) {
  std::vector<SqlToken> tokens;
  std::size_t i = 0;
  auto fail = [&](std::string why, std::size_t at) {
    tokens.push_back({SqlToken::Kind::Error, std::move(why), at});
    return tokens;
  };
  while (i < sql.size()) {
    const char c = sql[i];
    if (IsSpace(c)) {
      ++i;
      continue;
    }
    SqlToken token;
    token.offset = i;
    if (c == '\'' || c == '"') {
      token.kind = SqlToken::Kind::Text;
      for (++i;; ++i) {
        if (i >= sql.size()) return fail("a quoted text is not closed", i);
        if (sql[i] != c) {
          token.text += sql[i];
          // The program's quoting doubles '#' and '*' as well as the quote: a literal compares
          // as the text before quoting.
          if ((sql[i] == '#' || sql[i] == '*') && i + 1 < sql.size() && sql[i + 1] == sql[i]) ++i;
        } else if (i + 1 < sql.size() && sql[i + 1] == c) {
          token.text += c;
          ++i;
        } else {
          ++i;
          break;
        }
      }
    } else if (c == '[') {
      std::size_t end = sql.find(']', i);
      if (end == std::string_view::npos) return fail("a [name] is not closed", i);
      token.kind = SqlToken::Kind::QuotedName;
      token.text = sql.substr(i + 1, end - i - 1);
      i = end + 1;
    } else if (IsDigit(c) || (c == '.' && i + 1 < sql.size() && IsDigit(sql[i + 1]))) {
      std::size_t end = i;
      while (end < sql.size() && (IsDigit(sql[end]) || sql[end] == '.')) ++end;
      bool has_point = sql.substr(i, end - i).find('.') != std::string_view::npos;
      if (!has_point && end < sql.size() && IsNameChar(sql[end])) {
        // A name that starts with digits (a FoxPro table such as 2000DATA).
        while (end < sql.size() && IsNameChar(sql[end])) ++end;
        token.kind = SqlToken::Kind::Name;
      } else {
        token.kind = SqlToken::Kind::Number;
      }
      token.text = sql.substr(i, end - i);
      i = end;
    } else if (IsNameStart(c)) {
      std::size_t end = i;
      while (end < sql.size() && IsNameChar(sql[end])) ++end;
      token.kind = SqlToken::Kind::Name;
      token.text = sql.substr(i, end - i);
      i = end;
    } else {
      token.kind = SqlToken::Kind::Symbol;
      std::string_view two = sql.substr(i, 2);
      if (two == "<>" || two == "<=" || two == ">=" || two == "!=") {
        token.text = two == "!=" ? "<>" : std::string(two);
        i += 2;
      } else if (std::string_view("=<>(),.*;-+").find(c) != std::string_view::npos) {
        token.text = std::string(1, c);
        ++i;
      } else {
        return fail(std::string("unexpected character '") + c + "'", i);
      }
    }
    tokens.push_back(std::move(token));
  }
  tokens.push_back({SqlToken::Kind::End, "", sql.size()});
  return tokens;
}

const SqlToken& SqlCursor::Take() {
  const SqlToken& token = tokens_[position_];
  if (token.kind != SqlToken::Kind::End && token.kind != SqlToken::Kind::Error) ++position_;
  return token;
}

bool SqlCursor::AtWord(std::string_view word) const {
  return Peek().kind == SqlToken::Kind::Name && UpperAscii(Peek().text) == word;
}

bool SqlCursor::AcceptWord(std::string_view word) {
  if (!AtWord(word)) return false;
  ++position_;
  return true;
}

bool SqlCursor::AcceptSymbol(std::string_view symbol) {
  if (Peek().kind != SqlToken::Kind::Symbol || Peek().text != symbol) return false;
  ++position_;
  return true;
}

std::string UpperAscii(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
  }
  return text;
}

}  // namespace qorvane
