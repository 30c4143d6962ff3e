// The step tables (see steps.h). The log lines keep the office's historical wording, spelling
// slips included: the client step reports with the form-types lines, the appraiser step says
// "Appriaser", and the applied-payments step writes no begin line.
#include "app/steps.h"

namespace qorvane::app {
namespace {

using R = RunRoutines;
using enum CheckBox;

constexpr const char* kFormTypesPrefix = "Formtypes table (standard) conversion complete: ";
constexpr const char* kFormTypesEmpty = "Formtypes table (standard) conversion complete: No records found";

const std::array<StepInfo, kStepCount> kSteps = {{
    {Step::FormTypes, "formtypes", ckbformtypes, "Form types", {"imaformtypes", "imaFormTypesNow"},
     "Begin conversion: FormTypes.mdb", nullptr, {&R::ConvertFormTypesDBF, nullptr}, kFormTypesPrefix,
     kFormTypesEmpty, "forms.dbf", "***    Forms.dbf was not found."},
    {Step::Client, "client", ckbClient, "Clients", {"imaclient", "imaClientNow"},
     "Begin conversion: Client.mdb", &R::CheckDuplicateClients,
     {&R::ConvertClientDBF, &R::ConvertClientDBFByCliNum},
     kFormTypesPrefix, kFormTypesEmpty, nullptr, nullptr},
    {Step::Appraiser, "appraiser", ckbappraiser, "Appraisers", {"imaappraiser", "imaAppraiserNow"},
     "Begin conversion: Appraiser.mdb", nullptr, {&R::ConvertAppraisrDBF, nullptr},
     "Appriaser table conversion complete: ",
     "Appriaser table conversion complete: No records found", nullptr, nullptr},
    {Step::ApprFormTypes, "apprformtypes", ckbaddapprformtypes, "Appraiser non-standard form types",
     {"imaaddapprformtypes", "imaAddApprFormTypesNow"},
     "Begin conversion addition: FormTypes.mdb (Appraiser Non-Standard)",
     nullptr, {&R::AddFormTypesAppraiser, nullptr}, "Non-standard formtypes (appraiser) conversion complete: ",
     "Non-standard formtypes (appraiser) conversion complete: No records found", nullptr, nullptr},
    {Step::ClientFormTypes, "clientformtypes", ckbAddClientFormTypes, "Client non-standard form types",
     {"imaaddclientformtypes", "imaAddClientFormTypesNow"},
     "Begin conversion addition: FormTypes.mdb (Client Non-Standard)",
     nullptr, {&R::AddFormTypesClient, nullptr}, "Non-standard formtypes (client) conversion complete: ",
     "Non-standard formtypes (client) conversion complete: No records found", nullptr, nullptr},
    {Step::Property, "property", ckbProperty, "Orders (Property)", {"imaproperty", "imaPropertyNow"},
     "Begin conversion: Property.mdb", nullptr, {&R::ConvertPropertyDBF, nullptr},
     "Property table conversion complete: ", "Property table conversion complete: No records found",
     nullptr, nullptr},
    {Step::Invoice, "invoice", ckbinvoice, "Invoices", {"imainvoice", "imaInvoiceNow"},
     "Begin conversion: Invoice.mdb", nullptr, {&R::ConvertInvoiceDBF, nullptr},
     "Invoice table conversion complete: ", "Invoice table conversion complete: No records found",
     nullptr, nullptr},
    {Step::ApprExp, "apprexp", ckbapprexp, "Appraiser expenses", {"imaapprexp", "imaApprExpNow"},
     "Begin conversion: Appraiser Expense into Invoice.mdb", nullptr, {&R::ConvertApprExpDBF, nullptr},
     "Appraiser Expense data conversion complete: ",
     "Appraiser Expense data conversion complete: No records found", nullptr, nullptr},
    {Step::ApprFee, "apprfee", ckbApprFee, "Appraiser fees", {"imaapprfee", "imaApprFeeNow"},
     "Begin conversion: AppraiserFee.mdb", nullptr, {&R::ConvertApprFeeDBF, nullptr},
     "AppraiserFee table conversion complete: ",
     "AppraiserFee table conversion complete: No records found", nullptr, nullptr},
    {Step::ClientFee, "clientfee", ckbclientfee, "Client fees", {"imaclientfee", "imaClientFeeNow"},
     "Begin conversion: ClientFee into Client.mdb", nullptr, {&R::ConvertClientFeeDBF, nullptr},
     "ClientFee data conversion complete: ", "ClientFee data conversion complete: No records found",
     nullptr, nullptr},
    {Step::Applied, "applied", ckbApplied, "Applied payments", {"imaapplied", "imaAppliedNow"},
     nullptr, nullptr, {&R::ConvertAppliedDBF, nullptr}, "Applied table conversion complete: ",
     "Applied table conversion complete: No records found", nullptr, nullptr},
    {Step::Company, "company", ckbcompany, "Company", {"imacompany", "imaCompanyNow"},
     "Begin conversion: Company.mdb", nullptr, {&R::ConvertCompanyName, nullptr},
     "Company table conversion complete: ", "Company table conversion complete: No records found",
     nullptr, nullptr},
    {Step::Users, "users", ckbusers, "Users", {"imausers", "imaUsersNow"},
     "Begin conversion: Users.mdb", nullptr, {&R::ConvertUsers, nullptr}, "Users table conversion complete: ",
     "Users table conversion complete: No records found", nullptr, nullptr},
}};

const std::array<MassageStepInfo, kMassageStepCount> kMassage = {{
    {MassageStep::Property, "property", ckbmassageproperty, "Property",
     {"imamassageproperty", "imaMassagePropertyNow"}, "Begin Data Massage: Property.mdb",
     &R::MassageProperty, "Property data massage complete: "},
    {MassageStep::Assigned, "assigned", ckbmassageassigned, "Assigned",
     {"imamassageassigned", "imaMassageAssignedNow"}, "Begin Data Massage: Assigned.mdb",
     &R::MassageAssigned, "Assigned data massage complete: "},
    {MassageStep::Invoice, "invoice", ckbmassageinvoice, "Invoice",
     {"imamassageinvoice", "imaMassageInvoiceNow"}, "Begin Data Massage: Invoice.mdb",
     &R::MassageInvoice, "Invoice data massage complete: "},
}};

constexpr ClearChoice kClear[] = {
    {"formtypes", ckbClearFormTypes, "Form types (non-standard)", nullptr},
    {"applied", ckbclearapplied, "Assigned", "assigned"},
    {"appraiser", ckbClearAppraiser, "Appraisers", nullptr},
    {"apprfee", ckbclearapprfee, "Appraiser fees", nullptr},
    {"client", ckbClearClient, "Clients", nullptr},
    {"clientfee", ckbclearclientfee, "Client fees", nullptr},
    {"company", ckbclearcompany, "Company", nullptr},
    {"invoice", ckbclearinvoice, "Invoices", nullptr},
    {"property", ckbClearProperty, "Orders (Property)", nullptr},
    {"system", ckbclearsystem, "Users", "users"},
};

constexpr DataFileNumFix kFixes[] = {
    {SourceControl::datinvoice, "Inv_num", "Invoice"}, {SourceControl::datClient, "Cli_num", "Client"},
    {SourceControl::datClient, "Cli_Bill", "Client"},  {SourceControl::datapplied, "File_num", "Applied"},
    {SourceControl::datcliexp, "Inv_num", "Cliexp"},   {SourceControl::datapprexp, "File_num", "Apprexp"},
};

}  // namespace

void TickMassage(FormModel& form, CheckBox box, bool checked) {
  form.SetCheck(box, checked);
  auto any_ticked = [&] {
    for (const MassageStepInfo& step : kMassage) {
      if (form.Checked(step.check_box)) return true;
    }
    return false;
  };
  if (box == ckbMassage) {
    bool tick_all = checked && !any_ticked();
    for (const MassageStepInfo& step : kMassage) {
      if (!checked || tick_all) form.SetCheck(step.check_box, checked);
    }
    return;
  }
  for (const MassageStepInfo& step : kMassage) {
    if (step.check_box == box) form.SetCheck(ckbMassage, any_ticked());
  }
}

std::span<const StepInfo> ConversionSteps() { return kSteps; }
std::span<const MassageStepInfo> MassageSteps() { return kMassage; }
std::span<const ClearChoice> ClearChoices() { return kClear; }
std::span<const DataFileNumFix> DataFileNumFixes() { return kFixes; }
const StepInfo& InfoOf(Step step) { return kSteps[static_cast<std::size_t>(step)]; }
const MassageStepInfo& InfoOf(MassageStep step) { return kMassage[static_cast<std::size_t>(step)]; }

}  // namespace qorvane::app
