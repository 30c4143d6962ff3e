// The Qt main window (see main_window.h).
#include "gui/main_window.h"

#include "app/paths.h"
#include "app/run_summary.h"
#include "app/steps.h"
#include "common/os.h"
#include "data/init_target.h"
#include "preview/client_keys.h"

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
#include <QLocale>
#include <QStackedWidget>
#include <QMessageBox>
#include <QProcess>
#include <QProgressBar>
#include <QScreen>
#include <QScrollArea>
#include <QGuiApplication>
#include <QFrame>
#include <QPushButton>
#include <QStatusBar>
#include <QUrl>
#include <QVBoxLayout>

#include <algorithm>
#include <chrono>
#include <map>
#include <cstdlib>
#include <sstream>

namespace qorvane::gui {
namespace {

long long NowMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

QString Q(const std::string& text) { return QString::fromStdString(text); }

// The screen a window is on: the room it leaves for windows.
QSize ScreenRoomOf(const QWidget* widget) {
  QScreen* shown_on = widget->screen() ? widget->screen() : QGuiApplication::primaryScreen();
  return shown_on ? shown_on->availableGeometry().size() : QSize(1366, 700);
}

// A dialog around a read-only text, as large as MOST where the screen has the room; the
// caller adds its buttons below the text.
struct TextDialog {
  std::unique_ptr<QDialog> dialog;
  QVBoxLayout* layout;
  QPlainTextEdit* view;
};
TextDialog MakeTextDialog(QWidget* parent, const char* name, const QString& title, const QString& text, QSize most) {
  TextDialog made{std::make_unique<QDialog>(parent), nullptr, nullptr};
  made.dialog->setObjectName(name);
  made.dialog->setWindowTitle(title);
  made.layout = new QVBoxLayout(made.dialog.get());
  made.view = new QPlainTextEdit(text, made.dialog.get());
  made.view->setReadOnly(true);
  made.view->setMinimumSize(640, 260);
  made.layout->addWidget(made.view, 1);
  QSize room = ScreenRoomOf(parent);
  made.dialog->resize(std::min(most.width(), room.width() - 40), std::min(most.height(), room.height() - 80));
  return made;
}

}  // namespace

MainWindow::MainWindow(const convert::ProgramOptions& options, app::Clock& clock)
    : program_(convert::WireProgram(*this, clock, options)), main_form_(program_.main_form.get()) {
  main_form_->PlanClientKeyChanges = [this, codepage = options.source_codepage] {
    return preview::PlanClientKeyChanges(main_form_->session().Paths.source_folder, codepage);
  };
  Build();
}

MainWindow::~MainWindow() = default;

QCheckBox* MainWindow::AddCheckBox(QWidget* parent, app::CheckBox id, const QString& caption) {
  auto* box = new QCheckBox(caption, parent);
  box->setObjectName(app::NameOf(id));
  check_boxes_.push_back({id, box});
  controls_[app::NameOf(id)] = box;
  connect(box, &QCheckBox::toggled, this, [this, id](bool checked) {
    // "Massage Data" and its three boxes go together (TickMassage).
    app::TickMassage(main_form_->form(), id, checked);
    Refresh();
  });
  return box;
}

QLabel* MainWindow::AddImage(QWidget* parent, const app::ImagePair& images) {
  auto* image = new QLabel(parent);
  image->setObjectName(images.done);
  image->setFixedWidth(18);
  image->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  images_.push_back({images, image});
  controls_[images.done] = image;
  return image;
}

void MainWindow::Build() {
  auto* central = new QWidget(this);
  auto* outer = new QVBoxLayout(central);
  outer->setContentsMargins(0, 0, 0, 6);
  outer->setSpacing(4);
  scroll_ = new QScrollArea(central);
  scroll_->setObjectName("scrollArea");
  scroll_->setWidgetResizable(true);
  scroll_->setFrameShape(QFrame::NoFrame);
  auto* content = new QWidget(scroll_);
  auto* layout = new QVBoxLayout(content);
  layout->setContentsMargins(9, 6, 9, 2);
  layout->setSpacing(4);
  auto label = [&](const std::string& name) {
    auto* widget = new QLabel(content);
    widget->setObjectName(Q(name));
    widget->setWordWrap(true);
    controls_[name] = widget;
    return widget;
  };

  // The two programs, and beside them the office whose data this is.
  auto* heading = new QHBoxLayout();
  auto* title = label("lblTitle");
  title->setStyleSheet("font-size: 14pt; font-weight: bold;");
  heading->addWidget(title, 1);
  for (const char* name : {"lblCompany", "lblphone", "lblfax"}) {
    QLabel* company = label(name);
    company->setWordWrap(false);
    heading->addWidget(company);
  }
  layout->addLayout(heading);
  layout->addWidget(label("lblDescription"));

  // Each path: the picker that takes a file of the folder (as the old program's did), the
  // path, and a picker that takes the folder itself.
  auto* paths = new QGridLayout();
  auto path_row = [&](int row, const std::string& button_name, const std::string& edit_name,
                      const std::string& folder_name, void (MainWindow::*pick)(),
                      void (MainWindow::*pick_folder)(), std::string app::FormModel::*field) {
    auto* button = new QPushButton(content);
    button->setObjectName(Q(button_name));
    controls_[button_name] = button;
    auto* edit = new QLineEdit(content);
    edit->setObjectName(Q(edit_name));
    controls_[edit_name] = edit;
    auto* folder = new QPushButton("Choose folder...", content);
    folder->setObjectName(Q(folder_name));
    folder->setToolTip("Choose the folder itself");
    controls_[folder_name] = folder;
    connect(button, &QPushButton::clicked, this, pick);
    connect(folder, &QPushButton::clicked, this, pick_folder);
    connect(edit, &QLineEdit::textEdited, this, [this, field](const QString& text) {
      main_form_->form().*field = text.toStdString();
    });
    paths->addWidget(button, row, 0);
    paths->addWidget(edit, row, 1);
    paths->addWidget(folder, row, 2);
  };
  path_row(0, "cmdSource", "txtPyxPath", "cmdSourceFolder", &MainWindow::OnPickSource,
           &MainWindow::OnPickSourceFolder, &app::FormModel::txtPyxPath);
  path_row(1, "cmdTarget", "txtZulPath", "cmdTargetFolder", &MainWindow::OnPickTarget,
           &MainWindow::OnPickTargetFolder, &app::FormModel::txtZulPath);
  auto* create = new QPushButton("Create a blank office.mdb here", content);
  create->setObjectName("cmdCreateOffice");
  create->setToolTip("Make this folder (when it is not there) with a blank office.mdb in it, for the conversion to fill");
  controls_["cmdCreateOffice"] = create;
  connect(create, &QPushButton::clicked, this, [this] {
    std::string folder = app::Trim(main_form_->form().txtZulPath);
    if (folder.empty()) {
      MessageBox("Choose or type the new program's folder first.", app::MessageButtons::Ok, "");
      return;
    }
    if (CreateBlankTarget(folder)) {
      main_form_->cmdTarget_PickedFolder(folder);
      main_form_->DiscoverDataDirectories();
    }
    Refresh();
  });
  paths->addWidget(create, 1, 3);
  paths->setColumnStretch(1, 1);
  layout->addLayout(paths);


  // The choices and, once a run has started, its result lists, side by side.
  auto* middle = new QHBoxLayout();
  middle->addWidget(BuildChoices(content));
  middle->addWidget(BuildResults(content), 1);
  layout->addLayout(middle, 1);

  auto* status = new QHBoxLayout();
  status->addWidget(label("lblCaption"), 2);
  status->addWidget(label("lblAddress"), 2);
  status->addWidget(label("lblRecord"), 1);
  layout->addLayout(status);
  auto* notes = new QHBoxLayout();
  notes->addWidget(label("lblHint"), 1);
  notes->addWidget(label("lblmsg"), 1);
  layout->addLayout(notes);
  // The run as a whole (step N of M, the step's records, its time left), and the last notice
  // of the run, shown without halting it.
  QLabel* progress = label("lblProgress");
  progress->setStyleSheet("font-weight: bold;");
  layout->addWidget(progress);
  QLabel* notice = label("lblNotice");
  notice->setStyleSheet("color: #1d4f91;");
  layout->addWidget(notice);
  scroll_->setWidget(content);
  outer->addWidget(scroll_, 1);

  // The gauge, Convert and Quit stay in view below the scroll area, whatever the window's height.
  auto* buttons = new QHBoxLayout();
  buttons->setContentsMargins(9, 0, 9, 0);
  auto* gauge = new QProgressBar(central);
  gauge->setObjectName("gauprogress");
  gauge->setRange(0, 100);
  controls_["gauprogress"] = gauge;
  buttons->addWidget(gauge, 1);
  auto* convert = new QPushButton("Convert", central);
  convert->setObjectName("cmdnewconvert");
  convert->setDefault(true);
  controls_["cmdnewconvert"] = convert;
  auto* quit = new QPushButton("Quit", central);
  quit->setObjectName("cmdQuit");
  controls_["cmdQuit"] = quit;
  connect(convert, &QPushButton::clicked, this, &MainWindow::OnConvert);
  connect(quit, &QPushButton::clicked, this, &MainWindow::OnQuit);
  buttons->addWidget(convert);
  buttons->addWidget(quit);
  outer->addLayout(buttons);

  pages_ = new QStackedWidget(this);
  pages_->addWidget(central);
  pages_->addWidget(BuildFirstRun(pages_));
  setCentralWidget(pages_);
  FitToScreen();
}

QWidget* MainWindow::BuildFirstRun(QWidget* parent) {
  auto* page = new QWidget(parent);
  page->setObjectName("firstRun");
  auto* outer = new QVBoxLayout(page);
  outer->setContentsMargins(40, 30, 40, 20);
  auto* title = new QLabel("Qorvane: moving the office's records to the new program", page);
  title->setStyleSheet("font-size: 16pt; font-weight: bold;");
  outer->addWidget(title);
  auto* about = new QLabel(
      "Qorvane reads the old office program's tables (property.dbf, client.dbf and the others, in one folder) and "
      "writes the new program's database, office.mdb. Nothing is changed until you have ticked what to convert and "
      "answered the confirmation, which says what the run will change.\n\nChoose the two folders to begin:",
      page);
  about->setWordWrap(true);
  outer->addWidget(about);
  auto* grid = new QGridLayout();
  grid->setHorizontalSpacing(8);
  grid->setVerticalSpacing(10);
  auto folder_row = [&](int row, const QString& caption, const char* edit_name, const char* button_name,
                        QLineEdit** edit, const QString& title) {
    auto* label = new QLabel(caption, page);
    label->setWordWrap(true);
    grid->addWidget(label, row, 0);
    *edit = new QLineEdit(page);
    (*edit)->setObjectName(edit_name);
    grid->addWidget(*edit, row, 1);
    auto* choose = new QPushButton("Choose folder...", page);
    choose->setObjectName(button_name);
    grid->addWidget(choose, row, 2);
    QLineEdit* target = *edit;
    connect(choose, &QPushButton::clicked, this, [this, target, title] {
      QString chosen = Pick({title, target->text(), "", true});
      if (!chosen.isEmpty()) target->setText(chosen);
    });
    connect(target, &QLineEdit::textChanged, this, [this] { OnFirstRunContinue(); });
  };
  folder_row(0, "The old program's data folder\n(the one with property.dbf):", "txtFirstSource", "cmdFirstSource",
             &first_source_, "Select the folder of the old program's tables (property.dbf and the others)");
  folder_row(1, "The new program's folder\n(the one with office.mdb):", "txtFirstTarget", "cmdFirstTarget",
             &first_target_, "Select the folder of office.mdb");
  auto* create = new QPushButton("Create a blank office.mdb here", page);
  create->setObjectName("cmdFirstCreateOffice");
  connect(create, &QPushButton::clicked, this, [this] {
    std::string folder = app::Trim(first_target_->text().toStdString());
    if (folder.empty()) {
      first_status_->setText("Choose or type the new program's folder first.");
      return;
    }
    if (CreateBlankTarget(folder)) OnFirstRunContinue();
  });
  grid->addWidget(create, 1, 3);
  grid->setColumnStretch(1, 1);
  outer->addLayout(grid);
  first_status_ = new QLabel(page);
  first_status_->setObjectName("lblFirstRunStatus");
  first_status_->setWordWrap(true);
  outer->addWidget(first_status_);
  auto* buttons = new QHBoxLayout();
  buttons->addStretch();
  auto* go_on = new QPushButton("Continue", page);
  go_on->setObjectName("cmdFirstRunContinue");
  go_on->setEnabled(false);
  go_on->setDefault(true);
  connect(go_on, &QPushButton::clicked, this, [this] {
    std::string source = app::Trim(first_source_->text().toStdString());
    std::string target = app::Trim(first_target_->text().toStdString());
    pages_->setCurrentIndex(0);
    try {
      // The old program's start-up now, on the folders chosen: its messages say only what is
      // really missing there.
      main_form_->FormLoad({source, target});
    } catch (const app::ProgramEnd& end) {
      QApplication::exit(end.exit_status());
      return;
    }
    Refresh();
  });
  buttons->addWidget(go_on);
  auto* quit = new QPushButton("Quit", page);
  quit->setObjectName("cmdFirstRunQuit");
  connect(quit, &QPushButton::clicked, this, &QWidget::close);
  buttons->addWidget(quit);
  outer->addLayout(buttons);
  outer->addStretch();
  controls_["cmdFirstRunContinue"] = go_on;
  return page;
}

void MainWindow::OnFirstRunContinue() {
  // What each chosen folder holds, as the user types or picks it; Continue once both are set.
  std::string source = app::Trim(first_source_->text().toStdString());
  std::string target = app::Trim(first_target_->text().toStdString());
  QStringList notes;
  if (!source.empty()) {
    std::string folder = source;
    app::CkRSlash(folder);
    notes << (app::FileExists(folder + "Property.dbf") ? "The old program's folder holds property.dbf."
                                                       : "No property.dbf in " + Q(folder) + " yet.");
  }
  if (!target.empty()) {
    std::string folder = target;
    app::CkRSlash(folder);
    notes << (app::FileExists(folder + "Office.mdb")
                  ? "The new program's folder holds office.mdb."
                  : "No office.mdb in " + Q(folder) + ": \"Create a blank office.mdb here\" writes one.");
  }
  first_status_->setText(notes.join("\n"));
  controls_["cmdFirstRunContinue"]->setEnabled(!source.empty() && !target.empty());
}

bool MainWindow::ShowingFirstRun() const { return pages_->currentIndex() == 1; }

void MainWindow::Start() {
  if (main_form_->FirstLaunch()) {
    pages_->setCurrentIndex(1);
    return;
  }
  main_form_->FormLoad();
  Refresh();
}

bool MainWindow::CreateBlankTarget(const std::string& folder) {
  std::ostringstream out, err;
  if (data::InitTarget(folder, out, err) == 0) {
    statusBar()->showMessage(Q(out.str()).trimmed());
    if (first_status_) first_status_->setText(Q(out.str()).trimmed());
    return true;
  }
  // Already there is no failure: the folder has its office.mdb.
  if (auto existing = os::FindCaseInsensitive(folder, "office.mdb")) return true;
  MessageBox("No blank office.mdb could be written into " + folder + ":\n" + err.str(), app::MessageButtons::Ok, "");
  return false;
}

std::string MainWindow::OfferMissingTargetFolder(const std::string& folder) {
  MissingFolderAnswer answer = MissingFolderAnswer::Cancel;
  if (answer_missing_folder) {
    answer = answer_missing_folder(folder);
  } else {
    QMessageBox ask(QMessageBox::Warning, "The folder for office.mdb is not there",
                    "The folder " + Q(folder) + " does not exist, so there is no office.mdb to convert into.", QMessageBox::NoButton,
                    this);
    ask.setInformativeText("Create it with a blank office.mdb for the conversion to fill, or choose the folder that "
                           "holds the new program's office.mdb.");
    QPushButton* create = ask.addButton("Create it with a blank office.mdb", QMessageBox::AcceptRole);
    QPushButton* choose = ask.addButton("Choose another folder...", QMessageBox::ActionRole);
    QPushButton* cancel = ask.addButton(QMessageBox::Cancel);
    ask.setEscapeButton(cancel);
    ask.exec();
    answer = ask.clickedButton() == create   ? MissingFolderAnswer::Create
             : ask.clickedButton() == choose ? MissingFolderAnswer::Choose
                                             : MissingFolderAnswer::Cancel;
  }
  switch (answer) {
    case MissingFolderAnswer::Create: return CreateBlankTarget(folder) ? folder : std::string();
    case MissingFolderAnswer::Choose:
      return Pick({"Select the folder of Office.mdb", Q(folder), "", true}).toStdString();
    case MissingFolderAnswer::Cancel: break;
  }
  return "";
}

QWidget* MainWindow::BuildChoices(QWidget* parent) {
  // The choices take the width they need; the result lists beside them take the rest.
  auto* choices = new QWidget(parent);
  choices->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Preferred);
  auto* row = new QHBoxLayout(choices);
  row->setContentsMargins(0, 0, 0, 0);
  auto* steps = new QGroupBox("Convert", choices);
  auto* steps_layout = new QGridLayout(steps);
  steps_layout->setVerticalSpacing(1);
  steps_layout->setContentsMargins(6, 2, 6, 2);
  // The thirteen steps in two columns, read down the first and then the second, in run order.
  // Each step's mark stands just before its own caption; a gap keeps the columns apart.
  const std::size_t step_rows = (app::ConversionSteps().size() + 1) / 2;
  std::size_t index = 0;
  steps_layout->setHorizontalSpacing(2);
  steps_layout->setColumnMinimumWidth(2, 14);
  for (const app::StepInfo& step : app::ConversionSteps()) {
    int line = static_cast<int>(index % step_rows);
    int column = static_cast<int>(index++ / step_rows) * 3;
    steps_layout->addWidget(AddImage(steps, step.images), line, column);
    steps_layout->addWidget(AddCheckBox(steps, step.check_box, step.caption), line, column + 1);
  }
  steps_layout->setRowStretch(static_cast<int>(step_rows), 1);
  row->addWidget(steps);

