// The small part of Jet SQL the record sets need: SELECT with a column list, WHERE (comparisons,
// LIKE, AND/OR/NOT, TRIM/UCASE/LCASE) and ORDER BY; DELETE FROM [path].[table] WHERE ...; and
// the filters of Find ("Client='X'"). Names and text compare without regard to case, as Jet
// does. Internal header.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "jet/value.h"

namespace qorvane::jet {

class Table;

// An expression tree; column references are resolved against a table by Bind.
struct Expression {
  enum class Kind { Literal, Column, Function, Compare, And, Or, Not };
  Kind kind = Kind::Literal;
  Value literal;
  std::string name;        // column or function name, or the comparison operator
  std::size_t column = 0;  // after Bind
  std::vector<std::unique_ptr<Expression>> operands;
};

struct OrderTerm {
  std::string column;
  bool descending = false;
};

struct Statement {
  enum class Kind { Select, Delete };
  Kind kind = Kind::Select;
  std::vector<std::string> columns;  // empty = *
  std::string table;
  std::unique_ptr<Expression> where;  // may be null
  std::vector<OrderTerm> order_by;
};

// Parses a statement; throws InvalidArgument quoting the SQL and the place of the problem.
Statement ParseStatement(const std::string& sql);
// Parses a filter expression (the criteria of Find).
std::unique_ptr<Expression> ParseFilter(const std::string& filter);

// Resolves column names of EXPRESSION against TABLE; throws InvalidArgument naming the column.
void Bind(Expression& expression, const Table& table, const std::string& sql);
// Evaluates a bound expression against one row's values. Comparisons with NULL are false.
Value Evaluate(const Expression& expression, const std::vector<Value>& row);
bool IsTrue(const Expression& expression, const std::vector<Value>& row);

// When EXPRESSION is `column = literal` or an AND chain holding such terms, the first of them
// (column position and value): the record sets answer it with the table's hash look-up.
std::optional<std::pair<std::size_t, Value>> FindEqualityTerm(const Expression& expression);

// Jet's LIKE: * any run, ? one character, # one digit, [abc] a set; case-blind.
bool LikeMatch(std::u16string_view text, std::u16string_view pattern);

}  // namespace qorvane::jet
