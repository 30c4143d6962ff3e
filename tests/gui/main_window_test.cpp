// The window drives the same run as the command line. These tests drive it as a person would
// (buttons, ESC, pickers, Print) with Qt Test, the window's dialogs answered by its hooks:
// start-up with good and bad folders (one dialog for the messages of one moment), a whole run
// on a sample office read back with mdb-export, ESC with Continue and with Stop, the pickers,
// printing into a PDF read back with pdftotext, the report dialog and Open log, and the layout
// on a 1366x768 screen. They run on Qt's offscreen platform unless QT_QPA_PLATFORM says
// otherwise (ctest also runs them once under Xvfb when it is installed).
#include "gui/main_window.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPrinter>
#include <QProgressBar>
#include <QPushButton>
#include <QMessageBox>
#include <QScrollArea>
#include <QScrollBar>
#include <QTableWidget>
#include <QTest>
#include <QTimer>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <fstream>
#include <sstream>

#include "data/init_target.h"
#include "sample/sample_office.h"
#include "test_support/log_lines.h"
#include "test_support/office_folders.h"
#include "test_support/sample_office.h"
#include "test_support/scripted_routines.h"
#include "test_support/temp_dir.h"

namespace qorvane::gui {
namespace {

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

int Occurrences(const std::string& text, const std::string& part) {
  int count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

class WindowTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);  // a platform given from outside wins
    static int argc = 1;
    static char name[] = "gui_tests";
    static char* argv[] = {name, nullptr};
    static QApplication* application = new QApplication(argc, argv);
    (void)application;
  }
  void SetUp() override {
    test::OfficeFolders folders(dir.path());
    source = folders.source;
    target = folders.target;
  }

  // A window whose dialogs are answered by the hooks: every box and question is recorded (Yes
  // to the confirmation unless CONFIRM says otherwise), each gathered dialog too.
  void Open(const std::optional<std::string>& source_path, const std::optional<std::string>& target_path) {
    window = std::make_unique<MainWindow>(convert::ProgramOptions{.settings_dir = dir.path() + "/settings"}, clock);
    window->answer_message = [this](const std::string& text, app::MessageButtons buttons) {
      events.push_back("box: " + text);
      messages.push_back(text);
      return buttons == app::MessageButtons::YesNo ? confirm : app::MessageResult::Ok;
    };
    window->show_gathered = [this](const std::string& text) {
      events.push_back("gathered: " + text);
      gathered.push_back(text);
    };
    window->show_report = [this](const std::string& text) { reports.push_back(text); };
    window->show();
    window->main_form().FormLoad({source_path, target_path});
    window->Refresh();
  }
  // Folders that pass the checks: a garbage property.dbf (the other tables missing) and office.mdb.
  void OpenWithPlaceholders() {
    std::ofstream(source + "/property.dbf") << "x";
    std::ofstream(target + "/office.mdb") << "x";
    Open(source, target);
    events.clear();
    gathered.clear();
    messages.clear();
  }
  void OnlyStep(app::CheckBox box) {
    window->main_form().form().CheckBoxes.fill(0);
    window->main_form().form().SetCheck(box, true);
    window->Refresh();
  }
  // A control by its control name, or another widget of the window by its object name.
  template <typename Widget>
  Widget* Get(const std::string& name) {
    QWidget* widget = window->Control(name);
    if (!widget) widget = window->findChild<QWidget*>(QString::fromStdString(name));
    return dynamic_cast<Widget*>(widget);
  }
  void Click(const std::string& name) {
    QPushButton* button = Get<QPushButton>(name);
    ASSERT_NE(button, nullptr) << name;
    QTest::mouseClick(button, Qt::LeftButton);
  }

  test::TempDir dir;
  std::string source, target;
  app::SystemClock clock;
  std::unique_ptr<MainWindow> window;
  app::MessageResult confirm = app::MessageResult::Yes;
  std::vector<std::string> events, messages, gathered, reports;
};

