// The conversion wired together: the routines the run calls (RunRoutines), implemented over one
// set of connections and one converter context, and the one function both faces use to build
// the program: main form, connections and converters.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "app/main_form.h"
#include "data/connections.h"
#include "data/context.h"

namespace qorvane::convert {

class Office final : public app::RunRoutines {
 public:
  Office(app::MainForm& main_form, data::SourceOptions options);

  data::Connections& connections() { return connections_; }
  data::Context& context() { return context_; }

  app::TableCounts TargetRowCounts() override;
  app::TableCounts CommittedRowCounts() override;
  void Connect2Data() override;
  void LoadCompanyLabels() override;
  void PrepareSource() override;
  bool AdoConnect() override;
  bool PrepareSourceRepairs(bool repairs) override;
  app::StepResult ClearSelectedTables() override;
  app::StepResult FixPropertyFileNum() override;
  app::StepResult FixDataFileNums(app::SourceControl control, const char* field, const char* table) override;
  void RefreshSource() override;
  app::StepResult CheckDuplicateClients() override;
  app::StepResult DeleteEmptyFilenumbers() override;
  app::TableCounts EndRun() override;

  app::StepResult ConvertFormTypesDBF() override;
  app::StepResult ConvertClientDBF() override;
  app::StepResult ConvertClientDBFByCliNum() override;
  app::StepResult ConvertAppraisrDBF() override;
  app::StepResult AddFormTypesAppraiser() override;
  app::StepResult AddFormTypesClient() override;
  app::StepResult ConvertPropertyDBF() override;
  app::StepResult ConvertInvoiceDBF() override;
  app::StepResult ConvertApprExpDBF() override;
  app::StepResult ConvertApprFeeDBF() override;
  app::StepResult ConvertClientFeeDBF() override;
  app::StepResult ConvertAppliedDBF() override;
  app::StepResult ConvertCompanyName() override;
  app::StepResult ConvertUsers() override;
  app::StepResult MassageProperty() override;
  app::StepResult MassageAssigned() override;
  app::StepResult MassageInvoice() override;

 private:
  app::StepResult Checked(const char* routine, const std::function<app::StepResult()>& body);

  data::Connections connections_;
  data::Context context_;
};

struct ProgramOptions {
  std::optional<std::string> settings_dir;  // else $QORVANE_SETTINGS_DIR, else ~/.config/qorvane
  int source_codepage = 437;                // for source tables whose header names none
};

// The program as both faces run it: the main form showing itself through VIEW, and the
// conversion wired into it. The view must outlive the program.
struct Program {
  std::unique_ptr<app::MainForm> main_form;
  std::unique_ptr<Office> office;
};
Program WireProgram(app::View& view, app::Clock& clock, const ProgramOptions& options);

}  // namespace qorvane::convert
