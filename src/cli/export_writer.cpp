// CSV and JSON quoting for ExportWriter.
#include "cli/export_writer.h"

#include <cstdio>

namespace qorvane::cli {
namespace {

void WriteCsvField(std::ostream& out, const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) {
    out << text;
    return;
  }
  out << '"';
  for (char c : text) {
    if (c == '"') out << '"';
    out << c;
  }
  out << '"';
}

void WriteJsonString(std::ostream& out, const std::string& text) {
  out << '"';
  for (unsigned char c : text) {
    switch (c) {
      case '"': out << "\\\""; break;
      case '\\': out << "\\\\"; break;
      case '\n': out << "\\n"; break;
      case '\r': out << "\\r"; break;
      case '\t': out << "\\t"; break;
      default:
        if (c < 0x20) {
          char buffer[8];
          std::snprintf(buffer, sizeof buffer, "\\u%04x", c);
          out << buffer;
        } else {
          out << static_cast<char>(c);
        }
    }
  }
  out << '"';
}

}  // namespace

void ExportWriter::Begin(const std::vector<std::string>& columns) {
  columns_ = columns;
  first_row_ = true;
  if (format_ == ExportFormat::Csv) {
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (i) out_ << ',';
      WriteCsvField(out_, columns[i]);
    }
    out_ << '\n';
  } else {
    out_ << '[';
  }
}

void ExportWriter::Row(const std::vector<ExportValue>& values) {
  if (format_ == ExportFormat::Csv) {
    for (std::size_t i = 0; i < values.size(); ++i) {
      if (i) out_ << ',';
      WriteCsvField(out_, values[i].text);
    }
    out_ << '\n';
    return;
  }
  out_ << (first_row_ ? "\n  {" : ",\n  {");
  first_row_ = false;
  for (std::size_t i = 0; i < values.size() && i < columns_.size(); ++i) {
    if (i) out_ << ", ";
    WriteJsonString(out_, columns_[i]);
    out_ << ": ";
    const ExportValue& value = values[i];
    switch (value.kind) {
      case ExportValue::Kind::Null: out_ << "null"; break;
      case ExportValue::Kind::Text: WriteJsonString(out_, value.text); break;
      case ExportValue::Kind::Number:
      case ExportValue::Kind::Boolean: out_ << value.text; break;
    }
  }
  out_ << '}';
}

void ExportWriter::End() {
  if (format_ == ExportFormat::Json) out_ << (first_row_ ? "]\n" : "\n]\n");
}

}  // namespace qorvane::cli