TEST_F(WindowTest, StartUpAndConvertWithBadFoldersShowOneDialogEachWithEveryMessageAndHint) {
  std::filesystem::create_directories(dir.path() + "/settings");
  Open(source, target);  // both folders empty: no property.dbf, no office.mdb
  ASSERT_EQ(gathered.size(), 1u) << "start-up showed its messages one by one";
  EXPECT_TRUE(messages.empty());
  const std::string& startup = gathered[0];
  EXPECT_NE(startup.find(source + "/Property.dbf not found. Please verify data path and file name in VL.ini in "
                                  "Windows directory. If VL.ini does not exist, install/reinstall PYX, set correct "
                                  "data directory, and run Qorvane again.\""),
            std::string::npos)
      << startup;
  EXPECT_NE(startup.find(target + "/Office.mdb not found. Please verify path and file name"), std::string::npos);
  // The hints sit below their messages, with the folders this program looked in.
  EXPECT_NE(startup.find("    -> No property.dbf (in any letter case, and not empty) in " + source + "/"),
            std::string::npos);
  EXPECT_NE(startup.find("    -> No office.mdb in " + target + "/: \"Create a blank office.mdb here\" writes one there."),
            std::string::npos) << startup;
  EXPECT_EQ(startup.find("qorvane init-target"), std::string::npos) << "command-line advice in the window";
  EXPECT_EQ(startup.find("--source"), std::string::npos) << "command-line advice in the window";
  // Every missing source table is named with its full folder, each once.
  EXPECT_GE(Occurrences(startup, "Warning.  The file " + source + "/"), 10) << startup;
  EXPECT_EQ(Occurrences(startup, "Warning.  The file " + source + "/client.dbf is missing."), 1) << startup;

  // Convert: the checks' two messages in one dialog; no question is asked; the log says why.
  Click("cmdnewconvert");
  ASSERT_EQ(gathered.size(), 2u);
  EXPECT_NE(gathered[1].find("Property.dbf not found."), std::string::npos);
  EXPECT_NE(gathered[1].find("Office.mdb not found."), std::string::npos);
  EXPECT_TRUE(messages.empty());
  EXPECT_EQ(window->main_form().outcome(), app::RunOutcome::DirectoriesNotSet);
  EXPECT_NE(ReadFile(window->main_form().LogPath()).find("Conversion aborted: Data directories not correctly set\r\n"),
            std::string::npos);
}

TEST_F(WindowTest, ConvertShowsTheChecksTogetherThenAsksAndTheLogKeepsEveryLine) {
  OpenWithPlaceholders();
  OnlyStep(app::CheckBox::ckbProperty);
  confirm = app::MessageResult::No;
  Click("cmdnewconvert");
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].rfind("gathered: ", 0), 0u);
  EXPECT_EQ(events[1].rfind("box: What this run will change:", 0), 0u);
  std::string log = ReadFile(window->main_form().LogPath());
  int warnings = Occurrences(gathered[0], "Warning.  The file ");
  EXPECT_GE(warnings, 10);
  EXPECT_EQ(Occurrences(log, "Warning.  The file " + source + "/"), warnings) << log;
  EXPECT_EQ(window->main_form().outcome(), app::RunOutcome::Declined);
}

TEST_F(WindowTest, ShowsTheModelAndTakesTheUsersEdits) {
  OpenWithPlaceholders();
  EXPECT_EQ(Get<QLineEdit>("txtPyxPath")->text().toStdString(), source + "/");
  EXPECT_EQ(Get<QPushButton>("cmdSource")->text().toStdString(), "PYX (Source)");
  EXPECT_EQ(window->windowTitle().toStdString(), "Qorvane - Version 0.1.0");
  QTest::mouseClick(Get<QCheckBox>("ckbProperty"), Qt::LeftButton);
  EXPECT_EQ(window->main_form().form().Checked(app::CheckBox::ckbProperty), Get<QCheckBox>("ckbProperty")->isChecked());
  Get<QCheckBox>("ckbMassage")->setChecked(false);
  Get<QCheckBox>("ckbmassageinvoice")->setChecked(true);  // a massage box ticks "Massage Data"
  EXPECT_TRUE(Get<QCheckBox>("ckbMassage")->isChecked());
  Get<QCheckBox>("ckbMassage")->setChecked(false);  // and clearing it clears the three
  EXPECT_FALSE(window->main_form().form().Checked(app::CheckBox::ckbmassageinvoice));
  // Ticking "Massage Data" alone ticks its three boxes (the rules of the four are TickMassage's).
  Get<QCheckBox>("ckbMassage")->click();
  for (const char* box : {"ckbmassageproperty", "ckbmassageassigned", "ckbmassageinvoice"}) {
    EXPECT_TRUE(Get<QCheckBox>(box)->isChecked()) << box;
  }
  QTest::keyClicks(Get<QLineEdit>("lstfilenum"), "1001, 1002-A");
  EXPECT_EQ(window->main_form().form().lstfilenum, (std::vector<std::string>{"1001", "1002-A"}));
}

