// Parser and evaluator of index expressions: a recursive-descent parser that types every node
// when it is built (so a key's type and length are known before any record is read) and a
// tree-walking evaluator over a record's stored bytes.
#include "foxpro/expression.h"

#include <cmath>
#include <cstdio>
#include <cstring>

#include "common/error.h"
#include "foxpro/table.h"
#include "foxpro/value.h"

namespace qorvane::foxpro {

using Type = ExpressionValue::Type;

enum class Operation {
  Field, Literal, Deleted, Upper, Lower, Trim, LeftTrim, AllTrim, Str, Dtos, Substr, Left, Right,
  Val, Iif, Add, Subtract, Multiply, Divide, Negate, Equal, ExactEqual, NotEqual, Less, Greater,
  LessEqual, GreaterEqual, Contains, And, Or, Not,
};

struct Expression::Node {
  Operation operation;
  Type type;
  std::size_t field = 0;
  ExpressionValue literal;
  std::vector<std::unique_ptr<Node>> arguments;
};

namespace {

// A number from an expression used as a count or a position: NaN and huge values would be
// undefined when turned into an integer, so they are held to a range first.
double Clamp(double value, double low, double high) {
  if (!std::isfinite(value)) return low;
  return value < low ? low : value > high ? high : value;
}


using Node = Expression::Node;

std::string Upper(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
  return out;
}

std::unique_ptr<Node> MakeNode(Operation operation, Type type) {
  auto node = std::make_unique<Node>();
  node->operation = operation;
  node->type = type;
  return node;
}

class Parser {
 public:
  Parser(std::string_view text, const Table& table, std::vector<std::size_t>& fields)
      : text_(text), table_(table), fields_(fields) {}

  std::unique_ptr<Node> ParseAll() {
    auto node = ParseOr();
    SkipBlanks();
    if (position_ != text_.size()) Fail("unexpected '" + std::string(text_.substr(position_)) + "'");
    return node;
  }

 private:
  [[noreturn]] void Fail(const std::string& what) {
    throw Error(ErrorKind::NotSupported, "the index expression \"" + std::string(text_) + "\" cannot be evaluated: " + what);
  }

  void SkipBlanks() {
    while (position_ < text_.size() && (text_[position_] == ' ' || text_[position_] == '\t')) ++position_;
  }

  // Matches a dotted keyword such as ".AND." (case-blind) or a symbol.
  bool Accept(std::string_view token) {
    SkipBlanks();
    if (text_.size() - position_ < token.size()) return false;
    if (Upper(text_.substr(position_, token.size())) != token) return false;
    position_ += token.size();
    return true;
  }

  void Expect(std::string_view token) {
    if (!Accept(token)) Fail("expected '" + std::string(token) + "' at position " + std::to_string(position_ + 1));
  }

  void RequireType(const Node& node, Type type, const char* where) {
    if (node.type != type) Fail(std::string("wrong type of value for ") + where);
  }

  std::unique_ptr<Node> Binary(Operation operation, Type type, std::unique_ptr<Node> left, std::unique_ptr<Node> right) {
    auto node = MakeNode(operation, type);
    node->arguments.push_back(std::move(left));
    node->arguments.push_back(std::move(right));
    return node;
  }

  std::unique_ptr<Node> ParseOr() {
    auto left = ParseAnd();
    while (Accept(".OR.")) {
      auto right = ParseAnd();
      RequireType(*left, Type::Logical, ".OR.");
      RequireType(*right, Type::Logical, ".OR.");
      left = Binary(Operation::Or, Type::Logical, std::move(left), std::move(right));
    }
    return left;
  }

  std::unique_ptr<Node> ParseAnd() {
    auto left = ParseNot();
    while (Accept(".AND.")) {
      auto right = ParseNot();
      RequireType(*left, Type::Logical, ".AND.");
      RequireType(*right, Type::Logical, ".AND.");
      left = Binary(Operation::And, Type::Logical, std::move(left), std::move(right));
    }
    return left;
  }

  std::unique_ptr<Node> ParseNot() {
    SkipBlanks();
    if (Accept(".NOT.") || (position_ < text_.size() && text_[position_] == '!' &&
                            (position_ + 1 >= text_.size() || text_[position_ + 1] != '=') && Accept("!"))) {
      auto operand = ParseNot();
      RequireType(*operand, Type::Logical, ".NOT.");
      auto node = MakeNode(Operation::Not, Type::Logical);
      node->arguments.push_back(std::move(operand));
      return node;
    }
    return ParseComparison();
  }