  auto* clear = new QGroupBox("Clear Data First", choices);
  auto* clear_layout = new QVBoxLayout(clear);
  clear_layout->setSpacing(1);
  clear_layout->setContentsMargins(6, 2, 6, 2);
  for (const app::ClearChoice& box : app::ClearChoices()) {
    clear_layout->addWidget(AddCheckBox(clear, box.check_box, box.caption));
  }
  clear_layout->addStretch();
  row->addWidget(clear);

  auto* options = new QGroupBox("Options", choices);
  auto* options_layout = new QGridLayout(options);
  options_layout->setVerticalSpacing(1);
  options_layout->setContentsMargins(6, 2, 6, 2);
  options_layout->setHorizontalSpacing(2);
  options_layout->addWidget(AddCheckBox(options, app::CheckBox::ckbPrelim, "Preliminary Corrections"), 0, 1, 1, 2);
  options_layout->addWidget(AddImage(options, app::kMassageDataImages), 1, 0);
  options_layout->addWidget(AddCheckBox(options, app::CheckBox::ckbMassage, "Massage Data"), 1, 1, 1, 2);
  int line = 2;
  for (const app::MassageStepInfo& step : app::MassageSteps()) {
    // Indented below "Massage Data", each with its mark before it.
    options_layout->addWidget(AddImage(options, step.images), line, 1);
    options_layout->addWidget(AddCheckBox(options, step.check_box, step.caption), line++, 2);
  }
  options_layout->addWidget(AddCheckBox(options, app::CheckBox::ckbViewLog, "View log when done"), line++, 1, 1, 2);
  auto* file_label = new QLabel("File numbers (blank: all)", options);
  options_layout->addWidget(file_label, line++, 1, 1, 2);
  auto* file_list = new QLineEdit(options);
  file_list->setObjectName("lstfilenum");
  file_list->setPlaceholderText("95-0003, 95-0005");
  controls_["lstfilenum"] = file_list;
  connect(file_list, &QLineEdit::textEdited, this, [this](const QString& text) {
    auto& list = main_form_->form().lstfilenum;
    list.clear();
    for (const QString& item : text.split(',', Qt::SkipEmptyParts)) {
      if (!item.trimmed().isEmpty()) list.push_back(item.trimmed().toStdString());
    }
  });
  options_layout->addWidget(file_list, line++, 1, 1, 2);
  options_layout->setRowStretch(line, 1);
  row->addWidget(options);
  return choices;
}

