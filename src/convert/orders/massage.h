// The data massage: after the conversion, the derived columns of the target are made
// consistent by its own rules. Invoices get their amount from the fee total, their balance and
// paid flag; appraiser assignments their paid flag; orders their dates, form columns, clients
// and appraisers.
#pragma once

#include "app/ledger.h"
#include "data/context.h"

namespace qorvane::convert {

app::StepResult MassageInvoice(data::Context& context);
// On the current adoinvoice row: fee total + Totalfinancecharge; the three check amounts;
// total - payments + JournalAmount.
float CalcTotalAmount(data::Context& context);
float CalcPayments(data::Context& context);
float CalcBalanceDue(data::Context& context);

app::StepResult MassageAssigned(data::Context& context);
// PaidInFull of the current adoassigned row: exactly when Amount equals AmountPaid; saved.
void SetAssignedPaidFlag(data::Context& context);

app::StepResult MassageProperty(data::Context& context);
// The dates of the current adoproperty row filled from Dateassigned where they are missing;
// does not save the row.
void CheckDates(data::Context& context);
// FormType and form of the current adoproperty row: "NONE" for a missing form type, the form
// type's own form (else "NONE") for a missing form. Does not save the row.
void CheckInformalTypes(data::Context& context);
// Every appraiser the order's Assigned rows name is in Appraiser (added when missing).
void CheckOrderAppraisers(data::Context& context, const std::string& file_number);

}  // namespace qorvane::convert
