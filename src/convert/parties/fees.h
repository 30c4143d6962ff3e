// The fee schedules of office.mdb: per appraiser and per client a row for each form (kind of
// assignment), keyed by the form code followed directly by the party's name. The fees come
// from apprfee.dbf and clifee.dbf (the first source record of a form and party wins); the
// "non-standard form types" steps give every appraiser and every client one row per form type
// of FormTypes, in the form types' display order.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "app/ledger.h"
#include "data/context.h"
#include "data/target_table.h"

namespace qorvane::convert {

app::StepResult ConvertApprFeeDBF(data::Context& context);
app::StepResult ConvertClientFeeDBF(data::Context& context);

// One row of FormTypes as the per-party steps use it.
struct FormTypeEntry {
  std::string code;  // FORMTYPE, trimmed and upper-cased
  std::string form;  // FORM, trimmed and upper-cased
  float display_order = 0;
  // A custom type the order step made for a form code it did not know (not standard, category
  // USER): made after the form-type steps of its run, it gets its fee rows in the next run.
  bool custom = false;
};

// The AppraiserFee and ClientFee columns the fee steps write, resolved once per step.
struct AppraiserFeeTable {
  explicit AppraiserFeeTable(data::Context& context);
  data::TargetTable& table;
  data::TargetColumn FormAppraiser, Form, Appraiser, Amount, Percent, Qualified, DisplayOrder;
};
struct ClientFeeTable {
  explicit ClientFeeTable(data::Context& context);
  data::TargetTable& table;
  data::TargetColumn FormClient, Form, FormType, Client, Amount, Qualified, DisplayOrder;
};

// Every appraiser (client) of the target gets a row per form type: added when missing, its
// display order brought up to date when there.
app::StepResult AddFormTypesAppraiser(data::Context& context);
app::StepResult AddFormTypesClient(data::Context& context);
// One party's rows; ADDED_CUSTOM, when given, counts the rows added per custom form type.
app::RecordResult AddAllFormTypes(AppraiserFeeTable& fees, const std::string& appraiser,
                                  const std::vector<FormTypeEntry>& form_types,
                                  std::map<std::string, std::int64_t>* added_custom = nullptr);
app::RecordResult AddAllFormsClient(ClientFeeTable& fees, const std::string& client,
                                    const std::vector<FormTypeEntry>& form_types,
                                    std::map<std::string, std::int64_t>* added_custom = nullptr);

// The row of KEY in AppraiserFee (ClientFee), when there is one.
std::optional<jet::RowId> FindFormAppraiser(AppraiserFeeTable& fees, std::string_view key);
std::optional<jet::RowId> FindFormClient(ClientFeeTable& fees, std::string_view key);
// The columns of a new fee row. The Fee variants write a fee with the form; no converter
// calls them.
void EditAppraiserForm(const AppraiserFeeTable& fees, data::TargetRow& row, std::string_view form,
                       std::string_view appraiser, bool qualified);
void EditAppraiserFormFee(const AppraiserFeeTable& fees, data::TargetRow& row, std::string_view form,
                          std::string_view appraiser, float amount, bool percent, bool qualified);
void EditClientForm(const ClientFeeTable& fees, data::TargetRow& row, std::string_view form, std::string_view client,
                    bool qualified, float display_order);
void EditClientFormFee(const ClientFeeTable& fees, data::TargetRow& row, std::string_view form_type,
                       std::string_view client, float amount);

}  // namespace qorvane::convert