  std::unique_ptr<Node> ParseComparison() {
    auto left = ParseAdditive();
    static const std::pair<const char*, Operation> kOperators[] = {
        {"==", Operation::ExactEqual}, {"<>", Operation::NotEqual}, {"!=", Operation::NotEqual},
        {"<=", Operation::LessEqual},  {">=", Operation::GreaterEqual}, {"=", Operation::Equal},
        {"#", Operation::NotEqual},    {"<", Operation::Less},       {">", Operation::Greater},
        {"$", Operation::Contains}};
    for (const auto& [token, operation] : kOperators) {
      if (Accept(token)) {
        auto right = ParseAdditive();
        if (left->type != right->type) Fail(std::string("the two sides of '") + token + "' differ in type");
        if (operation == Operation::Contains) RequireType(*left, Type::Character, "$");
        return Binary(operation, Type::Logical, std::move(left), std::move(right));
      }
    }
    return left;
  }

  std::unique_ptr<Node> ParseAdditive() {
    auto left = ParseMultiplicative();
    while (true) {
      Operation operation;
      if (Accept("+")) {
        operation = Operation::Add;
      } else if (Accept("-")) {
        operation = Operation::Subtract;
      } else {
        return left;
      }
      auto right = ParseMultiplicative();
      Type type;
      if (left->type == Type::Character && right->type == Type::Character) {
        type = Type::Character;
      } else if (left->type == Type::Numeric && right->type == Type::Numeric) {
        type = Type::Numeric;
      } else if (left->type == Type::Date && right->type == Type::Numeric) {
        type = Type::Date;
      } else if (left->type == Type::Date && right->type == Type::Date && operation == Operation::Subtract) {
        type = Type::Numeric;
      } else {
        Fail("'+' or '-' on values of different types");
      }
      left = Binary(operation, type, std::move(left), std::move(right));
    }
  }

  std::unique_ptr<Node> ParseMultiplicative() {
    auto left = ParseUnary();
    while (true) {
      Operation operation;
      if (Accept("*")) {
        operation = Operation::Multiply;
      } else if (Accept("/")) {
        operation = Operation::Divide;
      } else {
        return left;
      }
      auto right = ParseUnary();
      RequireType(*left, Type::Numeric, "'*' or '/'");
      RequireType(*right, Type::Numeric, "'*' or '/'");
      left = Binary(operation, Type::Numeric, std::move(left), std::move(right));
    }
  }

  std::unique_ptr<Node> ParseUnary() {
    if (Accept("-")) {
      auto operand = ParseUnary();
      RequireType(*operand, Type::Numeric, "unary '-'");
      auto node = MakeNode(Operation::Negate, Type::Numeric);
      node->arguments.push_back(std::move(operand));
      return node;
    }
    return ParsePrimary();
  }

  std::unique_ptr<Node> ParsePrimary() {
    SkipBlanks();
    if (position_ >= text_.size()) Fail("the expression ends too early");
    char c = text_[position_];
    if (c == '(') {
      ++position_;
      auto node = ParseOr();
      Expect(")");
      return node;
    }
    if (c == '"' || c == '\'' || c == '[') {
      char close = c == '[' ? ']' : c;
      std::size_t end = text_.find(close, position_ + 1);
      if (end == std::string_view::npos) Fail("a string literal is not closed");
      auto node = MakeNode(Operation::Literal, Type::Character);
      node->literal.type = Type::Character;
      node->literal.bytes = std::string(text_.substr(position_ + 1, end - position_ - 1));
      position_ = end + 1;
      return node;
    }
    if (Accept(".T.") || Accept(".F.")) {
      auto node = MakeNode(Operation::Literal, Type::Logical);
      node->literal.type = Type::Logical;
      node->literal.logical = Upper(text_.substr(position_ - 2, 1)) == "T";
      return node;
    }
    if ((c >= '0' && c <= '9') || c == '.') {
      std::size_t start = position_;
      while (position_ < text_.size() && ((text_[position_] >= '0' && text_[position_] <= '9') || text_[position_] == '.')) ++position_;
      ParsedNumber number = ParseNumber(text_.substr(start, position_ - start));
      if (number.status != ParseStatus::Good) Fail("bad number '" + std::string(text_.substr(start, position_ - start)) + "'");
      auto node = MakeNode(Operation::Literal, Type::Numeric);
      node->literal.type = Type::Numeric;
      node->literal.number = number.value;
      return node;
    }
    if (std::isalpha(static_cast<unsigned char>(c)) || c == '_') {
      std::string name = ReadName();
      SkipBlanks();
      if (position_ + 1 < text_.size() && text_[position_] == '-' && text_[position_ + 1] == '>') {
        position_ += 2;  // alias->field: the alias is this table
        SkipBlanks();
        name = ReadName();
      } else if (position_ < text_.size() && text_[position_] == '.' && position_ + 1 < text_.size() &&
                 std::isalpha(static_cast<unsigned char>(text_[position_ + 1])) && !IsDottedOperatorAhead()) {
        ++position_;  // alias.field
        name = ReadName();
      } else if (Accept("(")) {
        return ParseFunction(Upper(name));
      }
      return FieldNode(name);
    }
    Fail(std::string("unexpected '") + c + "'");
  }

