// Appraisers, users and the company record (see appraisers.h). Each walks its source table on
// the one record loop; a record without its key is skipped, and a key already in the target is
// left as it is (the first source record of a key wins).
#include "convert/parties/appraisers.h"

#include "convert/parties/clients.h"
#include "convert/parties/form_types.h"
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

// The label shows the field Appr_Num, which is not the field the loop keys on (App_num);
// a table without it shows nothing there rather than an error for every record.
void UpdateAppraiserLabels(data::Context& context, DataControl& appraisers) {
  context.form().lblCaption = "Appraisr.DBF Appraiser";
  context.form().lblAddress =
      data::DATHasField(appraisers, "Appr_Num") ? data::DATgetfield(appraisers, "Appr_Num") : std::string();
}

void UpdateUserLabels(data::Context& context, DataControl& rooms) {
  context.form().lblCaption = "ROOMS.DBF User";
  context.form().lblAddress = data::DATgetfield(rooms, "Initials");
}

constexpr const char* kCompanySource = "Select * from Company";

data::RecordLoop SourceLoop(const char* routine, DataControl& source, std::function<void(std::int64_t)> show,
                            std::function<std::string()> key) {
  data::RecordLoop loop;
  loop.routine = routine;
  loop.source = &source;
  loop.show = std::move(show);
  loop.key = std::move(key);
  return loop;
}

}  // namespace

app::StepResult ConvertAppraisrDBF(data::Context& context) {
  return context.Guard("ConvertAppraisrDBF", [&] {
    DataControl& appraisers = context.Source(SourceControl::datappraisr);
    AdoControl& appraiser = context.Target(TargetControl::adoappraiser);
    data::RecordLoop loop = SourceLoop(
        "ConvertAppraisrDBF", appraisers, [&](std::int64_t) { UpdateAppraiserLabels(context, appraisers); },
        [&] { return "App_num " + data::DATgetfield(appraisers, "App_num"); });
    return data::RunSourceTableLoop(context, "appraisr.dbf", loop, [&]() -> RecordResult {
      std::string number = data::DATgetfield(appraisers, "App_num");
      std::string name = data::UCaseTrim(data::DATgetfield(appraisers, "app_LName"));
      if (number.empty()) return RecordResult::Skipped("no appraiser number");
      if (name.empty()) return RecordResult::Skipped("no appraiser name");
      std::string stored = data::KeyAsStored(context, appraisers, appraiser, name, "Appraiser");
      if (data::AdoFindRec(appraiser, data::FilterAppraiser(stored))) {
        appraiser.Refresh();
        return RecordResult::Skipped("appraiser already in Appraiser");
      }
      data::AddNewRow(appraiser, [&] {
        data::AdoSetField(appraiser, name, "Appraiser");
        SetAppraiserFields(context);
      });
      appraiser.Refresh();
      return RecordResult::Added();
    });
  });
}

void SetAppraiserFields(data::Context& context) {
  DataControl& appraisers = context.Source(SourceControl::datappraisr);
  AdoControl& appraiser = context.Target(TargetControl::adoappraiser);
  data::AdoSetField(appraiser, data::UCase(data::DATgetfield(appraisers, "App_Lname")), "Appraiser");
  SetAppraiserInfo(context);
  data::AdoSetFieldTF(appraiser, true, "Active");
}

void SetAppraiserInfo(data::Context& context) {
  DataControl& appraisers = context.Source(SourceControl::datappraisr);
  std::string info;
  for (const char* field : {"app_street", "app_addr2", "app_addr3"})
    info += AddressLine(data::DATgetfield(appraisers, field));
  info += AddressLine(data::DATgetfield(appraisers, "app_phone") + " " + data::DATgetfield(appraisers, "app_ext"));
  info += AddressLine(data::DATgetfield(appraisers, "app_beep"));
  data::AdoSetFieldMemo(context.Target(TargetControl::adoappraiser), info, "ApprInfo");
}

