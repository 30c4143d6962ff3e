// The form-types converter (see form_types.h). The standard rows and the code mapping are the
// office program's own tables, kept word for word: descriptions with their double blanks, the
// CMR description that begins with "FORMDESC", and mapping cases that an earlier case shadows.
#include "convert/parties/form_types.h"

#include <array>
#include <cctype>
#include <initializer_list>

#include "app/paths.h"
#include "common/text.h"
#include "data/controls.h"
#include "data/fields.h"
#include "data/lookups.h"
#include "data/record_loop.h"
#include "data/transfer.h"

namespace qorvane::convert {
namespace {

using app::SourceControl;
using app::TargetControl;

struct StandardFormType {
  const char* code;
  const char* description;
  const char* form;
  const char* category;
  float display_order;
};

// In the order the rows are written; the display orders 1..34 follow another order.
constexpr StandardFormType kStandardFormTypes[] = {
    {"2006", "Appraisal Review Short Form", "2006", "REVIEW", 7},
    {"2045", "Master Residential Appraisal Report  FHLMC 2045", "2045", "OTHER", 6},
    {"2055", "Desktop Underwriter Quantitative Analysis", "2055 9/96", "OTHER", 2},
    {"2065", "Desktop Underwriter Quantitative Analysis  FNMA 2065", "2065", "OTHER", 10},
    {"2075", "Desktop Underwriter Property Inspection FNMA 2075", "2075", "OTHER", 11},
    {"2095", "Desktop Underwriter Individual Cooperative FNMA 2095", "FNMA 2095", "URAR", 8},
    {"69", "Real Estate Evaluation  FW 69", "OTHER", "OTHER", 4},
    {"704", "Second Mortgage Property Value Analysis FHLMC 70", "704", "SHORT", 16},
    {"704SUMRY", "Custom Limited", "704 SUMMARY", "SHORT", 18},
    {"71A", "Residential Income Property [8 Page]   FHLMC 71A", "71A", "MULTI", 30},
    {"71B", "Residential Income Property [4 Page]   FHLMC 71B", "71B", "MULTI", 5},
    {"79", "Restricted Appraisal FW 79", "OTHER", "OTHER", 17},
    {"ADR2", "URAR Appraisal Desk Review 2-Page DRF-", "DESKREVIEW", "URAR", 13},
    {"ALAR", "Alternate Vacant Land", "ALTLAND", "LAND", 15},
    {"BMA", "ERC Broker's Market Analysis", "OTHER", "", 14},
    {"BPO", "Brokers Price Option    FHLMC 1092", "BPO", "OTHER", 26},
    {"CIA", "Individual Cooperative Interest FNMA 1075", "CIA", "OTHER", 9},
    {"CMR", "FORMDESC Condition and Marketability Report FHLMC 2070", "2070", "OTHER", 12},
    {"CN2", "Condominium FHLMC 465/ FNMA 1073", "CONDO", "CONDO", 3},
    {"DAWI", "Desktop Appraisal Without Inspection WAMU", "DAWI", "OTHER", 29},
    {"DUQ", "Desktop Underwriter Quantitative Analysis FNMA 2055 7/95", "2055 7/95", "2055", 28},
    {"ER3", "Old ERC Report Rev 4", "ERC", "ERC", 32},
    {"ERS", "ERC Summary Appraisal ERC Rev.", "ERC", "ERC", 27},
    {"EVAL", "Real Estate Evaluation FW 69", "EVAL", "OTHER", 21},
    {"FRR2", "Residential Appraisal Field Review", "2000", "REVIEW", 19},
    {"LAR", "Vacant Land", "LAND", "LAND", 25},
    {"LIMOF", "Custom Type LIMOF", "LIMOF", "USER", 34},
    {"MOB", "Mobile Home", "MOB", "OTHER", 31},
    {"MUL", "Small Residential Income Property FHLMC 72/FNMA 1025", "MULTI", "MULTI", 24},
    {"NONE", "No Form Assigned", "NONE", "OTHER", 33},
    {"QAR", "Quantitative Analysis Appraisal Report FHLMC 2055 11/97", "2055 11/97", "2055", 23},
    {"RNF", "Residential Appraisal Review Narrative RF 2004", "NARRATIVE", "REVIEW", 22},
    {"UA2", "Uniform Residential (FHLMC 70/ FNMA 1004)", "URAR", "URAR", 1},
    {"UCIAR", "Uniform Commercial/Industrial - Small", "UCIAR", "COMM", 20},
};

struct FormCodeCase {
  std::initializer_list<const char*> codes;
  const char* result;
};

// Tried in order; the first case holding the code gives the result. Cases 5, 10 and 37 can
// never match (an earlier case takes their codes) and stay as the office's table has them.
const FormCodeCase kFormCodeCases[] = {
    {{"", "."}, "NONE"},
    {{"2000", "F2000", "FRR2"}, "FRR2"},
    {{"QAR", "2055", "2055X", "2055Y"}, "2055"},
    {{"1092", "BPO"}, "1092"},
    {{"FRR", "FRR2", "FIELDREV"}, "FRR2"},
    {{"1004"}, "1004"},
    {{"RNF", "2004"}, "2004"},
    {{"DUQ", "2055"}, "2055"},
    {{"2006"}, "2006"},
    {{"2055X"}, "2055x"},
    {{"2065"}, "2065"},
    {{"2070", "CMR"}, "2070"},
    {{"2075", "DRVBY"}, "2075"},
    {{"71A"}, "71A"},
    {{"71B"}, "71B"},
    {{"BMA"}, "BMA"},
    {{"COMM"}, "COMM"},
    {{"CONDO", "CN2"}, "CN2"},
    {{"COOP"}, "COOP"},
    {{"DESK"}, "DESK"},
    {{"ERC"}, "ER3"},
    {{"EVAL", "69"}, "EVAL"},
    {{"INDUS"}, "INDUS"},
    {{"LAND", "LAR"}, "LAR"},
    {{"LIMIT"}, "LIMIT"},
    {{"MOBHM", "MOB"}, "MOB"},
    {{"OTHER"}, "OTHER"},
    {{"RAR"}, "RAR"},
    {{"SHORT", "704"}, "704"},
    {{"MUL", "SMALL"}, "MUL"},
    {{"UCIAR"}, "UCIAR"},
    {{"URAR", "UA2", "URA"}, "UA2"},
    {{"CIA", "1075"}, "1075"},
    {{"704SUMRY", "LIMITED", "SUMRY"}, "SUMRY"},
    {{"DESKREV", "ADR2"}, "ADR2"},
    {{"ALAR"}, "ALAR"},
    {{"BMA"}, "BMA"},
    {{"ERS"}, "ERS"},
    {{"DAWI"}, "DAWI"},
};

}  // namespace

FormTypeTable::FormTypeTable(data::Context& context)
    : table(context.Table("FormTypes")),
      FormType(table.Column("FormType")),
      FormDesc(table.Column("FormDesc")),
      FORM(table.Column("FORM")),
      CATEGORY(table.Column("CATEGORY")),
      STANDARD(table.Column("STANDARD")),
      DISPLAYORDER(table.Column("DISPLAYORDER")) {
  data::ReportMissingColumns(context, table);
}

std::string MapFormCode(std::string_view code) {
  std::string key = text::UCaseTrim(code);
  for (const FormCodeCase& entry : kFormCodeCases) {
    for (const char* candidate : entry.codes) {
      if (key == candidate) return entry.result;
    }
  }
  return "";
}

void AddStandardFormTypes(data::Context& context, FormTypeTable& form_types) {
  context.Guard("ConvertFormTypesDBF", [&] {
    data::TargetRow row = form_types.table.NewRow();
    for (const StandardFormType& standard : kStandardFormTypes) {
      data::AdoSetField(row, form_types.FormType, standard.code);
      data::AdoSetField(row, form_types.FormDesc, standard.description);
      data::AdoSetField(row, form_types.FORM, standard.form);
      data::AdoSetField(row, form_types.CATEGORY, standard.category);
      data::AdoSetFieldTF(row, form_types.STANDARD, true);
      data::AdoSetFieldSingle(row, form_types.DISPLAYORDER, standard.display_order);
      // A row of the code is overwritten, so a second run resets it; else one is added.
      if (auto found = data::AdoFindRec(form_types.table, data::FilterFormtype(form_types.FormType, standard.code))) {
        form_types.table.Update(*found, row);
      } else {
        form_types.table.Add(row);
      }
    }
  });
}

void AddCustomFormType(data::Context& context, FormTypeTable& form_types, std::string_view ass_type,
                       data::TargetRow& order, const data::TargetColumn& order_form_type,
                       const data::TargetColumn& order_form) {
  std::string code = text::TrimToWidth(text::UCaseTrim(ass_type), form_types.FormType.width);
  std::optional<jet::RowId> found = data::AdoFindRec(form_types.table, data::FilterFormtype(form_types.FormType, code));
  if (!found) {
    context.Log("FormTypes: custom form type " + code + " added for a form code the mapping does not know; its "
                "AppraiserFee and ClientFee rows are added by the next run of the appraiser and client form-type "
                "steps, which ran before this one");
    data::TargetRow row = form_types.table.NewRow();
    data::AdoSetField(row, form_types.FormType, code);
    data::AdoSetField(row, form_types.FormDesc, "Custom Type " + code);
    data::AdoSetField(row, form_types.FORM, code);
    data::AdoSetField(row, form_types.CATEGORY, "USER");
    data::AdoSetFieldTF(row, form_types.STANDARD, false);
    data::AdoSetFieldSingle(row, form_types.DISPLAYORDER, 100);
    found = form_types.table.Add(row);
  }
  data::AdoSetField(order, order_form_type, code);
  data::AdoSetField(order, order_form, data::adogetfield(form_types.table, *found, form_types.FORM));
}

app::StepResult ConvertFormTypesDBF(data::Context& context) {
  return context.Guard("ConvertFormTypesDBF", [&]() -> app::StepResult {
    FormTypeTable form_types(context);
    AddStandardFormTypes(context, form_types);
    if (!app::FileExists(context.Paths().source_folder + "assign.dbf")) return {};
    data::DataControl& control = context.Source(SourceControl::datAssign);
    control.RecordSource = "SELECT * FROM FORMS";
    control.Refresh();
    data::SourceTable forms(control);
    const data::SourceField form_type = forms.Field("Form_type");
    const data::SourceField form_desc = forms.Field("Form_Desc");
    data::TargetRow row = form_types.table.NewRow();

    data::RecordLoop loop;
    loop.routine = "ConvertFormTypesDBF";
    loop.source = &control;
    loop.show = [&](std::int64_t) { context.ShowRecord("Forms.DBF Form", data::DATgetfield(forms, form_type)); };
    loop.key = [&] { return "Form_type " + data::DATgetfield(forms, form_type); };
    return data::RunRecordLoop(context, loop, [&]() -> app::RecordResult {
      std::string code = text::UCaseTrim(data::DATgetfield(forms, form_type));
      std::string description = data::DATgetfield(forms, form_desc);
      if (code.empty()) return app::RecordResult::Skipped("no form code");
      if (data::AdoFindRec(form_types.table, data::FilterFormtype(form_types.FormType, code))) {
        return app::RecordResult::Skipped("form type already in FormTypes");
      }
      std::string mapped = MapFormCode(code);
      if (mapped.empty()) return app::RecordResult::Skipped("form code stands for no known form type");
      if (data::AdoFindRec(form_types.table, data::FilterFormtype(form_types.FormType, mapped))) {
        return app::RecordResult::Skipped("the form type it stands for is already in FormTypes");
      }
      // The office's converter saved the property control here instead, so the new row was
      // saved by the next look-up on the form types; it ends up in the table all the same, and
      // is saved whole here or not at all.
      data::AdoSetField(row, form_types.FormType, mapped);
      data::AdoSetField(row, form_types.FormDesc, description);
      data::AdoSetField(row, form_types.CATEGORY, "OTHER");
      data::AdoSetField(row, form_types.FORM, mapped);
      data::AdoSetFieldTF(row, form_types.STANDARD, false);
      form_types.table.Add(row);
      return app::RecordResult::Added();
    });
  });
}

}  // namespace qorvane::convert
