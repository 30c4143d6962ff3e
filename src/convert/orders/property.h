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

// Fills the current (new or found) adoproperty row from the current datproperty record, every
// mapped column in order; does not save it.
void SetPropertyFields(data::Context& context, const RecordPlace& place);
void SetDates(data::Context& context, const RecordPlace& place);
void SetMemos(data::Context& context);
void SetLegalDescription(data::Context& context);
// TEXT with "LABEL VALUE" folded in: unchanged when VALUE is blank, "Lot: 12" when TEXT is
// blank, else "TEXT,Blk: 3" (no blank after the comma).
std::string AppendLegalItem(std::string_view text, std::string_view label, std::string_view value);
// The form type of an order whose Ass_Type maps to no known code: a user form type of its own
// ("Custom Type " and the code, category USER), added once, and the order's FormType and form.
void AddCustomFormType(data::Context& context, std::string_view ass_type);
// datproperty (and, for a listed number, the rows of adoproperty to convert afresh, which are
// deleted) for the pass over the number txtfilenum shows, or over the whole table.
void OpenPropertySource(data::Context& context);

}  // namespace qorvane::convert