TEST_F(WindowTest, EverythingFitsA1366x768ScreenAndTheListsGrowOnALargerOne) {
  OpenWithPlaceholders();
  app::FormModel& form = window->main_form().form();
  form.fraIllegalFix = true;  // the tallest state: the result lists shown, a hint running
  form.lstIllegalFilenumbers = {"    12#3-A =     12-3-A"};
  form.lblHint = "Hit ESC key or 'Quit Conversion' button to halt conversion process.";
  form.lblmsg = "Conversion Complete... Select Quit";
  window->Refresh();
  auto* scroll = window->findChild<QScrollArea*>("scrollArea");
  ASSERT_NE(scroll, nullptr);
  auto list_height = [&](int width, int height) {
    window->resize(width, height);
    QApplication::processEvents();
    return Get<QListWidget>("lstIllegalFilenumbers")->height();
  };
  int small = list_height(1366, 700);  // a maximised window's room on a 1366x768 screen
  EXPECT_EQ(window->size(), QSize(1366, 700));
  EXPECT_EQ(scroll->verticalScrollBar()->maximum(), 0) << "the window needs a scroll bar at 1366x700";
  EXPECT_EQ(scroll->horizontalScrollBar()->maximum(), 0);
  QRect visible(scroll->viewport()->mapTo(window.get(), QPoint(0, 0)), scroll->viewport()->size());
  for (const char* name : {"lblTitle", "cmdSource", "cmdSourceFolder", "txtZulPath", "ckbusers", "ckbclearsystem",
                           "lstfilenum", "ckbViewLog", "lstWasNotConverted", "cmdPrint_lstWasNotConverted",
                           "cmdClientDup", "lblRecord", "lblHint"}) {
    QWidget* control = Get<QWidget>(name);
    ASSERT_NE(control, nullptr) << name;
    ASSERT_TRUE(control->isVisible()) << name;
    QRect place(control->mapTo(window.get(), QPoint(0, 0)), control->size());
    EXPECT_TRUE(visible.contains(place)) << name << " is outside the visible area";
  }
  for (const char* name : {"gauprogress", "cmdnewconvert", "cmdQuit"}) {
    QWidget* button = window->Control(name);
    QRect place(button->mapTo(window.get(), QPoint(0, 0)), button->size());
    EXPECT_TRUE(button->isVisible()) << name;
    EXPECT_TRUE(window->rect().contains(place)) << name << " falls off the window";
    EXPECT_FALSE(visible.intersects(place)) << name << " scrolls away with the controls";
  }
  EXPECT_GT(list_height(1920, 1050), small + 100);
  // Squeezed below what the controls need, the controls scroll and Convert stays in view.
  list_height(1000, 420);
  EXPECT_GT(scroll->verticalScrollBar()->maximum(), 0);
  QWidget* convert = window->Control("cmdnewconvert");
  EXPECT_TRUE(window->rect().contains(QRect(convert->mapTo(window.get(), QPoint(0, 0)), convert->size())));
}

