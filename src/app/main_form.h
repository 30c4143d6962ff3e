// MainForm: the logic of the main window frmConvert, shared by the window, the command line
// and the tests. It owns the run state (ConvertSession), the form model, the settings and the
// conversion log, and drives one View. Start-up, the conversion run, the log, the gauge, the
// Quit/ESC/close prompt and the error reporter live here; the data layer and the converters
// plug in through RunRoutines (routines.h), so this library depends on neither, and work
// through the run layer it implements (run_layer.h), so they depend on nothing here.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "app/errors.h"
#include "app/form_model.h"
#include "app/routines.h"
#include "app/run_changes.h"
#include "app/run_layer.h"
#include "app/session.h"
#include "app/settings.h"
#include "app/steps.h"
#include "app/vb_text.h"
#include "app/view.h"
#include "common/os.h"

namespace qorvane::app {

class Clock {
 public:
  virtual ~Clock() = default;
  virtual Timestamp Now() = 0;
};

class SystemClock : public Clock {
 public:
  Timestamp Now() override { return Timestamp::Now(); }
};

// How the last run ended; the command line turns it into its exit status.
enum class RunOutcome { NotRun, Completed, DirectoriesNotSet, Declined, Stopped, Failed };

struct StartupPaths {
  std::optional<std::string> source;  // wins over the settings when given
  std::optional<std::string> target;
};

class MainForm : public RunLayer {
 public:
  MainForm(View& view, Settings settings, Clock& clock);

  ConvertSession& session() override { return session_; }
  FormModel& form() override { return form_; }
  const FormModel& form() const { return form_; }
  View& view() { return view_; }
  // The routines the run calls; until SetRoutines they do nothing. ROUTINES must outlive the
  // form or the next SetRoutines.
  RunRoutines& routines() { return *routines_; }
  void SetRoutines(RunRoutines& routines) { routines_ = &routines; }
  const Settings& settings() const { return settings_; }
  Clock& clock() { return clock_; }

  // Start-up: TagRead, InitProgressBar, captions, OpenConfig, data-directory discovery,
  // Connect2Data, the gauge reset and the company labels.
  void FormLoad(const StartupPaths& paths = {});
  void TagRead();
  // No folder is known yet: neither the settings files nor a last run name the source or the
  // target data folder (a first launch on this account).
  bool FirstLaunch() const;
  // Decides the two data paths from the text boxes and sets DirectoriesSet.
  bool DiscoverDataDirectories();
  void OpenConfig();
  // Stores the paths and check-box choices of a completed run into FOXCON.INI.
  void SaveSettings();
  // The pickers' check of a chosen name: "" when it may be taken, else the message to show
  // ("Invalid Filename.  Please try Again" or "File does not exist.  Please try Again").
  static std::string ValidatePickedFile(const std::string& full_name);
  // Takes a file picked with the source or the target picker: its folder becomes the path.
  bool cmdSource_Picked(const std::string& full_name);
  bool cmdTarget_Picked(const std::string& full_name);
  // Takes a folder picked with the source or the target folder picker; a folder that does not
  // exist is refused with a message naming it.
  bool cmdSource_PickedFolder(const std::string& folder);
  bool cmdTarget_PickedFolder(const std::string& folder);

