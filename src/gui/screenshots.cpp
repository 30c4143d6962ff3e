// qorvane-gui-screenshots DIR: pictures of the window for the README. It writes a sample source
// office and a blank office.mdb into a temporary folder, opens the window at 1366x700 (the room
// a maximised window has on a 1366x768 screen, below its title bar and a panel), and saves PNG
// files into DIR: the first launch, the window before a run, the confirmation, a run in
// progress, the paused prompt, the window after a run of every step, the run's report, the
// duplicate-client form, a stopped run's report and the start-up messages of folders that are
// not set up yet. Dialogs are answered by the window's hooks; run it under a display
// (scripts/screenshots uses Xvfb).
#include <QApplication>
#include <QKeyEvent>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>

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

void TickEverything(qorvane::app::FormModel& form) {
  form.CheckBoxes.fill(0);
  for (const auto& step : qorvane::app::ConversionSteps()) form.SetCheck(step.check_box, true);
  for (const auto& step : qorvane::app::MassageSteps()) form.SetCheck(step.check_box, true);
  form.SetCheck(qorvane::app::CheckBox::ckbMassage, true);
  form.SetCheck(qorvane::app::CheckBox::ckbPrelim, true);
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
  std::string big_source = root + "/pyx-big", big_target = root + "/zul-big";
  try {
    qorvane::sample::WriteSampleOffice(source, {.orders = 150, .seed = 11});
    qorvane::sample::WriteSampleOffice(big_source, {.orders = 20000, .seed = 12});
  } catch (const std::exception& error) {
    std::fprintf(stderr, "qorvane-gui-screenshots: %s\n", error.what());
    return 1;
  }
  std::ostringstream quiet;
  if (qorvane::data::InitTarget(target, quiet, std::cerr) != 0) return 1;
  if (qorvane::data::InitTarget(big_target, quiet, std::cerr) != 0) return 1;
  qorvane::app::SystemClock clock;
  bool saved = true;

  // The first launch: no settings yet, the two folders to choose.
  {
    qorvane::gui::MainWindow first({.settings_dir = root + "/settings-first"}, clock);
    first.resize(1366, 700);
    first.show();
    first.Start();
    saved = Save(first, out + "first-launch.png") && saved;
  }

  qorvane::gui::MainWindow window({.settings_dir = root + "/settings"}, clock);
  window.answer_message = [&](const std::string& text, qorvane::app::MessageButtons buttons) {
    if (buttons != qorvane::app::MessageButtons::YesNo) return qorvane::app::MessageResult::Ok;
    auto question = window.MakeConfirmation(QString::fromStdString(text));
    question->show();
    saved = Save(*question, out + "confirmation.png") && saved;
    return qorvane::app::MessageResult::Yes;
  };
  window.show_report = [](const std::string&) {};
  window.resize(1366, 700);
  window.show();
  window.main_form().FormLoad({source, target});
  window.Refresh();
  saved = Save(window, out + "window-before.png") && saved;

  TickEverything(window.main_form().form());
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

  // A run of 20,000 orders: the window while it runs, the paused prompt (ESC), then Stop and
  // the stopped run's report.
  {
    qorvane::gui::MainWindow running({.settings_dir = root + "/settings-big"}, clock);
    running.answer_message = [](const std::string&, qorvane::app::MessageButtons) { return qorvane::app::MessageResult::Yes; };
    bool paused = false;
    running.answer_escape = [&] {
      auto prompt = running.MakeEscapePrompt();
      prompt->show();
      saved = Save(*prompt, out + "paused.png") && saved;
      paused = true;
      return qorvane::app::EscapeChoice::Stop;
    };
    running.show_report = [&](const std::string&) {
      auto stopped = running.MakeReportDialog();
      stopped->show();
      saved = Save(*stopped, out + "stopped-report.png") && saved;
    };
    running.resize(1366, 700);
    running.show();
    running.main_form().FormLoad({big_source, big_target});
    TickEverything(running.main_form().form());
    running.Refresh();
    // Once the orders are being converted: a picture, then ESC.
    QTimer watch;
    watch.setInterval(50);
    bool shot = false;
    QObject::connect(&watch, &QTimer::timeout, [&] {
      const auto& form = running.main_form().form();
      if (shot || form.RunningCaption != "Invoices" || form.RecordNumber < form.RecordTotal / 3) return;
      shot = true;
      saved = Save(running, out + "window-running.png") && saved;
      QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
      QApplication::sendEvent(&running, &escape);
    });
    watch.start();
    static_cast<QPushButton*>(running.Control("cmdnewconvert"))->click();
    if (!paused) std::fprintf(stderr, "qorvane-gui-screenshots: the run ended before it could be paused\n");
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
