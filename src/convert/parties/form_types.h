// The form types of office.mdb (FormTypes): the fixed table of standard types, then the
// office's own form codes from the source forms table, each translated through the fixed
// form-code mapping first; and the custom form type an order gets for a code the mapping does
// not know.
#pragma once

#include <string>
#include <string_view>

#include "app/ledger.h"
#include "data/context.h"
#include "data/target_table.h"

namespace qorvane::convert {

// The FormTypes columns the steps write and look up, resolved once per step.
struct FormTypeTable {
  explicit FormTypeTable(data::Context& context);
  data::TargetTable& table;
  data::TargetColumn FormType, FormDesc, FORM, CATEGORY, STANDARD, DISPLAYORDER;
};

app::StepResult ConvertFormTypesDBF(data::Context& context);
// Writes the 34 standard rows, adding each that is missing and resetting each that is there.
void AddStandardFormTypes(data::Context& context, FormTypeTable& form_types);
// The standard code a source form code stands for, or "" when it stands for none.
std::string MapFormCode(std::string_view code);
// The form type of an order whose Ass_Type maps to no known code: a user form type of its own
// ("Custom Type " and the code, category USER), added once, and its code and form in the
// order's FORM_TYPE and FORM columns.
void AddCustomFormType(data::Context& context, FormTypeTable& form_types, std::string_view ass_type,
                       data::TargetRow& order, const data::TargetColumn& order_form_type,
                       const data::TargetColumn& order_form);

}  // namespace qorvane::convert