QWidget* MainWindow::BuildResults(QWidget* parent) {
  auto* results = new QGroupBox("File numbers corrected / not converted", parent);
  results->setObjectName("fraIllegalFix");
  controls_["fraIllegalFix"] = results;
  auto* layout = new QVBoxLayout(results);
  for (const app::ResultList& list : app::MainFormResultLists()) {
    auto* panel = new ResultListPanel(list, ResultListPanel::Print::Button, &answer_print, results);
    result_panels_.push_back(panel);
    controls_[list.control] = panel->list();
    layout->addWidget(panel, 1);
  }
  auto* duplicates = new QPushButton("Duplicate clients...", results);
  duplicates->setObjectName("cmdClientDup");
  duplicates->setToolTip("The client keys the Preliminary Corrections found invalid and corrected");
  controls_["cmdClientDup"] = duplicates;
  connect(duplicates, &QPushButton::clicked, this, &MainWindow::ShowClientDupForm);
  auto* bottom = new QHBoxLayout();
  bottom->addStretch();
  bottom->addWidget(duplicates);
  layout->addLayout(bottom);
  return results;
}

void MainWindow::FitToScreen() {
  QSize room = ScreenRoomOf(this);
  // Leave room for the window's title bar and frame.
  resize(std::min(1280, room.width() - 16), std::min(800, room.height() - 40));
}

