// The one SQL tokenizer, shared by the FoxPro record sources and the Jet record sets: names,
// [bracketed names], 'text' or "text" literals (a doubled quote is one quote, and so are a doubled
// '#' and a doubled '*', which the program's quoting doubles), numbers and
// the symbols = <> != < > <= >= ( ) , . * ; - +. Each parser keeps its own grammar and its own
// error messages; this only splits the text and says where it could not.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace qorvane {

struct SqlToken {
  enum class Kind {
    End,         // after the last token
    Name,        // a word: letters, digits, '_' and bytes of UTF-8 sequences, not all digits
    QuotedName,  // [name], without the brackets
    Text,        // a quoted literal, quotes removed and doubled quotes, ## and ** undoubled
    Number,      // digits with perhaps a decimal point
    Symbol,      // an operator or punctuation; "!=" is given as "<>"
    Error,       // the text could not be split here: TEXT says why
  };
  Kind kind = Kind::End;
  std::string text;
  std::size_t offset = 0;  // of the token's first character in the SQL
};

// The tokens of SQL, ending with an End token, or with an Error token at the first place the
// text cannot be split (an unclosed quote or bracket, a character no token starts with).
std::vector<SqlToken> TokenizeSql(std::string_view sql);

// Walks a token list: the parsers' look-ahead, keyword and symbol tests.
class SqlCursor {
 public:
  explicit SqlCursor(std::vector<SqlToken> tokens) : tokens_(std::move(tokens)) {}
  const SqlToken& Peek() const { return tokens_[position_]; }
  // The current token, moving past it (never past the End or Error token).
  const SqlToken& Take();
  // Moves past the current token when it is the name WORD (given in upper case; compared
  // without regard to ASCII case), or the symbol SYMBOL.
  bool AcceptWord(std::string_view word);
  bool AcceptSymbol(std::string_view symbol);
  // Whether the current token is the name WORD, as AcceptWord, without moving.
  bool AtWord(std::string_view word) const;

 private:
  std::vector<SqlToken> tokens_;
  std::size_t position_ = 0;
};

// TEXT in ASCII upper case (keywords and FoxPro names are compared this way).
std::string UpperAscii(std::string text);

}  // namespace qorvane
