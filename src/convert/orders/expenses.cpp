// The expense steps (see expenses.h).
//
// Appraiser expenses: each record of apprexp.dbf belongs to the order File_num names, keyed as
// the order step keys it (File_num with "-A", right-justified in 10; an illegal one corrected
// silently, as the payment step corrects its own). An expense whose order is
// not in Property is not converted (listed, with a DATA line). The row's code is "E" and the
// expense number, so it never meets the "0" of a converted payment; a row whose combined key
// (file number, code, appraiser) is already in Assigned is not added again, which keeps a
// second run from adding anything twice.
#include "convert/orders/expenses.h"

#include <unordered_set>

#include "app/paths.h"
#include "convert/orders/invoices.h"
#include "convert/orders/order_fields.h"
#include "convert/parties/appraisers.h"
#include "convert/parties/clients.h"
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

struct Slot {
  const char* type;
  const char* description;
  const char* amount;
};
constexpr Slot kSlots[] = {
    {"EXP1", "DESC1", "DESC1AMOUNT"}, {"EXP2", "DESC2", "DESC2AMOUNT"}, {"EXP3", "DESC3", "DESC3AMOUNT"},
};

const Slot* SlotOf(const std::string& type) {
  for (const Slot& slot : kSlots) {
    if (type == slot.type) return &slot;
  }
  return nullptr;
}

void ShowApprExpProgress(data::Context& context, const std::string& file_number) {
  context.form().lblCaption = "Apprexp.DBF File_Num";
  context.form().lblAddress = file_number;
}

// The appraiser an expense names: the last name of the appraiser App_Num finds in the source
// appraiser table, else the number itself, which then becomes an appraiser of its own.
std::string ExpenseAppraiser(data::Context& context, const std::string& number, const std::string& key) {
  DataControl& appraisers = context.Source(SourceControl::datappraisrtable);
  std::string name;
  if (appraisers.bound() && data::FindRecord(appraisers, number, "App_Num")) {
    name = TrimUpper(data::DATgetfield(appraisers, "App_LName"));
  }
  if (!name.empty()) return name;
  name = number;
  if (!name.empty()) AddAppraiserIfMissing(context, name, "Automatically Added: " + key);
  return name;
}

}  // namespace

void SetClientExpenses(data::Context& context, ClientExpenses& expenses, std::string_view invoice_number) {
  context.Guard("SetClientExpenses", [&] {
    DataControl& cliexp = context.Source(SourceControl::datcliexp);
    if (!cliexp.bound()) return;
    if (!expenses.index.built()) expenses.index.Build(cliexp, "INV_NUM");
    AdoControl& invoice = context.Target(TargetControl::adoinvoice);
    // Compared trimmed and upper-cased, as the value itself: quoting is for SQL text only.
    for (auto record : expenses.index.Records(invoice_number)) {
      data::DATgoto(cliexp, record);
      const Slot* slot = SlotOf(TrimUpper(data::DATgetfield(cliexp, "EXP_TYPE")));
      if (!slot) continue;
      data::AdoSetField(invoice, data::DATgetfield(cliexp, "EXP_DESC"), slot->description);
      if (data::Csingle(data::DATgetfield(cliexp, "EXP_AMT")) > 0) {
        ConvertNumericField(cliexp, "EXP_AMT", invoice, slot->amount);
      }
    }
  });
}

app::StepResult ConvertClientExpDBF(data::Context& context) {
  return context.Guard("ConvertClientExpDBF", [&]() -> app::StepResult {
    if (!app::FileExists(context.Paths().source_folder + "cliexp.dbf")) return {};
    AdoControl& find = context.Target(TargetControl::adofind);
    find.RecordSource = "Select filenumber from invoice";
    find.Refresh();
    FirstListedFileNumber(context);
    DataControl& cliexp = context.Source(SourceControl::datcliexp);
    AdoControl& invoice = context.Target(TargetControl::adoinvoice);

    data::RecordLoop loop;
    loop.routine = "ConvertClientExpDBF";
    loop.source = &cliexp;
    loop.show = [&](std::int64_t) { ShowApprExpProgress(context, data::DATgetfield(cliexp, "inv_num")); };
    loop.select_file_number = [&](const std::string& number) {
      ShowListedFileNumber(context, number);
      OpenInvoiceSource(context);
    };
    if (context.FileNumbers().empty()) OpenInvoiceSource(context);
    return data::RunRecordLoop(context, loop, [&]() -> app::RecordResult {
      std::string key = data::RightJustify(data::DATgetfield(cliexp, "inv_num"), 8) + "-A";
      if (data::HasIllegalFileChars(key)) key = data::FixIllegalFileChars(key);
      key = data::MakeFileNumber(key);
      if (!data::AdoFindRec(invoice, data::FilterFileNumber(key))) {
        return app::RecordResult::Skipped("no invoice in office.mdb");
      }
      std::string type = data::DATgetfield(cliexp, "Exp_Type");
      std::string description = data::DATgetfield(cliexp, "Exp_Desc");
      float amount = data::Csingle(data::DATgetfield(cliexp, "Exp_Amt"));
      data::UpdateRow(invoice, [&] {
        // Compared as read: "exp1" fills no slot here.
        if (const Slot* slot = SlotOf(type)) {
          data::AdoSetField(invoice, description, slot->description);
          data::AdoSetFieldSingle(invoice, amount, slot->amount);
        }
      });
      return app::RecordResult::Updated();
    });
  });
}

