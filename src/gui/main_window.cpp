// The Qt main window (see main_window.h).
#include "gui/main_window.h"

#include "app/run_summary.h"
#include "app/steps.h"

#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QStatusBar>
#include <QUrl>
#include <QVBoxLayout>

#include <chrono>
#include <map>
#include <cstdlib>

namespace qorvane::gui {
namespace {

long long NowMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

QString Q(const std::string& text) { return QString::fromStdString(text); }

}  // namespace

MainWindow::MainWindow(const convert::ProgramOptions& options, app::Clock& clock)
    : program_(convert::WireProgram(*this, clock, options)), main_form_(program_.main_form.get()) {
  Build();
}

MainWindow::~MainWindow() = default;

QCheckBox* MainWindow::AddCheckBox(QWidget* parent, app::CheckBox id, const QString& caption) {
  auto* box = new QCheckBox(caption, parent);
  box->setObjectName(app::NameOf(id));
  check_boxes_.push_back({id, box});
  controls_[app::NameOf(id)] = box;
  connect(box, &QCheckBox::toggled, this, [this, id](bool checked) {
    app::FormModel& form = main_form_->form();
    form.SetCheck(id, checked);
    // "Massage Data" and its three boxes go together: a child ticks the parent, clearing the
    // parent clears the children.
    bool child = false;
    for (const app::MassageStepInfo& step : app::MassageSteps()) child = child || step.check_box == id;
    if (child && checked) form.SetCheck(app::CheckBox::ckbMassage, true);
    if (id == app::CheckBox::ckbMassage && !checked) {
      for (const app::MassageStepInfo& step : app::MassageSteps()) form.SetCheck(step.check_box, false);
    }
    Refresh();
  });
  return box;
}

QLabel* MainWindow::AddImage(QWidget* parent, const app::ImagePair& images) {
  auto* image = new QLabel(parent);
  image->setObjectName(images.done);
  image->setMinimumWidth(24);
  images_.push_back({images, image});
  controls_[images.done] = image;
  return image;
}

void MainWindow::Build() {
  auto* central = new QWidget(this);
  auto* layout = new QVBoxLayout(central);
  auto label = [&](const std::string& name) {
    auto* widget = new QLabel(central);
    widget->setObjectName(Q(name));
    widget->setWordWrap(true);
    controls_[name] = widget;
    return widget;
  };

  auto* title = label("lblTitle");
  title->setStyleSheet("font-size: 16pt; font-weight: bold;");
  layout->addWidget(title);
  layout->addWidget(label("lblDescription"));

  auto* paths = new QGridLayout();
  auto path_row = [&](int row, const std::string& button_name, const std::string& edit_name,
                      void (MainWindow::*pick)(), std::string app::FormModel::*field) {
    auto* button = new QPushButton(central);
    button->setObjectName(Q(button_name));
    controls_[button_name] = button;
    auto* edit = new QLineEdit(central);
    edit->setObjectName(Q(edit_name));
    controls_[edit_name] = edit;
    connect(button, &QPushButton::clicked, this, pick);
    connect(edit, &QLineEdit::textEdited, this, [this, field](const QString& text) {
      main_form_->form().*field = text.toStdString();
    });
    paths->addWidget(button, row, 0);
    paths->addWidget(edit, row, 1);
  };
  path_row(0, "cmdSource", "txtPyxPath", &MainWindow::OnPickSource, &app::FormModel::txtPyxPath);
  path_row(1, "cmdTarget", "txtZulPath", &MainWindow::OnPickTarget, &app::FormModel::txtZulPath);
  layout->addLayout(paths);

  auto* company = new QHBoxLayout();
  company->addWidget(label("lblCompany"));
  company->addWidget(label("lblphone"));
  company->addWidget(label("lblfax"));
  layout->addLayout(company);

  auto* choices = new QHBoxLayout();
  auto* steps = new QGroupBox("Convert", central);
  auto* steps_layout = new QGridLayout(steps);
  int row = 0;
  for (const app::StepInfo& step : app::ConversionSteps()) {
    steps_layout->addWidget(AddCheckBox(steps, step.check_box, step.caption), row, 0);
    steps_layout->addWidget(AddImage(steps, step.images), row++, 1);
  }
  choices->addWidget(steps);

  auto* clear = new QGroupBox("Clear Data First", central);
  auto* clear_layout = new QVBoxLayout(clear);
  for (const app::ClearChoice& box : app::ClearChoices()) {
    clear_layout->addWidget(AddCheckBox(clear, box.check_box, box.caption));
  }
  clear_layout->addStretch();
  choices->addWidget(clear);

  auto* options = new QGroupBox("Options", central);
  auto* options_layout = new QGridLayout(options);
  options_layout->addWidget(AddCheckBox(options, app::CheckBox::ckbPrelim, "Preliminary Corrections"), 0, 0, 1, 2);
  options_layout->addWidget(AddCheckBox(options, app::CheckBox::ckbMassage, "Massage Data"), 1, 0);
  options_layout->addWidget(AddImage(options, app::kMassageDataImages), 1, 1);
  row = 2;
  for (const app::MassageStepInfo& step : app::MassageSteps()) {
    options_layout->addWidget(AddCheckBox(options, step.check_box, QString("    ") + step.caption), row, 0);
    options_layout->addWidget(AddImage(options, step.images), row++, 1);
  }
  options_layout->addWidget(AddCheckBox(options, app::CheckBox::ckbViewLog, "View log when done"), row++, 0, 1, 2);
  auto* file_label = new QLabel("File numbers (blank: all)", options);
  options_layout->addWidget(file_label, row++, 0, 1, 2);
  auto* file_list = new QLineEdit(options);
  file_list->setObjectName("lstfilenum");
  file_list->setPlaceholderText("1001, 1002-A");
  controls_["lstfilenum"] = file_list;
  connect(file_list, &QLineEdit::textEdited, this, [this](const QString& text) {
    auto& list = main_form_->form().lstfilenum;
    list.clear();
    for (const QString& item : text.split(',', Qt::SkipEmptyParts)) {
      if (!item.trimmed().isEmpty()) list.push_back(item.trimmed().toStdString());
    }
  });
  options_layout->addWidget(file_list, row++, 0, 1, 2);
  options_layout->setRowStretch(row, 1);
  choices->addWidget(options);
  layout->addLayout(choices);

  auto* gauge = new QProgressBar(central);
  gauge->setObjectName("gauprogress");
  gauge->setRange(0, 100);
  controls_["gauprogress"] = gauge;
  layout->addWidget(gauge);
  auto* status = new QHBoxLayout();
  status->addWidget(label("lblCaption"), 2);
  status->addWidget(label("lblAddress"), 2);
  status->addWidget(label("lblRecord"), 1);
  layout->addLayout(status);
  layout->addWidget(label("lblmsg"));
  layout->addWidget(label("lblHint"));

  auto* illegal = new QGroupBox("File numbers corrected / not converted", central);
  illegal->setObjectName("fraIllegalFix");
  controls_["fraIllegalFix"] = illegal;
  auto* illegal_layout = new QHBoxLayout(illegal);
  for (const char* name : {"lstIllegalFilenumbers", "lstWasNotConverted"}) {
    auto* list = new QListWidget(illegal);
    list->setObjectName(name);
    controls_[name] = list;
    illegal_layout->addWidget(list);
  }
  layout->addWidget(illegal);

  auto* buttons = new QHBoxLayout();
  buttons->addStretch();
  auto* convert = new QPushButton("Convert", central);
  convert->setObjectName("cmdnewconvert");
  controls_["cmdnewconvert"] = convert;
  auto* quit = new QPushButton("Quit", central);
  quit->setObjectName("cmdQuit");
  controls_["cmdQuit"] = quit;
  connect(convert, &QPushButton::clicked, this, &MainWindow::OnConvert);
  connect(quit, &QPushButton::clicked, this, &MainWindow::OnQuit);
  buttons->addWidget(convert);
  buttons->addWidget(quit);
  layout->addLayout(buttons);

  setCentralWidget(central);
  resize(900, 760);
}

QWidget* MainWindow::Control(const std::string& name) const {
  auto found = controls_.find(name);
  return found == controls_.end() ? nullptr : found->second;
}

void MainWindow::Show(const app::FormModel& form) {
  // While a converter runs, Show comes once per record: redraw as often as a person can see.
  long long now = NowMs();
  if (main_form_->session().InConversion() && now - last_draw_ms_ < 40) return;
  last_draw_ms_ = now;
  Refresh();
}

void MainWindow::Refresh() {
  const app::FormModel& form = main_form_->form();
  auto set_label = [&](const char* name, const std::string& text) {
    static_cast<QLabel*>(controls_[name])->setText(Q(text));
  };
  setWindowTitle(Q(form.Caption));
  set_label("lblTitle", form.lblTitle);
  set_label("lblDescription", form.lblDescription);
  set_label("lblCompany", form.lblCompany);
  set_label("lblphone", form.lblphone);
  set_label("lblfax", form.lblfax);
  set_label("lblCaption", form.lblCaption);
  set_label("lblAddress", form.lblAddress);
  set_label("lblRecord", form.lblRecord);
  set_label("lblmsg", form.lblmsg);
  set_label("lblHint", form.lblHint);
  static_cast<QPushButton*>(controls_["cmdSource"])->setText(Q(form.cmdSource));
  static_cast<QPushButton*>(controls_["cmdTarget"])->setText(Q(form.cmdTarget));
  static_cast<QPushButton*>(controls_["cmdQuit"])->setText(Q(form.cmdQuit));
  for (const char* name : {"txtPyxPath", "txtZulPath"}) {
    auto* edit = static_cast<QLineEdit*>(controls_[name]);
    const std::string& text = std::string(name) == "txtPyxPath" ? form.txtPyxPath : form.txtZulPath;
    if (edit->text() != Q(text)) edit->setText(Q(text));
  }
  static_cast<QProgressBar*>(controls_["gauprogress"])->setValue(form.gauprogress);
  for (auto& [id, box] : check_boxes_) {
    QSignalBlocker block(box);
    box->setChecked(form.Checked(id));
    box->setEnabled(form.ButtonsEnabled);
  }
  for (const char* name : {"cmdnewconvert", "cmdSource", "cmdTarget", "txtPyxPath", "txtZulPath", "lstfilenum"}) {
    controls_[name]->setEnabled(form.ButtonsEnabled);
  }
  for (const auto& [images, image] : images_) {
    // Running, converted, nothing found, table missing, failed; blank when not ticked.
    switch (form.Mark(images.done)) {
      case app::StepMark::Running: image->setText(QString::fromUtf8("\u25B6")); image->setToolTip("running"); break;
      case app::StepMark::Converted: image->setText(QString::fromUtf8("\u2714")); image->setToolTip("converted"); break;
      case app::StepMark::NothingFound: image->setText(QString::fromUtf8("\u25CB")); image->setToolTip("nothing found"); break;
      case app::StepMark::Missing: image->setText(QString::fromUtf8("\u2205")); image->setToolTip("its table is missing"); break;
      case app::StepMark::Failed: image->setText(QString::fromUtf8("\u2716")); image->setToolTip("errors: see the log"); break;
      case app::StepMark::NotTicked:
        image->setText(form.ImageVisible(images.now) ? QString::fromUtf8("\u25B6")
                       : form.ImageVisible(images.done) ? QString::fromUtf8("\u2714") : "");
        image->setToolTip("");
        break;
    }
  }
  controls_["fraIllegalFix"]->setVisible(form.fraIllegalFix);
  auto fill = [&](const char* name, const std::vector<std::string>& items) {
    auto* list = static_cast<QListWidget*>(controls_[name]);
    if (list->count() == static_cast<int>(items.size())) return;
    list->clear();
    for (const std::string& item : items) list->addItem(Q(item));
  };
  fill("lstIllegalFilenumbers", form.lstIllegalFilenumbers);
  fill("lstWasNotConverted", form.lstWasNotConverted);
}

app::UserRequest MainWindow::PollUserRequest() {
  long long now = NowMs();
  if (now - last_events_ms_ >= 20) {
    last_events_ms_ = now;
    QApplication::processEvents();
  }
  app::UserRequest request = pending_;
  pending_ = app::UserRequest::None;
  return request;
}

app::MessageResult MainWindow::MessageBox(const std::string& text, app::MessageButtons buttons,
                                          const std::string& title) {
  Refresh();
  if (answer_message) return answer_message(text, buttons);
  QString caption = title.empty() ? Q(main_form_->form().Caption) : Q(title);
  switch (buttons) {
    case app::MessageButtons::Ok:
      QMessageBox::information(this, caption, Q(text));
      return app::MessageResult::Ok;
    case app::MessageButtons::YesNo:
      return QMessageBox::question(this, caption, Q(text), QMessageBox::Yes | QMessageBox::No) ==
                     QMessageBox::Yes
                 ? app::MessageResult::Yes
                 : app::MessageResult::No;
    case app::MessageButtons::AbortRetryIgnore: {
      auto answer = QMessageBox::critical(this, caption, Q(text),
                                          QMessageBox::Abort | QMessageBox::Retry | QMessageBox::Ignore);
      if (answer == QMessageBox::Retry) return app::MessageResult::Retry;
      if (answer == QMessageBox::Ignore) return app::MessageResult::Ignore;
      return app::MessageResult::Abort;
    }
  }
  return app::MessageResult::Ok;
}

void MainWindow::Notify(const std::string& text) {
  statusBar()->showMessage(Q(text));
}

app::EscapeChoice MainWindow::PromptEscape() {
  Refresh();
  if (answer_escape) return answer_escape();
  QMessageBox prompt(this);
  prompt.setWindowTitle("Conversion paused");
  prompt.setText("The conversion is paused. Continue, or stop it here? What was converted so far is kept.");
  QPushButton* go_on = prompt.addButton("Continue", QMessageBox::AcceptRole);
  prompt.addButton("Stop", QMessageBox::RejectRole);
  prompt.setDefaultButton(go_on);
  prompt.exec();
  return prompt.clickedButton() == go_on ? app::EscapeChoice::Continue : app::EscapeChoice::Stop;
}

void MainWindow::OpenLog(const std::string& path) {
  const char* editor = std::getenv("VISUAL");
  if (!editor || !*editor) editor = std::getenv("EDITOR");
  if (editor && *editor && QProcess::startDetached(editor, {Q(path)})) return;
  QDesktopServices::openUrl(QUrl::fromLocalFile(Q(path)));
}

void MainWindow::OnConvert() {
  try {
    main_form_->cmdNEWConvert();
  } catch (const app::ProgramEnd& end) {
    // The reporter ended the program (a database that may be corrupt): the log is closed.
    QApplication::exit(end.exit_status());
    return;
  }
  Refresh();
  if (main_form_->session().EndRequested) {
    close();
    return;
  }
  if (!main_form_->RunReport().empty()) ShowReport();
}

void MainWindow::ShowReport() {
  std::string text = app::RunSummaryText(*main_form_);
  if (!main_form_->LogPath().empty()) text += "\nThe log: " + main_form_->LogPath() + "\n";
  if (show_report) {
    show_report(text);
    return;
  }
  QDialog dialog(this);
  dialog.setWindowTitle("What the conversion did");
  auto* layout = new QVBoxLayout(&dialog);
  auto* view = new QPlainTextEdit(Q(text), &dialog);
  view->setReadOnly(true);
  view->setLineWrapMode(QPlainTextEdit::NoWrap);
  view->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  view->setMinimumSize(720, 420);
  layout->addWidget(view);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, &dialog);
  QPushButton* open_log = buttons->addButton("Open log", QDialogButtonBox::ActionRole);
  open_log->setEnabled(!main_form_->LogPath().empty());
  connect(open_log, &QPushButton::clicked, this, [this] { OpenLog(main_form_->LogPath()); });
  connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
  layout->addWidget(buttons);
  dialog.exec();
}

