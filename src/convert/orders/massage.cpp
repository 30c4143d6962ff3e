// The data massage (see massage.h). Amounts are single-precision and compared exactly, as the
// office's program compared them: a balance of 0.01 is not paid. Each pass walks the rows of its
// table as the office's query listed them, reads only the columns its rule needs and saves only
// the columns that change (a number, date or flag where it lies in the row).
#include "convert/orders/massage.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

#include "common/text.h"
#include "convert/orders/order_fields.h"
#include "convert/parties/appraisers.h"
#include "convert/parties/clients.h"
#include "convert/parties/form_types.h"
#include "data/fields.h"
#include "data/file_numbers.h"
#include "data/lookups.h"
#include "data/record_loop.h"
#include "jet/recordset.h"

namespace qorvane::convert {
namespace {

// The rows a massage pass walks: every row of TABLE in file-number order (or in table order),
// or, with listed file numbers, a pass per number over the rows of its keys.
class MassageRows {
 public:
  enum class Order { ByFileNumber, AsStored };
  MassageRows(data::Context& context, data::TargetTable& table, const data::TargetColumn& file_number, Order order)
      : context_(context), table_(table), file_number_(file_number), order_(order) {}

  data::RecordLoop Loop(const char* routine) {
    data::RecordLoop loop;
    loop.routine = routine;
    loop.rows = &rows_;
    loop.row_table = &table_.table();
    loop.row_position = &position_;
    loop.key = [this] { return "FileNumber " + data::adogetfield(table_, current(), file_number_); };
    loop.select_file_number = [this](const std::string& number) {
      ShowListedFileNumber(context_, number);
      // The rows the listed number stands for: its "-A" key, and that of its corrected form.
      rows_.clear();
      for (const std::string& form : ListedNumberForms(number)) {
        for (jet::RowId row : table_.FindAll(file_number_, data::MakeFileNumberDashA(form))) {
          if (std::find(rows_.begin(), rows_.end(), row) == rows_.end()) rows_.push_back(row);
        }
      }
    };
    FirstListedFileNumber(context_);
    if (context_.FileNumbers().empty()) {
      rows_ = table_.Rows();
      if (order_ == Order::ByFileNumber) rows_ = jet::OrderRows(table_.table(), std::move(rows_), {{file_number_.position, false}});
    }
    return loop;
  }
  jet::RowId current() const { return rows_[position_]; }

