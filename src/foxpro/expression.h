// The xBase expressions of index tags (key and FOR clauses), parsed once and evaluated on a
// record's stored bytes: field names (also alias->field), string, number and logical literals,
// UPPER, LOWER, TRIM, RTRIM, LTRIM, ALLTRIM, STR, DTOS, SUBSTR, LEFT, RIGHT, VAL, IIF,
// DELETED(), + and -, * and /, comparisons (= with SET EXACT OFF, ==, <>, #, !=, <, >, <=, >=,
// $) and .AND., .OR., .NOT. Function names may be cut to four letters, as FoxPro allows.
// Character values are bytes in the table's code page, exactly as index keys hold them.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qorvane::foxpro {

class Table;

struct ExpressionValue {
  enum class Type { Character, Numeric, Date, Logical };
  Type type = Type::Character;
  std::string bytes;          // Character
  double number = 0;          // Numeric
  std::int64_t julian_day = 0;  // Date; 0 = empty date
  bool logical = false;       // Logical
};

class Expression {
 public:
  // Parses text against the fields of table. Throws qorvane::Error (NotSupported) naming the
  // expression and what is not understood: an unknown function or field, a type mismatch.
  static Expression Parse(std::string_view text, const Table& table);
  Expression(Expression&&) noexcept;
  Expression& operator=(Expression&&) noexcept;
  ~Expression();

  const std::string& text() const { return text_; }
  ExpressionValue::Type type() const;
  // The indexes of the table fields it reads.
  const std::vector<std::size_t>& fields() const { return fields_; }
  // Evaluates on a record's bytes (deletion flag first, as Table::RecordBytes gives them).
  ExpressionValue Evaluate(std::span<const std::byte> record) const;

  struct Node;

 private:
  Expression() = default;
  std::string text_;
  std::unique_ptr<Node> root_;
  std::vector<std::size_t> fields_;
  const Table* table_ = nullptr;
};

// The index key bytes of a value, key_length long: character values blank-padded or cut;
// numbers and dates as the order-preserving 8-byte form of a double; logicals 'T'/'F'.
std::string EncodeIndexKey(const ExpressionValue& value, std::size_t key_length);

}  // namespace qorvane::foxpro
