// What the run calls in the layers above it: the connections, the target preparation, the
// corrections, the thirteen converters and the three massage routines. One abstract class with
// a member per routine, so the step table (steps.h) names each routine as a typed member and a
// routine that nobody wrote is a compile error, not a silent "No records found". The conversion
// layer implements it (convert/office.h); tests implement it with scripted stand-ins.
//
// Every routine guards itself under its own name (MainForm::Guard): a failure inside it is
// reported and the routine returns its empty value, as the run expects.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "app/controls.h"
#include "app/ledger.h"

namespace qorvane::app {

// Rows per target table, by table name.
using TableCounts = std::map<std::string, std::int64_t>;

class RunRoutines {
 public:
  virtual ~RunRoutines() = default;

  // The rows of every target table: as the run's open connection holds them now (empty when
  // none is open), and as office.mdb holds them on disk, read afresh (after EndRun).
  virtual TableCounts TargetRowCounts() = 0;
  virtual TableCounts CommittedRowCounts() = 0;

  // Start-up: binds the source tables; fills lblCompany, lblphone and lblfax.
  virtual void Connect2Data() = 0;
  virtual void LoadCompanyLabels() = 0;

  // A run, in the order the run calls them.
  virtual void PrepareSource() = 0;  // after the directory discovery (SelectPropertyOrder)
  // After the confirmation; false when office.mdb could not be opened for writing (reported).
  virtual bool AdoConnect() = 0;
  // Once office.mdb is open, before anything is written: with REPAIRS (the Preliminary
  // Corrections) the source folder is locked for this run and put in order (what a stopped run
  // left is finished); false when it cannot be (reported), and the run must write nothing.
  virtual bool PrepareSourceRepairs(bool repairs) = 0;
  virtual StepResult ClearSelectedTables() = 0;
  virtual StepResult FixPropertyFileNum() = 0;
  virtual StepResult FixDataFileNums(SourceControl control, const char* field, const char* table) = 0;
  virtual void RefreshSource() = 0;  // after the corrections: the source is read again
  // Before the client step: invalid client keys in the source found and made unique.
  virtual StepResult CheckDuplicateClients() = 0;
  virtual StepResult DeleteEmptyFilenumbers() = 0;
  // Once a run has returned, however it ended: source writes flushed, pending rows saved,
  // office.mdb put in place. Returns the rows per target table it put in place (empty when
  // the target was never opened).
  virtual TableCounts EndRun() = 0;

  // The converters, in step order.
  virtual StepResult ConvertFormTypesDBF() = 0;
  virtual StepResult ConvertClientDBF() = 0;
  virtual StepResult ConvertClientDBFByCliNum() = 0;
  virtual StepResult ConvertAppraisrDBF() = 0;
  virtual StepResult AddFormTypesAppraiser() = 0;
  virtual StepResult AddFormTypesClient() = 0;
  virtual StepResult ConvertPropertyDBF() = 0;
  virtual StepResult ConvertInvoiceDBF() = 0;
  virtual StepResult ConvertApprExpDBF() = 0;
  virtual StepResult ConvertApprFeeDBF() = 0;
  virtual StepResult ConvertClientFeeDBF() = 0;
  virtual StepResult ConvertAppliedDBF() = 0;
  virtual StepResult ConvertCompanyName() = 0;
  virtual StepResult ConvertUsers() = 0;

  // The data massage.
  virtual StepResult MassageProperty() = 0;
  virtual StepResult MassageAssigned() = 0;
  virtual StepResult MassageInvoice() = 0;
};

using StepRoutine = StepResult (RunRoutines::*)();

// Routines that do nothing and convert nothing: a main form that nothing was wired into yet.
class NoRoutines : public RunRoutines {
 public:
  TableCounts TargetRowCounts() override { return {}; }
  TableCounts CommittedRowCounts() override { return {}; }
  void Connect2Data() override {}
  void LoadCompanyLabels() override {}
  void PrepareSource() override {}
  bool AdoConnect() override { return true; }
  bool PrepareSourceRepairs(bool) override { return true; }
  StepResult ClearSelectedTables() override { return {}; }
  StepResult FixPropertyFileNum() override { return {}; }
  StepResult FixDataFileNums(SourceControl, const char*, const char*) override { return {}; }
  void RefreshSource() override {}
  StepResult CheckDuplicateClients() override { return {}; }
  StepResult DeleteEmptyFilenumbers() override { return {}; }
  TableCounts EndRun() override { return {}; }
  StepResult ConvertFormTypesDBF() override { return {}; }
  StepResult ConvertClientDBF() override { return {}; }
  StepResult ConvertClientDBFByCliNum() override { return {}; }
  StepResult ConvertAppraisrDBF() override { return {}; }
  StepResult AddFormTypesAppraiser() override { return {}; }
  StepResult AddFormTypesClient() override { return {}; }
  StepResult ConvertPropertyDBF() override { return {}; }
  StepResult ConvertInvoiceDBF() override { return {}; }
  StepResult ConvertApprExpDBF() override { return {}; }
  StepResult ConvertApprFeeDBF() override { return {}; }
  StepResult ConvertClientFeeDBF() override { return {}; }
  StepResult ConvertAppliedDBF() override { return {}; }
  StepResult ConvertCompanyName() override { return {}; }
  StepResult ConvertUsers() override { return {}; }
  StepResult MassageProperty() override { return {}; }
  StepResult MassageAssigned() override { return {}; }
  StepResult MassageInvoice() override { return {}; }
};

}  // namespace qorvane::app
