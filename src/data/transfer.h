// The field copies every converter makes from a source record into a target row, on typed
// handles: text (convertField), numbers (ConvertNumericField) and dates (VerifyAndSet). When a
// source value cannot be kept as it is (cut to the column, not a number the column holds, not a
// date), the copy says so in a DATA line of the log naming the record and the field, so that
// nothing is changed silently.
#pragma once

#include <string>
#include <string_view>

#include "data/context.h"
#include "data/source_table.h"
#include "data/target_table.h"

namespace qorvane::data {

// The record being converted, as the DATA lines of the log name it: the source file and the
// file (or invoice) number.
struct RecordPlace {
  Context& context;
  std::string file;    // "property.dbf"
  std::string number;  // "file number 1001-A", "invoice # 1001"
  // "DATA: property.dbf file number 1001-A: Pr_Street <what>".
  void Note(std::string_view field, std::string_view what) const;
  // "DATA: property.dbf file number 1001-A <what>", about the record as a whole.
  void NoteRecord(std::string_view what) const;
};

// Text copy: the field's text into COLUMN (trimmed, cut to its width; a cut is noted).
void convertField(const SourceTable& source, const SourceField& field, TargetRow& row, const TargetColumn& column,
                  const RecordPlace* place = nullptr);
// Number copy: an empty value is 0; the text through Csingle into a single-precision column. A
// stored value that is not a number, or one the column cannot hold, is written as 0 (noted).
void ConvertNumericField(const SourceTable& source, const SourceField& field, TargetRow& row,
                         const TargetColumn& column, const RecordPlace* place = nullptr);
// Date copy: a usable date as it is, anything else as 1/1/1900. A stored value that is not a
// usable date (zero, 12/30/1899, impossible) is noted; a blank field is simply a missing date.
void VerifyAndSet(const SourceTable& source, const SourceField& field, TargetRow& row, const TargetColumn& column,
                  const RecordPlace* place = nullptr);

// TEXT as COLUMN stores it (trimmed, cut to its width). When it had to be cut, a log line names
// the source record, the column and both texts, so that a key too long for its column is looked
// up, and merged, as the row that holds it.
std::string KeyAsStored(Context& context, const SourceTable& source, const TargetColumn& column,
                        std::string_view text);

// Says, once per run, each column a step asked TABLE for that the table lacks: the step writes
// its rows without it (an office.mdb made by an older version of the new program).
void ReportMissingColumns(Context& context, TargetTable& table);

// The date the target keeps for a missing one.
inline constexpr const char* kMissingDate = "1/1/1900";

}  // namespace qorvane::data