  bool IsDottedOperatorAhead() {
    std::string rest = Upper(text_.substr(position_, 5));
    return rest.rfind(".AND.", 0) == 0 || rest.rfind(".OR.", 0) == 0 || rest.rfind(".NOT.", 0) == 0;
  }

  std::string ReadName() {
    std::size_t start = position_;
    while (position_ < text_.size() &&
           (std::isalnum(static_cast<unsigned char>(text_[position_])) || text_[position_] == '_')) ++position_;
    return std::string(text_.substr(start, position_ - start));
  }

  std::unique_ptr<Node> FieldNode(const std::string& name) {
    auto index = table_.FindField(name);
    if (!index) Fail("no field named " + name);
    const Field& field = table_.fields()[*index];
    Type type;
    switch (field.type) {
      case 'C': type = Type::Character; break;
      case 'N': case 'F': type = Type::Numeric; break;
      case 'D': type = Type::Date; break;
      case 'L': type = Type::Logical; break;
      default: Fail("field " + field.name + " of type " + std::string(1, field.type) + " cannot be used here");
    }
    auto node = MakeNode(Operation::Field, type);
    node->field = *index;
    bool listed = false;
    for (std::size_t f : fields_) listed = listed || f == *index;
    if (!listed) fields_.push_back(*index);
    return node;
  }

  std::vector<std::unique_ptr<Node>> Arguments() {
    std::vector<std::unique_ptr<Node>> arguments;
    if (Accept(")")) return arguments;
    do {
      arguments.push_back(ParseOr());
    } while (Accept(","));
    Expect(")");
    return arguments;
  }

  // FoxPro accepts a function name cut to its first four letters.
  static bool NameMatches(const std::string& given, std::string_view full) {
    if (given == full) return true;
    return given.size() >= 4 && given.size() < full.size() && full.substr(0, given.size()) == given;
  }

  std::unique_ptr<Node> ParseFunction(const std::string& name) {
    auto arguments = Arguments();
    auto count = arguments.size();
    auto check = [&](std::size_t minimum, std::size_t maximum) {
      if (count < minimum || count > maximum) Fail(name + "() takes " + std::to_string(minimum) + " to " + std::to_string(maximum) + " arguments");
    };
    std::unique_ptr<Node> node;
    auto text_function = [&](Operation operation) {
      check(1, 1);
      RequireType(*arguments[0], Type::Character, name.c_str());
      node = MakeNode(operation, Type::Character);
    };
    if (NameMatches(name, "UPPER")) {
      text_function(Operation::Upper);
    } else if (NameMatches(name, "LOWER")) {
      text_function(Operation::Lower);
    } else if (NameMatches(name, "TRIM") || NameMatches(name, "RTRIM")) {
      text_function(Operation::Trim);
    } else if (NameMatches(name, "LTRIM")) {
      text_function(Operation::LeftTrim);
    } else if (NameMatches(name, "ALLTRIM")) {
      text_function(Operation::AllTrim);
    } else if (NameMatches(name, "STR")) {
      check(1, 3);
      for (auto& argument : arguments) RequireType(*argument, Type::Numeric, "STR()");
      node = MakeNode(Operation::Str, Type::Character);
    } else if (NameMatches(name, "DTOS")) {
      check(1, 1);
      RequireType(*arguments[0], Type::Date, "DTOS()");
      node = MakeNode(Operation::Dtos, Type::Character);
    } else if (NameMatches(name, "SUBSTR")) {
      check(2, 3);
      RequireType(*arguments[0], Type::Character, "SUBSTR()");
      for (std::size_t i = 1; i < count; ++i) RequireType(*arguments[i], Type::Numeric, "SUBSTR()");
      node = MakeNode(Operation::Substr, Type::Character);
    } else if (NameMatches(name, "LEFT") || NameMatches(name, "RIGHT")) {
      check(2, 2);
      RequireType(*arguments[0], Type::Character, name.c_str());
      RequireType(*arguments[1], Type::Numeric, name.c_str());
      node = MakeNode(NameMatches(name, "LEFT") ? Operation::Left : Operation::Right, Type::Character);
    } else if (NameMatches(name, "VAL")) {
      check(1, 1);
      RequireType(*arguments[0], Type::Character, "VAL()");
      node = MakeNode(Operation::Val, Type::Numeric);
    } else if (NameMatches(name, "IIF")) {
      check(3, 3);
      RequireType(*arguments[0], Type::Logical, "IIF()");
      if (arguments[1]->type != arguments[2]->type) Fail("the two results of IIF() differ in type");
      node = MakeNode(Operation::Iif, arguments[1]->type);
    } else if (NameMatches(name, "DELETED")) {
      check(0, 0);
      node = MakeNode(Operation::Deleted, Type::Logical);
    } else {
      Fail("the function " + name + "() is not supported");
    }
    node->arguments = std::move(arguments);
    return node;
  }

