// Table export for the command line.
#include "foxpro/export.h"

#include <cstdio>

#include "common/error.h"
#include "common/reporter.h"
#include "foxpro/table.h"

namespace qorvane::foxpro {
namespace {

class StreamReporter : public Reporter {
 public:
  explicit StreamReporter(std::ostream& stream) : stream_(stream) {}
  void Report(const std::string& message) override { stream_ << "warning: " << message << "\n"; }

 private:
  std::ostream& stream_;
};

ExportValue ToExport(const Value& value, const CodePage& code_page) {
  switch (value.kind) {
    case Value::Kind::Null: return ExportValue::Null();
    case Value::Kind::Text: return ExportValue::Text(value.text);
    case Value::Kind::Number: return ExportValue::Number(value.text);
    case Value::Kind::Logical: return ExportValue::Boolean(value.logical);
    case Value::Kind::Date: {
      char buffer[32];
      std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d %02d:%02d:%02d", value.date.year, value.date.month,
                    value.date.day, value.date.hour, value.date.minute, value.date.second);
      return ExportValue::Text(buffer);
    }
    case Value::Kind::Binary: return ExportValue::Text(code_page.Decode(value.text));
  }
  return ExportValue::Null();
}

}  // namespace

int ExportDbf(const qorvane::ExportOptions& options, std::ostream& out, std::ostream& err) {
  StreamReporter reporter(err);
  try {
    auto table = Table::Open(options.file, {options.source_codepage, &reporter});
    ExportWriter writer(out, options.format);
    std::vector<std::string> columns;
    for (const Field& field : table->fields()) columns.push_back(field.name);
    writer.Begin(columns);
    std::vector<ExportValue> row(columns.size());
    for (std::uint32_t record = 0; record < table->record_count(); ++record) {
      auto bytes = table->RecordBytes(record);
      if (std::to_integer<unsigned char>(bytes[0]) == '*') continue;
      for (std::size_t i = 0; i < columns.size(); ++i) row[i] = ToExport(table->DecodeField(bytes, record, i), table->code_page());
      writer.Row(row);
    }
    writer.End();
    return out.good() ? 0 : 3;
  } catch (const Error& error) {
    err << "qorvane export: " << error.what() << "\n";
    return 3;
  }
}

}  // namespace qorvane::foxpro
