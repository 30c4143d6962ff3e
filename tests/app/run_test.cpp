// The conversion run end to end on real folders: the exact lines of the log for a run with no
// steps, a run declined at the confirmation, runs stopped by the user, unset directories, and
// the per-step begin and completion lines, with scripted converters standing in for the real.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "app/main_form.h"
#include "app/run_summary.h"
#include "fake_view.h"
#include "test_support/scripted_routines.h"
#include "test_support/office_folders.h"
#include "test_support/temp_dir.h"

namespace qorvane::app {
namespace {

using R = RunRoutines;

constexpr std::int64_t kStart = 1794733507;  // 11/15/2026 9:05:07 AM UTC

std::vector<std::string> ReadAllOfLog(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream buffer;
  buffer << in.rdbuf();
  std::string text = buffer.str();
  std::vector<std::string> lines;
  std::size_t start = 0;
  for (std::size_t end; (end = text.find("\r\n", start)) != std::string::npos; start = end + 2) {
    lines.push_back(text.substr(start, end - start));
  }
  EXPECT_EQ(start, text.size()) << "every log line ends in CR LF";
  return lines;
}

// The lines the run and the converters wrote, without the report appended after them.
std::vector<std::string> ReadLog(const std::string& path) {
  std::vector<std::string> lines = ReadAllOfLog(path);
  for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
    if (lines[i].empty() && lines[i + 1] == kReportHeading) {
      lines.resize(i);
      break;
    }
  }
  return lines;
}

// The report appended to the log, from its heading on.
std::vector<std::string> ReportInLog(const std::string& path) {
  std::vector<std::string> lines = ReadAllOfLog(path);
  auto heading = std::find(lines.begin(), lines.end(), kReportHeading);
  return heading == lines.end() ? std::vector<std::string>{} : std::vector<std::string>(heading, lines.end());
}

bool Has(const std::vector<std::string>& lines, const std::string& line) {
  return std::find(lines.begin(), lines.end(), line) != lines.end();
}

class RunTest : public ::testing::Test {
 protected:
  void SetUp() override {
    test::OfficeFolders folders(dir.path());
    source = folders.source;
    target = folders.target;
    std::ofstream(source + "/PROPERTY.DBF") << "x";
    std::ofstream(target + "/office.mdb") << "x";
    main_form.SetRoutines(routines);
    main_form.FormLoad({source, target});
    main_form.form().CheckBoxes.fill(0);
    main_form.form().lblCompany = "Acme Appraisals";
    main_form.form().lblphone = "555-0100";
    main_form.form().lblfax = "555-0101";
    view.messages.clear();
  }

  // The header and the lines every run writes before the confirmation.
  std::vector<std::string> Preamble() const {
    return {"Company: Acme Appraisals", "Phone: 555-0100", "fax: 555-0101",
            "Qorvane Conversion Start = 11/15/2026 9:05:07 AM", "Version: 0.1.0", "",
            source + "/ set as initial PYX data path", target + "/ set as initial ZUL data path",
            "", "Listboxes cleared", ""};
  }
  std::vector<std::string> Lines(std::vector<std::string> tail) const {
    std::vector<std::string> lines = Preamble();
    lines.insert(lines.end(), tail.begin(), tail.end());
    return lines;
  }
  void Register(StepRoutine routine, std::function<StepResult()> body) { routines.On(routine, std::move(body)); }

