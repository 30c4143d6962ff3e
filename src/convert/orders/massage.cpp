// The data massage (see massage.h). Amounts are single-precision and compared exactly, as the
// office's program compared them: a balance of 0.01 is not paid.
#include "convert/orders/massage.h"

#include <charconv>

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

using app::TargetControl;
using data::AdoControl;

float Amount(data::Context& context, const char* column) {
  return data::adogetfieldSingle(context.Target(TargetControl::adoinvoice), column);
}

// The fee total's text as a single-precision number.
float FeeTotal(AdoControl& invoice) {
  std::string text = data::ReportFee(invoice);
  float value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

// The massage loop over the file numbers adofind holds: one pass, or one per listed number
// (SELECT re-points adofind at it).
data::RecordLoop MassageLoop(data::Context& context, const char* routine,
                             void (*select)(AdoControl&, std::string_view)) {
  AdoControl& find = context.Target(TargetControl::adofind);
  data::RecordLoop loop;
  loop.routine = routine;
  loop.target = &find;
  loop.key = [&find] { return "FileNumber " + data::adogetfield(find, "FileNumber"); };
  loop.select_file_number = [&context, &find, select](const std::string& number) {
    ShowListedFileNumber(context, number);
    select(find, data::MakeFileNumberDashA(number));
  };
  FirstListedFileNumber(context);
  if (context.FileNumbers().empty()) select(find, "");
  return loop;
}

}  // namespace

float CalcTotalAmount(data::Context& context) {
  return FeeTotal(context.Target(TargetControl::adoinvoice)) + Amount(context, "Totalfinancecharge");
}

float CalcPayments(data::Context& context) {
  return Amount(context, "check1amount") + Amount(context, "check2amount") + Amount(context, "check3amount");
}

float CalcBalanceDue(data::Context& context) {
  return CalcTotalAmount(context) - CalcPayments(context) + Amount(context, "JournalAmount");
}

app::StepResult MassageInvoice(data::Context& context) {
  return context.Guard("MassageInvoice", [&]() -> app::StepResult {
    AdoControl& find = context.Target(TargetControl::adofind);
    AdoControl& invoice = context.Target(TargetControl::adoinvoice);
    data::RecordLoop loop = MassageLoop(context, "MassageInvoice", &data::SelectInvoiceFileNumbers);
    loop.show = [&](std::int64_t) {
      context.form().lblCaption = "Massaging Data... INVOICE";
      context.form().lblAddress = data::adogetfield(find, "FILENUMBER");
    };
    return data::RunRecordLoop(context, loop, [&]() -> app::RecordResult {
      std::string key = data::MakeFileNumber(data::adogetfield(find, "Filenumber"));
      if (TrimBlanks(key).empty()) return app::RecordResult::Skipped("no file number");
      data::SelectInvoice(invoice, key);
      if (!data::FoundRow(invoice)) return app::RecordResult::Skipped("the invoice is gone");
      data::UpdateRow(invoice, [&] {
        data::AdoSetFieldRJ(invoice, data::adogetfield(invoice, "FILENUMBER"), "FILENUMBER");
        float amount = data::adogetfieldSingle(invoice, "InvoiceAmount");
        float fees = FeeTotal(invoice);
        if (amount != fees) {
          data::AdoSetFieldSingle(invoice, fees, "InvoiceAmount");
          context.Log("***             Filenumber: " + key + " - Invoice Amount of " + SingleText(amount) +
                      " did not match Fee Total " + SingleText(fees));
        }
        float balance = CalcBalanceDue(context);
        data::AdoSetFieldSingle(invoice, balance, "BalanceDue");
        data::AdoSetFieldTF(invoice, balance == 0, "PaidInFull");
      });
      return app::RecordResult::Updated();
    });
  });
}

void SetAssignedPaidFlag(data::Context& context) {
  context.Guard("SetAssignedPaidFlag", [&] {
    AdoControl& assigned = context.Target(TargetControl::adoassigned);
    data::UpdateRow(assigned, [&] {
      bool paid = data::adogetfieldSingle(assigned, "Amount") == data::adogetfieldSingle(assigned, "AmountPaid");
      data::AdoSetFieldTF(assigned, paid, "PaidInFull");
    });
  });
}

