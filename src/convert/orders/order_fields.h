// What the order converters share: the field copies of an order (text, number, date) with a
// DATA line in the log whenever a source value cannot be kept as it is, the illegal
// file-number check with its list and log lines, the listed file numbers, and the record
// counter that only some moments of a record show.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "app/ledger.h"
#include "data/context.h"

namespace qorvane::convert {

// The record being converted, as the DATA lines of the log name it: the source file and the
// file (or invoice) number.
struct RecordPlace {
  data::Context& context;
  std::string file;    // "property.dbf"
  std::string number;  // "file number 1001-A", "invoice # 1001"
  // "DATA: property.dbf file number 1001-A: Pr_Street <what>".
  void Note(std::string_view field, std::string_view what) const;
  // "DATA: property.dbf file number 1001-A <what>", about the record as a whole.
  void NoteRecord(std::string_view what) const;
};

// Text copy (convertField); a value longer than the column is cut, with a DATA line.
void CopyText(const RecordPlace& place, data::DataControl& source, std::string_view field, data::AdoControl& target,
              std::string_view column);
// Number copy: an empty value is 0; the text through Csingle into a Single column. A value that
// is not a number the column can hold is written as 0, with a DATA line when PLACE is given.
void ConvertNumericField(data::DataControl& source, std::string_view field, data::AdoControl& target,
                         std::string_view column, const RecordPlace* place = nullptr);
// Date copy: a usable date as it is, anything else as 1/1/1900. A stored value that is not a
// usable date (zero, 12/30/1899, impossible) gets a DATA line when PLACE is given; a blank
// field is simply a missing date.
void VerifyAndSet(data::DataControl& source, std::string_view field, data::AdoControl& target,
                  std::string_view column, const RecordPlace* place = nullptr);

inline constexpr const char* kMissingDate = "1/1/1900";

// The texts of one converter's illegal-number report.
struct IllegalNumberTexts {
  const char* list_prefix;  // "Property: "
  const char* warning;      // "WARNING: illegal filenumber NOT converted = "
  const char* correction;   // "CORRECTION: illegal filenumber ("
};
inline constexpr IllegalNumberTexts kPropertyNumberTexts = {
    "Property: ", "WARNING: illegal filenumber NOT converted = ", "CORRECTION: illegal filenumber ("};
inline constexpr IllegalNumberTexts kInvoiceNumberTexts = {
    "Invoice: ", "WARNING: illegal INVOICE # NOT converted = ", "CORRECTION: illegal INVOICE # ("};

// CANDIDATE when it holds no illegal character. Otherwise its correction is looked up in
// adofind (whatever record source that control holds): found, the candidate is refused
// (nullopt) with its list entry and WARNING line; not found, the correction is returned, with
// its list entry and CORRECTION line.
std::optional<std::string> CheckIllegalNumber(data::Context& context, const IllegalNumberTexts& texts,
                                              const std::string& candidate);

// txtfilenum shows the first listed file number (when there is one) / NUMBER.
void FirstListedFileNumber(data::Context& context);
void ShowListedFileNumber(data::Context& context, const std::string& number);

// The order table a step reads from, and how its rows of one file number are found.
struct OrderSource {
  const char* routine;                    // the routine name the error reporter gives
  app::SourceControl source;              // the .dbf record set
  const char* whole_table;                // its record source without a listed file number
  app::TargetControl target;              // the office.mdb record set
  void (*select_source)(data::DataControl&, std::string_view);
  void (*select_target)(data::AdoControl&, std::string_view);
};
// Binds the source record set to its whole table or, with listed file numbers, to the records
// of the one being worked on, whose rows in office.mdb are then deleted to be written afresh.
void OpenOrderSource(data::Context& context, const OrderSource& order);

// The counter of the record being worked on, which a converter shows in lblRecord only once a
// record got past its skip tests: the run then reports the counter lblRecord last showed.
class ShownCounter {
 public:
  void Set(std::int64_t counter) { current_ = counter; }
  std::int64_t current() const { return current_; }
  void Show(data::Context& context);
  // The loop's result, with the count lblRecord last showed.
  app::StepResult Finish(app::StepResult result) const;

 private:
  std::int64_t current_ = 0;
  std::optional<std::int64_t> shown_;
};


// Trimmed (blanks) and upper-cased.
std::string TrimUpper(std::string_view text);
std::string TrimBlanks(std::string_view text);
// Single-precision numbers as the log writes them: 150, 135.5, -12.25.
std::string SingleText(float value);

}  // namespace qorvane::convert
