// The conversion wired together (see office.h). Routines whose converters are still to come
// convert nothing, so their steps write the "No records found" line.
#include "convert/office.h"

#include "convert/parties/appraisers.h"
#include "convert/parties/clients.h"
#include "convert/parties/fees.h"
#include "convert/orders/applied.h"
#include "convert/orders/expenses.h"
#include "convert/orders/invoices.h"
#include "convert/orders/massage.h"
#include "convert/orders/order_fields.h"
#include "convert/orders/property.h"
#include "convert/parties/form_types.h"
#include "data/duplicate_clients.h"
#include "data/file_numbers.h"
#include "data/source_repairs.h"
#include "data/step_sources.h"
#include "data/target_prep.h"

namespace qorvane::convert {

Office::Office(app::MainForm& main_form, data::SourceOptions options)
    : connections_(main_form, options), context_(main_form, connections_) {}

// Every routine that reads the source starts with the check of the tables and fields it reads
// (data/step_sources.h): a damaged table stops it with one message instead of one per record.
app::StepResult Office::Checked(const char* routine, const std::function<app::StepResult()>& body) {
  return data::RunCheckedRoutine(context_, routine, body);
}

app::TableCounts Office::TargetRowCounts() { return connections_.TargetRowCounts(); }
app::TableCounts Office::CommittedRowCounts() { return connections_.CommittedRowCounts(); }
void Office::Connect2Data() { connections_.Connect2Data(); }
void Office::LoadCompanyLabels() { connections_.LoadCompanyLabels(); }
void Office::PrepareSource() {
  connections_.PrepareSource();
  // Before the confirmation: a listed number the source does not hold is named there, since the
  // run deletes its rows and has nothing to convert in their place.
  context_.run().form().FileNumbersNotFound = ListedNumbersNotInSource(context_);
}
bool Office::AdoConnect() {
  connections_.AdoConnect();
  return connections_.target_database().is_open();
}
bool Office::PrepareSourceRepairs(bool repairs) { return data::PrepareSourceRepairs(context_, repairs); }
app::StepResult Office::ClearSelectedTables() { return data::ClearSelectedTables(context_); }
app::StepResult Office::FixPropertyFileNum() { return data::FixPropertyFileNum(context_); }
app::StepResult Office::FixDataFileNums(app::SourceControl control, const char* field, const char* table) {
  return data::FixDataFileNums(context_, control, field, table);
}
void Office::RefreshSource() { connections_.RefreshSource(); }
// The duplicate-client correction writes into client.dbf, so it runs only when the user chose
// the Preliminary Corrections (the other repair of the source); otherwise clients that share a
// key are merged by the client step as they always were.
app::StepResult Office::CheckDuplicateClients() {
  if (!context_.run().form().Checked(app::CheckBox::ckbPrelim)) return {};
  return Checked("CheckDuplicateClients", [&] { return data::CheckAndCorrectDuplicateClients(context_); });
}
app::StepResult Office::DeleteEmptyFilenumbers() { return data::DeleteEmptyFilenumbers(context_); }
app::TableCounts Office::EndRun() { return connections_.EndRun(); }

app::StepResult Office::ConvertFormTypesDBF() { return Checked("ConvertFormTypesDBF", [&] { return convert::ConvertFormTypesDBF(context_); }); }
app::StepResult Office::ConvertClientDBF() { return Checked("ConvertClientDBF", [&] { return convert::ConvertClientDBF(context_); }); }
app::StepResult Office::ConvertClientDBFByCliNum() { return Checked("ConvertClientDBFByCliNum", [&] { return convert::ConvertClientDBFByCliNum(context_); }); }
app::StepResult Office::ConvertAppraisrDBF() { return Checked("ConvertAppraisrDBF", [&] { return convert::ConvertAppraisrDBF(context_); }); }
app::StepResult Office::AddFormTypesAppraiser() { return Checked("AddFormTypesAppraiser", [&] { return convert::AddFormTypesAppraiser(context_); }); }
app::StepResult Office::AddFormTypesClient() { return Checked("AddFormTypesClient", [&] { return convert::AddFormTypesClient(context_); }); }
app::StepResult Office::ConvertPropertyDBF() { return Checked("ConvertPropertyDBF", [&] { return convert::ConvertPropertyDBF(context_); }); }
app::StepResult Office::ConvertInvoiceDBF() { return Checked("ConvertInvoiceDBF", [&] { return convert::ConvertInvoiceDBF(context_); }); }
app::StepResult Office::ConvertApprExpDBF() { return Checked("ConvertApprExpDBF", [&] { return convert::ConvertApprExpDBF(context_); }); }
app::StepResult Office::ConvertApprFeeDBF() { return Checked("ConvertApprFeeDBF", [&] { return convert::ConvertApprFeeDBF(context_); }); }
app::StepResult Office::ConvertClientFeeDBF() { return Checked("ConvertClientFeeDBF", [&] { return convert::ConvertClientFeeDBF(context_); }); }
app::StepResult Office::ConvertAppliedDBF() { return Checked("ConvertAppliedDBF", [&] { return convert::ConvertAppliedDBF(context_); }); }
app::StepResult Office::ConvertCompanyName() { return Checked("ConvertCompanyName", [&] { return convert::ConvertCompanyName(context_); }); }
app::StepResult Office::ConvertUsers() { return Checked("ConvertUsers", [&] { return convert::ConvertUsers(context_); }); }
app::StepResult Office::MassageProperty() { return convert::MassageProperty(context_); }
app::StepResult Office::MassageAssigned() { return convert::MassageAssigned(context_); }
app::StepResult Office::MassageInvoice() { return convert::MassageInvoice(context_); }

Program WireProgram(app::View& view, app::Clock& clock, const ProgramOptions& options) {
  Program program;
  program.main_form = std::make_unique<app::MainForm>(view, app::Settings::FormInit(options.settings_dir), clock);
  program.office = std::make_unique<Office>(*program.main_form, data::SourceOptions{options.source_codepage});
  program.main_form->SetRoutines(*program.office);
  return program;
}

}  // namespace qorvane::convert
