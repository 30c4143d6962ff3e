// The fee schedules (see fees.h). The fee tables are walked in the order of their party number
// (the source's index order), so the first record of a form and party is the one kept. Every
// look-up is by key: a fee row by its FormAppraiser / FormClient key (prepared once per step),
// a party by its number on the source table's index.
#include "convert/parties/fees.h"

#include <fmt/format.h>

#include "app/paths.h"
#include "common/text.h"
#include "data/controls.h"
#include "data/fields.h"
#include "data/lookups.h"
#include "data/record_loop.h"
#include "data/source_table.h"
#include "data/transfer.h"

namespace qorvane::convert {
namespace {

using app::RecordResult;
using app::SourceControl;

// Opens a source fee table in the order of its party number; false when the file is missing.
bool OpenByParty(data::Context& context, data::DataControl& fees, const char* file, const char* table,
                 const char* number_field) {
  if (!app::FileExists(context.Paths().source_folder + file)) return false;
  fees.RecordSource = std::string("SELECT * FROM ") + table + " ORDER BY " + number_field;
  fees.Refresh();
  return true;
}

// The form types of the target, read once for a whole per-party step.
std::vector<FormTypeEntry> ReadFormTypes(data::Context& context) {
  data::TargetTable& form_types = context.Table("FormTypes");
  const data::TargetColumn form_type = form_types.Column("FORMTYPE");
  const data::TargetColumn form = form_types.Column("FORM");
  const data::TargetColumn display_order = form_types.Column("DisplayOrder");
  const data::TargetColumn standard = form_types.Column("STANDARD");
  const data::TargetColumn category = form_types.Column("CATEGORY");
  data::ReportMissingColumns(context, form_types);
  std::vector<FormTypeEntry> entries;
  for (jet::RowId row : form_types.Rows()) {
    entries.push_back({text::UCaseTrim(data::adogetfield(form_types, row, form_type)),
                       text::UCaseTrim(data::adogetfield(form_types, row, form)),
                       data::adogetfieldSingle(form_types, row, display_order),
                       !data::adogetfieldtf(form_types, row, standard) &&
                           text::UCaseTrim(data::adogetfield(form_types, row, category)) == "USER"});
  }
  return entries;
}

// One party's row per form type in FEES: added through ADD_ROW when FIND finds no row for the
// key (form type code followed by the name), else given the form type's display order.
template <typename Fees, typename Find, typename AddRow>
RecordResult AddFormRows(Fees& fees, const std::string& name, const std::vector<FormTypeEntry>& form_types, Find find,
                         AddRow add_row, std::map<std::string, std::int64_t>* added_custom) {
  int added = 0;
  int updated = 0;
  data::TargetRow row = fees.table.NewRow();
  for (const FormTypeEntry& form_type : form_types) {
    if (auto found = find(form_type.code + name)) {
      data::AdoSetFieldSingle(row, fees.DisplayOrder, form_type.display_order);
      fees.table.Update(*found, row);
      ++updated;
    } else {
      add_row(row, form_type);
      fees.table.Add(row);
      ++added;
      if (added_custom && form_type.custom) ++(*added_custom)[form_type.code];
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

// Walks the parties of PARTIES (its column PARTY_COLUMN) and gives each its form rows.
template <typename AddAll>
app::StepResult AddFormTypesToParties(data::Context& context, const char* routine, data::TargetTable& parties,
                                      const char* party_column, const char* caption, AddAll add_all) {
  std::vector<FormTypeEntry> form_types = ReadFormTypes(context);
  if (context.AbortRequested()) return {};
  const data::TargetColumn column = parties.Column(party_column);
  data::ReportMissingColumns(context, parties);
  // The parties as they are when the step starts (the rows it adds are fee rows, not parties).
  const std::vector<jet::RowId> rows = parties.Rows();
  std::size_t next = 0;
  data::RecordLoop loop;
  loop.routine = routine;
  loop.rows = &rows;
  loop.row_table = &parties.table();
  loop.row_position = &next;
  loop.show = [&](std::int64_t) { context.ShowRecord(caption, data::adogetfield(parties, rows[next], column)); };
  loop.key = [&] { return std::string(party_column) + " " + data::adogetfield(parties, rows[next], column); };
  return data::RunRecordLoop(context, loop, [&]() -> RecordResult {
    std::string name = text::UCaseTrim(data::adogetfield(parties, rows[next], column));
    if (name.empty()) return RecordResult::Skipped(std::string("no ") + party_column + " name");
    return add_all(name, form_types);
  });
}

}  // namespace

AppraiserFeeTable::AppraiserFeeTable(data::Context& context)
    : table(context.Table("AppraiserFee")),
      FormAppraiser(table.Column("FormAppraiser")),
      Form(table.Column("Form")),
      Appraiser(table.Column("Appraiser")),
      Amount(table.Column("Amount")),
      Percent(table.Column("Percent")),
      Qualified(table.Column("Qualified")),
      DisplayOrder(table.Column("DisplayOrder")) {
  data::ReportMissingColumns(context, table);
}

ClientFeeTable::ClientFeeTable(data::Context& context)
    : table(context.Table("ClientFee")),
      FormClient(table.Column("FormClient")),
      Form(table.Column("Form")),
      FormType(table.Column("FormType")),
      Client(table.Column("Client")),
      Amount(table.Column("Amount")),
      Qualified(table.Column("Qualified")),
      DisplayOrder(table.Column("DisplayOrder")) {
  data::ReportMissingColumns(context, table);
}

app::StepResult ConvertApprFeeDBF(data::Context& context) {
  return context.Guard("ConvertApprFeeDBF", [&]() -> app::StepResult {
    data::DataControl& control = context.Source(SourceControl::datapprfee);
    if (!OpenByParty(context, control, "apprfee.dbf", "APPRFEE", "App_Num")) return {};
    data::SourceTable source(control);
    data::SourceTable appraisers = context.SourceOf(SourceControl::datappraisrtable);
    const data::SourceField app_num = source.Field("App_num");
    const data::SourceField ass_type = source.Field("Ass_Type");
    const data::SourceField appr_fee = source.Field("Appr_Fee");
    const data::SourceField appr_perc = source.Field("Appr_PERC");
    const data::SourceField pay_mode_field = source.Field("Pay_Mode");
    const data::SourceField last_name = appraisers.Field("App_LName");
    AppraiserFeeTable fees(context);
    data::TargetRow row = fees.table.NewRow();

    data::RecordLoop loop;
    loop.routine = "ConvertApprFeeDBF";
    loop.source = &control;
    loop.show = [&](std::int64_t) { context.ShowRecord("Apprfee.DBF Apprfee", data::DATgetfield(source, app_num)); };
    loop.key = [&] { return "App_num " + data::DATgetfield(source, app_num); };
    return data::RunRecordLoop(context, loop, [&]() -> RecordResult {
      std::string number = data::DATgetfield(source, app_num);
      if (number.empty()) return RecordResult::Skipped("no appraiser number");
      if (!appraisers.bound() || !data::FindRecord(appraisers.control(), number, "App_Num")) {
        return RecordResult::Skipped("appraiser number not in the appraiser table");
      }
      std::string name = text::UCaseTrim(data::DATgetfield(appraisers, last_name));
      std::string form = text::UCaseTrim(data::DATgetfield(source, ass_type));
      float fee = data::adogetfieldSingle(source, appr_fee);
      float percentage = data::adogetfieldSingle(source, appr_perc);
      bool pay_mode = data::adogetfieldtf(source, pay_mode_field);
      std::string key = data::KeyAsStored(context, source, fees.FormAppraiser, form + name);
      if (FindFormAppraiser(fees, key)) return RecordResult::Skipped("fee already in AppraiserFee");
      data::AdoSetField(row, fees.Appraiser, name);
      data::AdoSetField(row, fees.FormAppraiser, key);
      data::AdoSetField(row, fees.Form, form);
      // Pay mode set: the fee is a percentage of the order's fee.
      data::AdoSetFieldSingle(row, fees.Amount, pay_mode ? percentage : fee);
      data::AdoSetFieldTF(row, fees.Percent, pay_mode);
      data::AdoSetFieldTF(row, fees.Qualified, true);
      fees.table.Add(row);
      return RecordResult::Added();
    });
  });
}

app::StepResult ConvertClientFeeDBF(data::Context& context) {
  return context.Guard("ConvertClientFeeDBF", [&]() -> app::StepResult {
    data::DataControl& control = context.Source(SourceControl::datclifee);
    if (!OpenByParty(context, control, "clifee.dbf", "CLIFEE", "Cli_Num")) return {};
    data::SourceTable source(control);
    data::SourceTable clients = context.SourceOf(SourceControl::datclienttable);
    const data::SourceField cli_num = source.Field("Cli_num");
    const data::SourceField ass_type = source.Field("Ass_Type");
    const data::SourceField cli_fee = source.Field("Cli_Fee");
    const data::SourceField plain_name = clients.Field("Plain_Name");
    ClientFeeTable fees(context);
    data::TargetRow row = fees.table.NewRow();

    data::RecordLoop loop;
    loop.routine = "ConvertClientFeeDBF";
    loop.source = &control;
    loop.show = [&](std::int64_t) { context.ShowRecord("CliFee.DBF Client", data::DATgetfield(source, cli_num)); };
    loop.key = [&] { return "Cli_num " + data::DATgetfield(source, cli_num); };
    return data::RunRecordLoop(context, loop, [&]() -> RecordResult {
      std::string number = data::DATgetfield(source, cli_num);
      if (number.empty()) return RecordResult::Skipped("no client number");
      if (!clients.bound() || !data::FindRecord(clients.control(), number, "Cli_Num")) {
        return RecordResult::Skipped("client number not in the client table");
      }
      // The printed name, not the client's name: the fee rows carry it.
      std::string name = text::UCaseTrim(data::DATgetfield(clients, plain_name));
      std::string form = text::UCaseTrim(data::DATgetfield(source, ass_type));
      float fee = data::adogetfieldSingle(source, cli_fee);
      std::string key = data::KeyAsStored(context, source, fees.FormClient, form + name);
      // The client's fee rows only (the look-up the office's converter made on the client's
      // record set): a row of the key filed under another client does not count.
      std::string client = text::UCase(text::TrimToWidth(name, fees.Client.width));
      for (jet::RowId found : fees.table.FindAll(fees.FormClient, key)) {
        if (text::UCaseTrim(data::adogetfield(fees.table, found, fees.Client)) == client) {
          return RecordResult::Skipped("fee already in ClientFee");
        }
      }
      data::AdoSetField(row, fees.FormClient, key);
      data::AdoSetField(row, fees.Form, form);
      data::AdoSetField(row, fees.Client, name);
      data::AdoSetFieldSingle(row, fees.Amount, fee);
      data::AdoSetFieldTF(row, fees.Qualified, true);
      fees.table.Add(row);
      return RecordResult::Added();
    });
  });
}

std::optional<jet::RowId> FindFormAppraiser(AppraiserFeeTable& fees, std::string_view key) {
  return data::AdoFindRec(fees.table, data::FilterFormAppraiser(fees.FormAppraiser, key));
}

std::optional<jet::RowId> FindFormClient(ClientFeeTable& fees, std::string_view key) {
  return data::AdoFindRec(fees.table, data::FilterFormClient(fees.FormClient, key));
}

void EditAppraiserForm(const AppraiserFeeTable& fees, data::TargetRow& row, std::string_view form,
                       std::string_view appraiser, bool qualified) {
  data::AdoSetField(row, fees.FormAppraiser, std::string(form) + std::string(appraiser));
  data::AdoSetField(row, fees.Form, form);
  data::AdoSetField(row, fees.Appraiser, appraiser);
  data::AdoSetFieldTF(row, fees.Qualified, qualified);
}

void EditAppraiserFormFee(const AppraiserFeeTable& fees, data::TargetRow& row, std::string_view form,
                          std::string_view appraiser, float amount, bool percent, bool qualified) {
  EditAppraiserForm(fees, row, form, appraiser, qualified);
  data::AdoSetFieldSingle(row, fees.Amount, amount);
  data::AdoSetFieldTF(row, fees.Percent, percent);
}

void EditClientForm(const ClientFeeTable& fees, data::TargetRow& row, std::string_view form, std::string_view client,
                    bool qualified, float display_order) {
  data::AdoSetField(row, fees.FormClient, std::string(form) + std::string(client));
  data::AdoSetField(row, fees.Form, form);
  data::AdoSetField(row, fees.Client, client);
  data::AdoSetFieldTF(row, fees.Qualified, qualified);
  data::AdoSetFieldSingle(row, fees.DisplayOrder, display_order);
}

void EditClientFormFee(const ClientFeeTable& fees, data::TargetRow& row, std::string_view form_type,
                       std::string_view client, float amount) {
  data::AdoSetField(row, fees.FormClient, std::string(form_type) + std::string(client));
  data::AdoSetField(row, fees.FormType, form_type);
  data::AdoSetField(row, fees.Client, client);
  data::AdoSetFieldSingle(row, fees.Amount, amount);
}

RecordResult AddAllFormTypes(AppraiserFeeTable& fees, const std::string& appraiser,
                             const std::vector<FormTypeEntry>& form_types,
                             std::map<std::string, std::int64_t>* added_custom) {
  return AddFormRows(
      fees, appraiser, form_types, [&](const std::string& key) { return FindFormAppraiser(fees, key); },
      [&](data::TargetRow& row, const FormTypeEntry& form_type) {
        EditAppraiserForm(fees, row, form_type.code, appraiser, true);
        data::AdoSetFieldSingle(row, fees.DisplayOrder, form_type.display_order);
      },
      added_custom);
}

RecordResult AddAllFormsClient(ClientFeeTable& fees, const std::string& client,
                               const std::vector<FormTypeEntry>& form_types,
                               std::map<std::string, std::int64_t>* added_custom) {
  return AddFormRows(
      fees, client, form_types, [&](const std::string& key) { return FindFormClient(fees, key); },
      [&](data::TargetRow& row, const FormTypeEntry& form_type) {
        EditClientForm(fees, row, form_type.code, client, true, form_type.display_order);
      },
      added_custom);
}

app::StepResult AddFormTypesAppraiser(data::Context& context) {
  return context.Guard("AddFormTypesAppraiser", [&]() -> app::StepResult {
    AppraiserFeeTable fees(context);
    std::map<std::string, std::int64_t> added_custom;
    app::StepResult result = AddFormTypesToParties(
        context, "AddFormTypesAppraiser", context.Table("Appraiser"), "Appraiser", "Appraiser",
        [&](const std::string& name, const std::vector<FormTypeEntry>& form_types) {
          return AddAllFormTypes(fees, name, form_types, &added_custom);
        });
    NoteCustomFormTypeRows(context, "AppraiserFee", added_custom);
    return result;
  });
}

app::StepResult AddFormTypesClient(data::Context& context) {
  return context.Guard("AddFormTypesClient", [&]() -> app::StepResult {
    ClientFeeTable fees(context);
    std::map<std::string, std::int64_t> added_custom;
    app::StepResult result = AddFormTypesToParties(
        context, "AddFormTypesClient", context.Table("Client"), "Client", "Client.DBF",
        [&](const std::string& name, const std::vector<FormTypeEntry>& form_types) {
          return AddAllFormsClient(fees, name, form_types, &added_custom);
        });
    NoteCustomFormTypeRows(context, "ClientFee", added_custom);
    return result;
  });
}

}  // namespace qorvane::convert
