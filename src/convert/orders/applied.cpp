// The applied-payments converter (see applied.h). With listed file numbers it converts only the
// one number txtfilenum shows when the step starts, unlike the order and invoice steps, which
// make a pass per listed number. An illegal character in a payment's key is repaired silently.
#include "convert/orders/applied.h"

#include <unordered_set>

#include "app/paths.h"
#include "common/text.h"
#include "convert/orders/order_fields.h"
#include "convert/parties/appraisers.h"
#include "data/controls.h"
#include "data/fields.h"
#include "data/file_numbers.h"
#include "data/lookups.h"
#include "data/record_loop.h"

namespace qorvane::convert {

app::StepResult ConvertAppliedDBF(data::Context& context) {
  return context.Guard("ConvertAppliedDBF", [&]() -> app::StepResult {
    if (!app::FileExists(context.Paths().source_folder + "applied.dbf")) return {};
    data::DataControl& control = context.Source(app::SourceControl::datapplied);
    control.RecordSource = "Select * from applied";
    control.Refresh();
    if (control.Recordset().RecordCount() == 0) return {};
    if (!context.FileNumbers().empty()) SelectListedNumber(control, "applied", "file_num", context.SingleFileNumber());
    data::SourceTable applied(control);
    data::SourceTable appraisers = context.SourceOf(app::SourceControl::datappraisrtable);
    const data::SourceField app_num = applied.Field("App_num");
    const data::SourceField file_num = applied.Field("File_num");
    const data::SourceField split_bool = applied.Field("Split_Bool");
    const data::SourceField split_val = applied.Field("Split_Val");
    const data::SourceField pd_appr = applied.Field("PD_Appr");
    const data::SourceField pay_fee = applied.Field("Pay_Fee");
    const data::SourceField last_name = appraisers.Field("App_LName");
    AssignedTable assigned(context);
    AppraiserTable appraiser_table(context);
    data::TargetTable& orders = context.Table("Property");
    const data::TargetColumn order_number = orders.Column("FileNumber");
    data::TargetRow row = assigned.table.NewRow();

    std::unordered_set<std::string> converted;
    data::RecordLoop loop;
    loop.routine = "ConvertAppliedDBF";
    loop.source = &control;
    loop.key = [&] { return "File_num " + data::DATgetfield(applied, file_num); };
    loop.show = [&](std::int64_t) {
      context.ShowRecord("Applied.DBF FileNumber", data::DATgetfield(applied, file_num) + "-A");
    };
    return data::RunRecordLoop(context, loop, [&]() -> app::RecordResult {
      std::string number = data::DATgetfield(applied, app_num);
      std::string key = text::UCase(text::RightJustify(data::DATgetfield(applied, file_num), 8) + "-A");
      if (data::HasIllegalFileChars(key)) key = data::FixIllegalFileChars(key);
      // Read as the office's routine read them; their values change nothing.
      data::DATgetfield(applied, split_bool);
      data::DATgetfield(applied, split_val);

      std::string name;
      bool found = appraisers.bound() && data::FindRecord(appraisers.control(), number, "App_Num");
      if (found) name = text::UCaseTrim(data::DATgetfield(appraisers, last_name));
      if (!found || name.empty()) {
        name = number;
        if (!name.empty()) AddAppraiserIfMissing(context, appraiser_table, name, "Automatically Added: " + key);
      }
      data::DATgetfield(applied, pd_appr);
      float fee = data::Csingle(data::DATgetfield(applied, pay_fee));

      data::RecordPlace place{context, "applied.dbf", "file number " + std::string(text::Trim(key))};
      std::string combined = std::string(text::Trim(key)) + "0" + name;
      if (data::AdoFindRec(assigned.table, {assigned.FileNumberCodeAppraiser, combined})) {
        if (converted.count(text::UCaseTrim(combined)) != 0) {
          place.NoteRecord("payment to " + name + " appears again in applied.dbf; the payment converted first is kept");
        }
        return app::RecordResult::Skipped("payment already in Assigned");
      }
      converted.insert(text::UCaseTrim(combined));
      std::string order_key = text::RightJustify(key, 10);
      if (!data::SelectProperty(orders, order_number, order_key)) {
        place.NoteRecord("has no order in Property; the payment is converted without it");
      }
      data::AdoSetFieldRJ(row, assigned.FileNumber, text::UCaseTrim(order_key));
      data::AdoSetField(row, assigned.Appraiser, name);
      data::AdoSetFieldSingle(row, assigned.Amount, fee);
      data::AdoSetField(row, assigned.Description, "Converted Form Payment");
      data::AdoSetField(row, assigned.DescCode, "0");
      data::AdoSetField(row, assigned.FileNumberCodeAppraiser, text::UCaseTrim(key) + "0" + text::UCaseTrim(name));
      assigned.table.Add(row);
      return app::RecordResult::Added();
    });
  });
}

}  // namespace qorvane::convert
