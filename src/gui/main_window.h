// The window face: frmConvert as a Qt main window. It implements the View that MainForm drives:
// Show copies the form model into the widgets, PollUserRequest lets Qt serve its events while a
// converter yields, and message boxes and the Continue/Stop prompt are modal dialogs. Edits the
// user makes (paths, check boxes) go straight back into the model.
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

class QCheckBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QProgressBar;
class QPushButton;
class QGroupBox;

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

  // Copies the whole model into the widgets now, whatever the last redraw.
  void Refresh();

  // Tests answer message boxes and the prompt without a person (nullptr: real dialogs).
  std::function<app::MessageResult(const std::string&, app::MessageButtons)> answer_message;
  std::function<app::EscapeChoice()> answer_escape;
  // Tests take the report shown at the end of a run instead of its dialog (nullptr: the dialog).
  std::function<void(const std::string&)> show_report;

  // The widget of a control, by its control name (tests and screenshots).
  QWidget* Control(const std::string& name) const;

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  void Build();
  QCheckBox* AddCheckBox(QWidget* parent, app::CheckBox id, const QString& caption);
  QLabel* AddImage(QWidget* parent, const app::ImagePair& images);
  void OnConvert();
  // The reconciliation report of the run that just ended, with the log's path and "Open log".
  void ShowReport();
  void OnQuit();
  void OnPickSource();
  void OnPickTarget();

  convert::Program program_;
  app::MainForm* main_form_;
  std::map<std::string, QWidget*> controls_;
  std::vector<std::pair<app::CheckBox, QCheckBox*>> check_boxes_;
  std::vector<std::pair<app::ImagePair, QLabel*>> images_;  // one label per image pair
  app::UserRequest pending_ = app::UserRequest::None;
  long long last_draw_ms_ = 0;
  long long last_events_ms_ = 0;
};

}  // namespace qorvane::gui