ResultListPanel* MainWindow::ResultPanel(const std::string& list_name) const {
  for (ResultListPanel* panel : result_panels_) {
    if (panel->list()->objectName().toStdString() == list_name) return panel;
  }
  return nullptr;
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
  static_cast<QLabel*>(controls_["lblProgress"])->setText(ProgressText(form));
  set_label("lblNotice", form.RunNotice);
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
  for (const char* name : {"cmdnewconvert", "cmdSource", "cmdTarget", "txtPyxPath", "txtZulPath", "lstfilenum",
                           "cmdCreateOffice"}) {
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
      case app::StepMark::Stopped: image->setText(QString::fromUtf8("\u25A0")); image->setToolTip("stopped here"); break;
      case app::StepMark::NotTicked:
        image->setText(form.ImageVisible(images.now) ? QString::fromUtf8("\u25B6")
                       : form.ImageVisible(images.done) ? QString::fromUtf8("\u2714") : "");
        image->setToolTip("");
        break;
    }
  }
  controls_["fraIllegalFix"]->setVisible(form.fraIllegalFix);
  for (ResultListPanel* panel : result_panels_) panel->Fill(form);
  controls_["cmdClientDup"]->setEnabled(!form.lstduplicateclients.empty());
  for (const char* name : {"cmdSourceFolder", "cmdTargetFolder"}) controls_[name]->setEnabled(form.ButtonsEnabled);
  if (client_dup_) client_dup_->Fill(form, main_form_->PlannedClientKeys());
}

