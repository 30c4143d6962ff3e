// File numbers (see file_numbers.h).
#include "data/file_numbers.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <optional>

#include "app/errors.h"
#include "app/paths.h"
#include "common/utf8.h"
#include "data/connections.h"
#include "data/fields.h"
#include "data/record_loop.h"

namespace qorvane::data {
namespace {

// Characters are whole code points: an accented letter or a degree sign is one character, as it
// was one byte in the source table's code page.
bool IsIllegalFileChar(char32_t c) {
  return c < 32 || c > 126 || std::strchr("%*$#&", static_cast<int>(c)) != nullptr;
}

std::string TrimUpper(std::string_view text) {
  std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return "";
  std::string upper(text.substr(first, text.find_last_not_of(' ') - first + 1));
  for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return upper;
}

// Every blank removed, upper-cased: a number as the corrections clean it.
std::string Cleaned(std::string_view text) {
  std::string cleaned;
  for (char c : text) {
    if (c != ' ') cleaned += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  return cleaned;
}

std::string RightJustified10(std::string key) {
  if (key.size() < 10) key.insert(0, 10 - key.size(), ' ');
  return key;
}

// The source table a control was bound to is there (a missing one was warned about at start-up).
bool Bound(DataControl& control) { return control.bound(); }

struct FieldFix {
  std::string field;        // the source field
  std::string list_prefix;  // "Property.file_num: "
  std::string log_name;     // the field as the log line names it
};

// Cleans the FIELDS of the current record and stores what PlanKeyCorrections says, with the
// list and log lines of each repair. The record is saved.
app::RecordResult CorrectRecord(Context& context, DataControl& control, const std::vector<FieldFix>& fields) {
  std::vector<std::string> values;
  for (const FieldFix& fix : fields) values.push_back(DATgetfield(control, fix.field));
  bool changed = false;
  foxpro::RecordSet& set = control.Recordset();
  // Whether FIELD already holds TEXT as storing it would leave it (left-justified, blank-padded):
  // such a record is not edited, so the walk reads no record twice and writes none it need not.
  auto stored_as = [&](const std::string& field, const std::string& text) {
    auto position = set.FieldPosition(field);
    if (!position || set.EditInProgress()) return false;
    if (std::any_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; })) return false;
    std::string_view raw = set.table().RawField(set.GetBookmark(), *position);
    return raw.size() >= text.size() && raw.substr(0, text.size()) == text &&
           raw.find_first_not_of(' ', text.size()) == std::string_view::npos;
  };
  for (const KeyCorrection& correction : PlanKeyCorrections(values)) {
    const FieldFix& fix = fields[correction.field];
    if (!correction.illegal && stored_as(fix.field, correction.after)) continue;
    DaoSetField(control, correction.after, fix.field);
    changed = changed || correction.after != values[correction.field];
    if (!correction.illegal) continue;
    context.ListIllegalFileNumber(fix.list_prefix + correction.before + " = " + correction.after);
    context.Log("VL CORRECTION: illegal " + fix.log_name + " (" + correction.before + ") converted = " + correction.after);
  }
  foxpro::RecordSet& records = control.Recordset();
  if (records.EditInProgress()) records.Update();
  return changed ? app::RecordResult::Updated() : app::RecordResult::Unchanged();
}

app::StepResult CorrectTable(Context& context, const char* routine, DataControl& control,
                             const std::vector<FieldFix>& fields) {
  foxpro::RecordSet& records = control.Recordset();
  if (auto refusal = records.WriteRefusal()) {
    // Said once for the table, not once for each of its records.
    std::string text = records.table().name() + ": " + *refusal +
                       "; its file numbers are not repaired in the table (the conversion still corrects them as it "
                       "converts). Rebuild the index in the old program (REINDEX), then run the corrections again";
    if (context.connections().FirstTimeSaid(text)) {
      context.run().ReportRoutineError(routine, app::error_number::kUnrecognizedFormat, text);
    }
    return {};
  }
  RecordLoop loop;
  loop.routine = routine;
  loop.source = &control;
  loop.counter_in_label = false;
  loop.key = [&] { return fields.front().field + " " + DATgetfield(control, fields.front().field); };
  return RunRecordLoop(context, loop, [&] { return CorrectRecord(context, control, fields); });
}

}  // namespace

std::vector<KeyCorrection> PlanKeyCorrections(const std::vector<std::string>& values) {
  std::vector<std::string> cleaned;
  bool any_illegal = false;
  for (const std::string& value : values) {
    cleaned.push_back(Cleaned(value));
    any_illegal = any_illegal || HasIllegalFileChars(cleaned.back());
  }
  std::vector<KeyCorrection> plan;
  for (std::size_t i = 0; i < cleaned.size(); ++i) {
    if (!any_illegal) {
      plan.push_back({i, cleaned[i], cleaned[i], false});
    } else if (HasIllegalFileChars(cleaned[i])) {
      plan.push_back({i, cleaned[i], FixIllegalFileChars(cleaned[i]), true});
    }
  }
  return plan;
}

bool HasIllegalFileChars(std::string_view text) {
  for (std::size_t position = 0; position < text.size();) {
    if (IsIllegalFileChar(DecodeUtf8(text, position))) return true;
  }
  return false;
}

std::string FixIllegalFileChars(std::string_view text) {
  std::optional<char32_t> illegal;
  for (std::size_t position = 0; position < text.size() && !illegal;) {
    char32_t c = DecodeUtf8(text, position);
    if (IsIllegalFileChar(c)) illegal = c;
  }
  if (!illegal) return std::string(text);
  std::string fixed;
  for (std::size_t position = 0; position < text.size();) {
    char32_t c = DecodeUtf8(text, position);
    if (c == *illegal) {
      fixed += '-';
    } else {
      AppendUtf8(fixed, c);
    }
  }
  return fixed;
}

std::string MakeFileNumber(std::string_view number) { return RightJustified10(TrimUpper(number)); }

std::string MakeFileNumberDashA(std::string_view number) { return RightJustified10(TrimUpper(number) + "-A"); }

app::StepResult FixPropertyFileNum(Context& context) {
  return context.Guard("FixPropertyFileNum", [&]() -> app::StepResult {
    DataControl& property = context.Source(app::SourceControl::datproperty2);
    if (!Bound(property)) return {};
    property.RecordSource = "select file_num, inv_num, Cli_Num from property";
    property.Refresh();
    context.Log("Preliminary data correction to illegal VL property.dbf fields (file_num and Inv_num)");
    return CorrectTable(context, "FixPropertyFileNum", property,
                        {{"File_num", "Property.file_num: ", "file_num"},
                         {"Inv_num", "Property.Inv_num: ", "Inv_num"},
                         {"Cli_num", "Property.Cli_num: ", "Cli_num"}});
  });
}

app::StepResult FixDataFileNums(Context& context, app::SourceControl id, const char* field, const char* table) {
  return context.Guard("FixDataFileNums", [&]() -> app::StepResult {
    DataControl& control = context.Source(id);
    if (!Bound(control)) return {};
    control.RecordSource = std::string("select ") + field + " from " + table;
    control.Refresh();
    context.Log(std::string("Preliminary data correction to illegal VL ") + table + ".dbf field (" + field + ")");
    return CorrectTable(context, "FixDataFileNums", control, {{field, std::string(table) + "." + field + ": ", field}});
  });
}

}  // namespace qorvane::data
