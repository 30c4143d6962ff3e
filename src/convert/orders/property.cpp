// The property converter (see property.h). The file-number candidate is File_num with "-A",
// right-justified in 10 characters before anything else; a candidate that is exactly "-A"
// would be skipped, which a padded one never is, so an order without a number becomes the
// row "        -A" of its own.
#include "convert/orders/property.h"

#include <unordered_set>

#include "app/paths.h"
#include "common/text.h"
#include "convert/parties/clients.h"
#include "convert/parties/form_types.h"
#include "data/controls.h"
#include "data/fields.h"
#include "data/file_numbers.h"
#include "data/lookups.h"
#include "data/record_loop.h"
#include "data/source_table.h"
#include "data/target_table.h"

namespace qorvane::convert {
namespace {

using app::SourceControl;

struct FieldPair {
  const char* source;
  const char* target;
};

constexpr FieldPair kTextFields[] = {
    {"Pr_Ref_Num", "RefNum"},   {"Pr_Fha_num", "FhaCase"},   {"Pr_Census", "CensusTrct"},
    {"Pr_Street", "Address"},   {"Pr_City", "City"},         {"Pr_County", "County"},
    {"Pr_State", "St"},         {"Pr_Zip", "Zip"},           {"Pr_SubDiv", "Neighborhd"},
    {"Pr_Owner", "Owner"},      {"Pr_BPhon2", "OwnerPhone"}, {"Pr_Borrowr", "Borrower"},
    {"Pr_BPhon1", "BorrowerPhone"}, {"Pr_Map_Ref", "TaxMapNum"}, {"Pr_Cont2", "Other"},
};
constexpr FieldPair kNumberFields[] = {
    {"Pr_RepCost", "Refinance"}, {"Pr_Borrest", "SellingPr"}, {"Pr_LoanReq", "LoanRequested"},
    {"Pr_ApprVal", "AppraisedValue"},
};
constexpr FieldPair kDateFields[] = {
    {"Pr_DReceiv", "DateReceived"}, {"Pr_DPromis", "DateDue"},       {"Pr_DAssign", "Dateassigned"},
    {"Pr_DOnHold", "DateOnHold"},   {"Pr_DOffHld", "DateOffHold"},   {"Pr_DFinish", "DateCompleted"},
    {"Pr_DnSpect", "DateInspected"}, {"Pr_DReview", "DateReviewed"}, {"Pr_DSale", "DateClosed"},
};
constexpr FieldPair kMemoFields[] = {
    {"Pr_StComm", "Status"}, {"Pr_HoldCom", "ReasonOnHold"}, {"Pr_Comm", "GeneralNotes"},
};
struct LegalItem {
  const char* label;
  const char* field;
};
// The label "Pg:" serves both page fields.
constexpr LegalItem kLegalItems[] = {
    {"Lot:", "Pr_Lot"},     {"Blk:", "Pr_Block"},     {"Land Lot:", "Pr_LandLot"},
    {"Dist:", "Pr_Landist"}, {"Sect:", "Pr_Sect"},    {"DeedBk:", "Pr_DeedBk"},
    {"Pg:", "Pr_DeedPg"},   {"PlatBk:", "Pr_PlatBk"}, {"Pg:", "Pr_PlatPg"},
};

struct Copy {
  data::SourceField field;
  data::TargetColumn column;
};

// What the step reads from property.dbf and writes to Property, resolved once.
struct PropertyStep {
  explicit PropertyStep(data::Context& context)
      : source(context.SourceOf(SourceControl::datproperty)),
        property(context.Table("Property")),
        File_num(source.Field("File_num")),
        Ass_Type(source.Field("Ass_Type")),
        Pr_Street(source.Field("PR_Street")),
        Pr_Cont1(source.Field("Pr_Cont1")),
        Pr_C1_Phon(source.Field("Pr_C1_Phon")),
        Pr_C1_Ext(source.Field("pr_C1_Ext")),
        FileNumber(property.Column("FileNumber")),
        InvoicePrinted(property.Column("InvoicePrinted")),
        FormType(property.Column("FormType")),
        form(property.Column("form")),
        Contact(property.Column("Contact")),
        ClientPhone(property.Column("ClientPhone")),
        Legal(property.Column("Legal")),
        form_types(context),
        order_client(context) {
    auto copies = [&](const auto& pairs, std::vector<Copy>& into) {
      for (const FieldPair& pair : pairs) into.push_back({source.Field(pair.source), property.Column(pair.target)});
    };
    copies(kTextFields, texts);
    copies(kNumberFields, numbers);
    copies(kDateFields, dates);
    copies(kMemoFields, memos);
    for (const LegalItem& item : kLegalItems) legal.push_back(source.Field(item.field));
    data::ReportMissingColumns(context, property);
  }

