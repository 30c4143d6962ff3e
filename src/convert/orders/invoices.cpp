// The invoice converter (see invoices.h). Unlike the order step it never overwrites: an
// invoice already in office.mdb is left as it is, whatever the source says now.
#include "convert/orders/invoices.h"

#include <unordered_set>

#include "app/paths.h"
#include "data/fields.h"
#include "data/file_numbers.h"
#include "data/lookups.h"
#include "data/party_helpers.h"
#include "data/record_loop.h"

namespace qorvane::convert {
namespace {

using app::SourceControl;
using app::TargetControl;
using data::AdoControl;
using data::DataControl;

void ShowInvoiceProgress(data::Context& context, ShownCounter& counter) {
  context.form().lblCaption = "Invoice.DBF Inv_Num:";
  context.form().lblAddress = data::DATgetfield(context.Source(SourceControl::datinvoice), "inv_num");
  counter.Show(context);
}

}  // namespace

void SetInvoiceDetail(data::Context& context) {
  context.Guard("SetInvoiceDetail", [&] {
    DataControl& source = context.Source(SourceControl::datinvoice);
    data::AdoSetFieldMemo(context.Target(TargetControl::adoinvoice),
                          data::DATgetfield(source, "Inv_Detl1") + "\r\n" + data::DATgetfield(source, "Inv_Detl2"),
                          "Detail");
  });
}

void SetInvoiceFields(data::Context& context, const RecordPlace& place, ClientExpenses& expenses,
                      const std::string& key) {
  context.Guard("SetInvoiceFields", [&] {
    DataControl& source = context.Source(SourceControl::datinvoice);
    AdoControl& invoice = context.Target(TargetControl::adoinvoice);
    data::AdoSetFieldRJ(invoice, TrimUpper(key), "FileNumber");
    VerifyAndSet(source, "Inv_Date", invoice, "InvoiceDate", &place);
    SetInvoiceDetail(context);
    CopyText(place, source, "Inv_Chk1", invoice, "Check1");
    VerifyAndSet(source, "Inv_Date1", invoice, "Check1Date", &place);
    CopyText(place, source, "Inv_Chk2", invoice, "Check2");
    VerifyAndSet(source, "Inv_Date2", invoice, "Check2Date", &place);
    CopyText(place, source, "Inv_Chk3", invoice, "Check3");
    VerifyAndSet(source, "Inv_Date3", invoice, "Check3Date", &place);
    ConvertNumericField(source, "Inv_Amt1", invoice, "Check1Amount", &place);
    ConvertNumericField(source, "Inv_Amt2", invoice, "Check2Amount", &place);
    ConvertNumericField(source, "Inv_Amt3", invoice, "Check3Amount", &place);
    ConvertNumericField(source, "Inv_Fee", invoice, "ReportFee", &place);
    float amount = data::Csingle(data::DATgetfield(source, "inv_exp")) + data::Csingle(data::DATgetfield(source, "inv_fee"));
    data::AdoSetFieldSingle(invoice, amount, "InvoiceAmount");
    std::string number = data::RightJustify(data::DATgetfield(source, "Inv_Num"), data::DaoGetSize(source, "Inv_Num"));
    for (char& c : number) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    SetClientExpenses(context, expenses, number);
  });
}

void OpenInvoiceSource(data::Context& context) {
  OpenOrderSource(context, {"OpenInvoiceSource", SourceControl::datinvoice, "Invoice", "inv_num",
                            TargetControl::adoinvoice, data::SelectInvoice, true});
}

app::StepResult ConvertInvoiceDBF(data::Context& context) {
  return context.Guard("ConvertInvoiceDBF", [&]() -> app::StepResult {
    if (!app::FileExists(context.Paths().source_folder + "invoice.dbf")) return {};
    AdoControl& find = context.Target(TargetControl::adofind);
    find.RecordSource = "Select filenumber from invoice";
    find.Refresh();
    FirstListedFileNumber(context);

    DataControl& source = context.Source(SourceControl::datinvoice);
    AdoControl& invoice = context.Target(TargetControl::adoinvoice);
    AdoControl& orders = context.Target(TargetControl::adoquery);
    auto empty = [&] { return !source.bound() || source.Recordset().RecordCount() == 0; };

    ShownCounter counter;
    ClientExpenses expenses;
    std::unordered_set<std::string> converted;
    data::RecordLoop loop;
    loop.routine = "ConvertInvoiceDBF";
    loop.source = &source;
    loop.counter_in_label = false;
    loop.show = [&](std::int64_t at) { counter.Set(at); };
    loop.key = [&] { return "inv_num " + data::DATgetfield(source, "inv_num"); };
    // A listed number invoice.dbf does not hold is said in the log; the numbers after it are
    // still converted.
    loop.select_file_number = [&](const std::string& number) {
      ShowListedFileNumber(context, number);
      OpenInvoiceSource(context);
      if (empty()) {
        context.Log("(invoice # " + TrimUpper(number) +
                    " is not in invoice.dbf: its invoice in office.mdb was deleted and nothing converted it again)");
      }
    };
    if (context.FileNumbers().empty()) {
      OpenInvoiceSource(context);
      if (empty()) return {};
    }

    return counter.Finish(data::RunRecordLoop(context, loop, [&]() -> app::RecordResult {
      std::optional<std::string> number =
          CheckIllegalNumber(context, kInvoiceNumberTexts, data::DATgetfield(source, "inv_num"));
      if (!number) return app::RecordResult::Skipped("illegal invoice number: its correction is already in office.mdb");
      std::string key = data::MakeFileNumber(*number + "-A");
      if (TrimBlanks(key) == "-A") return app::RecordResult::Skipped("no invoice number");

      ShowInvoiceProgress(context, counter);
      RecordPlace place{context, "invoice.dbf", "invoice # " + TrimBlanks(*number)};
      data::SelectInvoice(invoice, key);
      if (invoice.Recordset().RecordCount() >= 1) {
        if (converted.count(key) != 0) {
          place.NoteRecord("appears again in invoice.dbf; the invoice converted first is kept");
        }
        return app::RecordResult::Skipped("invoice already in office.mdb (left as it is)");
      }
      converted.insert(key);
      data::SelectProperty(orders, key);
      if (!data::FoundRow(orders)) {
        place.NoteRecord("has no order " + TrimBlanks(key) + " in Property; the invoice is converted without it");
      }
      data::AddNewRow(invoice, [&] { SetInvoiceFields(context, place, expenses, key); });
      return app::RecordResult::Added();
    }));
  });
}

}  // namespace qorvane::convert