app::StepResult ConvertApprExpDBF(data::Context& context) {
  return context.Guard("ConvertApprExpDBF", [&]() -> app::StepResult {
    if (!app::FileExists(context.Paths().source_folder + "apprexp.dbf")) return {};
    DataControl& expenses = context.Source(SourceControl::datapprexp);
    AdoControl& assigned = context.Target(TargetControl::adoassigned);
    AdoControl& orders = context.Target(TargetControl::adoquery);
    auto select = [&](const std::string& where) {
      expenses.RecordSource = "Select * from apprexp" + where;
      expenses.Refresh();
    };

    std::unordered_set<std::string> converted;
    data::RecordLoop loop;
    loop.routine = "ConvertApprExpDBF";
    loop.source = &expenses;
    loop.show = [&](std::int64_t) { ShowApprExpProgress(context, data::DATgetfield(expenses, "File_num")); };
    loop.key = [&] { return "File_num " + data::DATgetfield(expenses, "File_num"); };
    // With listed file numbers, only the expenses of those orders, a pass each. The pass does
    // not move txtfilenum: the payment step converts the number the order steps left there.
    loop.select_file_number = [&](const std::string& number) {
      SelectListedNumber(expenses, "apprexp", "file_num", number);
    };
    if (context.FileNumbers().empty()) select("");

    return data::RunRecordLoop(context, loop, [&]() -> app::RecordResult {
      std::string candidate = data::RightJustify(data::DATgetfield(expenses, "File_num") + "-A", 10);
      for (char& c : candidate) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
      // An illegal number is corrected silently, as the order step corrected its order's.
      if (data::HasIllegalFileChars(candidate)) candidate = data::FixIllegalFileChars(candidate);
      std::string key = data::MakeFileNumber(candidate);
      RecordPlace place{context, "apprexp.dbf", "file number " + TrimBlanks(key)};

      data::SelectProperty(orders, key);
      if (!data::FoundRow(orders)) {
        place.NoteRecord("has no order in Property; the expense is not converted");
        context.ListNotConverted("Apprexp: " + TrimBlanks(key));
        return app::RecordResult::Skipped("no order in office.mdb");
      }
      std::string appraiser = ExpenseAppraiser(context, data::DATgetfield(expenses, "App_Num"), key);
      std::string expense_number = data::DATgetfield(expenses, "Exp_Num");
      float amount = data::Csingle(data::DATgetfield(expenses, "Exp_Amt"));
      std::string code = data::AdoTrim(assigned, "E" + TrimUpper(expense_number), "DescCode");
      std::string combined = TrimUpper(key) + TrimUpper(code) + TrimUpper(appraiser);

      assigned.RecordSource = "Select * from Assigned where filenumbercodeappraiser='" + data::SqlQuote(combined) + "'";
      assigned.Refresh();
      if (assigned.Recordset().RecordCount() > 0) {
        if (converted.count(combined) != 0) {
          place.NoteRecord("expense " + expense_number + " of " + appraiser +
                           " appears again in apprexp.dbf; the expense converted first is kept");
        }
        return app::RecordResult::Skipped("expense already in Assigned");
      }
      converted.insert(combined);
      data::AddNewRow(assigned, [&] {
        data::AdoSetFieldRJ(assigned, TrimUpper(key), "FileNumber");
        data::AdoSetField(assigned, appraiser, "Appraiser");
        data::AdoSetFieldSingle(assigned, amount, "Amount");
        data::AdoSetField(assigned, expense_number, "Description");
        data::AdoSetField(assigned, code, "DescCode");
        data::AdoSetField(assigned, combined, "FileNumberCodeAppraiser");
      });
      return app::RecordResult::Added();
    });
  });
}

}  // namespace qorvane::convert