  test::TempDir dir;
  std::string source, target;
  test::FakeView view;
  test::FakeClock clock{kStart};
  test::ScriptedRoutines routines;
  MainForm main_form{view, Settings(dir.path() + "/settings"), clock};
};

TEST_F(RunTest, NoStepsWritesHeaderListboxLinesAndTheSummary) {
  clock.Advance(0);
  Register(&R::ConvertPropertyDBF, [&] {
    ADD_FAILURE() << "an unchecked step ran";
    return StepResult{};
  });
  main_form.cmdNEWConvert();
  EXPECT_EQ(main_form.outcome(), RunOutcome::Completed);
  EXPECT_EQ(ReadLog(main_form.LogPath()),
            Lines({"", "", "Qorvane Conversion End = 11/15/2026 9:05:07 AM",
                   "Elapsed Time:  0 days  0 hrs  0 mins  0 secs"}));
  EXPECT_EQ(main_form.LogPath(), target + "/ConvLog-261115-957.log");
  // What will change leads, then the old question word for word, then the one the buttons answer.
  ASSERT_EQ(view.messages.size(), 1u);
  EXPECT_EQ(view.messages[0],
            "What this run will change:\n"
            "- No conversion step is ticked: nothing is converted into " + target + "/office.mdb.\n"
            "- Empties no table of office.mdb first.\n"
            "- Only reads the source tables in " + source + "/ (no Preliminary Corrections).\n"
            "- Converts every file number.\n\n"
            "You should have a good backup of your data BEFORE using this option.  If you have a "
            "many records (thousands) to merge and convert this task may take a long time.  The "
            "files are '*.DBF', '*.CDX', '*.FPT' in the subdirectory called '" + source +
            "/'. Do you wish to continue?\n\n"
            "Convert now?");
  // The summary does not halt the run's end as a box: it heads the report.
  EXPECT_EQ(main_form.CompletionText(), "Conversion complete: 0 days  0 hrs  0 mins  0 secs");
  EXPECT_TRUE(Has(view.notices, "Conversion complete: 0 days  0 hrs  0 mins  0 secs"));
  EXPECT_EQ(RunHeadline(main_form), "Conversion complete: 0 days  0 hrs  0 mins  0 secs");
  EXPECT_FALSE(main_form.session().InConversion());
  EXPECT_FALSE(main_form.session().LogOpen());
  EXPECT_TRUE(main_form.form().ButtonsEnabled);
  EXPECT_EQ(main_form.form().cmdQuit, "Quit");
  EXPECT_EQ(main_form.form().lblAddress, "Conversion Complete");
  EXPECT_EQ(main_form.form().lblmsg, "Conversion Complete... Select Quit");
  EXPECT_TRUE(view.opened_logs.empty());
}

TEST_F(RunTest, DecliningTheConfirmationEndsAfterTheListboxLines) {
  view.confirm = MessageResult::No;
  bool connected = false;
  routines.adoconnect = [&] { connected = true; };
  main_form.cmdNEWConvert();
  EXPECT_EQ(main_form.outcome(), RunOutcome::Declined);
  EXPECT_EQ(ReadLog(main_form.LogPath()), Preamble());
  EXPECT_FALSE(connected);
  EXPECT_FALSE(main_form.session().InConversion());
}

TEST_F(RunTest, TheConfirmationSaysWhatTheRunWillChange) {
  FormModel& form = main_form.form();
  for (CheckBox box : {CheckBox::ckbClient, CheckBox::ckbProperty, CheckBox::ckbMassage, CheckBox::ckbmassageinvoice,
                       CheckBox::ckbClearClient, CheckBox::ckbclearinvoice, CheckBox::ckbclearsystem, CheckBox::ckbPrelim}) {
    form.SetCheck(box, true);
  }
  form.lstfilenum = {"1001", "1002-A"};
  view.confirm = MessageResult::No;
  main_form.cmdNEWConvert();
  ASSERT_EQ(view.messages.size(), 1u);
  std::string changes = view.messages[0].substr(0, view.messages[0].find("\n\nYou should have a good backup"));
  EXPECT_EQ(changes,
            "What this run will change:\n"
            "- Converts into " + target + "/office.mdb: Clients and Orders (Property).\n"
            "- Then repairs the converted rows (Massage Data): Invoice.\n"
            "- EMPTIES these tables of office.mdb first (Clear Data First): Clients and Users. "
            "Their rows are deleted before anything is converted.\n"
            "- Deletes first the rows of the listed file numbers from Invoices (Clear Data First); their other rows "
            "stay.\n"
            "- REPAIRS the source tables in " + source + "/ in place (Preliminary Corrections: illegal file "
            "numbers and invalid client keys are corrected and written back). A copy of each table it "
            "changes goes first into " + source + "/qorvane-backup-261115-957/.\n"
            "- Converts only the file numbers 1001 and 1002-A, each afresh: their rows in " + target +
            "/office.mdb are deleted first.");
  EXPECT_FALSE(view.gathered[0]) << "the question is asked at once, not gathered";
}

TEST_F(RunTest, TheMessagesOfStartUpAndOfTheChecksAtConvertComeGathered) {
  std::filesystem::remove(target + "/office.mdb");
  view.messages.clear();
  view.gathered.clear();
  MainForm fresh{view, Settings(dir.path() + "/settings"), clock};
  fresh.FormLoad({source + "/nowhere", target});
  ASSERT_EQ(view.messages.size(), 2u);
  EXPECT_EQ(view.gathered, (std::vector<bool>{true, true}));
  fresh.cmdNEWConvert();
  ASSERT_EQ(view.messages.size(), 4u);
  EXPECT_EQ(view.gathered, (std::vector<bool>{true, true, true, true}));
  EXPECT_EQ(view.gathering, 0);
  EXPECT_EQ(fresh.outcome(), RunOutcome::DirectoriesNotSet);
}

TEST_F(RunTest, UnsetDirectoriesAreRefusedAfterBothChecks) {
  main_form.form().txtPyxPath = "   ";
  std::filesystem::remove(target + "/office.mdb");
  main_form.cmdNEWConvert();
  EXPECT_EQ(main_form.outcome(), RunOutcome::DirectoriesNotSet);
  EXPECT_EQ(ReadLog(main_form.LogPath()),
            (std::vector<std::string>{"Company: Acme Appraisals", "Phone: 555-0100",
                                      "fax: 555-0101",
                                      "Qorvane Conversion Start = 11/15/2026 9:05:07 AM",
                                      "Version: 0.1.0", "",
                                      "Conversion aborted: Data directories not correctly set"}));
  ASSERT_EQ(view.messages.size(), 2u);
  EXPECT_EQ(view.messages[0],
            "Unable to automatically find PYX data directory: check VL.ini in Windows directory "
            "for proper settings. If VL.ini does not exist, install/reinstall PYX, set correct "
            "data directory, and run Qorvane again.");
  EXPECT_EQ(view.messages[1], target + "/Office.mdb not found. Please verify path and file name");
  // Beside the old program's words: where this program looked, and what to do next; the log of
  // a refused run is kept in the settings folder, not among the office's files.
  ASSERT_EQ(view.notices.size(), 3u);
  EXPECT_NE(view.notices[0].find(dir.path() + "/settings/VL.ini ([DIRECTORIES] DATADIR)"), std::string::npos)
      << view.notices[0];
  EXPECT_EQ(view.notices[1], "No office.mdb in " + target + "/: `qorvane init-target " + target +
                                 "/` writes a blank one there.");
  EXPECT_EQ(main_form.LogPath(), dir.path() + "/settings/ConvLog-261115-957.log");
  EXPECT_EQ(view.notices[2], "Nothing was converted; this run's log is kept in " + main_form.LogPath() +
                                 ", not among the office's files.");
  EXPECT_FALSE(std::filesystem::exists(target + "/ConvLog-261115-957.log"));
}

TEST_F(RunTest, MissingPropertyTableMessageEndsInADoubleQuote) {
  std::filesystem::remove(source + "/PROPERTY.DBF");
  std::ofstream(source + "/property.dbf");  // empty counts as missing
  EXPECT_FALSE(main_form.DiscoverDataDirectories());
  ASSERT_EQ(view.messages.size(), 1u);
  EXPECT_EQ(view.messages[0].rfind(source + "/Property.dbf not found.", 0), 0u);
  EXPECT_EQ(view.messages[0].back(), '"');
  main_form.form().txtPyxPath = source;  // without the trailing separator
  std::ofstream(source + "/property.dbf") << "x";
  EXPECT_TRUE(main_form.DiscoverDataDirectories());
  EXPECT_EQ(main_form.session().Paths.source_folder, source + "/");
}

TEST_F(RunTest, StepsWriteTheirBeginAndCompletionLinesInTheFixedOrder) {
  auto& form = main_form.form();
  for (CheckBox box : {CheckBox::ckbusers, CheckBox::ckbformtypes, CheckBox::ckbClient,
                       CheckBox::ckbappraiser, CheckBox::ckbApplied, CheckBox::ckbProperty}) {
    form.SetCheck(box, true);
  }
  Register(&R::ConvertClientDBF, [&] { return test::Shown(4); });
  Register(&R::ConvertClientDBFByCliNum, [&] { return test::Shown(6); });
  Register(&R::ConvertAppliedDBF, [&] { return test::Shown(12); });
  Register(&R::ConvertUsers, [&] {
    clock.Advance(86399);
    return test::Shown(2);
  });
  main_form.cmdNEWConvert();
  std::vector<std::string> converters;
  for (const std::string& call : routines.calls) {
    if (call.rfind("Convert", 0) == 0) converters.push_back(call);
  }
  EXPECT_EQ(converters, (std::vector<std::string>{"ConvertClientDBF", "ConvertClientDBFByCliNum",
                                                  "ConvertAppraisrDBF", "ConvertPropertyDBF",
                                                  "ConvertAppliedDBF", "ConvertUsers"}));
  EXPECT_EQ(ReadLog(main_form.LogPath()),
            Lines({"",
                   "Begin conversion: FormTypes.mdb", "***    Forms.dbf was not found.",
                   "Begin conversion: Client.mdb",
                   "Formtypes table (standard) conversion complete: 6 records",
                   "Begin conversion: Appraiser.mdb",
                   "Appriaser table conversion complete: No records found",
                   "Begin conversion: Property.mdb",
                   "Property table conversion complete: No records found",
                   "Applied table conversion complete: 12 records",
                   "Begin conversion: Users.mdb", "Users table conversion complete: 2 records",
                   "", "Qorvane Conversion End = 11/16/2026 9:05:06 AM",
                   "Elapsed Time:  1 days  0 hrs  29 mins  59 secs"}));
  EXPECT_EQ(main_form.CompletionText(), "Conversion complete: 1 days  0 hrs  29 mins  59 secs");
  EXPECT_TRUE(form.ImageVisible("imaclient"));
  EXPECT_FALSE(form.ImageVisible("imaClientNow"));
  // The marks tell what each step came to, and the gauge ends full.
  EXPECT_EQ(form.Mark("imaformtypes"), StepMark::Missing);
  EXPECT_EQ(form.Mark("imaclient"), StepMark::Converted);
  EXPECT_EQ(form.Mark("imaappraiser"), StepMark::NothingFound);
  EXPECT_EQ(form.Mark("imainvoice"), StepMark::NotTicked);
  EXPECT_EQ(form.gauprogress, 100);
}

TEST_F(RunTest, FormTypesStepRunsWhenFormsTableIsThere) {
  std::ofstream(source + "/FORMS.DBF") << "x";
  main_form.form().SetCheck(CheckBox::ckbformtypes, true);
  Register(&R::ConvertFormTypesDBF, [&] { return test::Shown(31); });
  main_form.cmdNEWConvert();
  auto lines = ReadLog(main_form.LogPath());
  EXPECT_EQ(lines[12], "Begin conversion: FormTypes.mdb");
  EXPECT_EQ(lines[13], "Formtypes table (standard) conversion complete: 31 records");
}

TEST_F(RunTest, StopBetweenTwoStepsEndsTheRunAndKeepsWhatWasWritten) {
  main_form.form().SetCheck(CheckBox::ckbappraiser, true);
  main_form.form().SetCheck(CheckBox::ckbProperty, true);
  int end_runs = 0;
  routines.end_run = [&] { ++end_runs; };
  Register(&R::ConvertAppraisrDBF, [&] {
    view.requests.push_back(UserRequest::Quit);  // ESC pressed as the step ends
    return test::Shown(3);
  });
  Register(&R::ConvertPropertyDBF, [&] {
    ADD_FAILURE() << "the run went on after Stop";
    return StepResult{};
  });
  view.escape_answers.push_back(EscapeChoice::Stop);
  main_form.cmdNEWConvert();
  EXPECT_EQ(main_form.outcome(), RunOutcome::Stopped);
  EXPECT_EQ(ReadLog(main_form.LogPath()),
            Lines({"", "Begin conversion: Appraiser.mdb",
                   "Appriaser table conversion complete: 3 records",
                   "Conversion aborted by User and program ended (Quit button)"}));
  EXPECT_EQ(end_runs, 1);
  EXPECT_TRUE(main_form.session().EndRequested);
  EXPECT_FALSE(main_form.session().InConversion());
}

TEST_F(RunTest, StopInsideAConverterPutsTheTargetInPlaceOnlyAfterItReturns) {
  main_form.form().SetCheck(CheckBox::ckbProperty, true);
  int end_runs = 0;
  routines.end_run = [&] { ++end_runs; };
  bool target_still_open_after_stop = false;
  Register(&R::ConvertPropertyDBF, [&] {
    view.requests.push_back(UserRequest::Quit);
    main_form.DoEvents();
    target_still_open_after_stop = main_form.session().AbortRequested && end_runs == 0;
    return StepResult{};
  });
  view.escape_answers.push_back(EscapeChoice::Stop);
  main_form.cmdNEWConvert();
  EXPECT_TRUE(target_still_open_after_stop);
  EXPECT_EQ(end_runs, 1);
  EXPECT_EQ(ReadLog(main_form.LogPath()).back(),
            "Conversion aborted by User and program ended (Quit button)");
}

TEST_F(RunTest, ContinueWritesOnePauseLineAndTheConverterGoesOn) {
  main_form.form().SetCheck(CheckBox::ckbProperty, true);
  int records = 0;
  Register(&R::ConvertPropertyDBF, [&] {
    for (int i = 1; i <= 3; ++i) {
      if (i == 2) view.requests.push_back(UserRequest::Quit);
      main_form.DoEvents();
      if (main_form.session().AbortRequested) return StepResult{};
      ++records;
    }
    return test::Shown(records);
  });
  main_form.cmdNEWConvert();
  EXPECT_EQ(view.prompts, 1);
  EXPECT_EQ(main_form.outcome(), RunOutcome::Completed);
  auto lines = ReadLog(main_form.LogPath());
  EXPECT_EQ(std::count(lines.begin(), lines.end(),
                       "Conversion paused by User (Quit button) ~ continued"), 1);
  EXPECT_EQ(lines[13], "Conversion paused by User (Quit button) ~ continued");
  EXPECT_EQ(lines[14], "Property table conversion complete: 3 records");
}

TEST_F(RunTest, AbortAfterTheFirstClientConverterSkipsTheSecond) {
  main_form.form().SetCheck(CheckBox::ckbClient, true);
  Register(&R::ConvertClientDBF, [&] {
    main_form.session().AbortRequested = true;
    return StepResult{};
  });
  Register(&R::ConvertClientDBFByCliNum, [&] {
    ADD_FAILURE() << "ran after the abort";
    return StepResult{};
  });
  main_form.cmdNEWConvert();
  EXPECT_EQ(ReadLog(main_form.LogPath()),
            Lines({"", "Begin conversion: Client.mdb", "Conversion aborted (ESC key): 11/15/2026"}));
  EXPECT_EQ(main_form.outcome(), RunOutcome::Stopped);
}

TEST_F(RunTest, PreliminaryCorrectionsAndMassageRunInOrder) {
  auto& form = main_form.form();
  form.SetCheck(CheckBox::ckbPrelim, true);
  form.SetCheck(CheckBox::ckbMassage, true);
  form.SetCheck(CheckBox::ckbmassageproperty, true);
  form.SetCheck(CheckBox::ckbmassageinvoice, true);
  std::vector<std::string> calls;
  routines.fix_property = [&] { calls.push_back("FixPropertyFileNum"); };
  routines.fix_data = [&](SourceControl control, const char* field, const char* table) {
    calls.push_back(std::string(NameOf(control)) + "." + field + "." + table);
  };
  routines.delete_empty = [&] { calls.push_back("DeleteEmpty"); };
  Register(&R::MassageProperty, [&] { return test::Shown(10); });
  Register(&R::MassageInvoice, [&] { return test::Shown(8); });
  main_form.cmdNEWConvert();
  EXPECT_EQ(calls, (std::vector<std::string>{
                       "FixPropertyFileNum", "datinvoice.Inv_num.Invoice", "datClient.Cli_num.Client",
                       "datClient.Cli_Bill.Client", "datapplied.File_num.Applied",
                       "datcliexp.Inv_num.Cliexp", "datapprexp.File_num.Apprexp", "DeleteEmpty"}));
  EXPECT_EQ(ReadLog(main_form.LogPath()),
            Lines({"", "Begin Data Massage of Selected", "Begin Data Massage: Property.mdb",
                   "Property data massage complete: 10 records", "Begin Data Massage: Invoice.mdb",
                   "Invoice data massage complete: 8 records", "Data massage (ALL) complete:", "",
                   "Qorvane Conversion End = 11/15/2026 9:05:07 AM",
                   "Elapsed Time:  0 days  0 hrs  0 mins  0 secs"}));
}

// Closing the window during a run asks, and Continue cancels the close; Quit while idle ends
// without a prompt, and a log write with no log open is harmless.
TEST_F(RunTest, ClosingTheWindowDuringARunAsksAndQuitWhileIdleEndsWithoutAPrompt) {
  main_form.form().SetCheck(CheckBox::ckbProperty, true);
  bool cancelled = false;
  Register(&R::ConvertPropertyDBF, [&] {
    cancelled = main_form.Form_Unload();
    return StepResult{};
  });
  main_form.cmdNEWConvert();
  EXPECT_TRUE(cancelled);
  EXPECT_EQ(main_form.outcome(), RunOutcome::Completed);
  int prompts = view.prompts;
  main_form.AddtoLogFile("nothing is open");
  main_form.cmdQuit_Click();
  EXPECT_EQ(view.prompts, prompts);
  EXPECT_TRUE(main_form.session().EndRequested);
  EXPECT_FALSE(main_form.Form_Unload());
}

TEST_F(RunTest, ViewLogChoiceOpensTheLogAndACompletedRunStoresItsChoices) {
  main_form.form().SetCheck(CheckBox::ckbViewLog, true);
  main_form.form().SetCheck(CheckBox::ckbinvoice, true);
  main_form.cmdNEWConvert();
  ASSERT_EQ(view.opened_logs.size(), 1u);
  EXPECT_EQ(view.opened_logs[0], main_form.LogPath());

  test::FakeView other_view;
  MainForm next(other_view, Settings(dir.path() + "/settings"), clock);
  next.TagRead();
  EXPECT_EQ(next.form().txtPyxPath, source + "/");
  EXPECT_EQ(next.form().txtZulPath, target + "/");
  EXPECT_TRUE(next.form().Checked(CheckBox::ckbinvoice));
  EXPECT_FALSE(next.form().Checked(CheckBox::ckbProperty));
}

// Logs of runs started in one second are numbered in the order the runs started (the earlier
// log was renamed to -2 before, so a third run left them out of order).
TEST_F(RunTest, RunsInOneSecondKeepEveryLogNumberedInTimeOrderAndAnUnsetTargetLogsIntoTheSettingsFolder) {
  for (int run = 0; run < 3; ++run) main_form.cmdNEWConvert();
  EXPECT_EQ(main_form.LogPath(), target + "/ConvLog-261115-957-3.log");
  EXPECT_TRUE(std::filesystem::exists(target + "/ConvLog-261115-957-2.log"));
  EXPECT_TRUE(std::filesystem::exists(target + "/ConvLog-261115-957.log"));
  auto modified = [&](const std::string& name) { return std::filesystem::last_write_time(target + "/" + name); };
  EXPECT_LE(modified("ConvLog-261115-957.log"), modified("ConvLog-261115-957-2.log"));
  EXPECT_LE(modified("ConvLog-261115-957-2.log"), modified("ConvLog-261115-957-3.log"));

  main_form.form().txtZulPath = "  ";
  main_form.cmdNEWConvert();
  EXPECT_EQ(main_form.outcome(), RunOutcome::DirectoriesNotSet);
  EXPECT_EQ(main_form.LogPath(), dir.path() + "/settings/ConvLog-261115-957.log");
  EXPECT_TRUE(std::filesystem::exists(main_form.LogPath()));
  EXPECT_NE(std::find_if(view.notices.begin(), view.notices.end(),
                         [&](const std::string& notice) { return notice.find(dir.path() + "/settings/") != std::string::npos; }),
            view.notices.end());
}

// A target folder that is not there is named, with what to do; the run is refused as for any
// folder without office.mdb, and its log goes into the settings folder instead of an error
// about the log file.
TEST_F(RunTest, AMissingTargetFolderIsNamedAndTheRunRefusedOrMadeByTheFace) {
  main_form.form().txtZulPath = dir.path() + "/no/such/folder";
  main_form.cmdNEWConvert();
  EXPECT_EQ(main_form.outcome(), RunOutcome::DirectoriesNotSet);
  ASSERT_GE(view.notices.size(), 1u);
  EXPECT_EQ(view.notices[0], "The target folder " + dir.path() + "/no/such/folder/ does not exist: `qorvane init-target " +
                                 dir.path() + "/no/such/folder/` makes it with a blank office.mdb in it, or give another "
                                 "folder with --target DIR.");
  for (const std::string& notice : view.notices) EXPECT_EQ(notice.find("Error #"), std::string::npos) << notice;
  EXPECT_EQ(ReadLog(main_form.LogPath()).back(), "Conversion aborted: Data directories not correctly set");
  EXPECT_EQ(main_form.LogPath().rfind(dir.path() + "/settings/ConvLog-", 0), 0u);
  EXPECT_FALSE(main_form.session().InConversion());
  EXPECT_TRUE(main_form.form().ButtonsEnabled);

  // A face may make the missing folder (the window's "Create it with a blank office.mdb"): the
  // run then goes on in it.
  std::string made = dir.path() + "/made";
  view.offer_folder = [&](const std::string& folder) {
    EXPECT_EQ(folder, dir.path() + "/no/such/folder/");
    std::filesystem::create_directories(made);
    std::ofstream(made + "/office.mdb") << "x";
    return made;
  };
  main_form.cmdNEWConvert();
  EXPECT_EQ(main_form.outcome(), RunOutcome::Completed);
  EXPECT_EQ(main_form.form().txtZulPath, made + "/");
  EXPECT_EQ(main_form.LogPath().rfind(made + "/ConvLog-", 0), 0u);
}

// The report goes into the log after its end lines, also for a stopped run; it names where the
// run stopped, what did not run, what a second run does, and the file of the skipped records.
TEST_F(RunTest, TheReportIsAppendedToTheLogAndAStoppedRunSaysWhereAndWhatIsLeft) {
  auto& form = main_form.form();
  for (CheckBox box : {CheckBox::ckbClient, CheckBox::ckbApprFee, CheckBox::ckbclientfee, CheckBox::ckbusers}) {
    form.SetCheck(box, true);
  }
  Register(&R::ConvertClientDBF, [&] {
    StepResult result = test::Shown(2);
    result.ledger.Expect(2);
    result.ledger.Record("client.dbf record 1 (Cli_num 7)", RecordResult::Added());
    result.ledger.Record("client.dbf record 2 (Cli_num 8)", RecordResult::Skipped("a private person, \"~\""));
    return result;
  });
  Register(&R::ConvertClientFeeDBF, [&] {
    StepResult result;
    result.ledger.Expect(500);
    form.RecordNumber = 120;
    form.RecordTotal = 500;
    for (int i = 1; i < 120; ++i) result.ledger.Record("clifee.dbf record " + std::to_string(i), RecordResult::Added());
    view.requests.push_back(UserRequest::Quit);
    main_form.DoEvents();
    return result;
  });
  view.escape_answers.push_back(EscapeChoice::Stop);
  main_form.cmdNEWConvert();
  ASSERT_EQ(main_form.outcome(), RunOutcome::Stopped);
  EXPECT_EQ(ReadLog(main_form.LogPath()).back(), "Conversion aborted by User and program ended (Quit button)");
  std::vector<std::string> report = ReportInLog(main_form.LogPath());
  ASSERT_GE(report.size(), 6u);
  EXPECT_EQ(report[1], "Stopped by you during Client fees (record 120 of 500).");
  EXPECT_EQ(report[2], "Converison aborted by User.");
  EXPECT_EQ(report[3], "Not run: Users.");
  EXPECT_EQ(report[4].rfind("Running the same conversion again is safe and finishes the job.", 0), 0u) << report[4];
  EXPECT_TRUE(Has(report, "Client fees read 119 of the 500 records it found: 381 were not reached (the run was stopped)."));
  std::string rejects = RejectsPathFor(main_form.LogPath());
  EXPECT_EQ(main_form.RejectsPath(), rejects);
  EXPECT_TRUE(Has(report, "The 1 record skipped or refused, each with its table, record number, key and reason, are "
                          "listed in " + rejects + "."));
  std::ifstream csv(rejects, std::ios::binary);
  std::string text((std::istreambuf_iterator<char>(csv)), std::istreambuf_iterator<char>());
  EXPECT_EQ(text, "\xEF\xBB\xBFstep,table,record,key,outcome,reason\r\n"
                  "Clients,client.dbf,2,Cli_num 8,skipped,\"a private person, \"\"~\"\"\"\r\n");
  // Nothing is left looking as if it still ran.
  EXPECT_EQ(form.gauprogress, 0);
  EXPECT_EQ(form.Mark("imaclientfee"), StepMark::Stopped);
  EXPECT_FALSE(form.ImageVisible("imaClientFeeNow"));
  EXPECT_TRUE(form.RunningCaption.empty());
}

// OK-only messages during a run (the duplicate-client notice) do not halt it: they are notices,
// the notice gets its count, and the report gathers them.
TEST_F(RunTest, ANoticeDuringARunDoesNotHaltItAndTheReportGathersIt) {
  main_form.form().SetCheck(CheckBox::ckbClient, true);
  main_form.form().SetCheck(CheckBox::ckbPrelim, true);
  routines.check_clients = [&] {
    main_form.form().lstafterdup = {"9SMITH", "12SMITH"};
    main_form.MsgBox("Invalid Client records were found and corrected automatically.");
  };
  main_form.cmdNEWConvert();
  ASSERT_EQ(main_form.outcome(), RunOutcome::Completed);
  EXPECT_EQ(view.messages.size(), 1u) << "only the confirmation was a box";
  const std::string notice = "Invalid Client records were found and corrected automatically. (2 client keys in "
                             "client.dbf; each is listed, with its correction, in the duplicate-client form)";
  EXPECT_TRUE(Has(view.notices, notice));
  EXPECT_EQ(main_form.RunNotices(), std::vector<std::string>{notice});
  std::vector<std::string> report = ReportInLog(main_form.LogPath());
  ASSERT_GE(report.size(), 3u);
  EXPECT_EQ(report[1], "Conversion complete: 0 days  0 hrs  0 mins  0 secs");
  EXPECT_EQ(report[2], notice);
}

}  // namespace
}  // namespace qorvane::app