  // The conversion run (the Convert button).
  void cmdNEWConvert();
  // Finds, before the confirmation, the client keys the duplicate-client correction will change
  // (set by a face that can read the source; unset: the confirmation lists none).
  std::function<std::vector<ClientKeyChange>()> PlanClientKeyChanges;
  // What it found for the current (or last) run.
  const std::vector<ClientKeyChange>& PlannedClientKeys() const { return planned_client_keys_; }
  RunOutcome outcome() const { return outcome_; }
  // When the current (or last) run started.
  const Timestamp& RunStart() const override { return run_start_; }
  const std::string& LogPath() const { return log_path_; }
  // What each step of the current (or last) run returned, in the order the steps ran.
  // Preparation: a correction of the source; ClientKeys: the duplicate-client check and its
  // correction; Clearing: target rows deleted (Clear Data First, rows without a key).
  enum class ReportKind { Step, Massage, Preparation, ClientKeys, Clearing };
  struct StepReport {
    std::string name;  // the step's command-line word ("property"), or what was prepared
    ReportKind kind;
    StepResult result;
    TableCounts rows_changed;  // per target table, the rows it has more (or fewer) after it
    double seconds = 0;        // how long it took
    std::string caption;       // in the window's words ("Client fees", "Clear Data First")
  };
  const std::vector<StepReport>& RunReport() const { return run_report_; }
  // Where a stopped run stopped: what was running (in the window's words) and on which record.
  struct StopPlace {
    bool by_user = false;  // Stop in the prompt; else Abort in an error box
    std::string during;
    std::int64_t record = 0;
    std::int64_t records = 0;
  };
  const std::optional<StopPlace>& StoppedAt() const { return stopped_at_; }
  // The OK-only messages of the run after its confirmation, which a face shows without halting
  // the run, in order (the duplicate-client correction's notice, with its count).
  const std::vector<std::string>& RunNotices() const { return run_notices_; }
  // The "Conversion complete: ..." summary of a completed run; empty otherwise.
  const std::string& CompletionText() const { return completion_text_; }
  // The CSV of the records the run skipped or refused, beside the log; empty when there was none.
  const std::string& RejectsPath() const { return rejects_path_; }
  // Rows per target table when the run connected, as the run's connection held them at its
  // end, and as office.mdb holds them on disk once the run has put it in place.
  const TableCounts& RowsBefore() const { return rows_before_; }
  const TableCounts& RowsWritten() const { return rows_written_; }
  const TableCounts& RowsCommitted() const { return rows_committed_; }
  // Whether the run's end could not put office.mdb in place (its changes are not on disk), and
  // the error it met; RowsWritten then holds the rows the run had written before.
  bool CommitFailed() const { return commit_failed_; }
  const std::string& CommitError() const { return commit_error_; }
  // The error that stopped the run (answered Abort, or one every later record would meet too);
  // empty when the run was not stopped by an error.
  const std::string& StoppingError() const { return stopping_error_; }
  // The errors of the last run that said a file could not be found, read or written (errors
  // 53, 57, 61, 68, 70, 71, 75, 76, 3343): a run that went to its end with such an error did
  // not convert everything, and the command line says so in its exit status.
  int FileErrorsReported() const { return file_errors_; }

  // The conversion log.
  void AddtoLogFile(const std::string& line) override;
  void CloseLog() override;

  // Progress, buttons, abort.
  void InitProgressBar();
  void SetGaugeValue(float current, std::int32_t total) override;
  void EnableButtons(bool enabled);
  void AbortConversion();
  void ShowCompletionNotice();
  void cmdOk_Click();
  // The Quit button or ESC.
  void cmdQuit_Click();
  // Closing the window; returns true when the close is cancelled (the run goes on).
  bool Form_Unload();
  // Shows the form and serves the user's pending requests; converters call it once per record.
  void DoEvents() override;

  // The error reporter: shows the Abort/Retry/Ignore box for 57, 61, 68 and 71, ends the
  // program for 3218, and returns kReportRetry..kReportOther.
  int ReportError(int number, const std::string& description);
  MessageResult MsgBox(const std::string& text, MessageButtons buttons = MessageButtons::Ok,
                       const std::string& title = "");
  // What a person needs beside a message written for the old Windows program (where this
  // program looked, what to do next): a notice, given once.
  void Hint(const std::string& text);
  // The hint for a target folder that is not there (what makes it, what else to do).
  void TargetFolderMissingHint(const std::string& folder);

