// Start-up, settings, the log, the gauge, the Quit prompt and the error reporter of the main
// form. The conversion run itself is in run.cpp.
#include "app/main_form.h"

#include <fmt/format.h>

#include <algorithm>

#include "app/paths.h"
#include "common/os.h"
#include "common/sql_tokens.h"

namespace qorvane::app {
namespace {

constexpr const char* kQuitHint = "Hit ESC key or 'Quit Conversion' button to halt conversion process.";
constexpr const char* kPausedLine = "Conversion paused by User (Quit button) ~ continued";
constexpr const char* kStoppedLine = "Conversion aborted by User and program ended (Quit button)";
// The duplicate-client correction's notice, which a run shows with its count.
constexpr const char* kClientsCorrectedNotice = "Invalid Client records were found and corrected automatically.";

// The settings tag of a check box whose choice FOXCON.INI keeps.
std::string OptionTag(const CheckBoxInfo& box) {
  return fmt::format("<WINDIR>{}[{}]{}|{}", kConverterSettingsFile, kOptionsSection, box.name,
                     box.first_start_value);
}

}  // namespace

std::string LogFileName(const Timestamp& start) {
  return fmt::format("ConvLog-{:02}{:02}{:02}-{}{}{}.log", start.year % 100, start.month, start.day,
                     start.hour, start.minute, start.second);
}

std::string ElapsedTimeText(std::int64_t seconds) {
  constexpr std::int64_t kSecondsPerDay = 84600;  // not 86400: the log has always used this
  std::int64_t days = seconds / kSecondsPerDay;
  std::int64_t rest = seconds - days * kSecondsPerDay;
  std::int64_t hours = rest / 3600;
  rest -= hours * 3600;
  std::int64_t minutes = rest / 60;
  std::int64_t secs = rest - minutes * 60;
  return Str(days) + " days " + Str(hours) + " hrs " + Str(minutes) + " mins " + Str(secs) + " secs";
}

MainForm::MainForm(View& view, Settings settings, Clock& clock)
    : view_(view), settings_(std::move(settings)), clock_(clock) {
  for (const CheckBoxInfo& box : CheckBoxes()) form_.CheckBoxes[IndexOf(box.box)] = box.first_start_value;
}

void MainForm::TagRead() {
  Guard("TagRead", [&] {
    session_.TargetProgram = settings_.Read(tags::kTargetProgram);
    session_.SourceProgram = settings_.Read(tags::kSourceProgram);
    // The folders of the last completed run (FOXCON.INI) win over the ones the two programs'
    // settings name (VL.ini, zul.ini): they are the folders the office converted from and into,
    // which a second run must meet again. When they differ, the start-up says so.
    std::string settings_folder = settings_.directory();
    CkRSlash(settings_folder);
    auto choose = [&](const char* last_tag, const char* program_tag, const char* program_file) {
      std::string last = Trim(settings_.Read(last_tag));
      std::string program = Trim(settings_.Read(program_tag));
      if (last.empty()) return program;
      std::string last_folder = last, program_folder = program;
      if (!program.empty() && StripRChar(last_folder) != StripRChar(program_folder)) {
        Hint("The last run's folder " + last + " (" + settings_folder + "FOXCON.INI) is used, not " + program +
             " named in " + settings_folder + program_file + ": choose the other with the folder button, or give it "
             "on the command line.");
      }
      return last;
    };
    form_.txtPyxPath = choose(tags::kLastSourcePath, tags::kSourceDataDir, "VL.ini");
    form_.txtZulPath = choose(tags::kLastTargetPath, tags::kTargetDataDir, "zul.ini");
    // The conversion writes office.mdb of the target folder, the file its checks look for; a
    // database zul.ini names otherwise is never written.
    std::string data_file = Trim(settings_.Read(tags::kTargetDataFile));
    if (!data_file.empty() && UpperAscii(data_file) != "OFFICE.MDB") {
      Hint(settings_folder + "zul.ini names the database " + data_file + " ([DIRECTORIES] DATAFILE); this program "
           "converts into office.mdb of the target folder and never into another file. To convert into " + data_file +
           ", copy it to office.mdb first.");
    }
    for (const CheckBoxInfo& box : CheckBoxes()) {
      form_.SetCheck(box.box, Trim(settings_.Read(OptionTag(box))) == "1");
    }
    TickMassage(form_, CheckBox::ckbMassage, form_.Checked(CheckBox::ckbMassage));
  });
}

bool MainForm::FirstLaunch() const {
  auto known = [&](const char* last_run, const char* program_setting) {
    return !Trim(settings_.Read(last_run)).empty() || !Trim(settings_.Read(program_setting)).empty();
  };
  return !known(tags::kLastSourcePath, tags::kSourceDataDir) && !known(tags::kLastTargetPath, tags::kTargetDataDir);
}

void MainForm::SaveSettings() {
  Guard("SaveSettings", [&] {
    std::vector<std::pair<std::string, std::string>> values = {
        {tags::kLastSourcePath, session_.Paths.source_folder},
        {tags::kLastTargetPath, session_.Paths.target_folder}};
    for (const CheckBoxInfo& box : CheckBoxes()) {
      values.emplace_back(OptionTag(box), form_.Checked(box.box) ? "1" : "0");
    }
    settings_.WriteMany(values);
  });
}

std::string MainForm::ValidatePickedFile(const std::string& full_name) {
  ParsedFileName parts = ParseFileName(Trim(full_name));
  if (Trim(full_name).empty() || parts.file_name.empty() ||
      parts.file_name.find_first_of("<>:\"|?*") != std::string::npos) {
    return "Invalid Filename.  Please try Again";
  }
  if (!os::IsRegularFile(Trim(full_name))) return "File does not exist.  Please try Again";
  return "";
}

bool MainForm::TakePickedFile(const std::string& routine, const std::string& full_name,
                              std::string FormModel::*path) {
  return Guard(routine, [&] {
    std::string problem = ValidatePickedFile(full_name);
    if (!problem.empty()) {
      MsgBox(problem);
      return false;
    }
    form_.*path = ParseFileName(Trim(full_name)).directory;
    view_.Show(form_);
    return true;
  });
}

bool MainForm::TakePickedFolder(const std::string& routine, const std::string& folder,
                                std::string FormModel::*path) {
  return Guard(routine, [&] {
    std::string chosen = Trim(folder);
    if (chosen.empty() || !os::IsDirectory(chosen)) {
      MsgBox("The folder '" + chosen + "' does not exist.  Please try Again");
      return false;
    }
    CkRSlash(chosen);
    form_.*path = chosen;
    view_.Show(form_);
    return true;
  });
}

bool MainForm::cmdSource_PickedFolder(const std::string& folder) {
  return TakePickedFolder("cmdSource_Click", folder, &FormModel::txtPyxPath);
}

bool MainForm::cmdTarget_PickedFolder(const std::string& folder) {
  return TakePickedFolder("cmdTarget_Click", folder, &FormModel::txtZulPath);
}

bool MainForm::cmdSource_Picked(const std::string& full_name) {
  return TakePickedFile("cmdSource_Click", full_name, &FormModel::txtPyxPath);
}

bool MainForm::cmdTarget_Picked(const std::string& full_name) {
  return TakePickedFile("cmdTarget_Click", full_name, &FormModel::txtZulPath);
}

void MainForm::FormLoad(const StartupPaths& paths) {
  GatheredMessages gathered(view_);  // start-up's findings shown together
  Guard("FormLoad", [&] {
    TagRead();
    if (paths.source) form_.txtPyxPath = *paths.source;
    if (paths.target) form_.txtZulPath = *paths.target;
    session_.SetRoutine("FormLoad");
    InitProgressBar();
    const std::string& source = session_.SourceProgram;
    const std::string& target = session_.TargetProgram;
    form_.Caption = fmt::format("Qorvane - Version {}.{}.{}", QORVANE_VERSION_MAJOR,
                                QORVANE_VERSION_MINOR, QORVANE_VERSION_PATCH);
    form_.lblTitle = source + " to " + target;
    form_.cmdSource = source + " (Source)";
    form_.cmdTarget = target + " (Target)";
    form_.lblDescription = "This program converts tracking data from the " + source +
                           " program to the " + target + " program ";
    OpenConfig();
    DiscoverDataDirectories();
    routines_->Connect2Data();
    SetGaugeValue(0, 1);
    routines_->LoadCompanyLabels();
    view_.Show(form_);
  });
}

void MainForm::OpenConfig() {
  Guard("OpenConfig", [&] {
    std::string dir = InstallDirectory();
    auto notice = os::FindCaseInsensitive(dir, "INSTALL.TXT");
    if (!notice) return;
    MsgBox("New Installation.  Please check the following drive assignments for accuracy and select OK.");
    os::RemoveFile(*notice);
  });
}

bool MainForm::DiscoverDataDirectories() {
  return Guard("DiscoverDataDirs", [&] {
    bool source_ok = false;
    bool target_ok = false;
    const std::string& source_name = session_.SourceProgram;
    const std::string& target_name = session_.TargetProgram;

    DataPaths& paths = session_.Paths;
    CkRSlash(form_.txtPyxPath);
    paths.source_folder = Trim(form_.txtPyxPath);
    std::string settings_folder = settings_.directory();
    CkRSlash(settings_folder);
    bool window = view_.face() == Face::Window;
    if (paths.source_folder.empty()) {
      MsgBox("Unable to automatically find " + source_name +
             " data directory: check VL.ini in Windows directory for proper settings. If VL.ini "
             "does not exist, install/reinstall " + source_name +
             ", set correct data directory, and run Qorvane again.");
      Hint("On this computer the old program's data folder is read from " + settings_folder +
           "VL.ini ([DIRECTORIES] DATADIR) or from the last run in " + settings_folder +
           "FOXCON.INI; choose the folder of its .dbf tables " +
           (window ? std::string("with \"Choose folder...\" beside the source path.") : "with --source DIR."));
    } else if (!FileExists(paths.source_folder + "Property.dbf")) {
      MsgBox(paths.source_folder +
             "Property.dbf not found. Please verify data path and file name in VL.ini in Windows "
             "directory. If VL.ini does not exist, install/reinstall " + source_name +
             ", set correct data directory, and run Qorvane again.\"");
      if (auto there = os::FindCaseInsensitive(paths.source_folder, "Property.dbf"); there && os::FileSize(*there) == 0u) {
        Hint(*there + " is there but empty (0 bytes): it holds no table, so no order can be converted from this "
             "folder. Put back property.dbf from a backup of the old program's data, then run again.");
      } else {
        Hint("No property.dbf (in any letter case, and not empty) in " + paths.source_folder +
             ": choose the folder that holds the old program's .dbf tables (the data folder named in " +
             settings_folder + (window ? std::string("VL.ini).") : "VL.ini, or --source DIR)."));
      }
    } else {
      AddtoLogFile(paths.source_folder + " set as initial PYX data path");
      source_ok = true;
    }

    CkRSlash(form_.txtZulPath);
    paths.target_folder = Trim(form_.txtZulPath);
    paths.target_file.clear();
    if (paths.target_folder.empty()) {
      MsgBox("Unable to automatically find " + target_name + " data directory: Please choose proper directory");
      Hint("The new program's data folder is read from " + settings_folder + "zul.ini ([DIRECTORIES] DATADIR) or from "
           "the last run in " + settings_folder + "FOXCON.INI; choose it " +
           (window ? std::string("with \"Choose folder...\" beside the target path.") : "with --target DIR."));
    } else if (!FileExists(paths.target_folder + "Office.mdb")) {
      MsgBox(paths.target_folder + "Office.mdb not found. Please verify path and file name");
      if (!os::IsDirectory(paths.target_folder))
        TargetFolderMissingHint(paths.target_folder);
      else if (window)
        Hint("No office.mdb in " + paths.target_folder + ": \"Create a blank office.mdb here\" writes one there.");
      else
        Hint("No office.mdb in " + paths.target_folder + ": `qorvane init-target " + paths.target_folder +
             "` writes a blank one there.");
    } else {
      paths.target_file = ResolveInDirectory(paths.target_folder, "Office.mdb");
      AddtoLogFile(paths.target_folder + " set as initial ZUL data path");
      target_ok = true;
    }
    session_.DirectoriesSet = source_ok && target_ok;
    return session_.DirectoriesSet;
  });
}

void MainForm::AddtoLogFile(const std::string& line) {
  if (!session_.LogOpen() || !log_.is_open()) return;
  std::string text = line + "\r\n";
  try {
    log_.WriteAt(log_offset_, std::as_bytes(std::span<const char>(text.data(), text.size())));
    log_offset_ += text.size();
  } catch (...) {
    // A log that cannot be written is reported once and then closed, so the run can go on.
    log_.Close();
    ErrorInfo info = DescribeException(std::current_exception());
    ReportError(info.number, info.description);
  }
}

void MainForm::CloseLog() {
  Guard("CloseLog", [&] {
    if (session_.State == RunState::Running) session_.State = RunState::Closing;
    if (log_.is_open()) {
      try {
        log_.Sync();
      } catch (...) {
        // The lines are written; a failed flush does not undo them.
      }
      log_.Close();
    }
    EnableButtons(true);
  });
}

void MainForm::InitProgressBar() { form_.gauprogress = 0; }

void MainForm::SetGaugeValue(float current, std::int32_t total) {
  Guard("SetGaugeValue", [&] {
    if (total == 0) throw RunTimeError(error_number::kDivisionByZero, "Division by zero");
    double value = static_cast<double>(current) / static_cast<double>(total) * 99.9;
    form_.gauprogress = static_cast<int>(value);
  });
}

void MainForm::EnableButtons(bool enabled) {
  form_.ButtonsEnabled = enabled;
  if (enabled) {
    form_.cmdQuit = "Quit";
    form_.lblHint.clear();
  } else {
    form_.cmdQuit = "Quit Conversion";
    form_.lblHint = kQuitHint;
  }
  view_.Show(form_);
}

void MainForm::AbortConversion() {
  MsgBox("Converison aborted by User.");
  form_.gauprogress = 0;
  form_.lblCaption.clear();
  form_.lblAddress.clear();
  form_.lblRecord.clear();
  form_.fraIllegalFix = false;
  view_.Show(form_);
}

void MainForm::ShowCompletionNotice() {
  form_.gauprogress = 100;  // the run is over: the gauge ends full
  form_.lblCaption.clear();
  form_.lblRecord.clear();  // the last step's counter is no longer running
  form_.lblAddress = "Conversion Complete";
  form_.lblmsg = "Conversion Complete... Select Quit";
  view_.Show(form_);
}

void MainForm::cmdOk_Click() {
  form_.fraCustomize = false;
  view_.Show(form_);
}

bool MainForm::HandleQuitRequest() {
  session_.AbortRequested = view_.PromptEscape() == EscapeChoice::Stop;
  if (!session_.AbortRequested) {
    AddtoLogFile(kPausedLine);
    return false;
  }
  stopped_at_ = StopPlace{true, running_, form_.RecordNumber, form_.RecordTotal};
  AddtoLogFile(kStoppedLine);
  CloseLog();
  session_.EndRequested = true;
  return true;
}

void MainForm::cmdQuit_Click() {
  if (session_.State != RunState::Running) {
    session_.EndRequested = true;
    return;
  }
  HandleQuitRequest();
}

bool MainForm::Form_Unload() {
  if (session_.State != RunState::Running) {
    session_.EndRequested = true;
    return false;
  }
  return !HandleQuitRequest();
}

void MainForm::DoEvents() {
  view_.Show(form_);
  for (;;) {
    UserRequest request = view_.PollUserRequest();
    if (request == UserRequest::None) return;
    if (request == UserRequest::Quit) cmdQuit_Click();
    if (request == UserRequest::CloseWindow) Form_Unload();
  }
}

void MainForm::TargetFolderMissingHint(const std::string& folder) {
  if (view_.face() == Face::Window) {
    Hint("The target folder " + folder + " does not exist: choose another with \"Choose folder...\", or make it "
         "with \"Create a blank office.mdb here\".");
  } else {
    Hint("The target folder " + folder + " does not exist: `qorvane init-target " + folder +
         "` makes it with a blank office.mdb in it, or give another folder with --target DIR.");
  }
}

void MainForm::Hint(const std::string& text) {
  // Start-up and the run check the same things: each hint is given once.
  if (std::find(hints_given_.begin(), hints_given_.end(), text) != hints_given_.end()) return;
  hints_given_.push_back(text);
  view_.Notify(text);
}

MessageResult MainForm::MsgBox(const std::string& text, MessageButtons buttons,
                               const std::string& title) {
  if (collect_notices_ && buttons == MessageButtons::Ok) {
    // A notice during the run does not halt it: the face shows it as it goes, and the report
    // at the end gathers it. The duplicate-client notice gets its count.
    std::string notice = text;
    if (text == kClientsCorrectedNotice && !form_.lstafterdup.empty()) {
      notice += " (" + std::to_string(form_.lstafterdup.size()) + " client keys in client.dbf; each is listed, "
                "with its correction, in the duplicate-client form)";
    }
    if (notice != completion_text_) run_notices_.push_back(notice);
    form_.RunNotice = notice;
    view_.Notify(notice);
    view_.Show(form_);
    return MessageResult::Ok;
  }
  return view_.MessageBox(text, buttons, title);
}

bool MainForm::RetryAfterFailure(const std::string& name, const ErrorInfo& info, const std::string& where) {
  session_.SetRoutine(name);
  // The run stops at the first such error; the same refusal met again on the way out (the end
  // of the run saving office.mdb) is not reported a second time.
  if (info.ends_run && !stopping_error_.empty()) return false;
  int action = ReportError(info.number, where.empty() ? info.description : info.description + " (" + where + ")");
  if (action == kReportRetry && !info.ends_run) return true;
  if (action == kReportAbort || info.ends_run) {
    session_.AbortRequested = true;
    if (stopping_error_.empty() && session_.InConversion()) stopping_error_ = last_error_;
  }
  return false;
}

int MainForm::ReportError(int number, const std::string& description) {
  std::string where = Trim(session_.Routine());
  if (session_.InConversion()) ++errors_reported_;
  using namespace error_number;
  for (int file_error : {kFileNotFound, kDeviceIoError, kDiskFull, kDeviceUnavailable, kPermissionDenied,
                         kDiskNotReady, kPathFileAccessError, kPathNotFound, kUnrecognizedFormat}) {
    if (number == file_error && session_.InConversion()) ++file_errors_;
  }
  std::string notice = "Error #" + Str(number) + " in module " + where + ": " + description;
  last_error_ = notice;
  AddtoLogFile(notice);
  // Start-up and the run open the same tables: what start-up showed, the run's log records
  // without showing it a second time.
  if (!session_.InConversion()) {
    startup_errors_.insert(notice);
    view_.Notify(notice);
  } else if (!startup_errors_.count(notice)) {
    view_.Notify(notice);
  }
  if (number == error_number::kCouldNotUpdateLocked) {
    // The program ends after this box: it is shown at once, also during a run.
    view_.MessageBox("The databases may be corrupt (Error #" + Str(number) + " in module " + where + ": " +
                         description + "). Please run the rebuild programs, then restart Qorvane.",
                     MessageButtons::Ok, "");
    CloseLog();
    throw ProgramEnd(3);
  }
  bool boxed = number == error_number::kDeviceIoError || number == error_number::kDiskFull ||
               number == error_number::kDeviceUnavailable || number == error_number::kDiskNotReady;
  if (!boxed) return kReportOther;
  std::string text = description + ".\r\nError #" + Str(number) + " in module " + where + ".";
  switch (MsgBox(text, MessageButtons::AbortRetryIgnore, "Error")) {
    case MessageResult::Retry:
    case MessageResult::Ok: return kReportRetry;
    case MessageResult::Ignore: return kReportIgnore;
    case MessageResult::Abort:
    case MessageResult::Cancel: return kReportAbort;
    default: return kReportOther;
  }
}

}  // namespace qorvane::app
