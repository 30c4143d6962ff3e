// The orders of office.mdb (Property) from property.dbf: one row per file number, added or
// overwritten in place, with the file-number report, the form type of the order, its dates,
// memos and legal description, and the client columns of a new order.
#pragma once

#include <string>
#include <string_view>

#include "app/ledger.h"
#include "convert/orders/order_fields.h"
#include "data/context.h"

namespace qorvane::convert {

app::StepResult ConvertPropertyDBF(data::Context& context);

// TEXT with "LABEL VALUE" folded in: unchanged when VALUE is blank, "Lot: 12" when TEXT is
// blank, else "TEXT,Blk: 3" (no blank after the comma).
std::string AppendLegalItem(std::string_view text, std::string_view label, std::string_view value);
// datproperty (and, for a listed number, the rows of Property to convert afresh, which are
// deleted) for the pass over the number txtfilenum shows, or over the whole table.
void OpenPropertySource(data::Context& context);

}  // namespace qorvane::convert
