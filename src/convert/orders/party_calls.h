// The routines of the party converters that the order converters call: the client columns of
// a new order, the "INDIVIDUAL" fill of the property massage and the appraiser an order's
// payment names. They are declared here exactly as src/convert/parties declares them.
//
// FIXME(parties): CheckClient, FillIndividualClient (convert/parties/clients.h) and
// AddAppraiserIfMissing (convert/parties/appraisers.h) are on the parties branch, not yet on
// main. party_calls.cpp gives weak stand-ins (CheckClient does nothing) so this branch links; once main
// has the parties converters their definitions take over, and this header and party_calls.cpp
// should be replaced by includes of those two headers.
#pragma once

#include <string_view>

#include "data/context.h"

namespace qorvane::convert {

// The client columns of the current adoproperty row from the current datproperty record.
void CheckClient(data::Context& context);
// "INDIVIDUAL" into the empty client and bill-to columns of the current adoproperty row.
void FillIndividualClient(data::Context& context);
// Adds an active appraiser NAME with INFO unless Appraiser has that name already.
void AddAppraiserIfMissing(data::Context& context, std::string_view name, std::string_view info);

}  // namespace qorvane::convert
