// The window drives the same run as the command line: a conversion started with the Convert
// button writes the same log, the model shows in the widgets, edits go back into the model, and
// ESC during a run brings up the Continue/Stop prompt. Runs on Qt's offscreen platform.
#include "gui/main_window.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>

#include <cstdlib>
#include <fstream>

#include "test_support/office_folders.h"
#include "test_support/scripted_routines.h"
#include "test_support/temp_dir.h"

namespace qorvane::gui {
namespace {

class WindowTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
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
    std::ofstream(source + "/property.dbf") << "x";
    std::ofstream(target + "/office.mdb") << "x";
    window = std::make_unique<MainWindow>(convert::ProgramOptions{.settings_dir = dir.path() + "/settings"}, clock);
    window->answer_message = [this](const std::string& text, app::MessageButtons buttons) {
      messages.push_back(text);
      return buttons == app::MessageButtons::YesNo ? app::MessageResult::Yes : app::MessageResult::Ok;
    };
    window->show_report = [this](const std::string& text) { reports.push_back(text); };
    window->main_form().FormLoad({source, target});
    window->Refresh();
    messages.clear();  // the start-up warnings for the source tables this folder lacks
  }
  template <typename Widget>
  Widget* Get(const std::string& name) {
    return dynamic_cast<Widget*>(window->Control(name));
  }

  test::TempDir dir;
  std::string source, target;
  app::SystemClock clock;
  std::unique_ptr<MainWindow> window;
  std::vector<std::string> messages;
  std::vector<std::string> reports;
};

TEST_F(WindowTest, ShowsTheModelAndTakesTheUsersEdits) {
  EXPECT_EQ(Get<QLineEdit>("txtPyxPath")->text().toStdString(), source + "/");
  EXPECT_EQ(Get<QPushButton>("cmdSource")->text().toStdString(), "PYX (Source)");
  EXPECT_EQ(window->windowTitle().toStdString(), "Qorvane - Version 0.1.0");
  Get<QCheckBox>("ckbProperty")->setChecked(false);
  EXPECT_FALSE(window->main_form().form().Checked(app::CheckBox::ckbProperty));
  Get<QCheckBox>("ckbMassage")->setChecked(true);
  EXPECT_TRUE(window->main_form().form().Checked(app::CheckBox::ckbMassage));
  // The massage boxes go together.
  Get<QCheckBox>("ckbMassage")->setChecked(false);
  Get<QCheckBox>("ckbmassageinvoice")->setChecked(true);
  EXPECT_TRUE(Get<QCheckBox>("ckbMassage")->isChecked());
  Get<QCheckBox>("ckbMassage")->setChecked(false);
  EXPECT_FALSE(Get<QCheckBox>("ckbmassageinvoice")->isChecked());
  EXPECT_FALSE(window->main_form().form().Checked(app::CheckBox::ckbmassageinvoice));
  if (const char* shot = std::getenv("QORVANE_SCREENSHOT")) window->grab().save(shot);
}

TEST_F(WindowTest, ConvertButtonRunsTheConversionAndEscapeAsksToContinue) {
  window->main_form().form().CheckBoxes.fill(0);
  window->main_form().form().SetCheck(app::CheckBox::ckbProperty, true);
  test::ScriptedRoutines routines;
  window->main_form().SetRoutines(routines);
  int prompts = 0;
  std::string running_mark;
  window->answer_escape = [&] {
    ++prompts;
    return app::EscapeChoice::Continue;
  };
  routines.On(&app::RunRoutines::ConvertPropertyDBF, [&] {
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QApplication::sendEvent(window.get(), &escape);
    window->main_form().DoEvents();
    window->Refresh();
    running_mark = Get<QLabel>("imaproperty")->text().toStdString();
    return test::Shown(5);
  });
  Get<QPushButton>("cmdnewconvert")->click();
  EXPECT_EQ(prompts, 1);
  EXPECT_EQ(running_mark, "\u25B6");  // the step's now-running image while its converter runs
  EXPECT_EQ(Get<QLabel>("imaproperty")->text().toStdString(), "\u2714");
  EXPECT_EQ(window->main_form().outcome(), app::RunOutcome::Completed);
  EXPECT_EQ(Get<QLabel>("lblAddress")->text().toStdString(), "Conversion Complete");
  EXPECT_EQ(Get<QPushButton>("cmdQuit")->text().toStdString(), "Quit");
  ASSERT_FALSE(messages.empty());
  EXPECT_EQ(messages.back().rfind("Conversion complete:", 0), 0u);
  // The run's report is shown at its end, with the log's path.
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_NE(reports[0].find("property"), std::string::npos) << reports[0];
  EXPECT_NE(reports[0].find("The log: " + window->main_form().LogPath()), std::string::npos);
  std::ifstream log(window->main_form().LogPath());
  std::string text((std::istreambuf_iterator<char>(log)), std::istreambuf_iterator<char>());
  EXPECT_NE(text.find("Conversion paused by User (Quit button) ~ continued\r\n"
                      "Property table conversion complete: 5 records\r\n"),
            std::string::npos);
}

TEST_F(WindowTest, PickersRefuseMissingFilesWithTheirMessage) {
  EXPECT_FALSE(window->main_form().cmdSource_Picked(dir.path() + "/nowhere/property.dbf"));
  EXPECT_FALSE(window->main_form().cmdTarget_Picked("   "));
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_EQ(messages[0], "File does not exist.  Please try Again");
  EXPECT_EQ(messages[1], "Invalid Filename.  Please try Again");
  EXPECT_TRUE(window->main_form().cmdTarget_Picked(target + "/office.mdb"));
  EXPECT_EQ(Get<QLineEdit>("txtZulPath")->text().toStdString(), target + "/");
}

}  // namespace
}  // namespace qorvane::gui
