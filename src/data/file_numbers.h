// File numbers: the key that ties an order's property, invoice, assignment and expense records
// together. The characters a legal one holds, the repair of illegal ones in the source tables
// (the preliminary corrections, written back into the .dbf files), and the key forms in which
// they are stored and looked up in office.mdb.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "app/ledger.h"
#include "data/context.h"

namespace qorvane::data {

// A character below 32 or above 126, or one of % * $ # &.
bool HasIllegalFileChars(std::string_view text);
// Every occurrence of the first illegal character replaced by "-"; other kinds stay.
std::string FixIllegalFileChars(std::string_view text);
// The number trimmed, upper-cased and right-justified in 10 characters (longer kept whole);
// the same with "-A" appended before the padding.
std::string MakeFileNumber(std::string_view number);
std::string MakeFileNumberDashA(std::string_view number);

// What the corrections do to one record's key values: each is cleaned (every blank removed,
// upper-cased); when none holds an illegal character every cleaned value is stored back,
// otherwise only the illegal ones are repaired (FixIllegalFileChars) and listed.
struct KeyCorrection {
  std::size_t field;   // index into the values given
  std::string before;  // the cleaned value
  std::string after;   // what is stored
  bool illegal;        // a repair, with its list and log lines
};
std::vector<KeyCorrection> PlanKeyCorrections(const std::vector<std::string>& values);

// The preliminary corrections: the file, invoice and client numbers of property.dbf, and one
// file-number field of another source table. Every record read is in the result's ledger.
app::StepResult FixPropertyFileNum(Context& context);
app::StepResult FixDataFileNums(Context& context, app::SourceControl control, const char* field, const char* table);

}  // namespace qorvane::data