QString MainWindow::ProgressText(const app::FormModel& form) {
  if (form.RunningCaption.empty()) {
    progress_step_.clear();
    return "";
  }
  QString text = Q(form.RunningCaption);
  if (form.StepNumber > 0 && form.StepCount > 0) {
    text = QString("Step %1 of %2: ").arg(form.StepNumber).arg(form.StepCount) + text;
  }
  std::string step = form.RunningCaption + "/" + std::to_string(form.StepNumber);
  if (step != progress_step_) {
    progress_step_ = step;
    progress_start_ms_ = NowMs();
  }
  if (form.RecordTotal > 0) {
    QLocale locale(QLocale::English);
    text += QString::fromUtf8(" \u2014 record ") + locale.toString(static_cast<qlonglong>(form.RecordNumber)) + " of " +
            locale.toString(static_cast<qlonglong>(form.RecordTotal));
    long long elapsed = NowMs() - progress_start_ms_;
    if (elapsed >= 1000 && form.RecordNumber > 0) {
      double per_record = static_cast<double>(elapsed) / static_cast<double>(form.RecordNumber);
      long long left = static_cast<long long>(per_record * static_cast<double>(form.RecordTotal - form.RecordNumber) / 1000.0);
      text += QString::fromUtf8(" \u2014 about %1:%2 left in this step").arg(left / 60).arg(left % 60, 2, 10, QChar('0'));
    }
  }
  return text;
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
  if (gathering_ > 0) {
    if (buttons == app::MessageButtons::Ok) {
      // Two checks of one file (a table bound twice) say the same thing: once is enough.
      bool repeated = std::any_of(gathered_.begin(), gathered_.end(),
                                  [&](const Gathered& message) { return message.text == text; });
      if (!repeated) gathered_.push_back({text, false});
      return app::MessageResult::Ok;
    }
    // A question is asked at once, after what was gathered before it.
    ShowGathered();
  }
  Refresh();
  if (answer_message) return answer_message(text, buttons);
  QString caption = title.empty() ? Q(main_form_->form().Caption) : Q(title);
  switch (buttons) {
    case app::MessageButtons::Ok:
      QMessageBox::information(this, caption, Q(text));
      return app::MessageResult::Ok;
    case app::MessageButtons::YesNo: {
      // The one confirmation: its buttons say what they do.
      std::unique_ptr<QMessageBox> question = MakeConfirmation(Q(text));
      question->setWindowTitle(caption);
      question->exec();
      return question->clickedButton() && question->clickedButton()->objectName() == "cmdConfirmConvert"
                 ? app::MessageResult::Yes
                 : app::MessageResult::No;
    }
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
  if (gathering_ > 0) gathered_.push_back({text, true});
}

void MainWindow::BeginMessages() { ++gathering_; }

void MainWindow::EndMessages() {
  if (gathering_ > 0 && --gathering_ == 0) ShowGathered();
}

QString MainWindow::GatheredText() const {
  QString text;
  for (const Gathered& message : gathered_) {
    if (!text.isEmpty()) text += message.notice ? "\n" : "\n\n";
    // A notice (what this program looked at, what to do) sits below the message it explains.
    text += message.notice ? "    -> " + Q(message.text) : Q(message.text);
  }
  return text;
}

std::unique_ptr<QDialog> MainWindow::MakeGatheredDialog(const QString& text, int count) {
  TextDialog made = MakeTextDialog(this, "gatheredMessages", Q(main_form_->form().Caption), text, {900, 560});
  made.view->setObjectName("gatheredText");
  auto* heading = new QLabel(count == 1 ? QString("1 message:") : QString("%1 messages:").arg(count), made.dialog.get());
  heading->setStyleSheet("font-weight: bold;");
  made.layout->insertWidget(0, heading);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, made.dialog.get());
  connect(buttons, &QDialogButtonBox::accepted, made.dialog.get(), &QDialog::accept);
  made.layout->addWidget(buttons);
  return std::move(made.dialog);
}

