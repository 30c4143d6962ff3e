// The form types of office.mdb (FormTypes): the fixed table of standard types, then the
// office's own form codes from the source forms table, each translated through the fixed
// form-code mapping first. Also convertField, the one-field copy the party converters share.
#pragma once

#include <string>
#include <string_view>

#include "app/ledger.h"
#include "data/context.h"

namespace qorvane::convert {

app::StepResult ConvertFormTypesDBF(data::Context& context);
// Writes the 34 standard rows, adding each that is missing and resetting each that is there.
void AddStandardFormTypes(data::Context& context);
// The standard code a source form code stands for, or "" when it stands for none.
std::string MapFormCode(std::string_view code);
// Copies one source field's text to one target column (DATgetfield, then AdoSetField).
void convertField(data::DataControl& source, std::string_view source_field, data::AdoControl& target,
                  std::string_view target_column);

}  // namespace qorvane::convert