void AddAppraiserIfMissing(data::Context& context, std::string_view name, std::string_view info) {
  context.Guard("AddAppraiserIfMissing", [&] {
    if (name.find_first_not_of(' ') == std::string_view::npos) return;
    AdoControl& appraiser = context.Target(TargetControl::adoappraiser);
    if (data::AdoFindRec(appraiser, data::FilterAppraiser(data::AdoTrim(appraiser, name, "Appraiser")))) return;
    data::AddNewRow(appraiser, [&] {
      data::AdoSetField(appraiser, name, "Appraiser");
      data::AdoSetFieldMemo(appraiser, info, "ApprInfo");
      data::AdoSetFieldTF(appraiser, true, "Active");
    });
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
    DataControl& rooms = context.Source(SourceControl::datrooms);
    AdoControl& users = context.Target(TargetControl::adousers);
    data::RecordLoop loop = SourceLoop(
        "ConvertUsers", rooms, [&](std::int64_t) { UpdateUserLabels(context, rooms); },
        [&] { return "initials " + data::DATgetfield(rooms, "initialS"); });
    return data::RunSourceTableLoop(context, "rooms.dbf", loop, [&]() -> RecordResult {
      std::string initials = data::UCase(data::DATgetfield(rooms, "initialS"));
      std::string password = data::UCaseTrim(data::DATgetfield(rooms, "password"));
      std::string code = data::UCase(data::DATgetfield(rooms, "super"));
      if (initials.empty()) return RecordResult::Skipped("no initials");
      if (password.empty()) return RecordResult::Skipped("no password");
      if (code.empty()) return RecordResult::Skipped("no rights code");
      std::string stored = data::KeyAsStored(context, rooms, users, initials, "user");
      if (data::AdoFindRec(users, data::FilterUser(stored))) {
        users.Refresh();
        return RecordResult::Skipped("user already in users");
      }
      data::AddNewRow(users, [&] {
        data::AdoSetField(users, initials, "user");
        // A code outside the table leaves rights unset: the column's default applies.
        if (std::string rights = UserRights(code); !rights.empty()) data::AdoSetField(users, rights, "rights");
        data::AdoSetField(users, password, "password");
      });
      users.Refresh();
      return RecordResult::Added();
    });
  });
}

app::StepResult ConvertCompanyName(data::Context& context) {
  return context.Guard("ConvertCompanyName", [&] {
    DataControl& user = context.Source(SourceControl::datuser);
    AdoControl& company = context.Target(TargetControl::adocompany);
    std::int64_t last = 0;
    std::int64_t current = 0;
    if (user.bound()) {
      user.Recordset().MoveLast();
      last = user.Recordset().RecordCount();
    }
    // Only the last record is used; the target keeps exactly one company row. The step shows no
    // record counter.
    data::RecordLoop loop = SourceLoop(
        "ConvertCompanyName", user, [&](std::int64_t counter) { current = counter; },
        [&] { return "Name " + data::DATgetfield(user, "Name"); });
    loop.counter_in_label = false;
    return data::RunSourceTableLoop(context, "user.dbf", loop, [&]() -> RecordResult {
      if (current != last) return RecordResult::Skipped("the company is taken from the last record");
      company.RecordSource = kCompanySource;
      company.Refresh();
      bool added = !data::FoundRow(company);
      if (added) {
        data::AddNewRow(company, [&] { convertField(user, "Name", company, "Company"); });
        company.RecordSource = kCompanySource;
        company.Refresh();
      }
      data::MoveFirstIfAny(company);
      data::UpdateRow(company, [&] {
        convertField(user, "Name", company, "Company");
        convertField(user, "Address1", company, "Address1");
        convertField(user, "Address2", company, "Address2");
        convertField(user, "User_Phone", company, "phone");
        convertField(user, "Tax_Id", company, "Taxid");
      });
      return added ? RecordResult::Added() : RecordResult::Updated();
    });
  });
}

}  // namespace qorvane::convert
