// qorvane-gui-screenshots DIR: pictures of the window for the README. It writes a sample source
// office and a blank office.mdb into a temporary folder, opens the window at 1366x700 (the room
// a maximised window has on a 1366x768 screen, below its title bar and a panel), and saves PNG
// files into DIR: the window before the run, the confirmation, the window after a run of every
// step, the run's report, the duplicate-client form and the start-up messages of folders that
// are not set up yet. Dialogs are answered by the window's hooks; run it under a display
// (scripts/screenshots uses Xvfb).
#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>

#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>

#include "data/init_target.h"
#include "gui/main_window.h"
#include "sample/sample_office.h"

namespace {

bool Save(QWidget& widget, const QString& path) {
  QApplication::processEvents();
  if (widget.grab().save(path)) return true;
  std::fprintf(stderr, "qorvane-gui-screenshots: cannot write %s\n", qPrintable(path));
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "Usage: qorvane-gui-screenshots DIR\n");
    return 2;
  }
  QApplication application(argc, argv);
  QString out = QString::fromLocal8Bit(argv[1]) + "/";
  QTemporaryDir temp;
  std::string root = temp.path().toStdString();
  std::string source = root + "/pyx", target = root + "/zul";
  try {
    qorvane::sample::WriteSampleOffice(source, {.orders = 150, .seed = 11});
  } catch (const std::exception& error) {
    std::fprintf(stderr, "qorvane-gui-screenshots: %s\n", error.what());
    return 1;
  }
  std::ostringstream quiet;
  QDir().mkpath(QString::fromStdString(target));
  if (qorvane::data::InitTarget(target, quiet, std::cerr) != 0) return 1;

  qorvane::app::SystemClock clock;
  qorvane::gui::MainWindow window({.settings_dir = root + "/settings"}, clock);
  bool saved = true;
  window.answer_message = [&](const std::string& text, qorvane::app::MessageButtons buttons) {
    if (buttons != qorvane::app::MessageButtons::YesNo) return qorvane::app::MessageResult::Ok;
    QMessageBox question(QMessageBox::Question, window.windowTitle(), QString::fromStdString(text),
                         QMessageBox::Yes | QMessageBox::No, &window);
    question.show();
    saved = Save(question, out + "confirmation.png") && saved;
    return qorvane::app::MessageResult::Yes;
  };
  window.show_report = [](const std::string&) {};
  window.resize(1366, 700);
  window.show();
  window.main_form().FormLoad({source, target});
  window.Refresh();
  saved = Save(window, out + "window-before.png") && saved;

  qorvane::app::FormModel& form = window.main_form().form();
  form.CheckBoxes.fill(0);
  for (const auto& step : qorvane::app::ConversionSteps()) form.SetCheck(step.check_box, true);
  for (const auto& step : qorvane::app::MassageSteps()) form.SetCheck(step.check_box, true);
  form.SetCheck(qorvane::app::CheckBox::ckbMassage, true);
  form.SetCheck(qorvane::app::CheckBox::ckbPrelim, true);
  window.Refresh();
  static_cast<QPushButton*>(window.Control("cmdnewconvert"))->click();
  saved = Save(window, out + "window-after.png") && saved;

  auto report = window.MakeReportDialog();
  report->show();
  saved = Save(*report, out + "report.png") && saved;
  report->close();
  if (auto* duplicates = window.client_dup_form()) {
    saved = Save(*duplicates, out + "client-duplicates.png") && saved;
  }

  // Start-up on folders that are not set up yet: the messages of that moment in one dialog.
  std::string empty = root + "/empty";
  QDir().mkpath(QString::fromStdString(empty));
  qorvane::gui::MainWindow unset({.settings_dir = root + "/settings-unset"}, clock);
  std::string messages;
  unset.show_gathered = [&](const std::string& text) { messages = text; };
  unset.resize(1366, 700);
  unset.main_form().FormLoad({empty, empty});
  int count = 0;
  for (const QString& line : QString::fromStdString(messages).split('\n')) {
    count += !line.isEmpty() && !line.startsWith(" ");
  }
  auto gathered = unset.MakeGatheredDialog(QString::fromStdString(messages), count);
  gathered->show();
  saved = Save(*gathered, out + "messages.png") && saved;
  return saved ? 0 : 1;
}
