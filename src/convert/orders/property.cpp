// The property converter (see property.h). The file-number candidate is File_num with "-A",
// right-justified in 10 characters before anything else; a candidate that is exactly "-A"
// would be skipped, which a padded one never is, so an order without a number becomes the
// row "        -A" of its own.
#include "convert/orders/property.h"

#include <unordered_set>

#include "app/paths.h"
#include "convert/parties/appraisers.h"
#include "convert/parties/clients.h"
#include "convert/parties/form_types.h"
#include "data/fields.h"
#include "data/file_numbers.h"
#include "data/lookups.h"
#include "data/party_helpers.h"
#include "data/record_loop.h"

namespace qorvane::convert {
namespace {

using app::SourceControl;
using app::TargetControl;
using data::AdoControl;
using data::DataControl;

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

// The order's key as row 1 writes it: File_Num right-justified to its own width, "-A",
// corrected, trimmed; empty leaves FileNumber unwritten.
void SetFileNumber(DataControl& source, AdoControl& property) {
  std::string number = data::RightJustify(data::DATgetfield(source, "File_Num"), data::DaoGetSize(source, "File_Num"));
  number = TrimBlanks(data::FixIllegalFileChars(number + "-A"));
  if (number.empty()) return;
  data::AdoSetFieldRJ(property, data::MakeFileNumber(TrimUpper(number)), "FileNumber");
}

void SetFormType(data::Context& context, DataControl& source, AdoControl& property) {
  std::string ass_type = data::DATgetfield(source, "Ass_Type");
  std::string code = MapFormCode(ass_type);
  if (code.empty()) {
    AddCustomFormType(context, ass_type);
    return;
  }
  data::AdoSetField(property, code, "FormType");
  AdoControl& formtypes = context.Target(TargetControl::adoformtypes);
  if (data::AdoFindRec(formtypes, data::FilterFormtype(code))) {
    data::AdoSetField(property, data::adogetfield(formtypes, "form"), "form");
  } else {
    data::AdoSetField(property, "NONE", "form");
  }
}

void ShowPropertyProgress(data::Context& context, ShownCounter& counter) {
  context.form().lblCaption = "Property.DBF Address";
  context.form().lblAddress = data::DATgetfield(context.Source(SourceControl::datproperty), "PR_Street");
  counter.Show(context);
}

}  // namespace

std::string AppendLegalItem(std::string_view text, std::string_view label, std::string_view value) {
  std::string item = TrimBlanks(value);
  if (item.empty()) return std::string(text);
  if (TrimBlanks(text).empty()) return TrimBlanks(label) + " " + item;
  return std::string(text) + "," + TrimBlanks(label) + " " + item;
}

void SetLegalDescription(data::Context& context) {
  context.Guard("SetLegalDescription", [&] {
    DataControl& source = context.Source(SourceControl::datproperty);
    std::string legal;
    for (const LegalItem& item : kLegalItems) legal = AppendLegalItem(legal, item.label, data::DATgetfield(source, item.field));
    data::AdoSetField(context.Target(TargetControl::adoproperty), legal, "Legal");
  });
}

void SetDates(data::Context& context, const RecordPlace& place) {
  context.Guard("SetDates", [&] {
    DataControl& source = context.Source(SourceControl::datproperty);
    AdoControl& property = context.Target(TargetControl::adoproperty);
    for (const FieldPair& date : kDateFields) VerifyAndSet(source, date.source, property, date.target, &place);
  });
}

void SetMemos(data::Context& context) {
  context.Guard("SetMemos", [&] {
    DataControl& source = context.Source(SourceControl::datproperty);
    AdoControl& property = context.Target(TargetControl::adoproperty);
    for (const FieldPair& memo : kMemoFields) {
      std::string text = data::DATgetfield(source, memo.source);
      if (!text.empty()) data::AdoSetFieldMemo(property, text, memo.target);
    }
  });
}

void SetPropertyFields(data::Context& context, const RecordPlace& place) {
  context.Guard("SetPropertyFields", [&] {
    DataControl& source = context.Source(SourceControl::datproperty);
    AdoControl& property = context.Target(TargetControl::adoproperty);
    SetFileNumber(source, property);
    for (const FieldPair& text : kTextFields) CopyText(place, source, text.source, property, text.target);
    for (const FieldPair& number : kNumberFields) {
      ConvertNumericField(source, number.source, property, number.target, &place);
    }
    data::AdoSetFieldTF(property, true, "InvoicePrinted");
    SetFormType(context, source, property);
    CopyText(place, source, "Pr_Cont1", property, "Contact");
    // The blank goes in even when the extension is empty; AdoSetField trims it off.
    data::AdoSetField(property, data::DATgetfield(source, "Pr_C1_Phon") + " " + data::DATgetfield(source, "pr_C1_Ext"),
                      "ClientPhone");
    SetLegalDescription(context);
    SetDates(context, place);
    SetMemos(context);
  });
}

void AddCustomFormType(data::Context& context, std::string_view ass_type) {
  context.Guard("AddCustomFormType", [&] {
    AdoControl& formtypes = context.Target(TargetControl::adoformtypes);
    AdoControl& property = context.Target(TargetControl::adoproperty);
    std::string code = data::AdoTrim(formtypes, TrimUpper(ass_type), "FormType");
    if (!data::AdoFindRec(formtypes, data::FilterFormtype(code))) {
      context.Log("FormTypes: custom form type " + code + " added for a form code the mapping does not know; its "
                  "AppraiserFee and ClientFee rows are added by the next run of the appraiser and client form-type "
                  "steps, which ran before this one");
      data::AddNewRow(formtypes, [&] {
        data::AdoSetField(formtypes, code, "FormType");
        data::AdoSetField(formtypes, "Custom Type " + code, "FormDesc");
        data::AdoSetField(formtypes, code, "FORM");
        data::AdoSetField(formtypes, "USER", "CATEGORY");
        data::AdoSetFieldTF(formtypes, false, "STANDARD");
        data::AdoSetFieldSingle(formtypes, 100, "DISPLAYORDER");
      });
    }
    data::AdoSetField(property, code, "FormType");
    data::AdoSetField(property, data::adogetfield(formtypes, "FORM"), "form");
  });
}

void OpenPropertySource(data::Context& context) {
  OpenOrderSource(context, {"OpenPropertySource", SourceControl::datproperty, "Property", "file_num",
                            TargetControl::adoproperty, data::SelectProperty, false});
}

app::StepResult ConvertPropertyDBF(data::Context& context) {
  return context.Guard("ConvertPropertyDBF", [&]() -> app::StepResult {
    FirstListedFileNumber(context);
    std::string path = context.Paths().source_folder + "property.dbf";
    if (!app::FileExists(path)) {
      context.Log("Unable to find " + path);
      return {};
    }
    DataControl& source = context.Source(SourceControl::datproperty);
    AdoControl& property = context.Target(TargetControl::adoproperty);
    auto empty = [&] { return !source.bound() || source.Recordset().RecordCount() == 0; };
    auto no_records = [&] { context.Log("No records found in property.dbf"); };

    ShownCounter counter;
    std::unordered_set<std::string> converted;  // keys this run wrote, to name repeats
    data::RecordLoop loop;
    loop.routine = "ConvertPropertyDBF";
    loop.source = &source;
    loop.counter_in_label = false;
    loop.show = [&](std::int64_t at) { counter.Set(at); };
    loop.key = [&] { return "File_num " + data::DATgetfield(source, "File_num"); };
    // A listed number property.dbf does not hold gets its own line, and the passes of the
    // numbers after it still run: each listed number is converted.
    loop.select_file_number = [&](const std::string& number) {
      ShowListedFileNumber(context, number);
      OpenPropertySource(context);
      if (empty()) {
        no_records();
        context.Log("(file number " + TrimUpper(number) +
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

    return counter.Finish(data::RunRecordLoop(context, loop, [&]() -> app::RecordResult {
      std::string read = data::DATgetfield(source, "File_num");
      std::string candidate = data::RightJustify(read + "-A", 10);
      for (char& c : candidate) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
      std::optional<std::string> checked = CheckIllegalNumber(context, kPropertyNumberTexts, candidate);
      if (!checked) return app::RecordResult::Skipped("illegal file number whose correction is already in office.mdb");
      candidate = *checked;
      if (candidate == "-A") return app::RecordResult::Skipped("no file number");

      std::string key = data::MakeFileNumber(candidate);
      ShowPropertyProgress(context, counter);
      RecordPlace place{context, "property.dbf", "file number " + TrimBlanks(key)};
      if (!converted.insert(key).second) {
        place.NoteRecord("appears again in property.dbf; this record's values overwrite the order converted before");
      }
      data::SelectProperty(property, key);
      if (!data::AdoFindRec(property, data::FilterFileNumber(key))) {
        data::AddNewRow(property, [&] {
          SetPropertyFields(context, place);
          CheckClient(context);
          data::AdoSetFieldTF(property, true, "invoiceprinted");
        });
        return app::RecordResult::Added();
      }
      data::UpdateRow(property, [&] { SetPropertyFields(context, place); });
      return app::RecordResult::Updated();
    }));
  });
}

}  // namespace qorvane::convert