 private:
  data::Context& context_;
  data::TargetTable& table_;
  const data::TargetColumn& file_number_;
  Order order_;
  std::vector<jet::RowId> rows_;
  std::size_t position_ = 0;
};

// A date column's value as the old converter tested it: its text usable as a date, and not
// exactly "1/1/1900". A whole day (no time of day) between the years 100 and 9999 reads as
// M/D/YYYY, usable unless it is 12/30/1899 (day 0); anything else is tested as its text.
struct DateTest {
  bool usable = false;
  bool missing_date = false;  // reads exactly "1/1/1900"
};
DateTest TestDate(const jet::Value& value) {
  static const double kMissingDay = *data::DateToOleDays(data::kMissingDate);
  if (value.kind == jet::Value::Kind::DateTime && value.number == static_cast<double>(static_cast<std::int64_t>(value.number)) &&
      jet::IsOleDateInRange(value.number)) {
    return {value.number != 0, value.number == kMissingDay};
  }
  std::string text = data::TargetValueText(value);
  return {data::IsDate(text), text == data::kMissingDate};
}
bool Unusable(const jet::Value& value) {
  DateTest test = TestDate(value);
  return !test.usable || test.missing_date;
}

}  // namespace

InvoiceAmounts::InvoiceAmounts(data::Context& context)
    : table(context.Table("Invoice")),
      FileNumber(table.Column("FILENUMBER")),
      InvoiceAmount(table.Column("InvoiceAmount")),
      ReportFee(table.Column("ReportFee")),
      Desc1Amount(table.Column("Desc1Amount")),
      Desc2Amount(table.Column("Desc2Amount")),
      Desc3Amount(table.Column("Desc3Amount")),
      Totalfinancecharge(table.Column("Totalfinancecharge")),
      check1amount(table.Column("check1amount")),
      check2amount(table.Column("check2amount")),
      check3amount(table.Column("check3amount")),
      JournalAmount(table.Column("JournalAmount")),
      BalanceDue(table.Column("BalanceDue")),
      PaidInFull(table.Column("PaidInFull")) {
  data::ReportMissingColumns(context, table);
}

float ReportFee(InvoiceAmounts& invoice, jet::RowId row) {
  // The sum as the fee total's text gives it back: each amount by its leading number, added as
  // doubles, then read as a single-precision number.
  double total = 0;
  for (const data::TargetColumn* column :
       {&invoice.ReportFee, &invoice.Desc1Amount, &invoice.Desc2Amount, &invoice.Desc3Amount}) {
    std::string text = data::adogetfield(invoice.table, row, *column);
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    total += value;
  }
  std::string text = fmt::format("{}", total);
  float value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

float CalcTotalAmount(InvoiceAmounts& invoice, jet::RowId row) {
  return ReportFee(invoice, row) + data::adogetfieldSingle(invoice.table, row, invoice.Totalfinancecharge);
}

float CalcPayments(InvoiceAmounts& invoice, jet::RowId row) {
  return data::adogetfieldSingle(invoice.table, row, invoice.check1amount) +
         data::adogetfieldSingle(invoice.table, row, invoice.check2amount) +
         data::adogetfieldSingle(invoice.table, row, invoice.check3amount);
}

float CalcBalanceDue(InvoiceAmounts& invoice, jet::RowId row) {
  return CalcTotalAmount(invoice, row) - CalcPayments(invoice, row) +
         data::adogetfieldSingle(invoice.table, row, invoice.JournalAmount);
}

app::StepResult MassageInvoice(data::Context& context) {
  return context.Guard("MassageInvoice", [&]() -> app::StepResult {
    InvoiceAmounts invoice(context);
    MassageRows rows(context, invoice.table, invoice.FileNumber, MassageRows::Order::ByFileNumber);
    data::RecordLoop loop = rows.Loop("MassageInvoice");
    data::TargetRow changes = invoice.table.NewRow();
    loop.show = [&](std::int64_t) {
      context.ShowRecord("Massaging Data... INVOICE",
                         data::adogetfield(invoice.table, rows.current(), invoice.FileNumber));
    };
    return data::RunRecordLoop(context, loop, [&]() -> app::RecordResult {
      std::string key = data::MakeFileNumber(data::adogetfield(invoice.table, rows.current(), invoice.FileNumber));
      if (text::Trim(key).empty()) return app::RecordResult::Skipped("no file number");
      std::optional<jet::RowId> found = data::SelectInvoice(invoice.table, invoice.FileNumber, key);
      if (!found) return app::RecordResult::Skipped("the invoice is gone");
      jet::RowId row = *found;
      // FILENUMBER is written again right-justified from its own value: only when that changes it.
      std::string stored = invoice.table.Value(row, invoice.FileNumber).bytes;
      std::string justified = text::RightJustify(text::Trim(stored), invoice.FileNumber.width);
      if (justified != stored) data::AdoSetFieldRJ(changes, invoice.FileNumber, stored);
      float amount = data::adogetfieldSingle(invoice.table, row, invoice.InvoiceAmount);
      float fees = ReportFee(invoice, row);
      if (amount != fees) {
        data::AdoSetFieldSingle(changes, invoice.InvoiceAmount, fees);
        context.Log("***             Filenumber: " + key + " - Invoice Amount of " + SingleText(amount) +
                    " did not match Fee Total " + SingleText(fees));
      }
      float balance = fees + data::adogetfieldSingle(invoice.table, row, invoice.Totalfinancecharge) -
                      CalcPayments(invoice, row) + data::adogetfieldSingle(invoice.table, row, invoice.JournalAmount);
      if (data::adogetfieldSingle(invoice.table, row, invoice.BalanceDue) != balance ||
          invoice.table.Value(row, invoice.BalanceDue).is_null()) {
        data::AdoSetFieldSingle(changes, invoice.BalanceDue, balance);
      }
      if (data::adogetfieldtf(invoice.table, row, invoice.PaidInFull) != (balance == 0))
        data::AdoSetFieldTF(changes, invoice.PaidInFull, balance == 0);
      invoice.table.Update(row, changes);
      return app::RecordResult::Updated();
    });
  });
}

app::StepResult MassageAssigned(data::Context& context) {
  return context.Guard("MassageAssigned", [&]() -> app::StepResult {
    AssignedTable assigned(context);
    MassageRows rows(context, assigned.table, assigned.FileNumber, MassageRows::Order::AsStored);
    data::RecordLoop loop = rows.Loop("MassageAssigned");
    loop.counter_in_label = false;  // this massage moves only the gauge
    data::TargetRow changes = assigned.table.NewRow();
    return data::RunRecordLoop(context, loop, [&]() -> app::RecordResult {
      // The rows of the file number not yet marked paid, and with an appraiser: SetAssignedPaidFlag.
      std::string key = data::AdoGetFieldRJ(assigned.table, rows.current(), assigned.FileNumber);
      std::vector<jet::RowId> same = data::SelectAssigned(assigned.table, assigned.FileNumber, key);
      for (jet::RowId row : same) {
        if (data::adogetfieldtf(assigned.table, row, assigned.PaidInFull)) continue;
        if (data::adogetfield(assigned.table, row, assigned.Appraiser).empty()) continue;
        bool paid = data::adogetfieldSingle(assigned.table, row, assigned.Amount) ==
                    data::adogetfieldSingle(assigned.table, row, assigned.AmountPaid);
        // An unpaid flag that stays unpaid is written as it was: nothing to save.
        if (paid) {
          data::AdoSetFieldTF(changes, assigned.PaidInFull, true);
          assigned.table.Update(row, changes);
        }
      }
      return same.empty() ? app::RecordResult::Unchanged() : app::RecordResult::Updated();
    });
  });
}

OrderDates::OrderDates(data::TargetTable& property)
    : DateAssigned(property.Column("DateAssigned")),
      DateReceived(property.Column("DateReceived")),
      DateInspected(property.Column("DateInspected")),
      DateDue(property.Column("DateDue")),
      DateReviewed(property.Column("DateReviewed")),
      DateClosed(property.Column("DateClosed")) {}

void CheckDates(data::TargetTable& property, const OrderDates& dates, jet::RowId row, data::TargetRow& changes) {
  const data::TargetColumn* columns[] = {&dates.DateAssigned, &dates.DateReceived, &dates.DateInspected,
                                         &dates.DateDue,      &dates.DateReviewed, &dates.DateClosed};
  jet::Value values[6];
  property.Values(row, columns, values);
  if (!TestDate(values[0]).usable) return;
  // The reference date as the old converter wrote it back: its text, read again as a date.
  std::string reference = data::TargetValueText(values[0]);
  bool assigned = Unusable(values[0]), received = Unusable(values[1]), inspected = Unusable(values[2]),
       due = Unusable(values[3]), reviewed = Unusable(values[4]), closed = Unusable(values[5]);
  if (assigned) data::AdoSetFieldDate(changes, dates.DateAssigned, reference);
  if (received) data::AdoSetFieldDate(changes, dates.DateReceived, reference);
  // The inspection date is tested, the received date written: the office's rule.
  if (inspected) data::AdoSetFieldDate(changes, dates.DateReceived, reference);
  if (due) data::AdoSetFieldDate(changes, dates.DateDue, reference);
  if (reviewed) data::AdoSetFieldDate(changes, dates.DateReviewed, data::kMissingDate);
  if (closed) data::AdoSetFieldDate(changes, dates.DateClosed, data::kMissingDate);
}

app::StepResult MassageProperty(data::Context& context) {
  return context.Guard("MassageProperty", [&]() -> app::StepResult {
    data::TargetTable& property = context.Table("Property");
    const data::TargetColumn file_number = property.Column("Filenumber");
    const data::TargetColumn form_type = property.Column("FormType");
    const data::TargetColumn form = property.Column("form");
    const data::TargetColumn client = property.Column("CLIENT");
    const data::TargetColumn bill_to = property.Column("BILLTO");
    const data::TargetColumn address = property.Column("Address");
    const OrderDates dates(property);
    data::ReportMissingColumns(context, property);
    FormTypeTable form_types(context);
    AssignedTable assigned(context);
    AppraiserTable appraisers(context);
    MassageRows rows(context, property, file_number, MassageRows::Order::ByFileNumber);
    data::RecordLoop loop = rows.Loop("MassageProperty");
    data::TargetRow changes = property.NewRow();
    return data::RunRecordLoop(context, loop, [&]() -> app::RecordResult {
      std::string key = data::MakeFileNumber(data::adogetfield(property, rows.current(), file_number));
      if (text::Trim(key).empty()) return app::RecordResult::Skipped("no file number");
      std::optional<jet::RowId> found = data::SelectProperty(property, file_number, key);
      if (!found) return app::RecordResult::Skipped("the order is gone");
      jet::RowId row = *found;
      context.Guard("CheckDates", [&] { CheckDates(property, dates, row, changes); });
      context.Guard("CheckInformalTypes", [&] {
        std::string type = data::adogetfield(property, row, form_type);
        if (type.empty()) {
          type = "NONE";
          data::AdoSetField(changes, form_type, type);
        }
        if (!data::adogetfield(property, row, form).empty()) return;
        std::optional<jet::RowId> type_row =
            data::AdoFindRec(form_types.table, data::FilterFormtype(form_types.FormType, type));
        std::string printed = type_row ? data::adogetfield(form_types.table, *type_row, form_types.FORM) : "";
        data::AdoSetField(changes, form, printed.empty() ? "NONE" : printed);
      });
      context.Guard("FillIndividualClient", [&] { FillIndividualClient(property, row, client, bill_to, changes); });
      property.Update(row, changes);
      // Every appraiser the order's Assigned rows name is in Appraiser (added when missing).
      context.Guard("CheckOrderAppraisers", [&] {
        for (jet::RowId assignment : data::SelectAssigned(assigned.table, assigned.FileNumber, key)) {
          AddAppraiserIfMissing(context, appraisers, data::adogetfield(assigned.table, assignment, assigned.Appraiser),
                                "Automatically Added: " + key);
        }
      });
      context.ShowRecord("Massaging Data... Property", data::adogetfield(property, row, address));
      return app::RecordResult::Updated();
    });
  });
}

}  // namespace qorvane::convert
