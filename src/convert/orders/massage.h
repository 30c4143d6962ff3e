// The data massage: after the conversion, the derived columns of the target are made
// consistent by its own rules. Invoices get their amount from the fee total, their balance and
// paid flag; appraiser assignments their paid flag; orders their dates, form columns, clients
// and appraisers. Each pass reads the columns its rule needs and writes only what changes.
#pragma once

#include <string>

#include "app/ledger.h"
#include "data/context.h"
#include "data/target_table.h"

namespace qorvane::convert {

// The Invoice columns the invoice massage reads and writes.
struct InvoiceAmounts {
  explicit InvoiceAmounts(data::Context& context);
  data::TargetTable& table;
  data::TargetColumn FileNumber, InvoiceAmount, ReportFee, Desc1Amount, Desc2Amount, Desc3Amount, Totalfinancecharge,
      check1amount, check2amount, check3amount, JournalAmount, BalanceDue, PaidInFull;
};

app::StepResult MassageInvoice(data::Context& context);
// Of the invoice ROW: ReportFee + the three expense amounts, as the fee total's text reads;
// fee total + Totalfinancecharge; the three check amounts; total - payments + JournalAmount.
float ReportFee(InvoiceAmounts& invoice, jet::RowId row);
float CalcTotalAmount(InvoiceAmounts& invoice, jet::RowId row);
float CalcPayments(InvoiceAmounts& invoice, jet::RowId row);
float CalcBalanceDue(InvoiceAmounts& invoice, jet::RowId row);

app::StepResult MassageAssigned(data::Context& context);
app::StepResult MassageProperty(data::Context& context);

// The dates of the order ROW filled from Dateassigned where they are missing, into CHANGES.
struct OrderDates {
  explicit OrderDates(data::TargetTable& property);
  data::TargetColumn DateAssigned, DateReceived, DateInspected, DateDue, DateReviewed, DateClosed;
};
void CheckDates(data::TargetTable& property, const OrderDates& dates, jet::RowId row, data::TargetRow& changes);

}  // namespace qorvane::convert
