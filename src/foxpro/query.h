// The record sources a FoxPro record set accepts: a table name, or one of the few SELECT forms
// the conversion uses on its source tables:
//   SELECT * | col, col... FROM table
//     [WHERE col = 'text' | WHERE TRIM(UCASE(col)) = 'text']   (UCASE(TRIM(col)) too)
//     [ORDER BY col [ASC]]
// Keywords and names are case-blind; '' inside a literal is one quote. Anything else is refused
// with an error that quotes the text, rather than guessed at.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qorvane::foxpro {

struct SourceQuery {
  enum class Match { Equals, TrimmedUpperEquals };
  struct Condition {
    std::string column;
    Match match = Match::Equals;
    std::string literal;  // UTF-8, quotes undoubled
  };
  std::string table;                  // as written, without ".dbf"
  std::vector<std::string> columns;   // empty = all (*)
  std::optional<Condition> where;
  std::optional<std::string> order_by;
};

// Throws qorvane::Error (InvalidArgument) naming the record source and what is not understood.
SourceQuery ParseRecordSource(std::string_view source);

}  // namespace qorvane::foxpro
