// The applied-payments converter (see applied.h). With listed file numbers it converts only the
// one number txtfilenum shows when the step starts, unlike the order and invoice steps, which
// make a pass per listed number. An illegal character in a payment's key is repaired silently.
#include "convert/orders/applied.h"

#include <unordered_set>

#include "app/paths.h"
#include "convert/orders/order_fields.h"
#include "convert/parties/appraisers.h"
#include "convert/parties/clients.h"
#include "data/fields.h"
#include "data/file_numbers.h"
#include "data/lookups.h"
#include "data/party_helpers.h"
#include "data/record_loop.h"

namespace qorvane::convert {

app::StepResult ConvertAppliedDBF(data::Context& context) {
  return context.Guard("ConvertAppliedDBF", [&]() -> app::StepResult {
    if (!app::FileExists(context.Paths().source_folder + "applied.dbf")) return {};
    data::DataControl& applied = context.Source(app::SourceControl::datapplied);
    data::DataControl& appraisers = context.Source(app::SourceControl::datappraisrtable);
    data::AdoControl& assigned = context.Target(app::TargetControl::adoassigned);
    data::AdoControl& orders = context.Target(app::TargetControl::adoquery);
    applied.RecordSource = "Select * from applied";
    applied.Refresh();
    if (applied.Recordset().RecordCount() == 0) return {};
    if (!context.FileNumbers().empty()) SelectListedNumber(applied, "applied", "file_num", context.SingleFileNumber());

    std::unordered_set<std::string> converted;
    data::RecordLoop loop;
    loop.routine = "ConvertAppliedDBF";
    loop.source = &applied;
    loop.key = [&] { return "File_num " + data::DATgetfield(applied, "File_num"); };
    loop.show = [&](std::int64_t) {
      context.form().lblCaption = "Applied.DBF FileNumber";
      context.form().lblAddress = data::DATgetfield(applied, "File_Num") + "-A";
    };
    return data::RunRecordLoop(context, loop, [&]() -> app::RecordResult {
      std::string number = data::DATgetfield(applied, "App_num");
      std::string key = data::RightJustify(data::DATgetfield(applied, "File_num"), 8) + "-A";
      for (char& c : key) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
      if (data::HasIllegalFileChars(key)) key = data::FixIllegalFileChars(key);
      // Read as the office's routine read them; their values change nothing.
      data::DATgetfield(applied, "Split_Bool");
      data::DATgetfield(applied, "Split_Val");

      std::string name;
      bool found = appraisers.bound() && data::FindRecord(appraisers, number, "App_Num");
      if (found) name = TrimUpper(data::DATgetfield(appraisers, "App_LName"));
      if (!found || name.empty()) {
        name = number;
        if (!name.empty()) AddAppraiserIfMissing(context, name, "Automatically Added: " + key);
      }
      data::DATgetfield(applied, "PD_Appr");
      float fee = data::Csingle(data::DATgetfield(applied, "Pay_Fee"));

      RecordPlace place{context, "applied.dbf", "file number " + TrimBlanks(key)};
      std::string combined = TrimBlanks(key) + "0" + name;
      assigned.RecordSource =
          "Select * from Assigned where filenumbercodeappraiser='" + data::SqlQuote(combined) + "'";
      assigned.Refresh();
      if (assigned.Recordset().RecordCount() != 0) {
        if (converted.count(TrimUpper(combined)) != 0) {
          place.NoteRecord("payment to " + name + " appears again in applied.dbf; the payment converted first is kept");
        }
        return app::RecordResult::Skipped("payment already in Assigned");
      }
      converted.insert(TrimUpper(combined));
      data::SelectProperty(orders, data::RightJustify(key, 10));
      if (!data::FoundRow(orders)) {
        place.NoteRecord("has no order in Property; the payment is converted without it");
      }
      data::AddNewRow(assigned, [&] {
        data::AdoSetFieldRJ(assigned, TrimUpper(data::RightJustify(key, 10)), "FileNumber");
        data::AdoSetField(assigned, name, "Appraiser");
        data::AdoSetFieldSingle(assigned, fee, "Amount");
        data::AdoSetField(assigned, "Converted Form Payment", "Description");
        data::AdoSetField(assigned, "0", "DescCode");
        data::AdoSetField(assigned, TrimUpper(key) + "0" + TrimUpper(name), "FileNumberCodeAppraiser");
      });
      return app::RecordResult::Added();
    });
  });
}

}  // namespace qorvane::convert
