// The smaller reference tables of office.mdb: appraisers (Appraiser, from appraisr.dbf), the
// program's users and their rights (users, from rooms.dbf) and the company record (Company,
// from the last record of user.dbf). Also AddAppraiserIfMissing, for converters that meet an
// appraiser the appraiser table did not have.
#pragma once

#include <string>
#include <string_view>

#include "app/ledger.h"
#include "data/context.h"
#include "data/source_table.h"
#include "data/target_table.h"

namespace qorvane::convert {

// The Appraiser columns the steps write and look up, resolved once per step.
struct AppraiserTable {
  explicit AppraiserTable(data::Context& context);
  data::TargetTable& table;
  data::TargetColumn Appraiser, ApprInfo, Active;
};

app::StepResult ConvertAppraisrDBF(data::Context& context);
// ApprInfo of the current appraiser record: street, second and third line, phone and
// extension, pager; one line each, empty lines left out.
std::string AppraiserInfo(const data::SourceTable& appraisers);
// Adds an active appraiser NAME with INFO unless Appraiser has that name already.
void AddAppraiserIfMissing(data::Context& context, AppraiserTable& appraisers, std::string_view name,
                           std::string_view info);

app::StepResult ConvertUsers(data::Context& context);
// The target rights of a source rights code ("SUPER", "MIDI", "PLAIN"); "" for any other.
std::string UserRights(std::string_view code);

app::StepResult ConvertCompanyName(data::Context& context);

}  // namespace qorvane::convert
