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
#include <vector>

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

// The forms a listed file number can stand in the source: as typed (trimmed, upper-cased), then,
// while it holds a character not allowed in a file number, as the preliminary corrections store
// it (blanks removed, the first kind of illegal character made "-"). One form when it is legal.
std::vector<std::string> ListedNumberForms(std::string_view number);

// Points CONTROL at the records of TABLE whose trimmed, upper-cased FIELD is the listed NUMBER,
// in the first of its forms (ListedNumberForms) that the table holds, whatever the field's
// justification. Returns that form (the typed one when the table holds none).
std::string SelectListedNumber(data::DataControl& control, std::string_view table, std::string_view field,
                               std::string_view number);

// The listed file numbers that neither property.dbf nor invoice.dbf holds in any of their forms:
// a run limited to them deletes their rows in office.mdb and converts nothing in their place.
std::vector<std::string> ListedNumbersNotInSource(data::Context& context);

// The order table a step reads from, and how its rows of one file number are found.
struct OrderSource {
  const char* routine;                    // the routine name the error reporter gives
  app::SourceControl source;              // the .dbf record set
  const char* table;                      // "Property"
  const char* number_field;               // its file-number field, "file_num"
  app::TargetControl target;              // the office.mdb record set
  void (*select_target)(data::AdoControl&, std::string_view);
  // Whether the rows of an illegal number's corrected form are deleted too. The order step
  // refuses an illegal number whose correction has an invoice, so it keeps that row rather
  // than delete an order it will not write again; the invoice step writes it again.
  bool delete_corrected_form;
};
// Binds the source record set to its whole table or, with listed file numbers, to the records
// of the one being worked on, whose rows in office.mdb are then deleted to be written afresh:
// the rows of its "-A" key, of the key the order step writes a long number under (its last
// ten characters), and as the step says, of its corrected form.
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
