// The conversion run (the Convert button): the checks, the confirmation, the clearing, the
// preliminary corrections, the thirteen conversion steps in their fixed order, the data
// massage, and the elapsed-time summary. Every ending goes through CloseLog.
#include <fmt/format.h>

#include <chrono>
#include <initializer_list>

#include "app/main_form.h"
#include "app/paths.h"
#include "app/run_changes.h"

namespace qorvane::app {
namespace {

constexpr const char* kConfirmation =
    "You should have a good backup of your data BEFORE using this option.  If you have a many "
    "records (thousands) to merge and convert this task may take a long time.  The files are "
    "'*.DBF', '*.CDX', '*.FPT' in the subdirectory called '";

}  // namespace

void MainForm::cmdNEWConvert() {
  session_.SetRoutine("cmdNEWConvert");
  form_.fraCustomize = false;
  if (session_.InConversion()) return;
  session_.State = RunState::Running;
  EnableButtons(false);
  session_.AbortRequested = false;
  run_report_.clear();
  file_errors_ = 0;
  form_.Marks.clear();
  errors_reported_ = 0;
  rows_before_.clear();
  rows_written_.clear();
  rows_committed_.clear();
  outcome_ = RunOutcome::Failed;
  try {
    RunConversion();
  } catch (const ProgramEnd&) {
    FinishRun();
    throw;
  } catch (...) {
    // A failure that reaches the run itself ends the run: running it again from the start
    // would repeat the clearing and the corrections, so Retry counts as Ignore here.
    session_.SetRoutine("cmdNEWConvert");
    ErrorInfo info = DescribeException(std::current_exception());
    ReportError(info.number, info.description);
  }
  FinishRun();
}

void MainForm::FinishRun() {
  // A run that failed before its end still leaves the log closed and the buttons enabled.
  if (session_.State == RunState::Running) CloseLog();
  // The target is put in place only now, when no converter is on the stack any more: a Stop
  // answered inside a converter closes the log at once, but the converter still returns first.
  rows_written_ = routines_->EndRun();
  if (!rows_before_.empty()) rows_committed_ = routines_->CommittedRowCounts();
  session_.State = RunState::Idle;
}

bool MainForm::AbortTest() {
  if (!session_.AbortRequested) return false;
  AddtoLogFile("Conversion aborted (ESC key): " + DateText(clock_.Now()));
  CloseLog();
  outcome_ = RunOutcome::Stopped;
  return true;
}

namespace {

// Two runs in the same second (or at times whose names collide, as 2:51:08 and 2:05:18 both give
// "2518") share a log name: the earlier log is kept beside the new one, with a suffix.
void KeepEarlierLog(const std::string& path) {
  if (!os::IsRegularFile(path)) return;
  std::string stem = path.substr(0, path.size() - 4);  // without ".log"
  for (int suffix = 2;; ++suffix) {
    std::string kept = stem + "-" + std::to_string(suffix) + ".log";
    if (os::IsRegularFile(kept)) continue;
    os::Rename(path, kept);
    return;
  }
}

}  // namespace

void MainForm::RunConversion() {
  bool view_log = form_.Checked(CheckBox::ckbViewLog);
  Timestamp start = clock_.Now();
  run_start_ = start;

  std::string log_dir = form_.txtZulPath;
  CkRSlash(log_dir);
  if (Trim(log_dir).empty()) {
    // No target folder yet: the log goes into the settings folder, never the current directory.
    log_dir = settings_.directory();
    CkRSlash(log_dir);
    if (!os::IsDirectory(Trim(log_dir))) os::MakeDirectory(Trim(log_dir));
    view_.Notify("The target data folder is not set: this run's log is written into " + Trim(log_dir));
  }
  // The log cannot be written into a folder that is not there: say which folder before the
  // error that follows.
  if (!os::IsDirectory(Trim(log_dir))) TargetFolderMissingHint(Trim(log_dir));
  log_path_ = Trim(log_dir) + LogFileName(start);
  KeepEarlierLog(log_path_);
  log_ = os::File::Open(log_path_, os::OpenMode::CreateTruncate);
  log_offset_ = 0;

  AddtoLogFile("Company: " + form_.lblCompany);
  AddtoLogFile("Phone: " + form_.lblphone);
  AddtoLogFile("fax: " + form_.lblfax);
  AddtoLogFile("Qorvane Conversion Start = " + DateTimeText(start));
  AddtoLogFile(fmt::format("Version: {}.{}.{}", QORVANE_VERSION_MAJOR, QORVANE_VERSION_MINOR,
                           QORVANE_VERSION_PATCH));
  AddtoLogFile("");

  bool directories_set = false;
  {
    GatheredMessages gathered(view_);  // the checks' findings shown together, before the question
    directories_set = DiscoverDataDirectories();
    if (directories_set) {
      session_.SetRoutine("cmdNEWConvert");
      routines_->PrepareSource();
    }
  }
  if (!directories_set) {
    AddtoLogFile("Conversion aborted: Data directories not correctly set");
    CloseLog();
    outcome_ = RunOutcome::DirectoriesNotSet;
    return;
  }

  AddtoLogFile("");
  AddtoLogFile("Listboxes cleared");
  AddtoLogFile("");

  // Below the question: what this run is about to change, so that the answer is an informed one.
  std::string question = kConfirmation + session_.Paths.source_folder + "'. Do you wish to continue?\n\n" +
                         RunChangesText(form_, session_.Paths, start);
  for (const std::string& line : session_.SourceHistory) question += "\n" + line;
  if (MsgBox(question, MessageButtons::YesNo) != MessageResult::Yes) {
    CloseLog();
    outcome_ = RunOutcome::Declined;
    return;
  }

  form_.fraIllegalFix = true;
  form_.lstIllegalFilenumbers.clear();
  form_.lstWasNotConverted.clear();
  cmdOk_Click();
  // A run that cannot write office.mdb, or may not write the source, stops here: before it
  // clears, repairs or converts anything (the error said what and what to do).
  bool may_write = routines_->AdoConnect() &&
                   routines_->PrepareSourceRepairs(form_.Checked(CheckBox::ckbPrelim));
  if (!may_write) {
    AddtoLogFile("Conversion stopped before anything was changed (see the error above)");
    CloseLog();
    outcome_ = RunOutcome::Failed;
    return;
  }
  rows_before_ = routines_->TargetRowCounts();
  AddtoLogFile("");
  if (AbortTest()) return;

  preparation_start_ = std::chrono::steady_clock::now();
  TableCounts before_clearing = routines_->TargetRowCounts();
  Record("clear selected tables", routines_->ClearSelectedTables(), before_clearing);
  SetGaugeValue(0, 1);

  if (form_.Checked(CheckBox::ckbPrelim)) {
    Record("correct property.dbf", routines_->FixPropertyFileNum(), {});
    if (AbortTest()) return;
    for (const DataFileNumFix& fix : DataFileNumFixes()) {
      Record(std::string("correct ") + fix.table + "." + fix.field,
             routines_->FixDataFileNums(fix.control, fix.field, fix.table), {});
      if (AbortTest()) return;
    }
    // The converters read the corrected numbers, in their corrected order.
    routines_->RefreshSource();
  }

  RunSteps();
  if (session_.State != RunState::Running) return;  // stopped inside the steps
  if (form_.Checked(CheckBox::ckbMassage)) {
    RunMassage();
    if (session_.State != RunState::Running) return;
  }

  ShowCompletionNotice();
  Timestamp end = clock_.Now();
  std::int64_t seconds = end.epoch_seconds - start.epoch_seconds;
  cmdOk_Click();
  MsgBox("Conversion complete:" + ElapsedTimeText(seconds));
  AddtoLogFile("");
  AddtoLogFile("Qorvane Conversion End = " + DateTimeText(clock_.Now()));
  AddtoLogFile("Elapsed Time: " + ElapsedTimeText(seconds));
  outcome_ = RunOutcome::Completed;
  CloseLog();
  SaveSettings();
  if (view_log) view_.OpenLog(log_path_);
}

namespace {

// What changed per table between two counts of the target's rows.
TableCounts RowsChanged(const TableCounts& before, const TableCounts& after) {
  TableCounts changed;
  for (const auto& [table, rows] : after) {
    auto found = before.find(table);
    std::int64_t delta = rows - (found == before.end() ? 0 : found->second);
    if (delta != 0) changed[table] = delta;
  }
  return changed;
}

}  // namespace

// What a done step came to: failed when an error was reported or a record refused, converted
// when it read records, else nothing found.
static StepMark MarkOf(const StepResult& result, bool errors) {
  if (errors || result.ledger.count(RecordOutcome::Refused) > 0) return StepMark::Failed;
  if (result.ledger.read() > 0 || result.shown_count) return StepMark::Converted;
  return StepMark::NothingFound;
}

static double SecondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void MainForm::Record(std::string name, StepResult result, const TableCounts& rows_before) {
  TableCounts changed = rows_before.empty() ? TableCounts{} : RowsChanged(rows_before, routines_->TargetRowCounts());
  run_report_.push_back({std::move(name), ReportKind::Preparation, std::move(result), std::move(changed),
                         SecondsSince(preparation_start_)});
  preparation_start_ = std::chrono::steady_clock::now();
}

void MainForm::SetStepImages(const ImagePair& images, bool running) {
  form_.SetImage(images.now, running);
  form_.SetImage(images.done, !running);
}

bool MainForm::RunStepRoutines(StepReport step, std::span<const StepRoutine> routines,
                               std::optional<std::int64_t>& shown_count) {
  form_.lblRecord.clear();
  auto start = std::chrono::steady_clock::now();
  TableCounts rows_before = routines_->TargetRowCounts();
  StepReport& report = run_report_.emplace_back(std::move(step));
  for (StepRoutine routine : routines) {
    if (routine == nullptr) continue;
    StepResult result = (routines_->*routine)();
    // The record counter shows what the last routine that counted left in it.
    if (result.shown_count) shown_count = result.shown_count;
    report.result.ledger.Merge(result.ledger);
    report.result.shown_count = shown_count;
    report.rows_changed = RowsChanged(rows_before, routines_->TargetRowCounts());
    report.seconds = SecondsSince(start);
    if (AbortTest()) return false;
  }
  preparation_start_ = std::chrono::steady_clock::now();
  return true;
}

void MainForm::RunSteps() {
  for (const StepInfo& step : ConversionSteps()) {
    if (!form_.Checked(step.check_box)) continue;
    SetStepImages(step.images, true);
    form_.Marks[step.images.done] = StepMark::Running;
    int errors_before = errors_reported_;
    if (step.begin_line) AddtoLogFile(step.begin_line);
    std::optional<std::int64_t> count;
    bool skip_completion = false;
    if (step.required_file && !FileExists(session_.Paths.source_folder + step.required_file)) {
      form_.lblRecord.clear();
      AddtoLogFile(step.missing_line);
      skip_completion = true;
      form_.Marks[step.images.done] = StepMark::Missing;
    } else {
      if (step.prepare) {
        Record(std::string(step.word) + " preparation", (routines_->*step.prepare)(), {});
        if (AbortTest()) return;
      }
      if (!RunStepRoutines({step.word, ReportKind::Step, {}, {}, 0}, step.routines, count)) return;
    }
    SetStepImages(step.images, false);
    if (!skip_completion) {
      AddtoLogFile(count ? step.completion_prefix + std::to_string(*count) + " records" : step.empty_line);
      form_.Marks[step.images.done] = MarkOf(run_report_.back().result, errors_reported_ > errors_before);
    }
    // Between two steps the user's Quit or ESC is served as well.
    DoEvents();
    if (AbortTest()) return;
  }
}

void MainForm::RunMassage() {
  SetStepImages(kMassageDataImages, true);
  TableCounts rows = routines_->TargetRowCounts();
  Record("delete empty keys", routines_->DeleteEmptyFilenumbers(), rows);
  AddtoLogFile("Begin Data Massage of Selected");
  for (const MassageStepInfo& step : MassageSteps()) {
    if (!form_.Checked(step.check_box)) continue;
    SetStepImages(step.images, true);
    form_.Marks[step.images.done] = StepMark::Running;
    int errors_before = errors_reported_;
    AddtoLogFile(step.begin_line);
    std::optional<std::int64_t> count;
    const StepRoutine routines[] = {step.routine};
    if (!RunStepRoutines({step.word, ReportKind::Massage, {}, {}, 0}, routines, count)) return;
    SetStepImages(step.images, false);
    form_.Marks[step.images.done] = MarkOf(run_report_.back().result, errors_reported_ > errors_before);
    AddtoLogFile(step.completion_prefix + (count ? std::to_string(*count) : std::string()) + " records");
  }
  SetStepImages(kMassageDataImages, false);
  AddtoLogFile("Data massage (ALL) complete:");
}

}  // namespace qorvane::app