  data::SourceTable source;
  data::TargetTable& property;
  data::SourceField File_num, Ass_Type, Pr_Street, Pr_Cont1, Pr_C1_Phon, Pr_C1_Ext;
  data::TargetColumn FileNumber, InvoicePrinted, FormType, form, Contact, ClientPhone, Legal;
  std::vector<Copy> texts, numbers, dates, memos;
  std::vector<data::SourceField> legal;
  FormTypeTable form_types;
  OrderClient order_client;
};

// The order's key as row 1 writes it: File_Num right-justified to its own width, "-A",
// corrected, trimmed; empty leaves FileNumber unwritten.
void SetFileNumber(PropertyStep& step, data::TargetRow& row) {
  std::string number = text::RightJustify(data::DATgetfield(step.source, step.File_num), step.File_num.length);
  number = std::string(text::Trim(data::FixIllegalFileChars(number + "-A")));
  if (number.empty()) return;
  data::AdoSetFieldRJ(row, step.FileNumber, data::MakeFileNumber(text::UCaseTrim(number)));
}

void SetFormType(data::Context& context, PropertyStep& step, data::TargetRow& row) {
  std::string ass_type = data::DATgetfield(step.source, step.Ass_Type);
  std::string code = MapFormCode(ass_type);
  if (code.empty()) {
    AddCustomFormType(context, step.form_types, ass_type, row, step.FormType, step.form);
    return;
  }
  data::AdoSetField(row, step.FormType, code);
  FormTypeTable& types = step.form_types;
  std::optional<jet::RowId> found = data::AdoFindRec(types.table, data::FilterFormtype(types.FormType, code));
  data::AdoSetField(row, step.form, found ? data::adogetfield(types.table, *found, types.FORM) : std::string("NONE"));
}

// Fills ROW (a new order, or the changes to one) from the current record, every mapped column
// in order: rows 1-24, the legal description, the dates, the memos.
void SetPropertyFields(data::Context& context, PropertyStep& step, const data::RecordPlace& place,
                       data::TargetRow& row) {
  const data::SourceTable& source = step.source;
  SetFileNumber(step, row);
  for (const Copy& copy : step.texts) data::convertField(source, copy.field, row, copy.column, &place);
  for (const Copy& copy : step.numbers) data::ConvertNumericField(source, copy.field, row, copy.column, &place);
  data::AdoSetFieldTF(row, step.InvoicePrinted, true);
  SetFormType(context, step, row);
  data::convertField(source, step.Pr_Cont1, row, step.Contact, &place);
  // The blank goes in even when the extension is empty; the width rule trims it off.
  data::AdoSetField(row, step.ClientPhone,
                    data::DATgetfield(source, step.Pr_C1_Phon) + " " + data::DATgetfield(source, step.Pr_C1_Ext));
  // SetLegalDescription
  std::string legal;
  for (std::size_t i = 0; i < step.legal.size(); ++i) {
    legal = AppendLegalItem(legal, kLegalItems[i].label, data::DATgetfield(source, step.legal[i]));
  }
  data::AdoSetField(row, step.Legal, legal);
  // SetDates
  for (const Copy& copy : step.dates) data::VerifyAndSet(source, copy.field, row, copy.column, &place);
  // SetMemos: only a value that is there is written; an empty one leaves the memo as it was.
  for (const Copy& copy : step.memos) {
    std::string memo = data::DATgetfield(source, copy.field);
    if (!memo.empty()) data::AdoSetFieldMemo(row, copy.column, memo);
  }
}

}  // namespace

std::string AppendLegalItem(std::string_view text, std::string_view label, std::string_view value) {
  std::string_view item = text::Trim(value);
  if (item.empty()) return std::string(text);
  if (text::Trim(text).empty()) return std::string(text::Trim(label)) + " " + std::string(item);
  return std::string(text) + "," + std::string(text::Trim(label)) + " " + std::string(item);
}

void OpenPropertySource(data::Context& context) {
  OpenOrderSource(context, {"OpenPropertySource", SourceControl::datproperty, "Property", "file_num", "Property", false});
}

app::StepResult ConvertPropertyDBF(data::Context& context) {
  return context.Guard("ConvertPropertyDBF", [&]() -> app::StepResult {
    FirstListedFileNumber(context);
    std::string path = context.Paths().source_folder + "property.dbf";
    if (!app::FileExists(path)) {
      context.Log("Unable to find " + path);
      return {};
    }
    data::DataControl& control = context.Source(SourceControl::datproperty);
    auto empty = [&] { return !control.bound() || control.Recordset().RecordCount() == 0; };
    auto no_records = [&] { context.Log("No records found in property.dbf"); };
    // A listed number property.dbf does not hold gets its own line, and the passes of the
    // numbers after it still run: each listed number is converted.
    auto select_file_number = [&](const std::string& number) {
      ShowListedFileNumber(context, number);
      OpenPropertySource(context);
      if (empty()) {
        no_records();
        context.Log("(file number " + text::UCaseTrim(number) +
                    " is not in property.dbf: its order in office.mdb was deleted and nothing converted it again)");
      }
    };
    if (context.FileNumbers().empty()) {
      OpenPropertySource(context);
      if (empty()) {
        no_records();
        return {};
      }
    }

    PropertyStep step(context);
    InvoiceNumbers invoices(context);
    data::TargetRow row = step.property.NewRow();
    ShownCounter counter;
    std::unordered_set<std::string> converted;  // keys this run wrote, to name repeats
    data::RecordLoop loop;
    loop.routine = "ConvertPropertyDBF";
    loop.source = &control;
    loop.counter_in_label = false;
    loop.show = [&](std::int64_t at) { counter.Set(at); };
    loop.key = [&] { return "File_num " + data::DATgetfield(step.source, step.File_num); };
    loop.select_file_number = select_file_number;

    return counter.Finish(data::RunRecordLoop(context, loop, [&]() -> app::RecordResult {
      std::string candidate = text::UCase(text::RightJustify(data::DATgetfield(step.source, step.File_num) + "-A", 10));
      std::optional<std::string> checked = CheckIllegalNumber(context, invoices, kPropertyNumberTexts, candidate);
      if (!checked) return app::RecordResult::Skipped("illegal file number whose correction is already in office.mdb");
      candidate = *checked;
      if (candidate == "-A") return app::RecordResult::Skipped("no file number");

      std::string key = data::MakeFileNumber(candidate);
      // ShowPropertyProgress
      context.ShowRecord("Property.DBF Address", data::DATgetfield(step.source, step.Pr_Street));
      counter.Show(context);
      data::RecordPlace place{context, "property.dbf", "file number " + std::string(text::Trim(key))};
      if (!converted.insert(key).second) {
        place.NoteRecord("appears again in property.dbf; this record's values overwrite the order converted before");
      }
      std::optional<jet::RowId> found = data::SelectProperty(step.property, step.FileNumber, key);
      if (!found) {
        SetPropertyFields(context, step, place, row);
        CheckClient(context, step.order_client, row);
        data::AdoSetFieldTF(row, step.InvoicePrinted, true);
        step.property.Add(row);
        return app::RecordResult::Added();
      }
      SetPropertyFields(context, step, place, row);
      step.property.Update(*found, row);
      return app::RecordResult::Updated();
    }));
  });
}

}  // namespace qorvane::convert
