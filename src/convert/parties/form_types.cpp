// The form-types converter (see form_types.h). The standard rows and the code mapping are the
// office program's own tables, kept word for word: descriptions with their double blanks, the
// CMR description that begins with "FORMDESC", and mapping cases that an earlier case shadows.
#include "convert/parties/form_types.h"

#include <array>
#include <cctype>
#include <initializer_list>

#include "app/paths.h"
#include "data/fields.h"
#include "data/lookups.h"
#include "data/party_helpers.h"
#include "data/record_loop.h"

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

// lblCaption and lblAddress for the form record being worked on; the counter is not shown.
void UpdateFormLabels(data::Context& context, data::DataControl& forms) {
  context.form().lblCaption = "Forms.DBF Form";
  context.form().lblAddress = data::DATgetfield(forms, "Form_type");
}

}  // namespace

std::string MapFormCode(std::string_view code) {
  std::string key = data::UCaseTrim(code);
  for (const FormCodeCase& entry : kFormCodeCases) {
    for (const char* candidate : entry.codes) {
      if (key == candidate) return entry.result;
    }
  }
  return "";
}

void convertField(data::DataControl& source, std::string_view source_field, data::AdoControl& target,
                  std::string_view target_column) {
  source.form().Guard("convertField",
                      [&] { data::AdoSetField(target, data::DATgetfield(source, source_field), target_column); });
}

void AddStandardFormTypes(data::Context& context) {
  context.Guard("ConvertFormTypesDBF", [&] {
    data::AdoControl& formtypes = context.Target(TargetControl::adoformtypes);
    for (const StandardFormType& row : kStandardFormTypes) {
      if (!data::AdoFindRec(formtypes, data::FilterFormtype(row.code))) formtypes.Recordset().AddNew();
      data::UpdateRow(formtypes, [&] {
        data::AdoSetField(formtypes, row.code, "FormType");
        data::AdoSetField(formtypes, row.description, "FormDesc");
        data::AdoSetField(formtypes, row.form, "FORM");
        data::AdoSetField(formtypes, row.category, "CATEGORY");
        data::AdoSetFieldTF(formtypes, true, "STANDARD");
        data::AdoSetFieldSingle(formtypes, row.display_order, "DISPLAYORDER");
      });
    }
  });
}

app::StepResult ConvertFormTypesDBF(data::Context& context) {
  return context.Guard("ConvertFormTypesDBF", [&]() -> app::StepResult {
    AddStandardFormTypes(context);
    if (!app::FileExists(context.Paths().source_folder + "assign.dbf")) return {};
    data::DataControl& forms = context.Source(SourceControl::datAssign);
    forms.RecordSource = "SELECT * FROM FORMS";
    forms.Refresh();
    data::AdoControl& formtypes = context.Target(TargetControl::adoformtypes);

    data::RecordLoop loop;
    loop.routine = "ConvertFormTypesDBF";
    loop.source = &forms;
    loop.show = [&](std::int64_t) {
      UpdateFormLabels(context, forms);
    };
    loop.key = [&] {
      return "Form_type " + data::DATgetfield(forms, "Form_type");
    };
    return data::RunRecordLoop(context, loop, [&]() -> app::RecordResult {
      std::string code = data::UCaseTrim(data::DATgetfield(forms, "Form_type"));
      std::string description = data::DATgetfield(forms, "Form_Desc");
      if (code.empty()) return app::RecordResult::Skipped("no form code");
      if (data::AdoFindRec(formtypes, data::FilterFormtype(code))) {
        formtypes.Refresh();
        return app::RecordResult::Skipped("form type already in FormTypes");
      }
      std::string mapped = MapFormCode(code);
      if (mapped.empty()) return app::RecordResult::Skipped("form code stands for no known form type");
      if (data::AdoFindRec(formtypes, data::FilterFormtype(mapped))) {
        return app::RecordResult::Skipped("the form type it stands for is already in FormTypes");
      }
      // The office's converter saved the property control here instead, so the new row was
      // saved by the next look-up on the form types; it ends up in the table all the same, and
      // is saved whole here or not at all.
      data::AddNewRow(formtypes, [&] {
        data::AdoSetField(formtypes, mapped, "FormType");
        data::AdoSetField(formtypes, description, "FormDesc");
        data::AdoSetField(formtypes, "OTHER", "CATEGORY");
        data::AdoSetField(formtypes, mapped, "FORM");
        data::AdoSetFieldTF(formtypes, false, "Standard");
      });
      return app::RecordResult::Added();
    });
  });
}

}  // namespace qorvane::convert