  std::string_view text_;
  const Table& table_;
  std::vector<std::size_t>& fields_;
  std::size_t position_ = 0;
};

std::string_view RightTrim(std::string_view text) {
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

std::string_view LeftTrim(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  return text;
}

// STR(n, width, decimals): rounded half away from zero, right-justified; asterisks when the
// number does not fit, as FoxPro shows an overflow.
std::string FormatStr(double value, int width, int decimals) {
  if (width < 1) width = 10;
  if (width > 255) width = 255;
  if (decimals < 0) decimals = 0;
  if (decimals > 18) decimals = 18;
  double scale = std::pow(10.0, decimals);
  double rounded = std::round(value * scale) / scale;
  if (rounded == 0) rounded = 0;  // no "-0"
  char buffer[400];
  std::snprintf(buffer, sizeof buffer, "%.*f", decimals, rounded);
  std::string text = buffer;
  if (static_cast<int>(text.size()) > width && decimals > 0) {
    // FoxPro drops decimals before it gives up.
    int room = width - static_cast<int>(text.find('.')) - 1;
    if (room >= 0) {
      std::snprintf(buffer, sizeof buffer, "%.*f", room, rounded);
      text = buffer;
      if (room == 0 && !text.empty() && text.back() == '.') text.pop_back();
    }
  }
  if (static_cast<int>(text.size()) > width) return std::string(static_cast<std::size_t>(width), '*');
  return std::string(static_cast<std::size_t>(width) - text.size(), ' ') + text;
}

int CompareBytes(std::string_view left, std::string_view right) {
  int result = std::memcmp(left.data(), right.data(), std::min(left.size(), right.size()));
  if (result != 0) return result;
  return left.size() < right.size() ? -1 : left.size() > right.size() ? 1 : 0;
}

// Compares two values of one type for <, >, <=, >=: character values blank-padded to one length.
int CompareValues(const ExpressionValue& left, const ExpressionValue& right) {
  switch (left.type) {
    case Type::Character: {
      std::string a = left.bytes, b = right.bytes;
      if (a.size() < b.size()) a.resize(b.size(), ' ');
      if (b.size() < a.size()) b.resize(a.size(), ' ');
      return CompareBytes(a, b);
    }
    case Type::Numeric: return left.number < right.number ? -1 : left.number > right.number ? 1 : 0;
    case Type::Date: return left.julian_day < right.julian_day ? -1 : left.julian_day > right.julian_day ? 1 : 0;
    case Type::Logical: return int(left.logical) - int(right.logical);
  }
  return 0;
}

class Evaluator {
 public:
  Evaluator(const Table& table, std::span<const std::byte> record) : table_(table), record_(record) {}

  ExpressionValue Run(const Node& node) {
    ExpressionValue result;
    result.type = node.type;
    auto argument = [&](std::size_t i) { return Run(*node.arguments[i]); };
    switch (node.operation) {
      case Operation::Literal: return node.literal;
      case Operation::Field: return ReadField(node.field);
      case Operation::Deleted: result.logical = std::to_integer<unsigned char>(record_[0]) == '*'; return result;
      case Operation::Upper:
      case Operation::Lower: {
        result.bytes = argument(0).bytes;
        const CodePage& code_page = table_.code_page();
        for (char& c : result.bytes) {
          auto u = static_cast<unsigned char>(c);
          c = static_cast<char>(node.operation == Operation::Upper ? code_page.Upper(u) : code_page.Lower(u));
        }
        return result;
      }
      case Operation::Trim: result.bytes = std::string(RightTrim(argument(0).bytes)); return result;
      case Operation::LeftTrim: result.bytes = std::string(LeftTrim(argument(0).bytes)); return result;
      case Operation::AllTrim: result.bytes = std::string(LeftTrim(RightTrim(argument(0).bytes))); return result;
      case Operation::Str: {
        double value = argument(0).number;
        int width = node.arguments.size() > 1 ? static_cast<int>(Clamp(argument(1).number, 0, 255)) : 10;
        int decimals = node.arguments.size() > 2 ? static_cast<int>(Clamp(argument(2).number, 0, 18)) : 0;
        result.bytes = FormatStr(value, width, decimals);
        return result;
      }
      case Operation::Dtos: {
        std::int64_t day = argument(0).julian_day;
        if (day == 0) {
          result.bytes = std::string(8, ' ');
        } else {
          Date date = DateFromJulianDay(day);
          char buffer[16];
          std::snprintf(buffer, sizeof buffer, "%04d%02d%02d", date.year % 10000, date.month, date.day);
          result.bytes = buffer;
        }
        return result;
      }
      case Operation::Substr: {
        std::string text = argument(0).bytes;
        long start = static_cast<long>(Clamp(argument(1).number, 0, 65536));
        long length = node.arguments.size() > 2 ? static_cast<long>(Clamp(argument(2).number, 0, 65536))
                                                : static_cast<long>(text.size());
        if (start < 1 || start > static_cast<long>(text.size()) || length <= 0) return result;
        result.bytes = text.substr(static_cast<std::size_t>(start - 1), static_cast<std::size_t>(length));
        return result;
      }
      case Operation::Left:
      case Operation::Right: {
        std::string text = argument(0).bytes;
        long count = static_cast<long>(Clamp(argument(1).number, 0, 65536));
        if (count <= 0) return result;
        std::size_t n = std::min<std::size_t>(static_cast<std::size_t>(count), text.size());
        result.bytes = node.operation == Operation::Left ? text.substr(0, n) : text.substr(text.size() - n);
        return result;
      }
      case Operation::Val: {
        std::string text(LeftTrim(argument(0).bytes));
        std::size_t end = 0;
        while (end < text.size() && (std::isdigit(static_cast<unsigned char>(text[end])) || text[end] == '.' ||
                                     (end == 0 && (text[end] == '-' || text[end] == '+')))) ++end;
        ParsedNumber number = ParseNumber(text.substr(0, end));
        result.number = number.status == ParseStatus::Good ? number.value : 0;
        return result;
      }
      case Operation::Iif: return argument(0).logical ? argument(1) : argument(2);
      case Operation::Add:
      case Operation::Subtract: {
        ExpressionValue left = argument(0), right = argument(1);
        if (node.type == Type::Character) {
          if (node.operation == Operation::Add) {
            result.bytes = left.bytes + right.bytes;
          } else {  // '-' moves the left side's trailing blanks to the end
            std::string_view trimmed = RightTrim(left.bytes);
            result.bytes = std::string(trimmed) + right.bytes + std::string(left.bytes.size() - trimmed.size(), ' ');
          }
        } else if (node.type == Type::Date) {
          double days = node.operation == Operation::Add ? right.number : -right.number;
          result.julian_day = left.julian_day == 0 ? 0 : left.julian_day + static_cast<std::int64_t>(std::llround(days));
        } else if (left.type == Type::Date) {
          result.number = static_cast<double>(left.julian_day - right.julian_day);
        } else {
          result.number = node.operation == Operation::Add ? left.number + right.number : left.number - right.number;
        }
        return result;
      }
      case Operation::Multiply: result.number = argument(0).number * argument(1).number; return result;
      case Operation::Divide: {
        double divisor = argument(1).number;
        result.number = divisor == 0 ? 0 : argument(0).number / divisor;
        return result;
      }
      case Operation::Negate: result.number = -argument(0).number; return result;
      case Operation::Equal:
      case Operation::ExactEqual:
      case Operation::NotEqual: {
        ExpressionValue left = argument(0), right = argument(1);
        bool equal;
        if (left.type == Type::Character) {
          if (node.operation == Operation::ExactEqual) {
            // As SET EXACT ON: the shorter side counts as blank-padded.
            equal = RightTrim(left.bytes) == RightTrim(right.bytes);
          } else {
            // SET EXACT OFF: the left side need only begin with the right side.
            equal = left.bytes.size() >= right.bytes.size() ? left.bytes.compare(0, right.bytes.size(), right.bytes) == 0
                                                             : CompareValues(left, right) == 0;
          }
        } else {
          equal = CompareValues(left, right) == 0;
        }
        result.logical = node.operation == Operation::NotEqual ? !equal : equal;
        return result;
      }
      case Operation::Less: result.logical = CompareValues(argument(0), argument(1)) < 0; return result;
      case Operation::Greater: result.logical = CompareValues(argument(0), argument(1)) > 0; return result;
      case Operation::LessEqual: result.logical = CompareValues(argument(0), argument(1)) <= 0; return result;
      case Operation::GreaterEqual: result.logical = CompareValues(argument(0), argument(1)) >= 0; return result;
      case Operation::Contains: result.logical = argument(1).bytes.find(argument(0).bytes) != std::string::npos; return result;
      case Operation::And: result.logical = argument(0).logical && argument(1).logical; return result;
      case Operation::Or: result.logical = argument(0).logical || argument(1).logical; return result;
      case Operation::Not: result.logical = !argument(0).logical; return result;
    }
    return result;
  }

 private:
  ExpressionValue ReadField(std::size_t index) {
    const Field& field = table_.fields()[index];
    std::string_view raw(reinterpret_cast<const char*>(record_.data()) + field.offset, field.length);
    ExpressionValue value;
    switch (field.type) {
      case 'C':
        value.type = Type::Character;
        value.bytes = std::string(raw);
        break;
      case 'N':
      case 'F': {
        value.type = Type::Numeric;
        ParsedNumber number = ParseNumber(raw);
        value.number = number.status == ParseStatus::Good ? number.value : 0;
        break;
      }
      case 'D': {
        value.type = Type::Date;
        ParsedDate date = ParseDate(raw);
        value.julian_day = date.status == ParseStatus::Good ? JulianDay(date.date) : 0;
        break;
      }
      default: {
        value.type = Type::Logical;
        ParsedLogical logical = ParseLogical(raw.empty() ? ' ' : static_cast<unsigned char>(raw[0]));
        value.logical = logical.status == ParseStatus::Good && logical.value;
        break;
      }
    }
    return value;
  }

  const Table& table_;
  std::span<const std::byte> record_;
};

}  // namespace

Expression Expression::Parse(std::string_view text, const Table& table) {
  Expression expression;
  expression.text_ = std::string(text);
  expression.table_ = &table;
  Parser parser(text, table, expression.fields_);
  expression.root_ = parser.ParseAll();
  return expression;
}

Expression::Expression(Expression&&) noexcept = default;
Expression& Expression::operator=(Expression&&) noexcept = default;
Expression::~Expression() = default;

Type Expression::type() const { return root_->type; }

ExpressionValue Expression::Evaluate(std::span<const std::byte> record) const {
  Evaluator evaluator(*table_, record);
  return evaluator.Run(*root_);
}

std::string EncodeIndexKey(const ExpressionValue& value, std::size_t key_length) {
  switch (value.type) {
    case Type::Character: {
      std::string key = value.bytes.substr(0, key_length);
      key.resize(key_length, ' ');
      return key;
    }
    case Type::Logical: {
      std::string key(1, value.logical ? 'T' : 'F');
      key.resize(key_length, ' ');
      return key;
    }
    case Type::Numeric:
    case Type::Date: {
      double number = value.type == Type::Numeric ? value.number : static_cast<double>(value.julian_day);
      if (number == 0) number = 0;  // -0.0 sorts as +0.0
      std::uint64_t bits;
      std::memcpy(&bits, &number, sizeof bits);
      if (number >= 0) {
        bits ^= 0x8000000000000000ull;
      } else {
        bits = ~bits;
      }
      std::string key(8, '\0');
      for (int i = 0; i < 8; ++i) key[i] = static_cast<char>((bits >> (56 - 8 * i)) & 0xFF);
      key.resize(key_length, '\0');
      return key;
    }
  }
  return std::string(key_length, ' ');
}

}  // namespace qorvane::foxpro
