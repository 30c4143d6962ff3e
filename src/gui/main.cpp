// qorvane-gui: the window face. Same engine, same log and messages as the command line.
#include <QApplication>
#include <QIcon>
#include <QCommandLineParser>

#include <cstdio>
#include <cstring>

#include "gui/main_window.h"

int main(int argc, char** argv) {
  // --help is answered before the window system is asked for a display, so it works anywhere.
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
      std::printf(
          "Usage: qorvane-gui [--settings DIR]\n\n"
          "The window of Qorvane: converts an appraisal office's FoxPro 2.6 tables into an Access 2000\n"
          "office.mdb, with the same engine, log and messages as the command line (qorvane --help).\n\n"
          "  --settings DIR  the folder of FOXCON.INI, zul.ini and VL.ini (default $QORVANE_SETTINGS_DIR,\n"
          "                  else ~/.config/qorvane)\n"
          "  -h, --help      this text\n");
      return 0;
    }
  }
  QApplication application(argc, argv);
  QCoreApplication::setApplicationName("qorvane-gui");
  // The installed icon and desktop entry (the package puts both in the desktop's usual places),
  // so the window and the task bar show the program's own icon.
  QGuiApplication::setDesktopFileName("qorvane");
  QApplication::setWindowIcon(QIcon::fromTheme("qorvane"));
  QCommandLineParser parser;
  parser.addHelpOption();
  QCommandLineOption settings_option("settings", "Settings directory", "DIR");
  parser.addOption(settings_option);
  parser.process(application);
  qorvane::convert::ProgramOptions options;
  if (parser.isSet(settings_option)) options.settings_dir = parser.value(settings_option).toStdString();

  qorvane::app::SystemClock clock;
  qorvane::gui::MainWindow window(options, clock);
  window.show();
  try {
    // A first launch (no folder known) opens on the two folders to choose; else start-up runs.
    window.Start();
  } catch (const qorvane::app::ProgramEnd& end) {
    return end.exit_status();
  }
  if (window.main_form().session().EndRequested) return 0;
  return application.exec();
}
