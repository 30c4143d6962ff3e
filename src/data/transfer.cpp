// The field copies (see transfer.h).
#include "data/transfer.h"

#include <cmath>

#include "common/text.h"
#include "data/connections.h"
#include "data/fields.h"

namespace qorvane::data {

void RecordPlace::Note(std::string_view field, std::string_view what) const {
  context.Log("DATA: " + file + " " + number + ": " + std::string(field) + " " + std::string(what));
}

void RecordPlace::NoteRecord(std::string_view what) const {
  context.Log("DATA: " + file + " " + number + " " + std::string(what));
}

std::string KeyAsStored(Context& context, const SourceTable& source, const TargetColumn& column,
                        std::string_view text) {
  std::string stored = text::TrimToWidth(text, column.width);
  std::string_view given = text::Trim(text);
  if (text::CharLength(stored) < text::CharLength(given)) {
    context.Log(source.Place() + ": " + column.name + " \"" + std::string(given) + "\" is longer than " +
                std::to_string(column.width) + " characters; converted as \"" + stored + "\"");
  }
  return stored;
}

void ReportMissingColumns(Context& context, TargetTable& table) {
  for (const std::string& column : table.TakeUnreportedMissingColumns()) {
    context.run().ReportRoutineError("CheckColumns", app::error_number::kInvalidProcedureCall,
                                     context.Paths().target_file + ": table " + table.name() + " has no column " +
                                         column + "; the rows are written without it");
  }
}

void convertField(const SourceTable& source, const SourceField& field, TargetRow& row, const TargetColumn& column,
                  const RecordPlace* place) {
  std::string value = DATgetfield(source, field);
  if (place && column.type == jet::ColumnType::Text && column.width > 0 &&
      text::CharLength(value) > static_cast<std::size_t>(column.width)) {
    place->Note(field.name, "is longer than " + column.name + " (" + std::to_string(column.width) +
                                " characters); cut to '" + text::TrimToWidth(value, column.width) + "'");
  }
  AdoSetField(row, column, value);
}

void ConvertNumericField(const SourceTable& source, const SourceField& field, TargetRow& row,
                         const TargetColumn& column, const RecordPlace* place) {
  std::string value = DATgetfield(source, field);
  if (value.empty()) {
    if (place) {
      std::string stored = source.Stored(field);
      if (!stored.empty()) place->Note(field.name, "'" + stored + "' is not a number; 0 written to " + column.name);
    }
    value = "0";
  }
  float number = Csingle(value);
  if (place && (number == 0 || !std::isfinite(number)) &&
      NumericChars(value).find_first_of("123456789") != std::string::npos) {
    place->Note(field.name, "'" + value + "' is not a number " + column.name + " can hold; 0 written");
    number = 0;
  }
  AdoSetFieldSingle(row, column, number);
}

void VerifyAndSet(const SourceTable& source, const SourceField& field, TargetRow& row, const TargetColumn& column,
                  const RecordPlace* place) {
  std::string value = DATgetfield(source, field);
  if (IsDate(value)) {
    AdoSetFieldDate(row, column, value);
    return;
  }
  if (place) {
    std::string stored = source.Stored(field);
    if (!stored.empty()) {
      place->Note(field.name, "'" + stored + "' is not a usable date; " + kMissingDate + " written to " + column.name);
    }
  }
  AdoSetFieldDate(row, column, kMissingDate);
}

}  // namespace qorvane::data
