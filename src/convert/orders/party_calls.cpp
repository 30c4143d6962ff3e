// Stand-ins for the party routines the order converters call (see party_calls.h). They are
// weak: the linker prefers the parties converters' own definitions wherever those are linked
// in. The two small ones do what the office's routines do; CheckClient does nothing here.
#include "convert/orders/party_calls.h"

#include "data/fields.h"
#include "data/lookups.h"

namespace qorvane::convert {

[[gnu::weak]] void CheckClient(data::Context&) {}

[[gnu::weak]] void FillIndividualClient(data::Context& context) {
  context.Guard("FillIndividualClient", [&] {
    data::AdoControl& property = context.Target(app::TargetControl::adoproperty);
    if (data::adogetfield(property, "CLIENT").empty()) data::AdoSetField(property, "INDIVIDUAL", "client");
    if (data::adogetfield(property, "BILLTO").empty()) data::AdoSetField(property, "INDIVIDUAL", "billto");
  });
}

[[gnu::weak]] void AddAppraiserIfMissing(data::Context& context, std::string_view name, std::string_view info) {
  context.Guard("AddAppraiserIfMissing", [&] {
    if (name.find_first_not_of(' ') == std::string_view::npos) return;
    data::AdoControl& appraiser = context.Target(app::TargetControl::adoappraiser);
    if (data::AdoFindRec(appraiser, data::FilterAppraiser(data::AdoTrim(appraiser, name, "Appraiser")))) return;
    appraiser.Recordset().AddNew();
    data::AdoSetField(appraiser, name, "Appraiser");
    data::AdoSetFieldMemo(appraiser, info, "ApprInfo");
    data::AdoSetFieldTF(appraiser, true, "Active");
    appraiser.Recordset().Update();
  });
}

}  // namespace qorvane::convert
