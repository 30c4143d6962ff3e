// Run routines for tests: every routine does nothing unless a test scripted it, and each call
// is recorded by name. A converter's script returns the step result the run should see.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/routines.h"

namespace qorvane::test {

// The result of a converter whose counter last showed COUNT (nullopt: never shown).
inline app::StepResult Shown(std::optional<std::int64_t> count) {
  app::StepResult result;
  result.shown_count = count;
  return result;
}

class ScriptedRoutines : public app::RunRoutines {
 public:
  using R = app::RunRoutines;
  void On(app::StepRoutine routine, std::function<app::StepResult()> body) {
    scripts_.emplace_back(routine, std::move(body));
  }

  std::function<void()> connect2data, adoconnect, prepare_repairs, clear_tables, fix_property, refresh_source,
      check_clients, delete_empty, end_run;
  bool target_opens = true;        // what AdoConnect says
  bool repairs_may_start = true;   // what PrepareSourceRepairs says
  std::function<void(app::SourceControl, const char*, const char*)> fix_data;
  std::vector<std::string> calls;

  app::TableCounts TargetRowCounts() override { return {}; }
  app::TableCounts CommittedRowCounts() override { return {}; }
  void Connect2Data() override { Run("Connect2Data", connect2data); }
  void LoadCompanyLabels() override {}
  void PrepareSource() override {}
  bool AdoConnect() override {
    Run("AdoConnect", adoconnect);
    return target_opens;
  }
  bool PrepareSourceRepairs(bool) override {
    Run("PrepareSourceRepairs", prepare_repairs);
    return repairs_may_start;
  }
  app::StepResult ClearSelectedTables() override { return Run("ClearSelectedTables", clear_tables); }
  app::StepResult FixPropertyFileNum() override { return Run("FixPropertyFileNum", fix_property); }
  app::StepResult FixDataFileNums(app::SourceControl control, const char* field, const char* table) override {
    calls.push_back("FixDataFileNums");
    if (fix_data) fix_data(control, field, table);
    return {};
  }
  void RefreshSource() override { Run("RefreshSource", refresh_source); }
  app::StepResult CheckDuplicateClients() override { return Run("CheckDuplicateClients", check_clients); }
  app::StepResult DeleteEmptyFilenumbers() override { return Run("DeleteEmptyFilenumbers", delete_empty); }
  app::TableCounts EndRun() override {
    Run("EndRun", end_run);
    return {};
  }

  app::StepResult ConvertFormTypesDBF() override { return Call(&R::ConvertFormTypesDBF, "ConvertFormTypesDBF"); }
  app::StepResult ConvertClientDBF() override { return Call(&R::ConvertClientDBF, "ConvertClientDBF"); }
  app::StepResult ConvertClientDBFByCliNum() override { return Call(&R::ConvertClientDBFByCliNum, "ConvertClientDBFByCliNum"); }
  app::StepResult ConvertAppraisrDBF() override { return Call(&R::ConvertAppraisrDBF, "ConvertAppraisrDBF"); }
  app::StepResult AddFormTypesAppraiser() override { return Call(&R::AddFormTypesAppraiser, "AddFormTypesAppraiser"); }
  app::StepResult AddFormTypesClient() override { return Call(&R::AddFormTypesClient, "AddFormTypesClient"); }
  app::StepResult ConvertPropertyDBF() override { return Call(&R::ConvertPropertyDBF, "ConvertPropertyDBF"); }
  app::StepResult ConvertInvoiceDBF() override { return Call(&R::ConvertInvoiceDBF, "ConvertInvoiceDBF"); }
  app::StepResult ConvertApprExpDBF() override { return Call(&R::ConvertApprExpDBF, "ConvertApprExpDBF"); }
  app::StepResult ConvertApprFeeDBF() override { return Call(&R::ConvertApprFeeDBF, "ConvertApprFeeDBF"); }
  app::StepResult ConvertClientFeeDBF() override { return Call(&R::ConvertClientFeeDBF, "ConvertClientFeeDBF"); }
  app::StepResult ConvertAppliedDBF() override { return Call(&R::ConvertAppliedDBF, "ConvertAppliedDBF"); }
  app::StepResult ConvertCompanyName() override { return Call(&R::ConvertCompanyName, "ConvertCompanyName"); }
  app::StepResult ConvertUsers() override { return Call(&R::ConvertUsers, "ConvertUsers"); }
  app::StepResult MassageProperty() override { return Call(&R::MassageProperty, "MassageProperty"); }
  app::StepResult MassageAssigned() override { return Call(&R::MassageAssigned, "MassageAssigned"); }
  app::StepResult MassageInvoice() override { return Call(&R::MassageInvoice, "MassageInvoice"); }

 private:
  app::StepResult Run(const char* name, const std::function<void()>& body) {
    calls.push_back(name);
    if (body) body();
    return {};
  }
  app::StepResult Call(app::StepRoutine routine, const char* name) {
    calls.push_back(name);
    for (auto& [scripted, body] : scripts_) {
      if (scripted == routine) return body();
    }
    return {};
  }
  std::vector<std::pair<app::StepRoutine, std::function<app::StepResult()>>> scripts_;
};

}  // namespace qorvane::test
