// The illegal-number check, the listed file numbers and the counters of the order converters
// (see order_fields.h).
#include "convert/orders/order_fields.h"

#include <fmt/format.h>

#include <algorithm>
#include <unordered_set>

#include "common/text.h"
#include "data/controls.h"
#include "data/fields.h"
#include "data/file_numbers.h"
#include "data/lookups.h"
#include "data/source_table.h"

namespace qorvane::convert {

std::string SingleText(float value) { return fmt::format("{}", value); }

InvoiceNumbers::InvoiceNumbers(data::Context& context)
    : table(context.Table("Invoice")), FileNumber(table.Column("FileNumber")) {
  data::ReportMissingColumns(context, table);
}

AssignedTable::AssignedTable(data::Context& context)
    : table(context.Table("Assigned")),
      FileNumber(table.Column("FileNumber")),
      Appraiser(table.Column("Appraiser")),
      Amount(table.Column("Amount")),
      AmountPaid(table.Column("AmountPaid")),
      Description(table.Column("Description")),
      DescCode(table.Column("DescCode")),
      FileNumberCodeAppraiser(table.Column("FileNumberCodeAppraiser")),
      PaidInFull(table.Column("PaidInFull")) {
  data::ReportMissingColumns(context, table);
}

std::optional<std::string> CheckIllegalNumber(data::Context& context, InvoiceNumbers& invoices,
                                              const IllegalNumberTexts& texts, const std::string& candidate) {
  if (!data::HasIllegalFileChars(candidate)) return candidate;
  std::string corrected = data::FixIllegalFileChars(candidate);
  if (invoices.Has(corrected)) {
    context.ListNotConverted(texts.list_prefix + candidate);
    context.Log(texts.warning + candidate);
    return std::nullopt;
  }
  context.ListIllegalFileNumber(candidate + " = " + corrected);
  context.Log(texts.correction + candidate + ") converted = " + corrected);
  return corrected;
}

void FirstListedFileNumber(data::Context& context) {
  if (!context.FileNumbers().empty()) ShowListedFileNumber(context, context.FileNumbers().front());
}

void ShowListedFileNumber(data::Context& context, const std::string& number) { context.ShowFileNumber(number); }

std::vector<std::string> ListedNumberForms(std::string_view number) {
  std::vector<std::string> forms{text::UCaseTrim(number)};
  while (data::HasIllegalFileChars(forms.back()) && forms.size() < 8) {
    std::string cleaned;
    for (char c : forms.back()) {
      if (c != ' ') cleaned += c;
    }
    std::string corrected = data::FixIllegalFileChars(cleaned);
    if (corrected == forms.back()) break;
    forms.push_back(std::move(corrected));
  }
  return forms;
}

std::string SelectListedNumber(data::DataControl& control, std::string_view table, std::string_view field,
                               std::string_view number) {
  auto select = [&](const std::string& form) {
    control.RecordSource = "Select * from " + std::string(table) + " where TRIM(UCASE(" + std::string(field) + "))='" +
                           data::SqlQuote(form) + "'";
    control.Refresh();
  };
  std::vector<std::string> forms = ListedNumberForms(number);
  for (const std::string& form : forms) {
    select(form);
    if (control.Recordset().RecordCount() > 0) return form;
  }
  // None holds it: the record set stays on the typed form, empty.
  select(forms.front());
  return forms.front();
}

std::vector<std::string> ListedNumbersNotInSource(data::Context& context) {
  std::vector<std::string> missing;
  if (context.FileNumbers().empty()) return missing;
  std::unordered_set<std::string> held;
  auto collect = [&](app::SourceControl id, const char* field_name) {
    data::SourceTable source = context.SourceOf(id);
    if (!source.bound()) return;
    context.Guard("ListedNumbersNotInSource", [&] {
      const data::SourceField field = source.Field(field_name);
      foxpro::RecordSet& records = source.records();
      for (records.MoveFirst(); !records.EndOfFile(); records.MoveNext())
        held.insert(text::UCaseTrim(data::DATgetfield(source, field)));
    });
  };
  collect(app::SourceControl::datproperty, "File_num");
  collect(app::SourceControl::datinvoice, "Inv_num");
  for (const std::string& number : context.FileNumbers()) {
    std::vector<std::string> forms = ListedNumberForms(number);
    if (std::none_of(forms.begin(), forms.end(), [&](const std::string& form) { return held.count(form) != 0; })) {
      missing.push_back(text::UCaseTrim(number));
    }
  }
  return missing;
}

void OpenOrderSource(data::Context& context, const OrderSource& order) {
  context.Guard(order.routine, [&] {
    data::DataControl& source = context.Source(order.source);
    if (context.FileNumbers().empty()) {
      source.RecordSource = std::string("Select * from ") + order.table;
      source.Refresh();
      return;
    }
    std::string number = SelectListedNumber(source, order.table, order.number_field, context.SingleFileNumber());
    // The keys the pass writes its record under: "-A" appended, right-justified in ten (the
    // order step's candidate keeps the last ten characters of a longer one), and the corrected
    // form of an illegal number.
    std::vector<std::string> keys;
    auto add = [&](const std::string& key) {
      if (std::find(keys.begin(), keys.end(), key) == keys.end()) keys.push_back(key);
    };
    std::vector<std::string> forms{number};
    if (order.delete_corrected_form) forms.push_back(data::FixIllegalFileChars(number));
    for (const std::string& form : forms) {
      add(data::MakeFileNumberDashA(form));
      add(data::MakeFileNumber(text::RightJustify(form + "-A", 10)));
    }
    data::TargetTable& target = context.Table(order.target_table);
    const data::TargetColumn file_number = target.Column("FileNumber");
    for (const std::string& key : keys) {
      data::DeleteAllRows(target, target.FindAll(file_number, key));
    }
  });
}

void ShownCounter::Show(data::Context& context) {
  context.ShowCounter(current_);
  shown_ = current_;
}

app::StepResult ShownCounter::Finish(app::StepResult result) const {
  result.shown_count = shown_;
  return result;
}

}  // namespace qorvane::convert