void MainWindow::OnQuit() {
  if (main_form_->session().InConversion()) {
    pending_ = app::UserRequest::Quit;
    return;
  }
  main_form_->cmdQuit_Click();
  if (main_form_->session().EndRequested) close();
}

void MainWindow::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape) {
    OnQuit();
    return;
  }
  QMainWindow::keyPressEvent(event);
}

void MainWindow::closeEvent(QCloseEvent* event) {
  if (main_form_->session().InConversion()) {
    // Served while the converter yields; the window closes when the run has ended.
    pending_ = app::UserRequest::CloseWindow;
    event->ignore();
    return;
  }
  main_form_->Form_Unload();
  event->accept();
}

void MainWindow::OnPickSource() {
  QString chosen = QFileDialog::getOpenFileName(this, "Select 'Property.dbf'-then select 'Open'",
                                                Q(main_form_->form().txtPyxPath), "Data Files (*.dbf)");
  if (!chosen.isEmpty()) main_form_->cmdSource_Picked(chosen.toStdString());
  Refresh();
}

void MainWindow::OnPickTarget() {
  QString start = Q(main_form_->form().txtZulPath) + "office.mdb";
  QString chosen = QFileDialog::getOpenFileName(this, "Select 'Office.mdb' and then select 'Open'", start,
                                                "Data Files (*.mdb)");
  if (!chosen.isEmpty()) main_form_->cmdTarget_Picked(chosen.toStdString());
  Refresh();
}

}  // namespace qorvane::gui
