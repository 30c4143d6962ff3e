// The source fields of each routine and the check before it runs (see step_sources.h).
#include "data/step_sources.h"

#include <algorithm>
#include <cctype>

#include "app/errors.h"
#include "common/error.h"
#include "common/os.h"
#include "data/connections.h"

namespace qorvane::data {
namespace {

using S = app::SourceControl;
using enum FieldKind;

const std::vector<RoutineNeeds>& Needs() {
  static const std::vector<RoutineNeeds> needs = {
      {"ConvertFormTypesDBF", "the form types step",
       {{"forms.dbf", std::nullopt, TableRole::Walked, {{"Form_type", Text}, {"Form_Desc", Text}}}}},
      {"CheckDuplicateClients", "the duplicate-client check",
       {{"client.dbf", S::datClient, TableRole::Walked, {{"Cli_num", Text}, {"Cli_LName", Text}}}}},
      {"ConvertClientDBF", "the clients step",
       {{"client.dbf", S::datClient, TableRole::Walked,
         {{"Cli_num", Text}, {"Cli_LName", Text}, {"Plain_Name", Text}, {"Cli_Bill", Text}, {"Cli_Street", Text},
          {"Cli_Addr2", Text}, {"Cli_Addr3", Text}, {"Cli_Phone", Text}, {"Cli_Ext", Text}, {"Cli_Cont", Text},
          {"Cli_Fax", Text}, {"Duns", Text}, {"Pref_Bill", Logical}}}}},
      {"ConvertClientDBFByCliNum", "the clients step",
       {{"client.dbf", S::datClient, TableRole::Walked,
         {{"Cli_num", Text}, {"Cli_LName", Text}, {"Plain_Name", Text}, {"Cli_Bill", Text}, {"Cli_Street", Text},
          {"Cli_Addr2", Text}, {"Cli_Addr3", Text}, {"Cli_Phone", Text}, {"Cli_Ext", Text}, {"Cli_Cont", Text},
          {"Cli_Fax", Text}, {"Duns", Text}, {"Pref_Bill", Logical}}}}},
      {"ConvertAppraisrDBF", "the appraisers step",
       {{"appraisr.dbf", S::datappraisr, TableRole::Walked,
         {{"App_num", Text}, {"App_LName", Text}, {"App_Street", Text}, {"App_Addr2", Text}, {"App_Addr3", Text},
          {"App_Phone", Text}, {"App_Ext", Text}, {"App_Beep", Text}}}}},
      {"ConvertPropertyDBF", "the orders (property) step",
       {{"property.dbf", S::datproperty, TableRole::Walked,
         {{"File_num", Text},    {"Cli_num", Text},     {"Ass_Type", Text},    {"Pr_Ref_Num", Text},
          {"Pr_Fha_num", Text},  {"Pr_Census", Text},   {"Pr_Street", Text},   {"Pr_City", Text},
          {"Pr_County", Text},   {"Pr_State", Text},    {"Pr_Zip", Text},      {"Pr_SubDiv", Text},
          {"Pr_Owner", Text},    {"Pr_BPhon2", Text},   {"Pr_Borrowr", Text},  {"Pr_BPhon1", Text},
          {"Pr_Map_Ref", Text},  {"Pr_Cont1", Text},    {"Pr_C1_Phon", Text},  {"Pr_C1_Ext", Text},
          {"Pr_Cont2", Text},    {"Pr_RepCost", Number}, {"Pr_Borrest", Number}, {"Pr_LoanReq", Number},
          {"Pr_ApprVal", Number}, {"Pr_Lot", Text},     {"Pr_Block", Text},    {"Pr_LandLot", Text},
          {"Pr_Landist", Text},  {"Pr_Sect", Text},     {"Pr_DeedBk", Text},   {"Pr_DeedPg", Text},
          {"Pr_PlatBk", Text},   {"Pr_PlatPg", Text},   {"Pr_DReceiv", Date},  {"Pr_DPromis", Date},
          {"Pr_DAssign", Date},  {"Pr_DOnHold", Date},  {"Pr_DOffHld", Date},  {"Pr_DFinish", Date},
          {"Pr_DnSpect", Date},  {"Pr_DReview", Date},  {"Pr_DSale", Date},    {"Pr_StComm", Memo},
          {"Pr_HoldCom", Memo},  {"Pr_Comm", Memo}}},
        {"client.dbf", S::datclienttable, TableRole::LookUp,
         {{"Cli_num", Text}, {"Cli_LName", Text}, {"Cli_Bill", Text}, {"Plain_Name", Text}, {"Cli_Street", Text},
          {"Cli_Addr2", Text}, {"Cli_Addr3", Text}}}}},
      {"ConvertInvoiceDBF", "the invoices step",
       {{"invoice.dbf", S::datinvoice, TableRole::Walked,
         {{"Inv_num", Text}, {"Inv_Date", Date}, {"Inv_Detl1", Text}, {"Inv_Detl2", Text}, {"Inv_Chk1", Text},
          {"Inv_Date1", Date}, {"Inv_Chk2", Text}, {"Inv_Date2", Date}, {"Inv_Chk3", Text}, {"Inv_Date3", Date},
          {"Inv_Amt1", Number}, {"Inv_Amt2", Number}, {"Inv_Amt3", Number}, {"Inv_Fee", Number},
          {"Inv_Exp", Number}}},
        {"cliexp.dbf", S::datcliexp, TableRole::LookUp,
         {{"Inv_num", Text}, {"Exp_Type", Text}, {"Exp_Desc", Text}, {"Exp_Amt", Number}}}}},
      {"ConvertApprExpDBF", "the appraiser expenses step",
       {{"apprexp.dbf", S::datapprexp, TableRole::Walked,
         {{"File_num", Text}, {"App_num", Text}, {"Exp_Num", Text}, {"Exp_Amt", Number}}},
        {"appraisr.dbf", S::datappraisrtable, TableRole::LookUp, {{"App_num", Text}, {"App_LName", Text}}}}},
      {"ConvertApprFeeDBF", "the appraiser fees step",
       {{"apprfee.dbf", S::datapprfee, TableRole::Walked,
         {{"App_num", Text}, {"Ass_Type", Text}, {"Appr_Fee", Number}, {"Appr_Perc", Number}, {"Pay_Mode", Logical}}},
        {"appraisr.dbf", S::datappraisrtable, TableRole::Required, {{"App_num", Text}, {"App_LName", Text}}}}},
      {"ConvertClientFeeDBF", "the client fees step",
       {{"clifee.dbf", S::datclifee, TableRole::Walked, {{"Cli_num", Text}, {"Ass_Type", Text}, {"Cli_Fee", Number}}},
        {"client.dbf", S::datclienttable, TableRole::Required, {{"Cli_num", Text}, {"Plain_Name", Text}}}}},
      {"ConvertAppliedDBF", "the applied payments step",
       {{"applied.dbf", S::datapplied, TableRole::Walked,
         {{"File_num", Text}, {"App_num", Text}, {"Split_Bool", Logical}, {"Split_Val", Number}, {"PD_Appr", Number},
          {"Pay_Fee", Number}}},
        {"appraisr.dbf", S::datappraisrtable, TableRole::LookUp, {{"App_num", Text}, {"App_LName", Text}}}}},
      {"ConvertCompanyName", "the company step",
       {{"user.dbf", S::datuser, TableRole::Walked,
         {{"Name", Text}, {"Address1", Text}, {"Address2", Text}, {"User_Phone", Text}, {"Tax_Id", Text}}}}},
      {"ConvertUsers", "the users step",
       {{"rooms.dbf", S::datrooms, TableRole::Walked, {{"Initials", Text}, {"Password", Text}, {"Super", Text}}}}},
  };
  return needs;
}

struct KindShape {
  const char* what;   // "a number"
  const char* types;  // the type letters that hold it
  const char* shown;  // how the message names them
};

// Whether a field of TYPE can be WIDTH bytes wide.
bool WidthFits(char type, std::uint16_t width, bool visual_foxpro) {
  switch (type) {
    case 'C':
    case 'V': return width >= 1 && width <= 254;
    case 'N':
    case 'F': return width >= 1 && width <= 20;
    case 'I': return width == 4;
    case 'Y':
    case 'B':
    case 'T': return width == 8;
    case 'D': return width == 8;
    case 'L': return width == 1;
    case 'M': return width == (visual_foxpro ? 4 : 10);
    default: return false;
  }
}

KindShape ShapeOf(FieldKind kind) {
  switch (kind) {
    case Text: return {"text", "CV", "type C, 1-254 bytes"};
    case Number: return {"a number", "NFIYB", "type N or F, 1-20 bytes"};
    case Date: return {"a date", "DT", "type D, 8 bytes"};
    case Logical: return {"a logical value", "L", "type L, 1 byte"};
    case Memo: return {"a memo", "M", "type M, 10 bytes"};
  }
  return {"", "", ""};
}

std::string Upper(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return upper;
}

// A field of the table whose name differs from NAME in one character: the name a bit flip
// left, most likely.
std::optional<std::string> NearName(const foxpro::Table& table, const std::string& name) {
  std::string wanted = Upper(name);
  for (const foxpro::Field& field : table.fields()) {
    std::string have = Upper(field.name);
    if (have.size() != wanted.size()) continue;
    int differing = 0;
    for (std::size_t i = 0; i < have.size(); ++i) differing += have[i] != wanted[i];
    if (differing == 1) return field.name;
  }
  return std::nullopt;
}

std::string Printable(const std::string& text) {
  std::string out;
  for (char c : text) {
    unsigned char u = static_cast<unsigned char>(c);
    if (u >= 0x20 && u < 0x7F) {
      out += c;
    } else {
      static const char kHex[] = "0123456789ABCDEF";
      out += "\\x";
      out += kHex[u >> 4];
      out += kHex[u & 15];
    }
  }
  return out;
}

// The table file of NEED in the source folder, as spelt on disk; nullopt when it is not there.
std::optional<std::string> FindTable(Context& context, const TableNeed& need) {
  return os::FindCaseInsensitive(context.Paths().source_folder, need.file);
}

// Reports TEXT as an error of the routine, unless this run already said it.
void SayOnce(Context& context, std::string_view routine, const std::string& text) {
  if (!context.connections().FirstTimeSaid(text)) return;
  context.run().ReportRoutineError(routine, app::error_number::kUnrecognizedFormat, text);
}

}  // namespace

const RoutineNeeds* NeedsOf(std::string_view routine) {
  for (const RoutineNeeds& needs : Needs()) {
    if (routine == needs.routine) return &needs;
  }
  return nullptr;
}

std::span<const RoutineNeeds> AllRoutineNeeds() { return Needs(); }

std::vector<std::string> FieldProblems(const foxpro::Table& table, const TableNeed& need, const char* step) {
  std::vector<std::string> problems;
  const bool visual_foxpro = table.header().visual_foxpro;
  for (const FieldNeed& wanted : need.fields) {
    KindShape shape = ShapeOf(wanted.kind);
    std::string name = Upper(wanted.name);
    auto index = table.FindField(wanted.name);
    if (!index) {
      std::string problem = table.name() + ": the field " + name + ", which " + step + " reads, is not in the table";
      if (auto near = NearName(table, wanted.name)) {
        problem += " (it has a field " + Printable(*near) + ", most likely " + name + " with its name damaged)";
      }
      problems.push_back(problem);
      continue;
    }
    const foxpro::Field& field = table.fields()[*index];
    bool type_fits = std::string_view(shape.types).find(field.type) != std::string_view::npos;
    if (!type_fits || !WidthFits(field.type, field.length, visual_foxpro)) {
      problems.push_back(table.name() + ": the field " + name + " is of type " + Printable(std::string(1, field.type)) +
                         ", " + std::to_string(field.length) + " bytes wide, where " + step + " reads " + shape.what +
                         " (" + shape.shown + ")");
    }
  }
  return problems;
}

app::StepResult RunCheckedRoutine(Context& context, std::string_view routine,
                                  const std::function<app::StepResult()>& body) {
  const RoutineNeeds* needs = NeedsOf(routine);
  if (!needs) return body();
  const std::string step = needs->step;
  // The step as the first words of a sentence ("The clients step ...").
  const std::string sentence_step =
      std::string(1, static_cast<char>(std::toupper(static_cast<unsigned char>(step[0])))) + step.substr(1);

  // Each table the routine reads, opened for its header: what keeps it from being read as the
  // routine needs.
  struct Finding {
    const TableNeed* need;
    std::unique_ptr<foxpro::Table> table;
    std::string trouble;  // the table cannot be opened, and why
    std::vector<std::string> problems;
    bool ok() const { return trouble.empty() && problems.empty(); }
    std::string Reason() const {
      if (!trouble.empty()) return trouble;
      std::string reason = problems.front();
      for (std::size_t i = 1; i < problems.size(); ++i) reason += "; " + problems[i].substr(table->name().size() + 2);
      return reason;
    }
  };
  std::vector<Finding> findings;
  Finding* walked = nullptr;
  for (const TableNeed& need : needs->tables) {
    std::optional<std::string> path = FindTable(context, need);
    if (!path) continue;  // a table that is not there: the routine does what it always did
    Finding& finding = findings.emplace_back(Finding{&need, nullptr, {}, {}});
    try {
      finding.table = foxpro::Table::Open(*path, {});
      finding.problems = FieldProblems(*finding.table, need, needs->step);
    } catch (const Error& error) {
      finding.trouble = error.what();
    }
  }
  for (Finding& finding : findings) {
    if (finding.need->role == TableRole::Walked) walked = &finding;
  }

  // The walked table cannot be opened: nothing of it can be converted, nor counted.
  if (walked && !walked->trouble.empty()) {
    SayOnce(context, routine, walked->trouble);
    std::string skipped = sentence_step + " is skipped: " + walked->need->file +
                          " cannot be read (see the error above), so nothing of it is converted.";
    if (context.connections().FirstTimeSaid(skipped)) {
      context.Log(skipped);
      context.run().Notify(skipped);
    }
    return {};
  }
  // The walked table lacks a field, or a table no record can do without cannot be read: every
  // record of the walked table is refused for that reason.
  const Finding* blocking = walked && !walked->ok() ? walked : nullptr;
  for (const Finding& finding : findings) {
    if (!blocking && finding.need->role == TableRole::Required && !finding.ok()) blocking = &finding;
  }
  if (walked && blocking) {
    const std::string reason = blocking->Reason();
    app::StepResult refused;
    std::int64_t records = 0;
    for (std::uint32_t record = 0; record < walked->table->record_count(); ++record) {
      if (walked->table->IsDeleted(record)) continue;
      ++records;
      refused.ledger.Record(walked->need->file + std::string(" record ") + std::to_string(record + 1),
                            app::RecordResult::Refused(reason));
    }
    refused.ledger.Expect(records);
    if (!blocking->trouble.empty()) {
      // A table that cannot be opened is said once; the steps that need it say they are skipped.
      SayOnce(context, routine, blocking->trouble);
      std::string skipped = sentence_step + " is skipped: " + blocking->need->file + " cannot be read (see the error above), "
                            "and none of the " + std::to_string(records) + " records of " + walked->need->file +
                            " can be converted without it.";
      context.Log(skipped);
      context.run().Notify(skipped);
    } else {
      SayOnce(context, routine,
              reason + "; " + step + " is skipped and the " + std::to_string(records) + " records of " +
                  walked->need->file + " are not converted. Restore " + blocking->need->file +
                  " from a backup (or have its header repaired), then run the step again");
    }
    return refused;
  }

  // A look-up table: the routine goes on without it.
  struct LeftOut {
    DataControl* control;
    std::string record_source;
  };
  std::vector<LeftOut> left_out;
  for (const Finding& finding : findings) {
    if (finding.ok() || finding.need->role == TableRole::Walked) continue;
    SayOnce(context, routine, finding.Reason());
    std::string note = sentence_step + " goes on without " + finding.need->file +
                       ", which cannot be read as it needs (see the error above): what it would look up there is "
                       "left out.";
    if (context.connections().FirstTimeSaid(note)) {
      context.Log(note);
      context.run().Notify(note);
    }
    if (finding.need->control) {
      DataControl& control = context.Source(*finding.need->control);
      if (control.bound()) {
        left_out.push_back({&control, control.RecordSource});
        control.MarkUnreadable(finding.Reason());
      }
    }
  }
  app::StepResult result = body();
  for (const LeftOut& entry : left_out) {
    context.Guard(std::string(routine), [&] {
      entry.control->RecordSource = entry.record_source;
      entry.control->Refresh();
    });
  }
  return result;
}

}  // namespace qorvane::data