TEST_F(WindowTest, PickersTakeAFileOfTheFolderOrTheFolderItself) {
  OpenWithPlaceholders();
  std::string other = dir.path() + "/other";
  std::filesystem::create_directories(other);
  std::ofstream(other + "/office.mdb") << "x";
  std::vector<MainWindow::PickRequest> requests;
  QString answer;
  window->answer_picker = [&](const MainWindow::PickRequest& request) {
    requests.push_back(request);
    return answer;
  };
  answer = QString::fromStdString(other + "/office.mdb");
  Click("cmdTarget");
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].title.toStdString(), "Select 'Office.mdb' and then select 'Open'");
  EXPECT_EQ(requests[0].filter.toStdString(), "Data Files (*.mdb)");
  EXPECT_EQ(requests[0].start.toStdString(), target + "/office.mdb");
  EXPECT_FALSE(requests[0].folder);
  EXPECT_EQ(Get<QLineEdit>("txtZulPath")->text().toStdString(), other + "/");

  answer = QString::fromStdString(other);
  Click("cmdSourceFolder");
  EXPECT_TRUE(requests.back().folder);
  EXPECT_EQ(requests.back().start.toStdString(), source + "/");
  EXPECT_EQ(window->main_form().form().txtPyxPath, other + "/");
  EXPECT_TRUE(messages.empty());

  // Refused: a file or folder that is not there, with the message; Cancel changes nothing.
  answer = QString::fromStdString(dir.path() + "/nowhere/property.dbf");
  Click("cmdSource");
  EXPECT_EQ(requests.back().title.toStdString(), "Select 'Property.dbf'-then select 'Open'");
  EXPECT_EQ(requests.back().filter.toStdString(), "Data Files (*.dbf)");
  answer = QString::fromStdString(dir.path() + "/nowhere");
  Click("cmdTargetFolder");
  answer.clear();
  Click("cmdSourceFolder");
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_EQ(messages[0], "File does not exist.  Please try Again");
  EXPECT_EQ(messages[1], "The folder '" + dir.path() + "/nowhere' does not exist.  Please try Again");
  EXPECT_EQ(window->main_form().form().txtPyxPath, other + "/");
  EXPECT_EQ(window->main_form().form().txtZulPath, other + "/");
  EXPECT_FALSE(window->main_form().cmdTarget_Picked("   "));
  EXPECT_EQ(messages.back(), "Invalid Filename.  Please try Again");
}

TEST_F(WindowTest, ResultListsAndTheDuplicateClientListPrintIntoAPdf) {
  OpenWithPlaceholders();
  app::FormModel& form = window->main_form().form();
  form.fraIllegalFix = true;
  form.lstIllegalFilenumbers = {"    12#3-A =     12-3-A", "    77$1-A =     77-1-A"};
  form.lstduplicateclients = {"", "SMITH"};
  form.lstclinum = {"40", "12"};
  form.lstafterdup = {"40", "12SMITH"};
  window->Refresh();
  EXPECT_EQ(window->findChild<QLabel*>("lstIllegalFilenumbersCount")->text().toStdString(), "(2 entries)");
  EXPECT_EQ(window->findChild<QLabel*>("lstWasNotConvertedCount")->text().toStdString(), "(0 entries)");
  EXPECT_FALSE(Get<QPushButton>("cmdPrint_lstWasNotConverted")->isEnabled());

  std::string pdf;
  window->answer_print = [&](QPrinter& printer) {
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(QString::fromStdString(pdf));
    return true;
  };
  pdf = dir.path() + "/illegal.pdf";
  Click("cmdPrint_lstIllegalFilenumbers");
  Click("cmdClientDup");
  ClientDupForm* duplicates = window->client_dup_form();
  ASSERT_NE(duplicates, nullptr);
  EXPECT_TRUE(duplicates->isVisible());
  // One table: the listed key, the number and the corrected key of a client on one row.
  QTableWidget* table = duplicates->table();
  ASSERT_EQ(table->rowCount(), 2);
  EXPECT_EQ(table->item(1, 0)->text().toStdString(), "SMITH");
  EXPECT_EQ(table->item(1, 1)->text().toStdString(), "12");
  EXPECT_EQ(table->item(1, 2)->text().toStdString(), "12SMITH");
  EXPECT_EQ(duplicates->CopiedText(true).toStdString(),
            "Key as the check listed it\tClient number\tCorrected key\tThe client's own key\n"
            "\t40\t40\t\nSMITH\t12\t12SMITH\tSMITH\n");
  std::string duplicates_pdf = dir.path() + "/duplicates.pdf";
  pdf = duplicates_pdf;
  QTest::mouseClick(duplicates->print_button(), Qt::LeftButton);

  for (const std::string& file : {dir.path() + "/illegal.pdf", duplicates_pdf}) {
    ASSERT_TRUE(std::filesystem::exists(file)) << file;
    EXPECT_EQ(ReadFile(file).rfind("%PDF", 0), 0u);
  }
  if (test::Command("command -v pdftotext").empty()) GTEST_SKIP() << "pdftotext (poppler-utils) is not installed";
  std::string illegal = test::Command("pdftotext -layout " + test::ShellQuote(dir.path() + "/illegal.pdf") + " -");
  EXPECT_NE(illegal.find("Illegal File Numbers Corrected\n=============================="), std::string::npos) << illegal;
  EXPECT_NE(illegal.find("77$1-A =     77-1-A"), std::string::npos) << illegal;
  std::string listed = test::Command("pdftotext -layout " + test::ShellQuote(duplicates_pdf) + " -");
  EXPECT_NE(listed.find("Duplicate Client List\n=====================\n\nSMITH"), std::string::npos) << listed;
}

