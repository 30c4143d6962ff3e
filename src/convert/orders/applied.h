// The applied payments of office.mdb (Assigned) from applied.dbf: one row per file number and
// appraiser, the first payment of the pair winning; appraisers the payments name but
// office.mdb lacks are added on the way.
#pragma once

#include "app/ledger.h"
#include "data/context.h"

namespace qorvane::convert {

app::StepResult ConvertAppliedDBF(data::Context& context);

}  // namespace qorvane::convert
