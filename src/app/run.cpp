// The conversion run (the Convert button): the checks, the confirmation, the clearing, the
// preliminary corrections, the thirteen conversion steps in their fixed order, the data
// massage, and the elapsed-time summary. Every ending goes through CloseLog.
#include <fmt/format.h>

#include <initializer_list>

#include "app/main_form.h"
#include "app/paths.h"

namespace qorvane::app {
namespace {

// One conversion step: its check box, its image pair, its begin line (none for Applied),
// the converter routines it calls, and its completion texts.
struct ConversionStep {
  const char* check_box;
  const char* done_image;
  const char* now_image;
  const char* begin_line;  // nullptr: the step writes no begin line
  std::initializer_list<const char*> converters;
  const char* completion_prefix;  // followed by the count and " records"
  const char* empty_line;         // when the count is empty
  // A source table the step needs: when it is missing the step writes MISSING_LINE instead of
  // running its converters and its completion line.
  const char* required_file = nullptr;
  const char* missing_line = nullptr;
};

constexpr const char* kFormTypesPrefix = "Formtypes table (standard) conversion complete: ";
constexpr const char* kFormTypesEmpty = "Formtypes table (standard) conversion complete: No records found";

const ConversionStep kConversionSteps[] = {
    {"ckbformtypes", "imaformtypes", "imaFormTypesNow", "Begin conversion: FormTypes.mdb",
     {"ConvertFormTypesDBF"}, kFormTypesPrefix, kFormTypesEmpty, "forms.dbf",
     "***    Forms.dbf was not found."},
    // The client step reports with the form-types wording, as the office's logs always have.
    {"ckbClient", "imaclient", "imaClientNow", "Begin conversion: Client.mdb",
     {"ConvertClientDBF", "ConvertClientDBFByCliNum"}, kFormTypesPrefix, kFormTypesEmpty},
    {"ckbappraiser", "imaappraiser", "imaAppraiserNow", "Begin conversion: Appraiser.mdb",
     {"ConvertAppraisrDBF"}, "Appriaser table conversion complete: ",
     "Appriaser table conversion complete: No records found"},
    {"ckbaddapprformtypes", "imaaddapprformtypes", "imaAddApprFormTypesNow",
     "Begin conversion addition: FormTypes.mdb (Appraiser Non-Standard)", {"AddFormTypesAppraiser"},
     "Non-standard formtypes (appraiser) conversion complete: ",
     "Non-standard formtypes (appraiser) conversion complete: No records found"},
    {"ckbAddClientFormTypes", "imaaddclientformtypes", "imaAddClientFormTypesNow",
     "Begin conversion addition: FormTypes.mdb (Client Non-Standard)", {"AddFormTypesClient"},
     "Non-standard formtypes (client) conversion complete: ",
     "Non-standard formtypes (client) conversion complete: No records found"},
    {"ckbProperty", "imaproperty", "imaPropertyNow", "Begin conversion: Property.mdb",
     {"ConvertPropertyDBF"}, "Property table conversion complete: ",
     "Property table conversion complete: No records found"},
    {"ckbinvoice", "imainvoice", "imaInvoiceNow", "Begin conversion: Invoice.mdb",
     {"ConvertInvoiceDBF"}, "Invoice table conversion complete: ",
     "Invoice table conversion complete: No records found"},
    {"ckbapprexp", "imaapprexp", "imaApprExpNow", "Begin conversion: Appraiser Expense into Invoice.mdb",
     {"ConvertApprExpDBF"}, "Appraiser Expense data conversion complete: ",
     "Appraiser Expense data conversion complete: No records found"},
    {"ckbApprFee", "imaapprfee", "imaApprFeeNow", "Begin conversion: AppraiserFee.mdb",
     {"ConvertApprFeeDBF"}, "AppraiserFee table conversion complete: ",
     "AppraiserFee table conversion complete: No records found"},
    {"ckbclientfee", "imaclientfee", "imaClientFeeNow", "Begin conversion: ClientFee into Client.mdb",
     {"ConvertClientFeeDBF"}, "ClientFee data conversion complete: ",
     "ClientFee data conversion complete: No records found"},
    {"ckbApplied", "imaapplied", "imaAppliedNow", nullptr, {"ConvertAppliedDBF"},
     "Applied table conversion complete: ", "Applied table conversion complete: No records found"},
    {"ckbcompany", "imacompany", "imaCompanyNow", "Begin conversion: Company.mdb",
     {"ConvertCompanyName"}, "Company table conversion complete: ",
     "Company table conversion complete: No records found"},
    {"ckbusers", "imausers", "imaUsersNow", "Begin conversion: Users.mdb", {"ConvertUsers"},
     "Users table conversion complete: ", "Users table conversion complete: No records found"},
};

struct MassageStep {
  const char* check_box;
  const char* done_image;
  const char* now_image;
  const char* begin_line;
  const char* routine;
  const char* completion_prefix;
};

const MassageStep kMassageSteps[] = {
    {"ckbmassageproperty", "imamassageproperty", "imaMassagePropertyNow",
     "Begin Data Massage: Property.mdb", "MassageProperty", "Property data massage complete: "},
    {"ckbmassageassigned", "imamassageassigned", "imaMassageAssignedNow",
     "Begin Data Massage: Assigned.mdb", "MassageAssigned", "Assigned data massage complete: "},
    {"ckbmassageinvoice", "imamassageinvoice", "imaMassageInvoiceNow",
     "Begin Data Massage: Invoice.mdb", "MassageInvoice", "Invoice data massage complete: "},
};

// The preliminary corrections of other source tables, in their order.
struct DataFileNumFix {
  const char* control;
  const char* field;
  const char* table;
};
const DataFileNumFix kDataFileNumFixes[] = {
    {"datinvoice", "Inv_num", "Invoice"}, {"datClient", "Cli_num", "Client"},
    {"datClient", "Cli_Bill", "Client"},  {"datapplied", "File_num", "Applied"},
    {"datcliexp", "Inv_num", "Cliexp"},   {"datapprexp", "File_num", "Apprexp"},
};

}  // namespace

std::vector<StepControls> ConversionStepControls() {
  std::vector<StepControls> controls;
  for (const ConversionStep& step : kConversionSteps) {
    controls.push_back({step.check_box, step.done_image, step.now_image});
  }
  return controls;
}

std::vector<StepControls> MassageStepControls() {
  std::vector<StepControls> controls;
  for (const MassageStep& step : kMassageSteps) controls.push_back({step.check_box, step.done_image, step.now_image});
  return controls;
}

namespace {

constexpr const char* kConfirmation =
    "You should have a good backup of your data BEFORE using this option.  If you have a many "
    "records (thousands) to merge and convert this task may take a long time.  The files are "
    "'*.DBF', '*.CDX', '*.FPT' in the subdirectory called '";

}  // namespace

void MainForm::cmdNEWConvert() {
  session_.SetRoutine("cmdNEWConvert");
  form_.fraCustomize = false;
  if (session_.InConversion) return;
  session_.InConversion = true;
  session_.RunActive = true;
  EnableButtons(false);
  session_.AbortRequested = false;
  end_run_pending_ = true;
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
  if (session_.InConversion) CloseLog();
  // The target is put in place only now, when no converter is on the stack any more: a Stop
  // answered inside a converter closes the log at once, but the converter still returns first.
  if (end_run_pending_) {
    end_run_pending_ = false;
    if (routines_.EndRun) routines_.EndRun();
  }
}

bool MainForm::AbortTest() {
  if (!session_.AbortRequested) return false;
  AddtoLogFile("Conversion aborted (ESC key): " + DateText(clock_.Now()));
  CloseLog();
  outcome_ = RunOutcome::Stopped;
  return true;
}

void MainForm::RunConversion() {
  bool view_log = form_.Checked("ckbViewLog");
  Timestamp start = clock_.Now();
  run_start_ = start;

  std::string log_dir = form_.txtZulPath;
  CkRSlash(log_dir);
  log_path_ = Trim(log_dir) + LogFileName(start);
  log_ = os::File::Open(log_path_, os::OpenMode::CreateTruncate);
  log_offset_ = 0;
  session_.LogOpen = true;

  AddtoLogFile("Company: " + form_.lblCompany);
  AddtoLogFile("Phone: " + form_.lblphone);
  AddtoLogFile("fax: " + form_.lblfax);
  AddtoLogFile("Qorvane Conversion Start = " + DateTimeText(start));
  AddtoLogFile(fmt::format("Version: {}.{}.{}", QORVANE_VERSION_MAJOR, QORVANE_VERSION_MINOR,
                           QORVANE_VERSION_PATCH));
  AddtoLogFile("");

  if (!DiscoverDataDirectories()) {
    AddtoLogFile("Conversion aborted: Data directories not correctly set");
    CloseLog();
    outcome_ = RunOutcome::DirectoriesNotSet;
    return;
  }
  session_.SetRoutine("cmdNEWConvert");
  if (routines_.PrepareSource) routines_.PrepareSource();

  AddtoLogFile("");
  AddtoLogFile("Listboxes cleared");
  AddtoLogFile("");

  std::string question = kConfirmation + session_.SourcePath + "'. Do you wish to continue?";
  if (MsgBox(question, MessageButtons::YesNo) != MessageResult::Yes) {
    CloseLog();
    outcome_ = RunOutcome::Declined;
    return;
  }

  form_.fraIllegalFix = true;
  form_.lstIllegalFilenumbers.clear();
  form_.lstWasNotConverted.clear();
  cmdOk_Click();
  if (routines_.AdoConnect) routines_.AdoConnect();
  AddtoLogFile("");
  if (AbortTest()) return;

  if (routines_.ClearSelectedTables) routines_.ClearSelectedTables();
  SetGaugeValue(0, 1);

  if (form_.Checked("ckbPrelim")) {
    if (routines_.FixPropertyFileNum) routines_.FixPropertyFileNum();
    if (AbortTest()) return;
    for (const DataFileNumFix& fix : kDataFileNumFixes) {
      if (routines_.FixDataFileNums) routines_.FixDataFileNums(fix.control, fix.field, fix.table);
      if (AbortTest()) return;
    }
    // The converters read the corrected numbers, in their corrected order.
    if (routines_.RefreshSource) routines_.RefreshSource();
  }

  RunSteps();
  if (!session_.InConversion) return;  // stopped inside the steps
  if (form_.Checked("ckbMassage")) {
    RunMassage();
    if (!session_.InConversion) return;
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

void MainForm::RunSteps() {
  for (const ConversionStep& step : kConversionSteps) {
    if (!form_.Checked(step.check_box)) continue;
    form_.Images[step.now_image] = true;
    form_.Images[step.done_image] = false;
    form_.lblRecord.clear();
    if (step.begin_line) AddtoLogFile(step.begin_line);
    bool skip_completion = false;
    if (step.required_file && !FileExists(session_.SourcePath + step.required_file)) {
      AddtoLogFile(step.missing_line);
      skip_completion = true;
    } else {
      for (const char* converter : step.converters) {
        auto routine = routines_.Converters.find(converter);
        if (routine != routines_.Converters.end() && routine->second) routine->second();
        if (AbortTest()) return;
      }
    }
    form_.Images[step.now_image] = false;
    form_.Images[step.done_image] = true;
    if (!skip_completion) {
      std::string count = Trim(form_.lblRecord);
      AddtoLogFile(count.empty() ? step.empty_line : step.completion_prefix + count + " records");
    }
    // Between two steps the user's Quit or ESC is served as well.
    DoEvents();
    if (AbortTest()) return;
  }
}

void MainForm::RunMassage() {
  form_.Images[kMassageDataControls.now_image] = true;
  form_.Images[kMassageDataControls.done_image] = false;
  if (routines_.DeleteEmptyFilenumbers) routines_.DeleteEmptyFilenumbers();
  AddtoLogFile("Begin Data Massage of Selected");
  for (const MassageStep& step : kMassageSteps) {
    if (!form_.Checked(step.check_box)) continue;
    form_.Images[step.now_image] = true;
    form_.Images[step.done_image] = false;
    form_.lblRecord.clear();
    AddtoLogFile(step.begin_line);
    auto routine = routines_.Converters.find(step.routine);
    if (routine != routines_.Converters.end() && routine->second) routine->second();
    if (AbortTest()) return;
    form_.Images[step.now_image] = false;
    form_.Images[step.done_image] = true;
    AddtoLogFile(step.completion_prefix + Trim(form_.lblRecord) + " records");
  }
  form_.Images[kMassageDataControls.now_image] = false;
  form_.Images[kMassageDataControls.done_image] = true;
  AddtoLogFile("Data massage (ALL) complete:");
}

}  // namespace qorvane::app