  // The run layer the steps work through (run_layer.h): the form's lists, labels and file
  // numbers, the session's abort flag, and the error guard's report.
  void ListIllegalFileNumber(const std::string& entry) override { form_.lstIllegalFilenumbers.push_back(entry); }
  void ListNotConverted(const std::string& entry) override { form_.lstWasNotConverted.push_back(entry); }
  const std::vector<std::string>& FileNumbers() const override { return form_.lstfilenum; }
  const std::string& SingleFileNumber() const override { return form_.txtfilenum; }
  void ShowFileNumber(const std::string& number) override { form_.txtfilenum = number; }
  bool AbortRequested() const override { return session_.AbortRequested; }
  void ShowRecord(std::string_view caption, std::string_view address) override {
    form_.lblCaption = caption;
    form_.lblAddress = address;
  }
  void ShowCounter(std::int64_t counter) override { form_.lblRecord = std::to_string(counter); }
  void ShowPosition(std::int64_t record, std::int64_t total) override {
    form_.RecordNumber = record;
    form_.RecordTotal = total;
  }
  void EnterRoutine(const std::string& name) override { session_.SetRoutine(name); }
  // Reports the failure; Retry runs the routine again, Abort (or an error every later record
  // would meet) sets AbortRequested.
  bool RetryAfterFailure(const std::string& name, const ErrorInfo& info, const std::string& where) override;
  int ReportRoutineError(std::string_view routine, int number, const std::string& description) override {
    session_.SetRoutine(routine);
    return ReportError(number, description);
  }
  void Notify(const std::string& text) override { view_.Notify(text); }
  void ShowMessage(const std::string& text) override { MsgBox(text); }
  Timestamp Now() override { return clock_.Now(); }

 private:
  bool HandleQuitRequest();  // the prompt; true when the user chose Stop
  bool TakePickedFile(const std::string& routine, const std::string& full_name,
                      std::string FormModel::*path);
  bool TakePickedFolder(const std::string& routine, const std::string& folder, std::string FormModel::*path);
  void RunConversion();
  void FinishRun();
  void RunSteps();
  void RunMassage();
  // The run's report and its rejects, written beside and into the log once the run returned.
  void KeepReport();
  // A run refused before it changed anything keeps its log in the settings folder, not among
  // the office's files.
  void MoveRefusedLog();
  // Clears what a stopped or failed run left on the form as if it were still running.
  void ClearRunningDisplay();
  // Says what runs now, for the report of a Stop and the progress display.
  void NowRunning(std::string caption);
  // Runs ROUTINES of one step in order, each followed by the abort test; returns whether the
  // run goes on, and the count the step's completion line shows.
  bool RunStepRoutines(StepReport report, std::span<const StepRoutine> routines,
                       std::optional<std::int64_t>& shown_count);
  void SetStepImages(const ImagePair& images, bool running);
  // Keeps what a preparation (clearing, a correction, a check) returned in the run report.
  void Record(std::string name, std::string caption, ReportKind kind, StepResult result, const TableCounts& rows_before);
  bool AbortTest();  // true when the run must end here
  void WriteElapsedTime(const Timestamp& start);

  View& view_;
  Settings settings_;
  Clock& clock_;
  ConvertSession session_;
  FormModel form_;
  NoRoutines no_routines_;
  RunRoutines* routines_ = &no_routines_;
  std::vector<StepReport> run_report_;
  int file_errors_ = 0;
  int errors_reported_ = 0;               // every error of the current run, for the steps' marks
  std::vector<std::string> hints_given_;  // each hint is given once
  std::set<std::string> startup_errors_;  // errors shown outside a run (start-up)
  TableCounts rows_before_, rows_written_, rows_committed_;
  bool commit_failed_ = false;
  std::string commit_error_;
  std::string last_error_;      // the notice of the last error reported
  std::string stopping_error_;  // see StoppingError
  std::chrono::steady_clock::time_point preparation_start_;  // since the last report entry
  os::File log_;
  std::uint64_t log_offset_ = 0;
  std::string log_path_;
  RunOutcome outcome_ = RunOutcome::NotRun;
  Timestamp run_start_;
  bool open_log_when_done_ = false;
  bool collect_notices_ = false;  // from the confirmation until the run has returned
  std::vector<std::string> run_notices_;
  std::string completion_text_;
  std::string rejects_path_;
  std::string running_;  // what runs now, in the window's words
  std::optional<StopPlace> stopped_at_;
  std::vector<ClientKeyChange> planned_client_keys_;
};

// The conversion log's file name for a run started at START: ConvLog-YYMMDD-HMS.log.
std::string LogFileName(const Timestamp& start);
// "Conversion complete: 1 days  0 hrs  30 mins  0 secs" pieces: " 1 days  0 hrs ..." for SECONDS,
// with a day of 84600 seconds.
std::string ElapsedTimeText(std::int64_t seconds);

}  // namespace qorvane::app