TEST_F(WindowTest, EscapeDuringARunAsksAndContinueGoesOnWhileStopEndsTheProgram) {
  OpenWithPlaceholders();
  OnlyStep(app::CheckBox::ckbProperty);
  test::ScriptedRoutines routines;
  window->main_form().SetRoutines(routines);
  std::vector<app::EscapeChoice> answers = {app::EscapeChoice::Continue, app::EscapeChoice::Stop};
  int prompts = 0;
  std::string running_mark;
  window->answer_escape = [&] { return answers[prompts++]; };
  routines.On(&app::RunRoutines::ConvertPropertyDBF, [&] {
    QTest::keyClick(window.get(), Qt::Key_Escape);
    window->main_form().DoEvents();
    window->Refresh();
    running_mark = Get<QLabel>("imaproperty")->text().toStdString();
    return test::Shown(5);
  });
  Click("cmdnewconvert");
  EXPECT_EQ(prompts, 1);
  EXPECT_EQ(running_mark, "\u25B6");  // the step's now-running mark while its converter runs
  EXPECT_EQ(Get<QLabel>("imaproperty")->text().toStdString(), "\u2714");
  EXPECT_EQ(window->main_form().outcome(), app::RunOutcome::Completed);
  EXPECT_EQ(Get<QLabel>("lblAddress")->text().toStdString(), "Conversion Complete");
  EXPECT_EQ(Get<QProgressBar>("gauprogress")->value(), 100);
  EXPECT_EQ(window->main_form().CompletionText().rfind("Conversion complete:", 0), 0u);
  EXPECT_NE(ReadFile(window->main_form().LogPath())
                .find("Conversion paused by User (Quit button) ~ continued\r\n"
                      "Property table conversion complete: 5 records\r\n"),
            std::string::npos);
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].rfind("Conversion complete:", 0), 0u) << "the summary heads the report";

  Click("cmdnewconvert");  // a second run: Stop
  EXPECT_EQ(prompts, 2);
  EXPECT_EQ(window->main_form().outcome(), app::RunOutcome::Stopped);
  EXPECT_TRUE(window->main_form().session().EndRequested);
  // The report first, headed with where the run stopped; then the program ends.
  ASSERT_EQ(reports.size(), 2u);
  EXPECT_EQ(reports[1].rfind("Stopped by you during Orders (Property).\nConverison aborted by User.\n", 0), 0u)
      << reports[1];
  EXPECT_FALSE(window->isVisible()) << "Stop ends the program: the window closes";
  EXPECT_NE(ReadFile(window->main_form().LogPath()).find("Conversion aborted by User and program ended (Quit button)\r\n"),
            std::string::npos);
  // Nothing is left looking as if it ran.
  EXPECT_EQ(Get<QProgressBar>("gauprogress")->value(), 0);
  EXPECT_EQ(Get<QLabel>("imaproperty")->text().toStdString(), "\u25A0");
  EXPECT_TRUE(Get<QLabel>("lblProgress")->text().isEmpty());
}

