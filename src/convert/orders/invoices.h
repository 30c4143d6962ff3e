// The invoices of office.mdb (Invoice) from invoice.dbf: one row per file number, added once
// and never overwritten, with its detail memo, checks, amounts and client-expense slots.
#pragma once

#include <string>

#include "app/ledger.h"
#include "convert/orders/expenses.h"
#include "convert/orders/order_fields.h"
#include "data/context.h"

namespace qorvane::convert {

app::StepResult ConvertInvoiceDBF(data::Context& context);
// Fills the current new adoinvoice row, keyed KEY, from the current datinvoice record; does
// not save it.
void SetInvoiceFields(data::Context& context, const RecordPlace& place, ClientExpenses& expenses, const std::string& key);
// Detail: the two detail lines joined with CR LF, written also when both are empty.
void SetInvoiceDetail(data::Context& context);
// datinvoice (and, for a listed number, the target invoices to convert afresh, which are
// deleted) for the pass over the number txtfilenum shows, or over the whole table.
void OpenInvoiceSource(data::Context& context);

}  // namespace qorvane::convert
