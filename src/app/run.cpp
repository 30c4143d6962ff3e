// The conversion run (the Convert button): the checks, the confirmation, the clearing, the
// preliminary corrections, the thirteen conversion steps in their fixed order, the data
// massage, and the elapsed-time summary. Every ending goes through CloseLog.
#include <fmt/format.h>

#include <cctype>
#include <chrono>
#include <initializer_list>

#include "app/main_form.h"
#include "app/paths.h"
#include "app/run_changes.h"
#include "app/run_summary.h"
#include "common/os.h"

namespace qorvane::app {
namespace {

std::string LowerCase(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

// Below the old question, the one its buttons answer.
constexpr const char* kConvertNow = "Convert now?";

constexpr const char* kConfirmation =
    "You should have a good backup of your data BEFORE using this option.  If you have a many "
    "records (thousands) to merge and convert this task may take a long time.  The files are "
    "'*.DBF', '*.CDX', '*.FPT' in the subdirectory called '";

}  // namespace

namespace {

// Two runs in the same second (or at times whose names collide, as 2:51:08 and 2:05:18 both give
// "2518") would share a log name: the earlier log keeps its name and the later run takes the
// first free "-2", "-3"..., so the numbers follow the order the runs started in.
std::string FreeLogPath(const std::string& path) {
  if (!os::IsRegularFile(path)) return path;
  std::string stem = path.substr(0, path.size() - 4);  // without ".log"
  for (int suffix = 2;; ++suffix) {
    std::string next = stem + "-" + std::to_string(suffix) + ".log";
    if (!os::IsRegularFile(next)) return next;
  }
}

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
  run_notices_.clear();
  completion_text_.clear();
  rejects_path_.clear();
  stopped_at_.reset();
  planned_client_keys_.clear();
  open_log_when_done_ = false;
  NowRunning("");
  form_.RunNotice.clear();
  form_.StepNumber = form_.StepCount = 0;
  commit_failed_ = false;
  commit_error_.clear();
  last_error_.clear();
  stopping_error_.clear();
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
  // What the run wrote is counted first: a commit that fails leaves nothing else to count.
  TableCounts written = rows_before_.empty() ? TableCounts{} : routines_->TargetRowCounts();
  int errors_before = errors_reported_;
  rows_written_ = routines_->EndRun();
  if (!rows_before_.empty()) {
    // A run that connected to office.mdb always has tables to count: none means EndRun failed.
    if (rows_written_.empty()) {
      commit_failed_ = true;
      commit_error_ = errors_reported_ > errors_before ? last_error_ : stopping_error_;
      rows_written_ = std::move(written);
      outcome_ = RunOutcome::Failed;
    }
    // The report ends with what office.mdb holds on disk now, read afresh.
    rows_committed_ = routines_->CommittedRowCounts();
  }
  if (outcome_ != RunOutcome::Completed) ClearRunningDisplay();
  KeepReport();
  MoveRefusedLog();
  collect_notices_ = false;
  session_.State = RunState::Idle;
  view_.Show(form_);
  if (open_log_when_done_) view_.OpenLog(log_path_);
}

void MainForm::ClearRunningDisplay() {
  // Nothing runs any more: no step, record or running mark is shown (a face that draws a
  // progress line ends it here rather than drawing it once more).
  NowRunning("");
  form_.StepNumber = form_.StepCount = 0;
  form_.RecordNumber = form_.RecordTotal = 0;
  for (auto& [image, visible] : form_.Images) visible = false;
  for (auto& [image, mark] : form_.Marks) {
    if (mark == StepMark::Running) mark = StepMark::Stopped;
  }
  // Then what the old form did when a converter stopped on the flag (AbortConversion), for
  // every run that ended before its end: no gauge or record text stays behind.
  if (outcome_ == RunOutcome::Stopped && stopped_at_ && stopped_at_->by_user) {
    AbortConversion();
  } else {
    form_.gauprogress = 0;
    form_.lblCaption.clear();
    form_.lblAddress.clear();
    form_.lblRecord.clear();
  }
}

void MainForm::KeepReport() {
  if (run_report_.empty() || log_path_.empty() || !os::IsRegularFile(log_path_)) return;
  Guard("KeepReport", [&] {
    std::string csv = RejectsCsv(*this);
    if (!csv.empty()) {
      std::string path = RejectsPathFor(log_path_);
      os::WriteWholeFile(path, std::as_bytes(std::span<const char>(csv.data(), csv.size())));
      rejects_path_ = path;
    }
    // After the log's own end lines (or its Stop line), as the log's lines are: ended by CR LF.
    std::string report = "\r\n" + std::string(kReportHeading) + "\r\n";
    std::string text = RunSummaryText(*this);
    for (std::size_t start = 0; start < text.size();) {
      std::size_t end = text.find('\n', start);
      if (end == std::string::npos) end = text.size();
      report += text.substr(start, end - start) + "\r\n";
      start = end + 1;
    }
    os::File log = os::File::Open(log_path_, os::OpenMode::ReadWrite);
    log.WriteAt(log.Size(), std::as_bytes(std::span<const char>(report.data(), report.size())));
    log.Sync();
    log.Close();
  });
}

void MainForm::MoveRefusedLog() {
  if (outcome_ != RunOutcome::Declined && outcome_ != RunOutcome::DirectoriesNotSet) return;
  if (log_path_.empty() || !os::IsRegularFile(log_path_)) return;
  Guard("CloseLog", [&] {
    std::string folder = settings_.directory();
    CkRSlash(folder);
    if (ParseFileName(log_path_).directory == folder) return;
    MakeFolders(folder);
    std::string kept = FreeLogPath(folder + ParseFileName(log_path_).file_name);
    os::Rename(log_path_, kept);
    log_path_ = kept;
    view_.Notify("Nothing was converted; this run's log is kept in " + kept + ", not among the office's files.");
  });
}

void MainForm::NowRunning(std::string caption) {
  running_ = caption;
  form_.RunningCaption = std::move(caption);
}

bool MainForm::AbortTest() {
  if (!session_.AbortRequested) return false;
  if (!stopping_error_.empty()) {
    // Not the ESC key: say what stopped the run before the line the log has always had.
    std::string why = "The run stops here because of this error: " + stopping_error_;
    AddtoLogFile(why);
    view_.Notify(why);
  }
  AddtoLogFile("Conversion aborted (ESC key): " + DateText(clock_.Now()));
  CloseLog();
  outcome_ = stopping_error_.empty() ? RunOutcome::Stopped : RunOutcome::Failed;
  // Not the user's Stop (that one is noted when it is answered): Abort in an error box.
  if (!stopped_at_) stopped_at_ = StopPlace{false, running_, form_.RecordNumber, form_.RecordTotal};
  return true;
}


void MainForm::RunConversion() {
  bool view_log = form_.Checked(CheckBox::ckbViewLog);
  Timestamp start = clock_.Now();
  run_start_ = start;

  std::string log_dir = Trim(form_.txtZulPath);
  CkRSlash(log_dir);
  if (!log_dir.empty() && !os::IsDirectory(log_dir)) {
    // A target folder that is not there: the face may make it or let the user choose another.
    std::string instead = view_.OfferMissingTargetFolder(log_dir);
    if (!instead.empty()) {
      form_.txtZulPath = instead;
      CkRSlash(form_.txtZulPath);
      log_dir = Trim(form_.txtZulPath);
      view_.Show(form_);
    }
  }
  if (log_dir.empty() || !os::IsDirectory(log_dir)) {
    // No target folder to write into: the log goes into the settings folder, never the current
    // directory, and the directory discovery below refuses the run, naming the folder.
    if (!log_dir.empty()) TargetFolderMissingHint(log_dir);
    log_dir = settings_.directory();
    CkRSlash(log_dir);
    MakeFolders(log_dir);
  }
  log_path_ = FreeLogPath(log_dir + LogFileName(start));
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

  // The applied-payments step converts the one number txtfilenum holds: the one the order and
  // invoice walks leave there, the last listed, whichever steps run.
  if (!form_.lstfilenum.empty()) form_.txtfilenum = form_.lstfilenum.back();

  // What this run is about to change leads, so that the answer is an informed one; then the
  // old question, then the plain one the buttons answer.
  if (PlanClientKeyChanges && form_.Checked(CheckBox::ckbPrelim) && form_.Checked(CheckBox::ckbClient)) {
    planned_client_keys_ = PlanClientKeyChanges();
  }
  std::string question = RunChangesText(form_, session_.Paths, start, planned_client_keys_, view_.face());
  for (const std::string& line : session_.SourceHistory) question += "\n" + line;
  question += "\n\n" + std::string(kConfirmation) + session_.Paths.source_folder + "'. Do you wish to continue?\n\n" +
                         kConvertNow;
  if (MsgBox(question, MessageButtons::YesNo) != MessageResult::Yes) {
    CloseLog();
    outcome_ = RunOutcome::Declined;
    return;
  }
  collect_notices_ = true;

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
  NowRunning("Clear Data First");
  Record("clear selected tables", "Clear Data First", ReportKind::Clearing, routines_->ClearSelectedTables(),
         before_clearing);
  SetGaugeValue(0, 1);

  if (form_.Checked(CheckBox::ckbPrelim)) {
    NowRunning("Preliminary Corrections (property.dbf)");
    Record("correct property.dbf", "Preliminary Corrections: property.dbf", ReportKind::Preparation,
           routines_->FixPropertyFileNum(), {});
    if (AbortTest()) return;
    for (const DataFileNumFix& fix : DataFileNumFixes()) {
      std::string file = LowerCase(fix.table) + ".dbf";
      NowRunning("Preliminary Corrections (" + file + ")");
      Record(std::string("correct ") + fix.table + "." + fix.field,
             "Preliminary Corrections: " + file + " " + fix.field, ReportKind::Preparation,
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

  NowRunning("");
  form_.StepNumber = form_.StepCount = 0;
  ShowCompletionNotice();
  Timestamp end = clock_.Now();
  std::int64_t seconds = end.epoch_seconds - start.epoch_seconds;
  cmdOk_Click();
  // The summary box would halt a run no one watches at its very end: it heads the report instead.
  completion_text_ = "Conversion complete:" + ElapsedTimeText(seconds);
  MsgBox(completion_text_);
  AddtoLogFile("");
  AddtoLogFile("Qorvane Conversion End = " + DateTimeText(clock_.Now()));
  AddtoLogFile("Elapsed Time: " + ElapsedTimeText(seconds));
  outcome_ = RunOutcome::Completed;
  CloseLog();
  SaveSettings();
  // Opened once the report is in the log (FinishRun).
  open_log_when_done_ = view_log;
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

void MainForm::Record(std::string name, std::string caption, ReportKind kind, StepResult result,
                      const TableCounts& rows_before) {
  TableCounts changed = rows_before.empty() ? TableCounts{} : RowsChanged(rows_before, routines_->TargetRowCounts());
  run_report_.push_back({std::move(name), kind, std::move(result), std::move(changed),
                         SecondsSince(preparation_start_), std::move(caption)});
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
  // The run's steps, for "step N of M": the ticked conversion steps and massage steps.
  form_.StepNumber = 0;
  form_.StepCount = 0;
  for (const StepInfo& step : ConversionSteps()) form_.StepCount += form_.Checked(step.check_box) ? 1 : 0;
  if (form_.Checked(CheckBox::ckbMassage)) {
    for (const MassageStepInfo& step : MassageSteps()) form_.StepCount += form_.Checked(step.check_box) ? 1 : 0;
  }
  for (const StepInfo& step : ConversionSteps()) {
    if (!form_.Checked(step.check_box)) continue;
    ++form_.StepNumber;
    NowRunning(step.caption);
    SetStepImages(step.images, true);
    form_.Marks[step.images.done] = StepMark::Running;
    int errors_before = errors_reported_;
    if (step.begin_line) AddtoLogFile(step.begin_line);
    std::optional<std::int64_t> count;
    bool skip_completion = false;
    if (step.required_file && !FileExists(session_.Paths.source_folder + step.required_file)) {
      form_.lblRecord.clear();
      AddtoLogFile(step.missing_line);
      // The old program counts an empty file as a missing one; the office manager needs to
      // know which it is, since the remedy differs.
      if (auto there = os::FindCaseInsensitive(session_.Paths.source_folder, step.required_file);
          there && os::FileSize(*there) == 0u) {
        std::string empty = *there + " is there but empty (0 bytes): it holds no table, so " + step.caption +
                            " converted nothing from it. Put it back from a backup of the old program's data, then run "
                            "this step again.";
        AddtoLogFile("(" + empty + ")");
        MsgBox(empty);
      }
      skip_completion = true;
      form_.Marks[step.images.done] = StepMark::Missing;
    } else {
      if (step.prepare) {
        Record(std::string(step.word) + " preparation", "Duplicate clients (client.dbf keys)", ReportKind::ClientKeys,
               (routines_->*step.prepare)(), {});
        if (AbortTest()) return;
      }
      if (!RunStepRoutines({step.word, ReportKind::Step, {}, {}, 0, step.caption}, step.routines, count)) return;
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
  NowRunning("Massage Data");
  Record("delete empty keys", "Massage Data: rows without a key", ReportKind::Clearing,
         routines_->DeleteEmptyFilenumbers(), rows);
  AddtoLogFile("Begin Data Massage of Selected");
  for (const MassageStepInfo& step : MassageSteps()) {
    if (!form_.Checked(step.check_box)) continue;
    ++form_.StepNumber;
    NowRunning(std::string("Massage Data: ") + step.caption);
    SetStepImages(step.images, true);
    form_.Marks[step.images.done] = StepMark::Running;
    int errors_before = errors_reported_;
    AddtoLogFile(step.begin_line);
    std::optional<std::int64_t> count;
    const StepRoutine routines[] = {step.routine};
    if (!RunStepRoutines({step.word, ReportKind::Massage, {}, {}, 0, std::string("Massage Data: ") + step.caption},
                         routines, count)) {
      return;
    }
    SetStepImages(step.images, false);
    form_.Marks[step.images.done] = MarkOf(run_report_.back().result, errors_reported_ > errors_before);
    AddtoLogFile(step.completion_prefix + (count ? std::to_string(*count) : std::string()) + " records");
  }
  SetStepImages(kMassageDataImages, false);
  AddtoLogFile("Data massage (ALL) complete:");
}

}  // namespace qorvane::app
