// The fee schedules (see fees.h). The fee tables are walked in the order of their party number
// (the source's index order), so the first record of a form and party is the one kept. Every
// look-up is by key: a fee row by its FormAppraiser / FormClient key, a party by its number on
// the source table's index.
#include "convert/parties/fees.h"

#include <fmt/format.h>

#include <functional>
#include <map>

#include "app/paths.h"
#include "data/fields.h"
#include "data/lookups.h"
#include "data/party_helpers.h"
#include "data/record_loop.h"

namespace qorvane::convert {
namespace {

using app::RecordResult;
using app::SourceControl;
using app::TargetControl;
using data::AdoControl;
using data::DataControl;

// The fee tables are looked up by key only; without an ORDER BY the record source is the table
// itself and a look-up does not sort it again.
constexpr const char* kAppraiserFeeTable = "Select * from AppraiserFee";
constexpr const char* kClientFeeTable = "Select * from ClientFee";

void PointAt(AdoControl& control, const char* record_source) {
  control.RecordSource = record_source;
  control.Refresh();
}

// Opens a source fee table in the order of its party number; false when the file is missing.
bool OpenByParty(data::Context& context, DataControl& fees, const char* file, const char* table,
                 const char* number_field) {
  if (!app::FileExists(context.Paths().source_folder + file)) return false;
  fees.RecordSource = std::string("SELECT * FROM ") + table + " ORDER BY " + number_field;
  fees.Refresh();
  return true;
}

// The form types of the target, read once for a whole per-party step.
std::vector<FormTypeEntry> ReadFormTypes(data::Context& context, const char* routine) {
  AdoControl& form_types = context.Target(TargetControl::adoformtypes);
  PointAt(form_types, data::kFormTypesSource);
  std::vector<FormTypeEntry> entries;
  data::RecordLoop loop;
  loop.routine = routine;
  loop.target = &form_types;
  loop.counter_in_label = false;
  data::RunRecordLoop(context, loop, [&] {
    entries.push_back({data::UCaseTrim(data::adogetfield(form_types, "FORMTYPE")),
                       data::UCaseTrim(data::adogetfield(form_types, "FORM")),
                       data::adogetfieldSingle(form_types, "DisplayOrder"),
                       !data::adogetfieldtf(form_types, "STANDARD") &&
                           data::UCaseTrim(data::adogetfield(form_types, "CATEGORY")) == "USER"});
    return RecordResult::Unchanged();
  });
  return entries;
}

// One party's row per form type in FEES: added through ADD_ROW when FIND finds no row for the
// key (form type code followed by the name), else given the form type's display order.
// ADDED_CUSTOM, when given, counts the rows added per custom form type.
RecordResult AddFormRows(data::Context& context, AdoControl& fees, const std::string& name,
                         const std::vector<FormTypeEntry>& form_types,
                         const std::function<bool(const std::string&)>& find,
                         const std::function<void(const FormTypeEntry&)>& add_row,
                         std::map<std::string, std::int64_t>* added_custom = nullptr) {
  int added = 0;
  int updated = 0;
  for (const FormTypeEntry& form_type : form_types) {
    if (context.AbortRequested()) break;
    if (!find(form_type.code + name)) {
      data::AddNewRow(fees, [&] { add_row(form_type); });
      ++added;
      if (added_custom && form_type.custom) ++(*added_custom)[form_type.code];
    } else {
      data::UpdateRow(fees, [&] { data::AdoSetFieldSingle(fees, form_type.display_order, "DisplayOrder"); });
      ++updated;
    }
  }
  if (added) return RecordResult::Added();
  return updated ? RecordResult::Updated() : RecordResult::Unchanged();
}

// The log's account of fee rows added for custom form types: the order step of an earlier run
// made those types after this step had run, so a second run adds rows the first could not.
void NoteCustomFormTypeRows(data::Context& context, const char* table,
                            const std::map<std::string, std::int64_t>& added_custom) {
  if (added_custom.empty()) return;
  std::int64_t rows = 0;
  std::string codes;
  for (const auto& [code, count] : added_custom) {
    rows += count;
    codes += (codes.empty() ? "" : ", ") + code;
  }
  context.Log(fmt::format("{}: {} rows added for the custom form types {}: the order step of an earlier run made "
                          "them (for form codes the old program used) after this step had run, so they get their "
                          "rows now",
                          table, rows, codes));
}

// Walks the parties of PARTY_CONTROL (its column PARTY_COLUMN) and gives each its form rows.
app::StepResult AddFormTypesToParties(
    data::Context& context, const char* routine, AdoControl& parties, const char* party_source,
    const char* party_column, const char* caption,
    const std::function<RecordResult(const std::string&, const std::vector<FormTypeEntry>&)>& add_all) {
  std::vector<FormTypeEntry> form_types = ReadFormTypes(context, routine);
  if (context.AbortRequested()) return {};
  PointAt(parties, party_source);
  data::RecordLoop loop;
  loop.routine = routine;
  loop.target = &parties;
  loop.show = [&](std::int64_t) {
    context.form().lblCaption = caption;
    context.form().lblAddress = data::adogetfield(parties, party_column);
  };
  loop.key = [&] {
    return std::string(party_column) + " " + data::adogetfield(parties, party_column);
  };
  return data::RunRecordLoop(context, loop, [&]() -> RecordResult {
    std::string name = data::UCaseTrim(data::adogetfield(parties, party_column));
    if (name.empty()) return RecordResult::Skipped(std::string("no ") + party_column + " name");
    return add_all(name, form_types);
  });
}

}  // namespace

app::StepResult ConvertApprFeeDBF(data::Context& context) {
  return context.Guard("ConvertApprFeeDBF", [&]() -> app::StepResult {
    DataControl& source = context.Source(SourceControl::datapprfee);
    DataControl& appraisers = context.Source(SourceControl::datappraisrtable);
    AdoControl& fees = context.Target(TargetControl::adoappraiserfee);
    if (!OpenByParty(context, source, "apprfee.dbf", "APPRFEE", "App_Num")) return {};
    PointAt(fees, kAppraiserFeeTable);

    data::RecordLoop loop;
    loop.routine = "ConvertApprFeeDBF";
    loop.source = &source;
    loop.show = [&](std::int64_t) {
      context.form().lblCaption = "Apprfee.DBF Apprfee";
      context.form().lblAddress = data::DATgetfield(source, "App_Num");
    };
    loop.key = [&] {
      return "App_num " + data::DATgetfield(source, "App_num");
    };
    return data::RunRecordLoop(context, loop, [&]() -> RecordResult {
      std::string number = data::DATgetfield(source, "App_num");
      if (number.empty()) return RecordResult::Skipped("no appraiser number");
      if (!appraisers.bound() || !data::FindRecord(appraisers, number, "App_Num")) {
        return RecordResult::Skipped("appraiser number not in the appraiser table");
      }
      std::string name = data::UCaseTrim(data::DATgetfield(appraisers, "App_LName"));
      std::string form = data::UCaseTrim(data::DATgetfield(source, "Ass_Type"));
      float fee = data::DATgetfieldSingle(source, "Appr_Fee");
      float percentage = data::DATgetfieldSingle(source, "Appr_PERC");
      bool pay_mode = data::DATgetfieldtf(source, "Pay_Mode");
      std::string key = data::KeyAsStored(context, source, fees, form + name, "FormAppraiser");
      if (FindFormAppraiser(context, key)) {
        return RecordResult::Skipped("fee already in AppraiserFee");
      }
      data::AddNewRow(fees, [&] {
        data::AdoSetField(fees, name, "Appraiser");
        data::AdoSetField(fees, key, "FormAppraiser");
        data::AdoSetField(fees, form, "Form");
        // Pay mode set: the fee is a percentage of the order's fee.
        data::AdoSetFieldSingle(fees, pay_mode ? percentage : fee, "Amount");
        data::AdoSetFieldTF(fees, pay_mode, "Percent");
        data::AdoSetFieldTF(fees, true, "Qualified");
      });
      return RecordResult::Added();
    });
  });
}

app::StepResult ConvertClientFeeDBF(data::Context& context) {
  return context.Guard("ConvertClientFeeDBF", [&]() -> app::StepResult {
    DataControl& source = context.Source(SourceControl::datclifee);
    DataControl& clients = context.Source(SourceControl::datclienttable);
    AdoControl& fees = context.Target(TargetControl::adoclientfee);
    if (!OpenByParty(context, source, "clifee.dbf", "CLIFEE", "Cli_Num")) return {};

    data::RecordLoop loop;
    loop.routine = "ConvertClientFeeDBF";
    loop.source = &source;
    loop.show = [&](std::int64_t) {
      context.form().lblCaption = "CliFee.DBF Client";
      context.form().lblAddress = data::DATgetfield(source, "Cli_Num");
    };
    loop.key = [&] {
      return "Cli_num " + data::DATgetfield(source, "Cli_num");
    };
    return data::RunRecordLoop(context, loop, [&]() -> RecordResult {
      std::string number = data::DATgetfield(source, "Cli_num");
      if (number.empty()) return RecordResult::Skipped("no client number");
      if (!clients.bound() || !data::FindRecord(clients, number, "Cli_Num")) {
        return RecordResult::Skipped("client number not in the client table");
      }
      // The printed name, not the client's name: the fee rows carry it.
      std::string name = data::UCaseTrim(data::DATgetfield(clients, "Plain_Name"));
      std::string form = data::UCaseTrim(data::DATgetfield(source, "Ass_Type"));
      float fee = data::DATgetfieldSingle(source, "Cli_Fee");
      data::SelectClientFee(fees, data::AdoTrim(fees, name, "client"), "");
      std::string key = data::KeyAsStored(context, source, fees, form + name, "Formclient");
      if (FindFormClient(context, key)) return RecordResult::Skipped("fee already in ClientFee");
      data::AddNewRow(fees, [&] {
        data::AdoSetField(fees, key, "Formclient");
        data::AdoSetField(fees, form, "Form");
        data::AdoSetField(fees, name, "client");
        data::AdoSetFieldSingle(fees, fee, "Amount");
        data::AdoSetFieldTF(fees, true, "Qualified");
      });
      return RecordResult::Added();
    });
  });
}

bool FindFormAppraiser(data::Context& context, const std::string& key) {
  return context.Guard("FindFormAppraiser", [&] {
    return data::AdoFindRec(context.Target(TargetControl::adoappraiserfee), data::FilterFormAppraiser(key));
  });
}

bool FindFormClient(data::Context& context, const std::string& key) {
  return context.Guard("FindFormClient", [&] {
    return data::AdoFindRec(context.Target(TargetControl::adoclientfee), data::FilterFormClient(key));
  });
}

void EditAppraiserForm(data::Context& context, std::string_view form, std::string_view appraiser, bool qualified) {
  AdoControl& fees = context.Target(TargetControl::adoappraiserfee);
  data::AdoSetField(fees, std::string(form) + std::string(appraiser), "FORMAPPRAISER");
  data::AdoSetField(fees, form, "Form");
  data::AdoSetField(fees, appraiser, "Appraiser");
  data::AdoSetFieldTF(fees, qualified, "Qualified");
}

void EditAppraiserFormFee(data::Context& context, std::string_view form, std::string_view appraiser, float amount,
                          bool percent, bool qualified) {
  AdoControl& fees = context.Target(TargetControl::adoappraiserfee);
  EditAppraiserForm(context, form, appraiser, qualified);
  data::AdoSetFieldSingle(fees, amount, "Amount");
  data::AdoSetFieldTF(fees, percent, "Percent");
}

void EditClientForm(data::Context& context, std::string_view form, std::string_view client, bool qualified,
                    float display_order) {
  AdoControl& fees = context.Target(TargetControl::adoclientfee);
  data::AdoSetField(fees, std::string(form) + std::string(client), "FORMClient");
  data::AdoSetField(fees, form, "Form");
  data::AdoSetField(fees, client, "Client");
  data::AdoSetFieldTF(fees, qualified, "Qualified");
  data::AdoSetFieldSingle(fees, display_order, "DisplayOrder");
}

void EditClientFormFee(data::Context& context, std::string_view form_type, std::string_view client, float amount) {
  AdoControl& fees = context.Target(TargetControl::adoclientfee);
  data::AdoSetField(fees, std::string(form_type) + std::string(client), "FORMClient");
  data::AdoSetField(fees, form_type, "FormType");
  data::AdoSetField(fees, client, "Client");
  data::AdoSetFieldSingle(fees, amount, "Amount");
}

namespace {

RecordResult AddAppraiserFormRows(data::Context& context, const std::string& appraiser,
                                  const std::vector<FormTypeEntry>& form_types,
                                  std::map<std::string, std::int64_t>* added_custom) {
  AdoControl& fees = context.Target(TargetControl::adoappraiserfee);
  return AddFormRows(
      context, fees, appraiser, form_types, [&](const std::string& key) { return FindFormAppraiser(context, key); },
      [&](const FormTypeEntry& form_type) {
        EditAppraiserForm(context, form_type.code, appraiser, true);
        data::AdoSetFieldSingle(fees, form_type.display_order, "DisplayOrder");
      },
      added_custom);
}

RecordResult AddClientFormRows(data::Context& context, const std::string& client,
                               const std::vector<FormTypeEntry>& form_types,
                               std::map<std::string, std::int64_t>* added_custom) {
  AdoControl& fees = context.Target(TargetControl::adoclientfee);
  return AddFormRows(
      context, fees, client, form_types, [&](const std::string& key) { return FindFormClient(context, key); },
      [&](const FormTypeEntry& form_type) {
        EditClientForm(context, form_type.code, client, true, form_type.display_order);
      },
      added_custom);
}

}  // namespace

RecordResult AddAllFormTypes(data::Context& context, const std::string& appraiser,
                             const std::vector<FormTypeEntry>& form_types) {
  return AddAppraiserFormRows(context, appraiser, form_types, nullptr);
}

RecordResult AddAllFormsClient(data::Context& context, const std::string& client,
                               const std::vector<FormTypeEntry>& form_types) {
  return AddClientFormRows(context, client, form_types, nullptr);
}

app::StepResult AddFormTypesAppraiser(data::Context& context) {
  return context.Guard("AddFormTypesAppraiser", [&]() -> app::StepResult {
    PointAt(context.Target(TargetControl::adoappraiserfee), kAppraiserFeeTable);
    std::map<std::string, std::int64_t> added_custom;
    app::StepResult result = AddFormTypesToParties(
        context, "AddFormTypesAppraiser", context.Target(TargetControl::adoappraiser), "Select * from Appraiser",
        "Appraiser", "Appraiser", [&](const std::string& name, const std::vector<FormTypeEntry>& form_types) {
          return AddAppraiserFormRows(context, name, form_types, &added_custom);
        });
    NoteCustomFormTypeRows(context, "AppraiserFee", added_custom);
    return result;
  });
}

app::StepResult AddFormTypesClient(data::Context& context) {
  return context.Guard("AddFormTypesClient", [&]() -> app::StepResult {
    PointAt(context.Target(TargetControl::adoclientfee), kClientFeeTable);
    std::map<std::string, std::int64_t> added_custom;
    app::StepResult result = AddFormTypesToParties(
        context, "AddFormTypesClient", context.Target(TargetControl::adoclient), "Select * from Client", "Client",
        "Client.DBF", [&](const std::string& name, const std::vector<FormTypeEntry>& form_types) {
          return AddClientFormRows(context, name, form_types, &added_custom);
        });
    NoteCustomFormTypeRows(context, "ClientFee", added_custom);
    return result;
  });
}

}  // namespace qorvane::convert
