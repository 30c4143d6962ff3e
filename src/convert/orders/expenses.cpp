// The expense steps (see expenses.h).
//
// Appraiser expenses: each record of apprexp.dbf belongs to the order File_num names, keyed as
// the order step keys it (File_num with "-A", right-justified in 10; an illegal one corrected
// silently, as the payment step corrects its own). An expense whose order is not in Property is
// not converted (listed, with a DATA line). The row's code is "E" and the expense number, so it
// never meets the "0" of a converted payment; a row whose combined key (file number, code,
// appraiser) is already in Assigned is not added again, which keeps a second run from adding
// anything twice.
#include "convert/orders/expenses.h"

#include <unordered_set>

#include "app/paths.h"
#include "common/text.h"
#include "convert/orders/invoices.h"
#include "convert/orders/order_fields.h"
#include "convert/parties/appraisers.h"
#include "data/controls.h"
#include "data/fields.h"
#include "data/file_numbers.h"
#include "data/lookups.h"
#include "data/record_loop.h"

namespace qorvane::convert {
namespace {

using app::SourceControl;

const ExpenseSlot* SlotOf(const std::array<ExpenseSlot, 3>& slots, const std::string& type) {
  for (const ExpenseSlot& slot : slots) {
    if (type == slot.type) return &slot;
  }
  return nullptr;
}

}  // namespace

ClientExpenses::ClientExpenses(data::Context& context, data::TargetTable& invoice)
    : cliexp(context.SourceOf(SourceControl::datcliexp)),
      Inv_Num(cliexp.Field("INV_NUM")),
      Exp_Type(cliexp.Field("EXP_TYPE")),
      Exp_Desc(cliexp.Field("EXP_DESC")),
      Exp_Amt(cliexp.Field("EXP_AMT")),
      slots{{{"EXP1", invoice.Column("DESC1"), invoice.Column("DESC1AMOUNT")},
             {"EXP2", invoice.Column("DESC2"), invoice.Column("DESC2AMOUNT")},
             {"EXP3", invoice.Column("DESC3"), invoice.Column("DESC3AMOUNT")}}} {}

void SetClientExpenses(ClientExpenses& expenses, std::string_view invoice_number, data::TargetRow& row) {
  const data::SourceTable& cliexp = expenses.cliexp;
  if (!cliexp.bound()) return;
  if (!expenses.index.built()) expenses.index.Build(cliexp.control(), "INV_NUM");
  // Compared trimmed and upper-cased, as the value itself: quoting is for SQL text only.
  for (auto record : expenses.index.Records(invoice_number)) {
    cliexp.records().SetBookmark(record);
    const ExpenseSlot* slot = SlotOf(expenses.slots, text::UCaseTrim(data::DATgetfield(cliexp, expenses.Exp_Type)));
    if (!slot) continue;
    data::convertField(cliexp, expenses.Exp_Desc, row, slot->description);
    if (data::Csingle(data::DATgetfield(cliexp, expenses.Exp_Amt)) > 0) {
      data::ConvertNumericField(cliexp, expenses.Exp_Amt, row, slot->amount);
    }
  }
}

app::StepResult ConvertClientExpDBF(data::Context& context) {
  return context.Guard("ConvertClientExpDBF", [&]() -> app::StepResult {
    if (!app::FileExists(context.Paths().source_folder + "cliexp.dbf")) return {};
    FirstListedFileNumber(context);
    data::DataControl& control = context.Source(SourceControl::datcliexp);
    data::TargetTable& invoice = context.Table("Invoice");
    const data::TargetColumn file_number = invoice.Column("FileNumber");
    ClientExpenses expenses(context, invoice);
    const data::SourceTable& cliexp = expenses.cliexp;
    data::TargetRow row = invoice.NewRow();

    data::RecordLoop loop;
    loop.routine = "ConvertClientExpDBF";
    loop.source = &control;
    loop.show = [&](std::int64_t) {
      context.ShowRecord("Apprexp.DBF File_Num", data::DATgetfield(cliexp, expenses.Inv_Num));
    };
    loop.select_file_number = [&](const std::string& number) {
      ShowListedFileNumber(context, number);
      OpenInvoiceSource(context);
    };
    if (context.FileNumbers().empty()) OpenInvoiceSource(context);
    return data::RunRecordLoop(context, loop, [&]() -> app::RecordResult {
      std::string key = text::RightJustify(data::DATgetfield(cliexp, expenses.Inv_Num), 8) + "-A";
      if (data::HasIllegalFileChars(key)) key = data::FixIllegalFileChars(key);
      key = data::MakeFileNumber(key);
      std::optional<jet::RowId> found = data::SelectInvoice(invoice, file_number, key);
      if (!found) return app::RecordResult::Skipped("no invoice in office.mdb");
      // Compared as read: "exp1" fills no slot here.
      if (const ExpenseSlot* slot = SlotOf(expenses.slots, data::DATgetfield(cliexp, expenses.Exp_Type))) {
        data::AdoSetField(row, slot->description, data::DATgetfield(cliexp, expenses.Exp_Desc));
        data::AdoSetFieldSingle(row, slot->amount, data::Csingle(data::DATgetfield(cliexp, expenses.Exp_Amt)));
      }
      invoice.Update(*found, row);
      return app::RecordResult::Updated();
    });
  });
}

app::StepResult ConvertApprExpDBF(data::Context& context) {
  return context.Guard("ConvertApprExpDBF", [&]() -> app::StepResult {
    if (!app::FileExists(context.Paths().source_folder + "apprexp.dbf")) return {};
    data::DataControl& control = context.Source(SourceControl::datapprexp);
    auto select_all = [&] {
      control.RecordSource = "Select * from apprexp";
      control.Refresh();
    };
    if (context.FileNumbers().empty()) select_all();
    data::SourceTable expenses(control);
    data::SourceTable appraisers = context.SourceOf(SourceControl::datappraisrtable);
    const data::SourceField file_num = expenses.Field("File_num");
    const data::SourceField app_num = expenses.Field("App_Num");
    const data::SourceField exp_num = expenses.Field("Exp_Num");
    const data::SourceField exp_amt = expenses.Field("Exp_Amt");
    const data::SourceField last_name = appraisers.Field("App_LName");
    AssignedTable assigned(context);
    AppraiserTable appraiser_table(context);
    data::TargetTable& orders = context.Table("Property");
    const data::TargetColumn order_number = orders.Column("FileNumber");
    data::TargetRow row = assigned.table.NewRow();

    // The appraiser an expense names: the last name of the appraiser App_Num finds in the
    // source appraiser table, else the number itself, which then becomes an appraiser of its own.
    auto expense_appraiser = [&](const std::string& number, const std::string& key) {
      std::string name;
      if (appraisers.bound() && data::FindRecord(appraisers.control(), number, "App_Num")) {
        name = text::UCaseTrim(data::DATgetfield(appraisers, last_name));
      }
      if (!name.empty()) return name;
      name = number;
      if (!name.empty()) AddAppraiserIfMissing(context, appraiser_table, name, "Automatically Added: " + key);
      return name;
    };

    std::unordered_set<std::string> converted;
    data::RecordLoop loop;
    loop.routine = "ConvertApprExpDBF";
    loop.source = &control;
    loop.show = [&](std::int64_t) {
      context.ShowRecord("Apprexp.DBF File_Num", data::DATgetfield(expenses, file_num));
    };
    loop.key = [&] { return "File_num " + data::DATgetfield(expenses, file_num); };
    // With listed file numbers, only the expenses of those orders, a pass each. The pass does
    // not move txtfilenum: the payment step converts the number the order steps left there.
    loop.select_file_number = [&](const std::string& number) {
      SelectListedNumber(control, "apprexp", "file_num", number);
    };

    return data::RunRecordLoop(context, loop, [&]() -> app::RecordResult {
      std::string candidate = text::UCase(text::RightJustify(data::DATgetfield(expenses, file_num) + "-A", 10));
      // An illegal number is corrected silently, as the order step corrected its order's.
      if (data::HasIllegalFileChars(candidate)) candidate = data::FixIllegalFileChars(candidate);
      std::string key = data::MakeFileNumber(candidate);
      data::RecordPlace place{context, "apprexp.dbf", "file number " + std::string(text::Trim(key))};

      if (!data::SelectProperty(orders, order_number, key)) {
        place.NoteRecord("has no order in Property; the expense is not converted");
        context.ListNotConverted("Apprexp: " + std::string(text::Trim(key)));
        return app::RecordResult::Skipped("no order in office.mdb");
      }
      std::string appraiser = expense_appraiser(data::DATgetfield(expenses, app_num), key);
      std::string expense_number = data::DATgetfield(expenses, exp_num);
      float amount = data::Csingle(data::DATgetfield(expenses, exp_amt));
      std::string code = text::TrimToWidth("E" + text::UCaseTrim(expense_number), assigned.DescCode.width);
      std::string combined = text::UCaseTrim(key) + text::UCaseTrim(code) + text::UCaseTrim(appraiser);

      if (data::AdoFindRec(assigned.table, {assigned.FileNumberCodeAppraiser, combined})) {
        if (converted.count(combined) != 0) {
          place.NoteRecord("expense " + expense_number + " of " + appraiser +
                           " appears again in apprexp.dbf; the expense converted first is kept");
        }
        return app::RecordResult::Skipped("expense already in Assigned");
      }
      converted.insert(combined);
      data::AdoSetFieldRJ(row, assigned.FileNumber, text::UCaseTrim(key));
      data::AdoSetField(row, assigned.Appraiser, appraiser);
      data::AdoSetFieldSingle(row, assigned.Amount, amount);
      data::AdoSetField(row, assigned.Description, expense_number);
      data::AdoSetField(row, assigned.DescCode, code);
      data::AdoSetField(row, assigned.FileNumberCodeAppraiser, combined);
      assigned.table.Add(row);
      return app::RecordResult::Added();
    });
  });
}

}  // namespace qorvane::convert
