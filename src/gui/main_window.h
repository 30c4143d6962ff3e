// The window face: frmConvert as a Qt main window. It implements the View that MainForm drives:
// Show copies the form model into the widgets, PollUserRequest lets Qt serve its events while a
// converter yields, and message boxes and the Continue/Stop prompt are modal dialogs; the
// messages of one moment (start-up, the checks at Convert) are gathered into one dialog. Edits
// the user makes (paths, check boxes) go straight back into the model. The controls sit in
// layouts inside a scroll area, with Convert and Quit always in view below it, so the window
// fits a 1366x768 screen and grows with a larger one.
#pragma once

#include <QMainWindow>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/main_form.h"
#include "app/steps.h"
#include "convert/office.h"
#include "gui/client_dup_form.h"
#include "gui/printing.h"
#include "gui/result_list_panel.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QProgressBar;
class QPushButton;
class QGroupBox;
class QDialog;
class QMessageBox;
class QScrollArea;
class QStackedWidget;

namespace qorvane::gui {

class MainWindow : public QMainWindow, public app::View {
 public:
  // Wires the program (convert::WireProgram) with this window as its view.
  MainWindow(const convert::ProgramOptions& options, app::Clock& clock);
  ~MainWindow() override;

  app::MainForm& main_form() { return *main_form_; }

  // View.
  void Show(const app::FormModel& form) override;
  app::UserRequest PollUserRequest() override;
  app::MessageResult MessageBox(const std::string& text, app::MessageButtons buttons,
                                const std::string& title) override;
  void Notify(const std::string& text) override;
  app::EscapeChoice PromptEscape() override;
  void OpenLog(const std::string& path) override;
  void BeginMessages() override;
  void EndMessages() override;
  app::Face face() const override { return app::Face::Window; }
  std::string OfferMissingTargetFolder(const std::string& folder) override;

  // Start-up: the first-run page when no folder is known yet (FirstLaunch), else FormLoad.
  void Start();
  // The first-run page: the two folders to choose, with "Create a blank office.mdb here".
  bool ShowingFirstRun() const;

  // Copies the whole model into the widgets now, whatever the last redraw.
  void Refresh();
  // A size that fits the screen the window is on (at most 1280x800 of it).
  void FitToScreen();

  // What a picker asks for: a file (with a name filter) or a folder.
  struct PickRequest {
    QString title;
    QString start;   // the folder (or file) the dialog opens on
    QString filter;  // "Data Files (*.dbf)"; empty for a folder
    bool folder = false;
  };

  // Hooks that answer the window's dialogs without a person (tests, screenshots); nullptr:
  // the real dialogs.
  std::function<app::MessageResult(const std::string&, app::MessageButtons)> answer_message;
  std::function<app::EscapeChoice()> answer_escape;
  // Takes the report shown at the end of a run instead of its dialog.
  std::function<void(const std::string&)> show_report;
  // Takes the text of a dialog of gathered messages instead of the dialog.
  std::function<void(const std::string&)> show_gathered;
  // Chooses a file or a folder instead of the file dialog; an empty name is Cancel.
  std::function<QString(const PickRequest&)> answer_picker;
  // Answers the dialog for a target folder that is not there: Create, Choose or Cancel.
  enum class MissingFolderAnswer { Create, Choose, Cancel };
  std::function<MissingFolderAnswer(const std::string&)> answer_missing_folder;
  // Takes the log the window shows itself when nothing else can open it (instead of its dialog).
  std::function<void(const std::string&)> show_log;
  // Sets up the printer instead of the print dialog; false is Cancel.
  ChoosePrinter answer_print;

  // The widget of a control, by its control name (tests and screenshots).
  QWidget* Control(const std::string& name) const;
  ResultListPanel* ResultPanel(const std::string& list_name) const;
  // The duplicate-client form; nullptr until a run first found such clients.
  ClientDupForm* client_dup_form() const { return client_dup_; }
  // Shows frmClientDup with the lists of the last run.
  void ShowClientDupForm();
  // The dialog of the run's report, and of messages gathered into TEXT (not yet shown).
  std::unique_ptr<QDialog> MakeReportDialog();
  // The confirmation as it is shown: what will change, the question, Convert and Cancel.
  std::unique_ptr<QMessageBox> MakeConfirmation(const QString& text);
  // The Continue/Stop prompt (ESC on it is Continue).
  std::unique_ptr<QMessageBox> MakeEscapePrompt();
  std::unique_ptr<QDialog> MakeGatheredDialog(const QString& text, int count);
  // The text of the gathered messages so far (one paragraph per message, hints below it).
  QString GatheredText() const;

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  void Build();
  // The run's report with the log's path below it.
  std::string ReportText() const;
  QWidget* BuildChoices(QWidget* parent);
  QWidget* BuildResults(QWidget* parent);
  QCheckBox* AddCheckBox(QWidget* parent, app::CheckBox id, const QString& caption);
  QLabel* AddImage(QWidget* parent, const app::ImagePair& images);
  void OnConvert();
  // The reconciliation report of the run that just ended, with the log's path and "Open log".
  void ShowReport();
  void ShowGathered();
  void OnQuit();
  void OnPickSource();
  void OnPickTarget();
  void OnPickSourceFolder();
  void OnPickTargetFolder();
  QString Pick(const PickRequest& request);
  QWidget* BuildFirstRun(QWidget* parent);
  void OnFirstRunContinue();
  // Makes FOLDER with a blank office.mdb in it; false (with a message) when it cannot.
  bool CreateBlankTarget(const std::string& folder);
  // "Step 6 of 14: Orders (Property) — record 1,234 of 10,000 — about 0:42 left".
  QString ProgressText(const app::FormModel& form);
  // Shows the log in the window itself.
  void ShowLogText(const std::string& path);

  convert::Program program_;
  app::MainForm* main_form_;
  std::map<std::string, QWidget*> controls_;
  std::vector<std::pair<app::CheckBox, QCheckBox*>> check_boxes_;
  std::vector<std::pair<app::ImagePair, QLabel*>> images_;  // one label per image pair
  std::vector<ResultListPanel*> result_panels_;
  ClientDupForm* client_dup_ = nullptr;
  QScrollArea* scroll_ = nullptr;
  QStackedWidget* pages_ = nullptr;
  QLineEdit* first_source_ = nullptr;
  QLineEdit* first_target_ = nullptr;
  QLabel* first_status_ = nullptr;
  // The running step's start, for its time left (the time paused does not count).
  std::string progress_step_;
  long long progress_start_ms_ = 0;
  app::UserRequest pending_ = app::UserRequest::None;
  long long last_draw_ms_ = 0;
  long long last_events_ms_ = 0;
  // The messages of the moment being gathered: each message, or a notice (a hint) below it.
  struct Gathered {
    std::string text;
    bool notice;
  };
  int gathering_ = 0;  // BeginMessages depth
  std::vector<Gathered> gathered_;
};

}  // namespace qorvane::gui