void MainWindow::ShowGathered() {
  if (gathered_.empty()) return;
  int count = 0;
  for (const Gathered& message : gathered_) count += message.notice ? 0 : 1;
  QString text = GatheredText();
  gathered_.clear();
  if (count == 0) return;  // notices alone stay on the status line
  Refresh();
  if (show_gathered) {
    show_gathered(text.toStdString());
    return;
  }
  MakeGatheredDialog(text, count)->exec();
}

std::unique_ptr<QMessageBox> MainWindow::MakeConfirmation(const QString& text) {
  auto question = std::make_unique<QMessageBox>(QMessageBox::Question, Q(main_form_->form().Caption), text,
                                                QMessageBox::NoButton, this);
  question->setObjectName("confirmation");
  QPushButton* convert = question->addButton("Convert", QMessageBox::YesRole);
  convert->setObjectName("cmdConfirmConvert");
  QPushButton* cancel = question->addButton("Cancel", QMessageBox::NoRole);
  cancel->setObjectName("cmdConfirmCancel");
  // A run changes office.mdb (and, with the corrections, the source): it takes a deliberate click.
  question->setDefaultButton(cancel);
  question->setEscapeButton(cancel);
  return question;
}

std::unique_ptr<QMessageBox> MainWindow::MakeEscapePrompt() {
  auto prompt = std::make_unique<QMessageBox>(this);
  prompt->setObjectName("frmEscape");
  prompt->setWindowTitle("Conversion paused");
  prompt->setIcon(QMessageBox::Question);
  prompt->setText("The conversion is paused. Continue, or stop it here?");
  prompt->setInformativeText("Stop keeps what was converted so far, shows what the run did, and then ends the "
                             "program. Running the same conversion again later finishes the job.");
  QPushButton* go_on = prompt->addButton("Continue", QMessageBox::AcceptRole);
  go_on->setObjectName("cmdContinue");
  QPushButton* stop = prompt->addButton("Stop", QMessageBox::DestructiveRole);
  stop->setObjectName("cmdStop");
  // ESC, or closing the prompt, is the safe answer: the run goes on. Stop takes its button.
  prompt->setDefaultButton(go_on);
  prompt->setEscapeButton(go_on);
  return prompt;
}

