// qorvane-gui: the window face. Same engine, same log and messages as the command line.
#include <QApplication>
#include <QCommandLineParser>


#include "gui/main_window.h"

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QCoreApplication::setApplicationName("qorvane-gui");
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
    window.main_form().FormLoad();
  } catch (const qorvane::app::ProgramEnd& end) {
    return end.exit_status();
  }
  window.Refresh();
  if (window.main_form().session().EndRequested) return 0;
  return application.exec();
}