// The paused prompt as a person meets it: ESC (or closing it) is Continue; Stop takes its button.
// The confirmation is answered by Convert or Cancel, and ESC is Cancel.
TEST_F(WindowTest, EscapeOnThePausedPromptContinuesAndStopNeedsItsButtonAndCancelsTheConfirmation) {
  OpenWithPlaceholders();
  auto question = window->MakeConfirmation("What this run will change:\n...\n\nConvert now?");
  EXPECT_EQ(question->findChild<QPushButton*>("cmdConfirmConvert")->text().toStdString(), "Convert");
  EXPECT_EQ(question->escapeButton(), question->findChild<QPushButton*>("cmdConfirmCancel"));
  EXPECT_EQ(question->defaultButton(), question->findChild<QPushButton*>("cmdConfirmCancel"));
  for (auto [key, expected] : std::vector<std::pair<bool, app::EscapeChoice>>{{true, app::EscapeChoice::Continue},
                                                                              {false, app::EscapeChoice::Stop}}) {
    bool press_escape = key;
    QTimer::singleShot(50, [&] {
      auto* prompt = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      ASSERT_NE(prompt, nullptr);
      EXPECT_EQ(prompt->objectName().toStdString(), "frmEscape");
      if (press_escape) {
        QTest::keyClick(prompt, Qt::Key_Escape);
      } else {
        prompt->findChild<QPushButton*>("cmdStop")->click();
      }
    });
    EXPECT_EQ(window->PromptEscape(), expected);
  }
}

// Each step's mark stands just before its own caption, nearer to it than to any other box.
TEST_F(WindowTest, EachMarkSitsBesideItsOwnCaption) {
  OpenWithPlaceholders();
  for (const app::StepInfo& step : app::ConversionSteps()) {
    QWidget* mark = Get<QWidget>(step.images.done);
    QWidget* own = Get<QWidget>(app::NameOf(step.check_box));
    ASSERT_TRUE(mark && own);
    QPoint at = mark->mapTo(window.get(), QPoint(mark->width(), mark->height() / 2));
    auto distance = [&](QWidget* box) {
      QRect place(box->mapTo(window.get(), QPoint(0, 0)), box->size());
      int dx = std::max({place.left() - at.x(), at.x() - place.right(), 0});
      int dy = std::max({place.top() - at.y(), at.y() - place.bottom(), 0});
      return dx + dy;
    };
    for (const app::StepInfo& other : app::ConversionSteps()) {
      if (&other == &step) continue;
      EXPECT_LT(distance(own), distance(Get<QWidget>(app::NameOf(other.check_box)))) << step.caption << " / " << other.caption;
    }
  }
}

// With no settings, the window opens on the two folders; the old program's start-up messages
// come only once both are chosen, and only for what is missing there. "Create a blank
// office.mdb here" makes the new program's folder ready.
TEST_F(WindowTest, AFirstLaunchAsksForTheTwoFoldersAndMakesABlankOfficeMdb) {
  sample::WriteSampleOffice(source, {.orders = 10, .seed = 3});
  window = std::make_unique<MainWindow>(convert::ProgramOptions{.settings_dir = dir.path() + "/fresh/settings"}, clock);
  window->show_gathered = [this](const std::string& text) { gathered.push_back(text); };
  window->answer_message = [this](const std::string& text, app::MessageButtons) {
    messages.push_back(text);
    return app::MessageResult::Ok;
  };
  window->show();
  window->Start();
  ASSERT_TRUE(window->ShowingFirstRun());
  EXPECT_TRUE(gathered.empty() && messages.empty()) << "no message before a folder is chosen";
  EXPECT_FALSE(Get<QPushButton>("cmdFirstRunContinue")->isEnabled());
  std::string fresh_target = dir.path() + "/new office";
  Get<QLineEdit>("txtFirstSource")->setText(QString::fromStdString(source));
  Get<QLineEdit>("txtFirstTarget")->setText(QString::fromStdString(fresh_target));
  Click("cmdFirstCreateOffice");
  EXPECT_TRUE(std::filesystem::exists(fresh_target + "/office.mdb"));
  ASSERT_TRUE(Get<QPushButton>("cmdFirstRunContinue")->isEnabled());
  Click("cmdFirstRunContinue");
  EXPECT_FALSE(window->ShowingFirstRun());
  EXPECT_TRUE(window->main_form().session().DirectoriesSet);
  // The sample lacks no table the start-up warns about; nothing else is said.
  for (const std::string& text : gathered) {
    EXPECT_EQ(text.find("VL.ini"), std::string::npos) << text;
    EXPECT_EQ(text.find("--source"), std::string::npos) << "command-line advice in the window: " << text;
  }
  EXPECT_EQ(window->main_form().form().txtZulPath, fresh_target + "/");
}

