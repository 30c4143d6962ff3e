// The conversion wired together (see office.h). Routines whose converters are still to come
// convert nothing, so their steps write the "No records found" line.
#include "convert/office.h"

#include "convert/parties/appraisers.h"
#include "convert/parties/clients.h"
#include "convert/parties/fees.h"
#include "convert/parties/form_types.h"

namespace qorvane::convert {

Office::Office(app::MainForm& main_form, data::SourceOptions options)
    : connections_(main_form, options), context_(main_form, connections_) {}

void Office::Connect2Data() { connections_.Connect2Data(); }
void Office::LoadCompanyLabels() { connections_.LoadCompanyLabels(); }
void Office::PrepareSource() { connections_.PrepareSource(); }
void Office::AdoConnect() { connections_.AdoConnect(); }
void Office::ClearSelectedTables() {}
void Office::FixPropertyFileNum() {}
void Office::FixDataFileNums(app::SourceControl, const char*, const char*) {}
void Office::RefreshSource() { connections_.RefreshSource(); }
void Office::DeleteEmptyFilenumbers() {}
void Office::EndRun() { connections_.EndRun(); }

app::StepResult Office::ConvertFormTypesDBF() { return convert::ConvertFormTypesDBF(context_); }
app::StepResult Office::ConvertClientDBF() { return convert::ConvertClientDBF(context_); }
app::StepResult Office::ConvertClientDBFByCliNum() { return convert::ConvertClientDBFByCliNum(context_); }
app::StepResult Office::ConvertAppraisrDBF() { return convert::ConvertAppraisrDBF(context_); }
app::StepResult Office::AddFormTypesAppraiser() { return convert::AddFormTypesAppraiser(context_); }
app::StepResult Office::AddFormTypesClient() { return convert::AddFormTypesClient(context_); }
app::StepResult Office::ConvertPropertyDBF() { return {}; }
app::StepResult Office::ConvertInvoiceDBF() { return {}; }
app::StepResult Office::ConvertApprExpDBF() { return {}; }
app::StepResult Office::ConvertApprFeeDBF() { return convert::ConvertApprFeeDBF(context_); }
app::StepResult Office::ConvertClientFeeDBF() { return convert::ConvertClientFeeDBF(context_); }
app::StepResult Office::ConvertAppliedDBF() { return {}; }
app::StepResult Office::ConvertCompanyName() { return convert::ConvertCompanyName(context_); }
app::StepResult Office::ConvertUsers() { return convert::ConvertUsers(context_); }
app::StepResult Office::MassageProperty() { return {}; }
app::StepResult Office::MassageAssigned() { return {}; }
app::StepResult Office::MassageInvoice() { return {}; }

Program WireProgram(app::View& view, app::Clock& clock, const ProgramOptions& options) {
  Program program;
  program.main_form = std::make_unique<app::MainForm>(view, app::Settings::FormInit(options.settings_dir), clock);
  program.office = std::make_unique<Office>(*program.main_form, data::SourceOptions{options.source_codepage});
  program.main_form->SetRoutines(*program.office);
  return program;
}

}  // namespace qorvane::convert