app::EscapeChoice MainWindow::PromptEscape() {
  Refresh();
  long long paused_at = NowMs();
  app::EscapeChoice choice;
  if (answer_escape) {
    choice = answer_escape();
  } else {
    std::unique_ptr<QMessageBox> prompt = MakeEscapePrompt();
    prompt->exec();
    choice = prompt->clickedButton() && prompt->clickedButton()->objectName() == "cmdStop" ? app::EscapeChoice::Stop
                                                                                          : app::EscapeChoice::Continue;
  }
  progress_start_ms_ += NowMs() - paused_at;  // the pause does not count in the time left
  return choice;
}

namespace {

// An editor that needs a terminal: started from a window it would show nothing.
bool TerminalEditor(const std::string& command) {
  std::string name = command.substr(0, command.find(' '));
  name = name.substr(name.rfind('/') == std::string::npos ? 0 : name.rfind('/') + 1);
  for (const char* editor : {"vi", "vim", "nvim", "view", "nano", "pico", "emacs", "jed", "joe", "mcedit", "micro",
                             "ne", "ed", "ex", "kak", "hx", "helix", "mg", "jove", "elvis", "less", "more"}) {
    if (name == editor) return true;
  }
  return false;
}

}  // namespace

void MainWindow::OpenLog(const std::string& path) {
  for (const char* variable : {"VISUAL", "EDITOR"}) {
    const char* editor = std::getenv(variable);
    if (!editor || !*editor || TerminalEditor(editor)) continue;
    if (QProcess::startDetached(editor, {Q(path)})) return;
  }
  if (QDesktopServices::openUrl(QUrl::fromLocalFile(Q(path)))) return;
  // Nothing on this desktop opens a text file: the window shows it itself.
  ShowLogText(path);
}

