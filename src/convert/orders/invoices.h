// The invoices of office.mdb (Invoice) from invoice.dbf: one row per file number, added once
// and never overwritten, with its detail memo, checks, amounts and client-expense slots.
#pragma once

#include <string>

#include "app/ledger.h"
#include "convert/orders/expenses.h"
#include "convert/orders/order_fields.h"
#include "data/context.h"
#include "data/source_table.h"
#include "data/target_table.h"

namespace qorvane::convert {

// What the invoice step reads from invoice.dbf and writes to Invoice, resolved once per step.
struct InvoiceStep {
  explicit InvoiceStep(data::Context& context);
  data::SourceTable source;
  data::TargetTable& invoice;
  data::SourceField Inv_Num, Inv_Date, Inv_Detl1, Inv_Detl2, Inv_Chk1, Inv_Date1, Inv_Chk2, Inv_Date2, Inv_Chk3,
      Inv_Date3, Inv_Amt1, Inv_Amt2, Inv_Amt3, Inv_Fee, Inv_Exp;
  data::TargetColumn FileNumber, InvoiceDate, Detail, Check1, Check1Date, Check2, Check2Date, Check3, Check3Date,
      Check1Amount, Check2Amount, Check3Amount, ReportFee, InvoiceAmount;
  ClientExpenses expenses;
};

app::StepResult ConvertInvoiceDBF(data::Context& context);
// Fills ROW, a new invoice keyed KEY, from the current invoice.dbf record.
void SetInvoiceFields(InvoiceStep& step, const data::RecordPlace& place, const std::string& key, data::TargetRow& row);
// Detail: the two detail lines joined with CR LF, written also when both are empty.
void SetInvoiceDetail(InvoiceStep& step, data::TargetRow& row);
// datinvoice (and, for a listed number, the target invoices to convert afresh, which are
// deleted) for the pass over the number txtfilenum shows, or over the whole table.
void OpenInvoiceSource(data::Context& context);

}  // namespace qorvane::convert
