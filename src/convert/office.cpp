// The conversion wired together (see office.h). Routines whose converters are still to come
// convert nothing, so their steps write the "No records found" line.
#include "convert/office.h"

#include "convert/orders/applied.h"
#include "convert/orders/expenses.h"
#include "convert/orders/invoices.h"
#include "convert/orders/massage.h"
#include "convert/orders/property.h"
#include "convert/parties/form_types.h"
#include "data/file_numbers.h"

namespace qorvane::convert {

Office::Office(app::MainForm& main_form, data::SourceOptions options)
    : connections_(main_form, options), context_(main_form, connections_) {}

void Office::Connect2Data() { connections_.Connect2Data(); }
void Office::LoadCompanyLabels() { connections_.LoadCompanyLabels(); }
void Office::PrepareSource() { connections_.PrepareSource(); }
void Office::AdoConnect() { connections_.AdoConnect(); }
app::StepResult Office::ClearSelectedTables() { return {}; }
app::StepResult Office::FixPropertyFileNum() { return data::FixPropertyFileNum(context_); }
app::StepResult Office::FixDataFileNums(app::SourceControl control, const char* field, const char* table) {
  return data::FixDataFileNums(context_, control, field, table);
}
void Office::RefreshSource() { connections_.RefreshSource(); }
app::StepResult Office::CheckDuplicateClients() { return {}; }
app::StepResult Office::DeleteEmptyFilenumbers() { return {}; }
void Office::EndRun() { connections_.EndRun(); }

app::StepResult Office::ConvertFormTypesDBF() { return convert::ConvertFormTypesDBF(context_); }
app::StepResult Office::ConvertClientDBF() { return {}; }
app::StepResult Office::ConvertClientDBFByCliNum() { return {}; }
app::StepResult Office::ConvertAppraisrDBF() { return {}; }
app::StepResult Office::AddFormTypesAppraiser() { return {}; }
app::StepResult Office::AddFormTypesClient() { return {}; }
app::StepResult Office::ConvertPropertyDBF() { return convert::ConvertPropertyDBF(context_); }
app::StepResult Office::ConvertInvoiceDBF() { return convert::ConvertInvoiceDBF(context_); }
app::StepResult Office::ConvertApprExpDBF() { return convert::ConvertApprExpDBF(context_); }
app::StepResult Office::ConvertApprFeeDBF() { return {}; }
app::StepResult Office::ConvertClientFeeDBF() { return {}; }
app::StepResult Office::ConvertAppliedDBF() { return convert::ConvertAppliedDBF(context_); }
app::StepResult Office::ConvertCompanyName() { return {}; }
app::StepResult Office::ConvertUsers() { return {}; }
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