app::StepResult MassageAssigned(data::Context& context) {
  return context.Guard("MassageAssigned", [&]() -> app::StepResult {
    AdoControl& find = context.Target(TargetControl::adofind);
    AdoControl& assigned = context.Target(TargetControl::adoassigned);
    data::RecordLoop loop = MassageLoop(context, "MassageAssigned", &data::SelectAssignedFileNumbers);
    loop.counter_in_label = false;  // this massage moves only the gauge
    return data::RunRecordLoop(context, loop, [&]() -> app::RecordResult {
      // The rows of one file number not yet marked paid. The engine finds a file number's rows
      // through its index but would test the paid flag of every row of the table, so the flag is
      // tested here, on the few rows found.
      data::SelectAssigned(assigned, data::AdoGetFieldRJ(find, "FileNumber"));
      std::size_t rows = data::ForEachRow(assigned, [&] {
        if (data::adogetfieldtf(assigned, "PaidInFull")) return;
        if (!data::adogetfield(assigned, "Appraiser").empty()) SetAssignedPaidFlag(context);
      });
      return rows == 0 ? app::RecordResult::Unchanged() : app::RecordResult::Updated();
    });
  });
}

void CheckDates(data::Context& context) {
  context.Guard("CheckDates", [&] {
    AdoControl& property = context.Target(TargetControl::adoproperty);
    std::string reference = data::adogetfield(property, "DateAssigned");
    if (!data::IsDate(reference)) return;
    auto unusable = [&](const char* column) {
      std::string text = data::adogetfield(property, column);
      return !data::IsDate(text) || text == kMissingDate;
    };
    bool assigned = unusable("DateAssigned"), received = unusable("DateReceived"),
         inspected = unusable("DateInspected"), due = unusable("DateDue"), reviewed = unusable("DateReviewed"),
         closed = unusable("DateClosed");
    if (assigned) data::AdoSetFieldDate(property, reference, "DateAssigned");
    if (received) data::AdoSetFieldDate(property, reference, "DateReceived");
    // The inspection date is tested, the received date written: the office's rule.
    if (inspected) data::AdoSetFieldDate(property, reference, "DateReceived");
    if (due) data::AdoSetFieldDate(property, reference, "DateDue");
    if (reviewed) data::AdoSetFieldDate(property, kMissingDate, "DateReviewed");
    if (closed) data::AdoSetFieldDate(property, kMissingDate, "DateClosed");
  });
}

void CheckInformalTypes(data::Context& context) {
  context.Guard("CheckInformalTypes", [&] {
    AdoControl& property = context.Target(TargetControl::adoproperty);
    std::string type = data::adogetfield(property, "FormType");
    if (type.empty()) {
      type = "NONE";
      data::AdoSetField(property, type, "FormType");
    }
    if (!data::adogetfield(property, "form").empty()) return;
    AdoControl& formtypes = context.Target(TargetControl::adoformtypes);
    std::string form = data::AdoFindRec(formtypes, data::FilterFormtype(type)) ? data::adogetfield(formtypes, "FORM") : "";
    data::AdoSetField(property, form.empty() ? "NONE" : form, "form");
  });
}

void CheckOrderAppraisers(data::Context& context, const std::string& file_number) {
  context.Guard("CheckOrderAppraisers", [&] {
    AdoControl& query = context.Target(TargetControl::adoquery);
    data::SelectAssigned(query, file_number);
    std::vector<std::string> names;
    data::ForEachRow(query, [&] { names.push_back(data::adogetfield(query, "Appraiser")); });
    for (const std::string& name : names) {
      AddAppraiserIfMissing(context, name, "Automatically Added: " + file_number);
    }
  });
}

app::StepResult MassageProperty(data::Context& context) {
  return context.Guard("MassageProperty", [&]() -> app::StepResult {
    AdoControl& find = context.Target(TargetControl::adofind);
    AdoControl& property = context.Target(TargetControl::adoproperty);
    data::RecordLoop loop = MassageLoop(context, "MassageProperty", &data::SelectPropertyFileNumbers);
    return data::RunRecordLoop(context, loop, [&]() -> app::RecordResult {
      std::string key = data::MakeFileNumber(data::adogetfield(find, "Filenumber"));
      if (TrimBlanks(key).empty()) return app::RecordResult::Skipped("no file number");
      data::SelectProperty(property, key);
      if (!data::FoundRow(property)) return app::RecordResult::Skipped("the order is gone");
      data::UpdateRow(property, [&] {
        CheckDates(context);
        CheckInformalTypes(context);
        FillIndividualClient(context);
      });
      data::SelectProperty(property, key);
      CheckOrderAppraisers(context, key);
      context.form().lblCaption = "Massaging Data... Property";
      context.form().lblAddress = data::adogetfield(property, "Address");
      return app::RecordResult::Updated();
    });
  });
}

}  // namespace qorvane::convert
