// The export command: each engine's rows turned into ExportWriter rows.
#include "cli/export.h"

#include <cstdio>

#include "common/error.h"
#include "common/reporter.h"
#include "foxpro/table.h"
#include "jet/database.h"
#include "jet/value_text.h"

namespace qorvane::cli {
namespace {

// Damage the engines read past, as warnings on the error stream.
class StreamReporter : public Reporter {
 public:
  explicit StreamReporter(std::ostream& stream) : stream_(stream) {}
  void Report(const Damage& damage) override { stream_ << "warning: " << DamageMessage(damage) << "\n"; }

 private:
  std::ostream& stream_;
};

ExportValue FromJet(const jet::ColumnDefinition& column, const jet::Value& value) {
  using Kind = jet::Value::Kind;
  if (value.is_null()) return ExportValue::Null();
  switch (value.kind) {
    case Kind::Boolean: return ExportValue::Boolean(value.integer != 0);
    case Kind::Integer:
    case Kind::Currency:
    case Kind::Single:
    case Kind::Double: return ExportValue::Number(value.AsText());
    case Kind::Binary:
      if (column.type == jet::ColumnType::Numeric) return ExportValue::Number(jet::ColumnValueText(column, value));
      return ExportValue::Text(jet::ColumnValueText(column, value));
    case Kind::DateTime:
    case Kind::Text: return ExportValue::Text(value.AsText());
    case Kind::Null: break;
  }
  return ExportValue::Null();
}

ExportValue FromFoxPro(const foxpro::Value& value, const foxpro::CodePage& code_page) {
  using Kind = foxpro::Value::Kind;
  switch (value.kind) {
    case Kind::Null: return ExportValue::Null();
    case Kind::Text: return ExportValue::Text(value.text);
    case Kind::Number: return ExportValue::Number(value.text);
    case Kind::Logical: return ExportValue::Boolean(value.logical);
    case Kind::Date: {
      char buffer[32];
      std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d %02d:%02d:%02d", value.date.year, value.date.month,
                    value.date.day, value.date.hour, value.date.minute, value.date.second);
      return ExportValue::Text(buffer);
    }
    case Kind::Binary: return ExportValue::Text(code_page.Decode(value.text));
  }
  return ExportValue::Null();
}

bool EndsWithNoCase(const std::string& text, const std::string& suffix) {
  if (text.size() < suffix.size()) return false;
  for (std::size_t i = 0; i < suffix.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(text[text.size() - suffix.size() + i])) != suffix[i]) return false;
  }
  return true;
}

}  // namespace

int Export(const ExportOptions& options, std::ostream& out, std::ostream& err) {
  if (EndsWithNoCase(options.file, ".mdb")) return ExportMdb(options, out, err);
  if (EndsWithNoCase(options.file, ".dbf")) return ExportDbf(options, out, err);
  err << "qorvane: " << options.file << ": not a .dbf table or a .mdb database (the name must end in .dbf or .mdb)\n";
  return kExportBadFile;
}

int ExportMdb(const ExportOptions& options, std::ostream& out, std::ostream& err) {
  StreamReporter reporter(err);
  try {
    auto database = jet::Database::Open(options.file, {.reporter = &reporter});
    ExportWriter writer(out, options.format);
    if (!options.table) {
      writer.Begin({"table", "rows"});
      for (const auto& summary : database->ListTables()) {
        jet::Table& table = database->GetTable(summary.name);
        writer.Row({ExportValue::Text(summary.name), ExportValue::Number(std::to_string(table.row_count()))});
      }
      writer.End();
      return kExportDone;
    }
    if (!database->HasTable(*options.table)) {
      err << options.file << ": there is no table " << *options.table << "\n";
      return kExportBadFile;
    }
    jet::Table& table = database->GetTable(*options.table);
    std::vector<std::string> names;
    for (const auto& column : table.columns()) names.push_back(column.name);
    writer.Begin(names);
    std::vector<ExportValue> exported(names.size());
    for (jet::RowId row : table.RowIds()) {
      std::vector<jet::Value> values = table.ReadRow(row);
      for (std::size_t i = 0; i < values.size(); ++i) exported[i] = FromJet(table.columns()[i], values[i]);
      writer.Row(exported);
    }
    writer.End();
    return kExportDone;
  } catch (const Error& error) {
    err << error.what() << "\n";
    return kExportUnreadable;
  } catch (const std::exception& error) {
    err << options.file << ": " << error.what() << "\n";
    return kExportUnreadable;
  }
}

int ExportDbf(const ExportOptions& options, std::ostream& out, std::ostream& err) {
  StreamReporter reporter(err);
  try {
    auto table = foxpro::Table::Open(options.file, {options.source_codepage, &reporter});
    ExportWriter writer(out, options.format);
    std::vector<std::string> columns;
    for (const foxpro::Field& field : table->fields()) columns.push_back(field.name);
    writer.Begin(columns);
    std::vector<ExportValue> row(columns.size());
    for (std::uint32_t record = 0; record < table->record_count(); ++record) {
      auto bytes = table->RecordBytes(record);
      if (std::to_integer<unsigned char>(bytes[0]) == '*') continue;
      for (std::size_t i = 0; i < columns.size(); ++i) {
        row[i] = FromFoxPro(table->DecodeField(bytes, record, i), table->code_page());
      }
      writer.Row(row);
    }
    writer.End();
    return out.good() ? kExportDone : kExportUnreadable;
  } catch (const Error& error) {
    err << "qorvane export: " << error.what() << "\n";
    return kExportUnreadable;
  }
}

}  // namespace qorvane::cli