// Convert on a target folder that is not there offers to make it (with a blank office.mdb):
// the run then goes on in it, instead of an error about the log file.
TEST_F(WindowTest, AMissingTargetFolderIsOfferedToBeMadeAndTheRunGoesOn) {
  OpenWithPlaceholders();
  OnlyStep(app::CheckBox::ckbProperty);
  test::ScriptedRoutines routines;
  window->main_form().SetRoutines(routines);
  std::string missing = dir.path() + "/not yet";
  window->main_form().form().txtZulPath = missing;
  std::vector<std::string> offered;
  window->answer_missing_folder = [&](const std::string& folder) {
    offered.push_back(folder);
    return MainWindow::MissingFolderAnswer::Create;
  };
  Click("cmdnewconvert");
  ASSERT_EQ(offered, std::vector<std::string>{missing + "/"});
  EXPECT_TRUE(std::filesystem::exists(missing + "/office.mdb"));
  EXPECT_EQ(window->main_form().outcome(), app::RunOutcome::Completed);
  EXPECT_EQ(window->main_form().LogPath().rfind(missing + "/ConvLog-", 0), 0u);
}

TEST_F(WindowTest, TheReportDialogShowsTheLogsPathAndOpensTheLog) {
  OpenWithPlaceholders();
  OnlyStep(app::CheckBox::ckbProperty);
  test::ScriptedRoutines routines;
  window->main_form().SetRoutines(routines);
  routines.On(&app::RunRoutines::ConvertPropertyDBF, [] { return test::Shown(3); });
  std::string opened = dir.path() + "/opened";
  std::string editor = dir.path() + "/editor.sh";
  std::ofstream(editor) << "#!/bin/sh\necho \"$1\" > " << test::ShellQuote(opened) << "\n";
  std::filesystem::permissions(editor, std::filesystem::perms::owner_all);
  setenv("VISUAL", editor.c_str(), 1);
  window->show_report = nullptr;  // the real dialog
  std::string shown;
  bool open_log_enabled = false;
  // Once the report dialog is up (the run serves events before it), read it and close it.
  QTimer watch;
  watch.setInterval(10);
  QObject::connect(&watch, &QTimer::timeout, [&] {
    auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (!dialog || dialog->objectName() != "reportDialog") return;
    watch.stop();
    if (auto* text = dialog->findChild<QPlainTextEdit*>("reportText")) shown = text->toPlainText().toStdString();
    if (auto* open_log = dialog->findChild<QPushButton*>("cmdOpenLog")) {
      open_log_enabled = open_log->isEnabled();
      QTest::mouseClick(open_log, Qt::LeftButton);
    }
    dialog->reject();
  });
  watch.start();
  Click("cmdnewconvert");
  unsetenv("VISUAL");
  EXPECT_NE(shown.find("\nOrders (Property) "), std::string::npos) << shown;
  EXPECT_NE(shown.find("The log: " + window->main_form().LogPath()), std::string::npos) << shown;
  EXPECT_TRUE(open_log_enabled);
  // The editor was started with the log (it runs on its own; wait for it a little).
  for (int i = 0; i < 100 && ReadFile(opened).empty(); ++i) QTest::qWait(50);
  EXPECT_EQ(ReadFile(opened), window->main_form().LogPath() + "\n");
}

