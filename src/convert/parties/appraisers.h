// The smaller reference tables of office.mdb: appraisers (Appraiser, from appraisr.dbf), the
// program's users and their rights (users, from rooms.dbf) and the company record (Company,
// from the last record of user.dbf). Also AddAppraiserIfMissing, for converters that meet an
// appraiser the appraiser table did not have.
#pragma once

#include <string>
#include <string_view>

#include "app/ledger.h"
#include "data/context.h"

namespace qorvane::convert {

app::StepResult ConvertAppraisrDBF(data::Context& context);
// On the current record of datappraisr and the new row of adoappraiser: name, ApprInfo, Active.
void SetAppraiserFields(data::Context& context);
// ApprInfo: street, second and third line, phone and extension, pager; one line each, empty
// lines left out.
void SetAppraiserInfo(data::Context& context);
// Adds an active appraiser NAME with INFO unless Appraiser has that name already.
void AddAppraiserIfMissing(data::Context& context, std::string_view name, std::string_view info);

app::StepResult ConvertUsers(data::Context& context);
// The target rights of a source rights code ("SUPER", "MIDI", "PLAIN"); "" for any other.
std::string UserRights(std::string_view code);

app::StepResult ConvertCompanyName(data::Context& context);

}  // namespace qorvane::convert
