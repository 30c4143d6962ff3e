// Prints rows as CSV or JSON for `qorvane export`, whichever engine they come from. The export
// turns each value into text in the agreed forms (UTF-8 text, dates "YYYY-MM-DD HH:MM:SS",
// booleans 1/0, numbers in plain decimal, memos whole); this writer only quotes and escapes.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace qorvane::cli {

enum class ExportFormat { Csv, Json };

struct ExportValue {
  enum class Kind { Null, Text, Number, Boolean };
  Kind kind = Kind::Null;
  std::string text;  // empty for Null; "1"/"0" for Boolean

  static ExportValue Null() { return {}; }
  static ExportValue Text(std::string value) { return {Kind::Text, std::move(value)}; }
  static ExportValue Number(std::string value) { return {Kind::Number, std::move(value)}; }
  static ExportValue Boolean(bool value) { return {Kind::Boolean, value ? "1" : "0"}; }
};

// Writes one table: Begin with the column names, Row for each row, End once.
// CSV: a header line, then one line per row, fields quoted when they hold a comma, quote or
// line break (RFC 4180), NULL as an empty field. JSON: an array of objects, one per row.
class ExportWriter {
 public:
  ExportWriter(std::ostream& out, ExportFormat format) : out_(out), format_(format) {}
  void Begin(const std::vector<std::string>& columns);
  void Row(const std::vector<ExportValue>& values);
  void End();

 private:
  std::ostream& out_;
  ExportFormat format_;
  std::vector<std::string> columns_;
  bool first_row_ = true;
};

}  // namespace qorvane::cli