// A whole run on a sample office, every step with the corrections and the massage, driven by
// the Convert button; office.mdb is read back with mdb-export.
TEST_F(WindowTest, AWholeRunOnASampleOffice) {
  sample::WriteSampleOffice(source, {.orders = 60, .seed = 5});
  std::ostringstream ignored;
  ASSERT_EQ(data::InitTarget(target, ignored, ignored), 0);
  Open(source, target);
  EXPECT_TRUE(gathered.empty()) << gathered[0];
  EXPECT_TRUE(messages.empty());
  EXPECT_FALSE(Get<QLabel>("lblCompany")->text().isEmpty());
  EXPECT_FALSE(Get<QWidget>("fraIllegalFix")->isVisible());

  app::FormModel& form = window->main_form().form();
  form.CheckBoxes.fill(0);
  for (const app::StepInfo& step : app::ConversionSteps()) form.SetCheck(step.check_box, true);
  for (const app::MassageStepInfo& step : app::MassageSteps()) form.SetCheck(step.check_box, true);
  window->Refresh();
  QTest::mouseClick(Get<QCheckBox>("ckbPrelim"), Qt::LeftButton);
  QTest::mouseClick(Get<QCheckBox>("ckbClearProperty"), Qt::LeftButton);
  Click("cmdnewconvert");

  // Only the confirmation was a box: the duplicate-client notice and the summary did not halt the run.
  ASSERT_EQ(messages.size(), 1u) << messages.back();
  const std::string& question = messages[0];
  EXPECT_EQ(question.rfind("What this run will change:\n", 0), 0u);
  EXPECT_NE(question.find("\n\nYou should have a good backup of your data BEFORE using this option."), std::string::npos);
  EXPECT_NE(question.find("'. Do you wish to continue?\n\nConvert now?"), std::string::npos);
  EXPECT_NE(question.find("- EMPTIES these tables of office.mdb first (Clear Data First): Orders (Property)."),
            std::string::npos)
      << question;
  // The backup folder the confirmation names is where the run put its copies.
  std::size_t at = question.find(source + "/qorvane-backup-");
  ASSERT_NE(at, std::string::npos) << question;
  std::string backup = question.substr(at, question.find("/.", at) - at);
  EXPECT_TRUE(std::filesystem::is_directory(backup)) << backup;
  EXPECT_EQ(window->main_form().outcome(), app::RunOutcome::Completed);

  EXPECT_EQ(Get<QProgressBar>("gauprogress")->value(), 100);
  EXPECT_EQ(Get<QLabel>("imaproperty")->text().toStdString(), "\u2714");
  EXPECT_TRUE(Get<QWidget>("fraIllegalFix")->isVisible());
  auto* corrected = Get<QListWidget>("lstIllegalFilenumbers");
  EXPECT_EQ(corrected->count(), static_cast<int>(form.lstIllegalFilenumbers.size()));
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_NE(reports[0].find("The log: " + window->main_form().LogPath()), std::string::npos);
  // The sample has clients that share a key: frmClientDup shows them with their corrections.
  ASSERT_FALSE(form.lstduplicateclients.empty());
  ASSERT_NE(window->client_dup_form(), nullptr);
  EXPECT_TRUE(window->client_dup_form()->isVisible());
  QTableWidget* table = window->client_dup_form()->table();
  ASSERT_EQ(table->rowCount(), static_cast<int>(form.lstafterdup.size()));
  // Each client's own key as it was before the run, and its correction in words; the
  // confirmation said the same before anything was changed.
  const auto& planned = window->main_form().PlannedClientKeys();
  ASSERT_EQ(planned.size(), form.lstafterdup.size());
  for (int row = 0; row < table->rowCount(); ++row) {
    EXPECT_EQ(table->item(row, 2)->text().toStdString(), form.lstafterdup[row]);
    EXPECT_EQ(table->item(row, 3)->text().toStdString(), planned[row].key);
    EXPECT_EQ(table->item(row, 0)->toolTip().toStdString(), app::ClientKeyChangeInWords(planned[row]));
  }
  EXPECT_NE(question.find("    " + app::ClientKeyChangeInWords(planned[0]) + "\n"), std::string::npos) << question;
  // office.mdb as an independent reader sees it.
  std::vector<test::ExportedRow> orders = test::MdbExport(target + "/office.mdb", "Property");
  EXPECT_GE(orders.size(), 50u);
}

}  // namespace
}  // namespace qorvane::gui
