// What the order converters share: the illegal file-number check with its list and log lines,
// the listed file numbers (a pass each, the source records of one number found whatever their
// justification), and the record counter that only some moments of a record show.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/ledger.h"
#include "data/context.h"
#include "data/lookups.h"
#include "data/target_table.h"
#include "data/transfer.h"

namespace qorvane::convert {

using data::RecordPlace;

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

// The look-up adofind stands for while the conversion steps run: the file numbers of the
// invoices in office.mdb (it is pointed at "Select filenumber from invoice" when the run
// connects and again by the invoice step).
struct InvoiceNumbers {
  explicit InvoiceNumbers(data::Context& context);
  data::TargetTable& table;
  data::TargetColumn FileNumber;
  bool Has(std::string_view key) { return data::AdoFindfield(table, FileNumber, key); }
};

// The columns of Assigned the expense and payment steps write and look up, resolved once.
struct AssignedTable {
  explicit AssignedTable(data::Context& context);
  data::TargetTable& table;
  data::TargetColumn FileNumber, Appraiser, Amount, AmountPaid, Description, DescCode, FileNumberCodeAppraiser,
      PaidInFull;
};

// CANDIDATE when it holds no illegal character. Otherwise its correction is looked up among
// the invoice file numbers: found, the candidate is refused (nullopt) with its list entry and
// WARNING line; not found, the correction is returned, with its list entry and CORRECTION line.
std::optional<std::string> CheckIllegalNumber(data::Context& context, InvoiceNumbers& invoices,
                                              const IllegalNumberTexts& texts, const std::string& candidate);

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
  const char* target_table;               // "Property"
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

// Single-precision numbers as the log writes them: 150, 135.5, -12.25.
std::string SingleText(float value);

}  // namespace qorvane::convert
