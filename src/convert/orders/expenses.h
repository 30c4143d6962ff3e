// Expenses of an order: the client expenses of an invoice into its three slots (DESC1..DESC3
// with their amounts), the stand-alone client-expense step (kept, no step calls it), and the
// appraiser expenses into Assigned, one row per expense of a converted order.
#pragma once

#include <array>
#include <string_view>

#include "app/ledger.h"
#include "data/context.h"
#include "data/source_key_index.h"
#include "data/source_table.h"
#include "data/target_table.h"

namespace qorvane::convert {

// One expense slot of an invoice: the type that names it, its description and amount columns.
struct ExpenseSlot {
  const char* type;  // "EXP1"
  data::TargetColumn description, amount;
};

// The client expenses of cliexp.dbf by invoice number, indexed once per step (one pass) so that
// each new invoice finds its expenses without a query that scans cliexp.dbf; and the invoice
// columns they fill.
struct ClientExpenses {
  ClientExpenses(data::Context& context, data::TargetTable& invoice);
  data::SourceTable cliexp;
  data::SourceField Inv_Num, Exp_Type, Exp_Desc, Exp_Amt;
  std::array<ExpenseSlot, 3> slots;
  data::SourceKeyIndex index;
};

// Fills the expense slots of the invoice ROW from the client expenses whose INV_NUM is
// INVOICE_NUMBER (compared trimmed and upper-cased), in table order: "EXP1".."EXP3" name the
// slot, the last one read wins, an amount of 0 or less leaves the slot's amount as it was.
void SetClientExpenses(ClientExpenses& expenses, std::string_view invoice_number, data::TargetRow& row);
app::StepResult ConvertClientExpDBF(data::Context& context);
app::StepResult ConvertApprExpDBF(data::Context& context);

}  // namespace qorvane::convert
