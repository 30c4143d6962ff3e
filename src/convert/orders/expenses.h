// Expenses of an order: the client expenses of an invoice into its three slots (DESC1..DESC3
// with their amounts), the stand-alone client-expense step (kept, no step calls it), and the
// appraiser expenses into Assigned, one row per expense of a converted order.
#pragma once

#include <string_view>

#include "app/ledger.h"
#include "data/context.h"
#include "data/order_helpers.h"

namespace qorvane::convert {

// The client expenses of cliexp.dbf by invoice number, indexed once per step (one pass) so that
// each new invoice finds its expenses without a query that scans cliexp.dbf.
struct ClientExpenses {
  data::SourceKeyIndex index;
};

// Fills the expense slots of the current adoinvoice row from the client expenses whose INV_NUM
// is INVOICE_NUMBER (upper-cased), in table order: "EXP1".."EXP3" name the slot, the last one
// read wins, an amount of 0 or less leaves the slot's amount as it was. Does not save the row.
void SetClientExpenses(data::Context& context, ClientExpenses& expenses, std::string_view invoice_number);
app::StepResult ConvertClientExpDBF(data::Context& context);
app::StepResult ConvertApprExpDBF(data::Context& context);

}  // namespace qorvane::convert
