// Appraisers, users and the company record (see appraisers.h). Each walks its source table on
// the one record loop; a record without its key is skipped, and a key already in the target is
// left as it is (the first source record of a key wins).
#include "convert/parties/appraisers.h"

#include "common/text.h"
#include "convert/parties/clients.h"
#include "data/fields.h"
#include "data/lookups.h"
#include "data/record_loop.h"
#include "data/transfer.h"
#include "foxpro/record_set.h"

namespace qorvane::convert {
namespace {

using app::RecordResult;
using app::SourceControl;

data::RecordLoop SourceLoop(const char* routine, data::DataControl& source, std::function<void(std::int64_t)> show,
                            std::function<std::string()> key) {
  data::RecordLoop loop;
  loop.routine = routine;
  loop.source = &source;
  loop.show = std::move(show);
  loop.key = std::move(key);
  return loop;
}

}  // namespace

AppraiserTable::AppraiserTable(data::Context& context)
    : table(context.Table("Appraiser")),
      Appraiser(table.Column("Appraiser")),
      ApprInfo(table.Column("ApprInfo")),
      Active(table.Column("Active")) {
  data::ReportMissingColumns(context, table);
}

app::StepResult ConvertAppraisrDBF(data::Context& context) {
  return context.Guard("ConvertAppraisrDBF", [&] {
    data::SourceTable appraisers = context.SourceOf(SourceControl::datappraisr);
    const data::SourceField number_field = appraisers.Field("App_num");
    const data::SourceField name_field = appraisers.Field("app_LName");
    // The label shows the field Appr_Num, which is not the field the loop keys on (App_num); a
    // table without it shows nothing there rather than an error for every record.
    const data::SourceField label_field = appraisers.Field("Appr_Num");
    AppraiserTable appraiser(context);
    data::TargetRow row = appraiser.table.NewRow();
    data::RecordLoop loop = SourceLoop(
        "ConvertAppraisrDBF", appraisers.control(),
        [&](std::int64_t) {
          context.ShowRecord("Appraisr.DBF Appraiser",
                             label_field.present() ? data::DATgetfield(appraisers, label_field) : std::string());
        },
        [&] { return "App_num " + data::DATgetfield(appraisers, number_field); });
    return data::RunSourceTableLoop(context, "appraisr.dbf", loop, [&]() -> RecordResult {
      std::string number = data::DATgetfield(appraisers, number_field);
      std::string name = text::UCaseTrim(data::DATgetfield(appraisers, name_field));
      if (number.empty()) return RecordResult::Skipped("no appraiser number");
      if (name.empty()) return RecordResult::Skipped("no appraiser name");
      std::string stored = data::KeyAsStored(context, appraisers, appraiser.Appraiser, name);
      if (data::AdoFindRec(appraiser.table, data::FilterAppraiser(appraiser.Appraiser, stored)))
        return RecordResult::Skipped("appraiser already in Appraiser");
      // SetAppraiserFields: the name upper-cased, ApprInfo, Active.
      data::AdoSetField(row, appraiser.Appraiser, text::UCase(data::DATgetfield(appraisers, name_field)));
      data::AdoSetFieldMemo(row, appraiser.ApprInfo, AppraiserInfo(appraisers));
      data::AdoSetFieldTF(row, appraiser.Active, true);
      appraiser.table.Add(row);
      return RecordResult::Added();
    });
  });
}

std::string AppraiserInfo(const data::SourceTable& appraisers) {
  std::string info;
  for (const char* field : {"app_street", "app_addr2", "app_addr3"})
    info += AddressLine(data::DATgetfield(appraisers, appraisers.Field(field)));
  info += AddressLine(data::DATgetfield(appraisers, appraisers.Field("app_phone")) + " " +
                      data::DATgetfield(appraisers, appraisers.Field("app_ext")));
  info += AddressLine(data::DATgetfield(appraisers, appraisers.Field("app_beep")));
  return info;
}

void AddAppraiserIfMissing(data::Context& context, AppraiserTable& appraisers, std::string_view name,
                           std::string_view info) {
  context.Guard("AddAppraiserIfMissing", [&] {
    if (text::Trim(name).empty()) return;
    if (data::AdoFindRec(appraisers.table, data::FilterAppraiser(appraisers.Appraiser,
                                                                 text::TrimToWidth(name, appraisers.Appraiser.width))))
      return;
    data::TargetRow row = appraisers.table.NewRow();
    data::AdoSetField(row, appraisers.Appraiser, name);
    data::AdoSetFieldMemo(row, appraisers.ApprInfo, info);
    data::AdoSetFieldTF(row, appraisers.Active, true);
    appraisers.table.Add(row);
  });
}

std::string UserRights(std::string_view code) {
  if (code == "SUPER") return "SUPER";
  if (code == "MIDI") return "TRUSTEE";
  if (code == "PLAIN") return "USER";
  return "";
}

app::StepResult ConvertUsers(data::Context& context) {
  return context.Guard("ConvertUsers", [&] {
    data::SourceTable rooms = context.SourceOf(SourceControl::datrooms);
    const data::SourceField initials_field = rooms.Field("initialS");
    const data::SourceField password_field = rooms.Field("password");
    const data::SourceField super_field = rooms.Field("super");
    data::TargetTable& users = context.Table("users");
    const data::TargetColumn user = users.Column("user");
    const data::TargetColumn rights = users.Column("rights");
    const data::TargetColumn password_column = users.Column("password");
    data::ReportMissingColumns(context, users);
    data::TargetRow row = users.NewRow();
    data::RecordLoop loop = SourceLoop(
        "ConvertUsers", rooms.control(),
        [&](std::int64_t) { context.ShowRecord("ROOMS.DBF User", data::DATgetfield(rooms, initials_field)); },
        [&] { return "initials " + data::DATgetfield(rooms, initials_field); });
    return data::RunSourceTableLoop(context, "rooms.dbf", loop, [&]() -> RecordResult {
      std::string initials = text::UCase(data::DATgetfield(rooms, initials_field));
      std::string password = text::UCaseTrim(data::DATgetfield(rooms, password_field));
      std::string code = text::UCase(data::DATgetfield(rooms, super_field));
      if (initials.empty()) return RecordResult::Skipped("no initials");
      if (password.empty()) return RecordResult::Skipped("no password");
      if (code.empty()) return RecordResult::Skipped("no rights code");
      std::string stored = data::KeyAsStored(context, rooms, user, initials);
      if (data::AdoFindRec(users, data::FilterUser(user, stored)))
        return RecordResult::Skipped("user already in users");
      data::AdoSetField(row, user, initials);
      // A code outside the table leaves rights unset: the column's default applies.
      if (std::string granted = UserRights(code); !granted.empty()) data::AdoSetField(row, rights, granted);
      data::AdoSetField(row, password_column, password);
      users.Add(row);
      return RecordResult::Added();
    });
  });
}

app::StepResult ConvertCompanyName(data::Context& context) {
  return context.Guard("ConvertCompanyName", [&] {
    data::SourceTable user = context.SourceOf(SourceControl::datuser);
    data::TargetTable& company = context.Table("Company");
    struct Copy {
      data::SourceField field;
      data::TargetColumn column;
    };
    const Copy copies[] = {{user.Field("Name"), company.Column("Company")},
                           {user.Field("Address1"), company.Column("Address1")},
                           {user.Field("Address2"), company.Column("Address2")},
                           {user.Field("User_Phone"), company.Column("phone")},
                           {user.Field("Tax_Id"), company.Column("Taxid")}};
    data::ReportMissingColumns(context, company);
    std::int64_t last = 0;
    std::int64_t current = 0;
    if (user.bound()) {
      user.records().MoveLast();
      last = user.records().RecordCount();
    }
    // Only the last record is used; the target keeps exactly one company row. The step shows no
    // record counter.
    data::RecordLoop loop = SourceLoop(
        "ConvertCompanyName", user.control(), [&](std::int64_t counter) { current = counter; },
        [&] { return "Name " + data::DATgetfield(user, copies[0].field); });
    loop.counter_in_label = false;
    data::TargetRow row = company.NewRow();
    return data::RunSourceTableLoop(context, "user.dbf", loop, [&]() -> RecordResult {
      if (current != last) return RecordResult::Skipped("the company is taken from the last record");
      const std::vector<jet::RowId>& rows = company.Rows();
      bool added = rows.empty();
      std::optional<jet::RowId> first;
      if (added) {
        data::convertField(user, copies[0].field, row, copies[0].column);
        first = company.Add(row);
      } else {
        first = rows.front();
      }
      for (const Copy& copy : copies) data::convertField(user, copy.field, row, copy.column);
      company.Update(*first, row);
      return added ? RecordResult::Added() : RecordResult::Updated();
    });
  });
}

}  // namespace qorvane::convert