void MainWindow::ShowLogText(const std::string& path) {
  if (show_log) {
    show_log(path);
    return;
  }
  std::string text;
  try {
    std::vector<std::byte> bytes = os::ReadWholeFile(path);
    text.assign(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  } catch (const std::exception& error) {
    text = std::string("The log could not be read: ") + error.what();
  }
  TextDialog made = MakeTextDialog(this, "logDialog", "The conversion log: " + Q(path), Q(text), {1000, 620});
  made.view->setLineWrapMode(QPlainTextEdit::NoWrap);
  made.view->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, made.dialog.get());
  connect(buttons, &QDialogButtonBox::rejected, made.dialog.get(), &QDialog::reject);
  made.layout->addWidget(buttons);
  made.dialog->exec();
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
  if (!main_form_->form().lstduplicateclients.empty()) ShowClientDupForm();
  // After a Stop the program ends, as the old one did, but only once the report was shown.
  if (!main_form_->RunReport().empty()) ShowReport();
  if (main_form_->session().EndRequested) close();
}

void MainWindow::ShowClientDupForm() {
  if (!client_dup_) client_dup_ = new ClientDupForm(&answer_print, this);
  client_dup_->Fill(main_form_->form(), main_form_->PlannedClientKeys());
  client_dup_->show();
  client_dup_->raise();
}

std::string MainWindow::ReportText() const {
  std::string text = app::RunSummaryText(*main_form_);
  if (!main_form_->LogPath().empty()) text += "\nThe log: " + main_form_->LogPath() + "\n";
  return text;
}

std::unique_ptr<QDialog> MainWindow::MakeReportDialog() {
  QString title = main_form_->outcome() == app::RunOutcome::Stopped ? "The conversion was stopped: what it did"
                                                                   : "What the conversion did";
  TextDialog made = MakeTextDialog(this, "reportDialog", title, Q(ReportText()), {1100, 640});
  made.view->setObjectName("reportText");
  made.view->setLineWrapMode(QPlainTextEdit::NoWrap);
  made.view->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, made.dialog.get());
  QPushButton* open_log = buttons->addButton("Open log", QDialogButtonBox::ActionRole);
  open_log->setObjectName("cmdOpenLog");
  open_log->setEnabled(!main_form_->LogPath().empty());
  connect(open_log, &QPushButton::clicked, this, [this] { OpenLog(main_form_->LogPath()); });
  connect(buttons, &QDialogButtonBox::rejected, made.dialog.get(), &QDialog::reject);
  if (main_form_->session().EndRequested) {
    auto* ending = new QLabel("The program ends when you close this report.", made.dialog.get());
    ending->setObjectName("lblReportEnds");
    made.layout->addWidget(ending);
  }
  made.layout->addWidget(buttons);
  return std::move(made.dialog);
}

void MainWindow::ShowReport() {
  if (show_report) {
    show_report(ReportText());
    return;
  }
  MakeReportDialog()->exec();
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

QString MainWindow::Pick(const PickRequest& request) {
  if (answer_picker) return answer_picker(request);
  if (request.folder) return QFileDialog::getExistingDirectory(this, request.title, request.start);
  return QFileDialog::getOpenFileName(this, request.title, request.start, request.filter);
}

void MainWindow::OnPickSource() {
  QString chosen = Pick({"Select 'Property.dbf'-then select 'Open'", Q(main_form_->form().txtPyxPath),
                         "Data Files (*.dbf)", false});
  if (!chosen.isEmpty()) main_form_->cmdSource_Picked(chosen.toStdString());
  Refresh();
}

void MainWindow::OnPickTarget() {
  QString start = Q(main_form_->form().txtZulPath) + "office.mdb";
  QString chosen = Pick({"Select 'Office.mdb' and then select 'Open'", start, "Data Files (*.mdb)", false});
  if (!chosen.isEmpty()) main_form_->cmdTarget_Picked(chosen.toStdString());
  Refresh();
}

void MainWindow::OnPickSourceFolder() {
  QString chosen = Pick({"Select the folder of the " + Q(main_form_->session().SourceProgram) +
                             " tables (Property.dbf and the others)",
                         Q(main_form_->form().txtPyxPath), "", true});
  if (!chosen.isEmpty()) main_form_->cmdSource_PickedFolder(chosen.toStdString());
  Refresh();
}

void MainWindow::OnPickTargetFolder() {
  QString chosen = Pick({"Select the folder of Office.mdb", Q(main_form_->form().txtZulPath), "", true});
  if (!chosen.isEmpty()) main_form_->cmdTarget_PickedFolder(chosen.toStdString());
  Refresh();
}

}  // namespace qorvane::gui
