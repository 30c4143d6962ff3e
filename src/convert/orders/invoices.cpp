// The invoice converter (see invoices.h). Unlike the order step it never overwrites: an
// invoice already in office.mdb is left as it is, whatever the source says now.
#include "convert/orders/invoices.h"

#include <unordered_set>

#include "app/paths.h"
#include "common/text.h"
#include "data/controls.h"
#include "data/fields.h"
#include "data/file_numbers.h"
#include "data/lookups.h"
#include "data/record_loop.h"

namespace qorvane::convert {

using app::SourceControl;

InvoiceStep::InvoiceStep(data::Context& context)
    : source(context.SourceOf(SourceControl::datinvoice)),
      invoice(context.Table("Invoice")),
      Inv_Num(source.Field("Inv_Num")),
      Inv_Date(source.Field("Inv_Date")),
      Inv_Detl1(source.Field("Inv_Detl1")),
      Inv_Detl2(source.Field("Inv_Detl2")),
      Inv_Chk1(source.Field("Inv_Chk1")),
      Inv_Date1(source.Field("Inv_Date1")),
      Inv_Chk2(source.Field("Inv_Chk2")),
      Inv_Date2(source.Field("Inv_Date2")),
      Inv_Chk3(source.Field("Inv_Chk3")),
      Inv_Date3(source.Field("Inv_Date3")),
      Inv_Amt1(source.Field("Inv_Amt1")),
      Inv_Amt2(source.Field("Inv_Amt2")),
      Inv_Amt3(source.Field("Inv_Amt3")),
      Inv_Fee(source.Field("Inv_Fee")),
      Inv_Exp(source.Field("inv_exp")),
      FileNumber(invoice.Column("FileNumber")),
      InvoiceDate(invoice.Column("InvoiceDate")),
      Detail(invoice.Column("Detail")),
      Check1(invoice.Column("Check1")),
      Check1Date(invoice.Column("Check1Date")),
      Check2(invoice.Column("Check2")),
      Check2Date(invoice.Column("Check2Date")),
      Check3(invoice.Column("Check3")),
      Check3Date(invoice.Column("Check3Date")),
      Check1Amount(invoice.Column("Check1Amount")),
      Check2Amount(invoice.Column("Check2Amount")),
      Check3Amount(invoice.Column("Check3Amount")),
      ReportFee(invoice.Column("ReportFee")),
      InvoiceAmount(invoice.Column("InvoiceAmount")),
      expenses(context, invoice) {
  data::ReportMissingColumns(context, invoice);
}

void SetInvoiceDetail(InvoiceStep& step, data::TargetRow& row) {
  data::AdoSetFieldMemo(
      row, step.Detail,
      data::DATgetfield(step.source, step.Inv_Detl1) + "\r\n" + data::DATgetfield(step.source, step.Inv_Detl2));
}

void SetInvoiceFields(InvoiceStep& step, const data::RecordPlace& place, const std::string& key, data::TargetRow& row) {
  const data::SourceTable& source = step.source;
  data::AdoSetFieldRJ(row, step.FileNumber, text::UCaseTrim(key));
  data::VerifyAndSet(source, step.Inv_Date, row, step.InvoiceDate, &place);
  SetInvoiceDetail(step, row);
  data::convertField(source, step.Inv_Chk1, row, step.Check1, &place);
  data::VerifyAndSet(source, step.Inv_Date1, row, step.Check1Date, &place);
  data::convertField(source, step.Inv_Chk2, row, step.Check2, &place);
  data::VerifyAndSet(source, step.Inv_Date2, row, step.Check2Date, &place);
  data::convertField(source, step.Inv_Chk3, row, step.Check3, &place);
  data::VerifyAndSet(source, step.Inv_Date3, row, step.Check3Date, &place);
  data::ConvertNumericField(source, step.Inv_Amt1, row, step.Check1Amount, &place);
  data::ConvertNumericField(source, step.Inv_Amt2, row, step.Check2Amount, &place);
  data::ConvertNumericField(source, step.Inv_Amt3, row, step.Check3Amount, &place);
  data::ConvertNumericField(source, step.Inv_Fee, row, step.ReportFee, &place);
  data::AdoSetFieldSingle(
      row, step.InvoiceAmount,
      data::Csingle(data::DATgetfield(source, step.Inv_Exp)) + data::Csingle(data::DATgetfield(source, step.Inv_Fee)));
  std::string number = text::UCase(text::RightJustify(data::DATgetfield(source, step.Inv_Num), step.Inv_Num.length));
  SetClientExpenses(step.expenses, number, row);
}

void OpenInvoiceSource(data::Context& context) {
  OpenOrderSource(context, {"OpenInvoiceSource", SourceControl::datinvoice, "Invoice", "inv_num", "Invoice", true});
}

app::StepResult ConvertInvoiceDBF(data::Context& context) {
  return context.Guard("ConvertInvoiceDBF", [&]() -> app::StepResult {
    if (!app::FileExists(context.Paths().source_folder + "invoice.dbf")) return {};
    // adofind holds the invoice file numbers from here on (InvoiceNumbers).
    FirstListedFileNumber(context);

    data::DataControl& control = context.Source(SourceControl::datinvoice);
    auto empty = [&] { return !control.bound() || control.Recordset().RecordCount() == 0; };
    // A listed number invoice.dbf does not hold is said in the log; the numbers after it are
    // still converted.
    auto select_file_number = [&](const std::string& number) {
      ShowListedFileNumber(context, number);
      OpenInvoiceSource(context);
      if (empty()) {
        context.Log("(invoice # " + text::UCaseTrim(number) +
                    " is not in invoice.dbf: its invoice in office.mdb was deleted and nothing converted it again)");
      }
    };
    if (context.FileNumbers().empty()) {
      OpenInvoiceSource(context);
      if (empty()) return {};
    }

    InvoiceStep step(context);
    InvoiceNumbers invoices(context);
    data::TargetTable& orders = context.Table("Property");
    const data::TargetColumn order_number = orders.Column("FileNumber");
    data::TargetRow row = step.invoice.NewRow();
    ShownCounter counter;
    std::unordered_set<std::string> converted;
    data::RecordLoop loop;
    loop.routine = "ConvertInvoiceDBF";
    loop.source = &control;
    loop.counter_in_label = false;
    loop.show = [&](std::int64_t at) { counter.Set(at); };
    loop.key = [&] { return "inv_num " + data::DATgetfield(step.source, step.Inv_Num); };
    loop.select_file_number = select_file_number;

    return counter.Finish(data::RunRecordLoop(context, loop, [&]() -> app::RecordResult {
      std::optional<std::string> number =
          CheckIllegalNumber(context, invoices, kInvoiceNumberTexts, data::DATgetfield(step.source, step.Inv_Num));
      if (!number) return app::RecordResult::Skipped("illegal invoice number: its correction is already in office.mdb");
      std::string key = data::MakeFileNumber(*number + "-A");
      if (text::Trim(key) == "-A") return app::RecordResult::Skipped("no invoice number");

      // ShowInvoiceProgress
      context.ShowRecord("Invoice.DBF Inv_Num:", data::DATgetfield(step.source, step.Inv_Num));
      counter.Show(context);
      data::RecordPlace place{context, "invoice.dbf", "invoice # " + std::string(text::Trim(*number))};
      if (data::SelectInvoice(step.invoice, step.FileNumber, key)) {
        if (converted.count(key) != 0) {
          place.NoteRecord("appears again in invoice.dbf; the invoice converted first is kept");
        }
        return app::RecordResult::Skipped("invoice already in office.mdb (left as it is)");
      }
      converted.insert(key);
      if (!data::SelectProperty(orders, order_number, key)) {
        place.NoteRecord("has no order " + std::string(text::Trim(key)) + " in Property; the invoice is converted without it");
      }
      SetInvoiceFields(step, place, key, row);
      step.invoice.Add(row);
      return app::RecordResult::Added();
    }));
  });
}

}  // namespace qorvane::convert
