// qorvane: the command line. One engine with the window; this face turns options into the main
// form's choices, runs the conversion with a terminal view and maps how it ended to an exit
// status: 0 completed, 1 refused or stopped, 2 bad command-line use, 3 a file that could not be
// read or written at all.
#include <CLI/CLI.hpp>

#include <filesystem>
#include <iostream>
#include <optional>
#include <string>

#include "app/main_form.h"
#include "app/run_summary.h"
#include "common/os.h"
#include "cli/choices.h"
#include "cli/export.h"
#include "cli/terminal_view.h"
#include "convert/office.h"
#include "data/init_target.h"
#include "foxpro/codepage.h"
#include "data/source_check.h"
#include "sample/sample_office.h"

namespace {

using namespace qorvane;

constexpr int kExitCompleted = 0;
constexpr int kExitRefused = 1;
constexpr int kExitUsage = 2;
constexpr int kExitFileError = 3;

struct ConvertOptions {
  std::optional<std::string> source;
  std::optional<std::string> target;
  std::optional<std::string> settings;
  cli::ConvertChoices choices;
  int source_codepage = 437;
  bool yes = false;
  bool quiet = false;
  std::string summary_file;  // the reconciliation report as JSON, when given
};

int ExitStatusFor(app::RunOutcome outcome) {
  switch (outcome) {
    case app::RunOutcome::Completed: return kExitCompleted;
    case app::RunOutcome::DirectoriesNotSet:
    case app::RunOutcome::Declined:
    case app::RunOutcome::Stopped: return kExitRefused;
    case app::RunOutcome::NotRun:
    case app::RunOutcome::Failed: return kExitFileError;
  }
  return kExitFileError;
}

// A directory given on the command line, made absolute so that the log lines and the paths
// stored in the settings mean the same from any working directory.
std::optional<std::string> AbsoluteDirectory(const std::optional<std::string>& path) {
  if (!path || path->empty()) return path;
  std::error_code ignored;
  std::string absolute = std::filesystem::absolute(*path, ignored).lexically_normal().string();
  return absolute.empty() ? path : std::optional<std::string>(absolute);
}

int RunConvert(const ConvertOptions& options) {
  cli::TerminalView view({.assume_yes = options.yes, .quiet = options.quiet}, std::cerr);
  app::SystemClock clock;
  convert::Program program =
      convert::WireProgram(view, clock, {.settings_dir = options.settings, .source_codepage = options.source_codepage});
  app::MainForm& main_form = *program.main_form;
  // A usage error has no side effects: the words are checked before start-up runs.
  app::FormModel scratch;
  if (auto error = cli::ApplyChoices(options.choices, scratch)) {
    std::cerr << "qorvane: " << *error << "\n";
    return kExitUsage;
  }
  if (foxpro::MarkFromCodePage(options.source_codepage) == 0) {
    std::cerr << "qorvane: --source-codepage " << options.source_codepage
              << ": not a code page FoxPro tables use (for example 437, 850, 852, 865, 866, 1250, 1251, 1252)\n";
    return kExitUsage;
  }
  for (const std::string& number : scratch.lstfilenum) {
    if (number.size() > 8 || number.find(' ') != std::string::npos) {
      std::cerr << "qorvane: --files: '" << number << "' is not a file number (at most 8 characters, no blanks)\n";
      return kExitUsage;
    }
  }
  int status = kExitFileError;
  try {
    main_form.FormLoad({AbsoluteDirectory(options.source), AbsoluteDirectory(options.target)});
    cli::ApplyChoices(options.choices, main_form.form());
    cli::InstallInterruptHandler();
    view.EnterRunMode();
    main_form.cmdNEWConvert();
    view.LeaveRunMode();
    cli::RemoveInterruptHandler();
    status = ExitStatusFor(main_form.outcome());
    if (status == kExitCompleted && main_form.FileErrorsReported() > 0) {
      std::cerr << "qorvane: the run went to its end, but " << main_form.FileErrorsReported()
                << " file error(s) were reported (see the log above and in the target folder): "
                   "not everything was converted\n";
      status = kExitFileError;
    }
  } catch (const app::ProgramEnd& end) {
    status = end.exit_status();
  }
  view.FinishProgress();
  // The reconciliation report of a run that reached office.mdb, then the log's path last.
  if (!main_form.RunReport().empty()) {
    std::cout << app::RunSummaryText(main_form);
    if (!options.summary_file.empty()) {
      try {
        std::string json = app::RunSummaryJson(main_form);
        os::WriteWholeFile(options.summary_file, std::as_bytes(std::span<const char>(json.data(), json.size())));
      } catch (const std::exception& error) {
        std::cerr << "qorvane: the summary could not be written to " << options.summary_file << ": " << error.what() << "\n";
        if (status == kExitCompleted) status = kExitFileError;
      }
    }
  }
  if (!main_form.LogPath().empty() && os::IsRegularFile(main_form.LogPath())) {
    std::cout << main_form.LogPath() << "\n";
  }
  return status;
}

// Refused folders and bad counts are usage errors; anything the disk refuses is a file error.
int RunSample(const std::string& folder, const sample::SampleOptions& options) {
  try {
    sample::SampleResult result = sample::WriteSampleOffice(folder, options);
    std::cout << "Wrote " << result.tables.size() << " tables, " << result.records() << " records (" << options.orders
              << " orders, seed " << options.seed << ") into " << result.folder << "\n";
    return kExitCompleted;
  } catch (const Error& error) {
    std::cerr << "qorvane: " << error.what() << "\n";
    return error.kind() == ErrorKind::InvalidArgument ? kExitUsage : kExitFileError;
  }
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"Qorvane converts an appraisal office's FoxPro 2.6 tables into an Access 2000 "
               "office.mdb.",
               "qorvane"};
  app.set_version_flag("--version", std::to_string(QORVANE_VERSION_MAJOR) + "." +
                                        std::to_string(QORVANE_VERSION_MINOR) + "." +
                                        std::to_string(QORVANE_VERSION_PATCH));
  app.require_subcommand(1);
  app.footer(
      "Examples:\n"
      "  qorvane sample demo/source --orders 5000\n"
      "  qorvane init-target demo/target\n"
      "  qorvane check --source demo/source\n"
      "  qorvane convert --source demo/source --target demo/target --prelim --massage all --yes\n"
      "  qorvane convert --steps property,invoice --files 1001,1002 --clear assigned --yes\n"
      "  qorvane export demo/target/office.mdb Property --format json\n"
      "\n"
      "The window's \"Clear Data First\" boxes are --clear words: Assigned = applied (or assigned),\n"
      "Users = system (or users); the others are named as in the window.\n"
      "\n"
      "Exit status: 0 completed; 1 refused or stopped (directories not set, confirmation declined,\n"
      "Stop); 2 bad use of the command line; 3 a source or target file could not be read or written.");

  ConvertOptions convert;
  CLI::App* convert_command = app.add_subcommand("convert", "Convert the source office into office.mdb");
  convert_command->add_option("--source", convert.source, "Source data directory (.dbf/.cdx/.fpt)");
  convert_command->add_option("--target", convert.target, "Directory holding office.mdb");
  convert_command->add_option("--settings", convert.settings, "Settings directory");
  convert_command->add_option("--steps", convert.choices.steps,
                              "Steps to convert: all (default), none, or " + cli::StepWords());
  convert_command->add_option("--clear", convert.choices.clear,
                              "Target tables to clear first: none (default), all, or " + cli::ClearWords());
  convert_command->add_flag("--prelim", convert.choices.prelim,
                            "Run the preliminary corrections of the source tables (written back)");
  convert_command->add_option("--massage", convert.choices.massage,
                              "Data massage: none (default), all, or " + cli::MassageWords());
  convert_command->add_option("--files", convert.choices.files, "Limit the run to these file numbers (N[,N...])");
  convert_command->add_option("--source-codepage", convert.source_codepage,
                              "Code page of source tables whose header names none (default 437)");
  convert_command->add_flag("--yes", convert.yes, "Answer Yes to the confirmation");
  convert_command->add_flag("--view-log", convert.choices.view_log, "Open the log when the run ends");
  convert_command->add_flag("--quiet", convert.quiet, "No progress on standard error");
  convert_command->add_option("--summary", convert.summary_file,
                              "Also write the reconciliation report (what each step read, added, skipped, refused) as JSON to FILE");

  std::string init_dir;
  CLI::App* init_command = app.add_subcommand("init-target", "Write a blank office.mdb into DIR");
  init_command->add_option("DIR", init_dir, "Folder to write office.mdb into (made if missing)")->required();

  std::string check_source;
  int check_codepage = 437;
  CLI::App* check_command = app.add_subcommand("check", "Report illegal file numbers and invalid client keys; writes nothing");
  check_command->add_option("--source", check_source, "Source data directory (.dbf/.cdx/.fpt)")->required();
  check_command->add_option("--source-codepage", check_codepage,
                             "Code page of source tables whose header names none (default 437)");

  std::string sample_dir;
  sample::SampleOptions sample_options;
  CLI::App* sample_command = app.add_subcommand("sample", "Write a realistic FoxPro 2.6 source office into DIR");
  sample_command->add_option("DIR", sample_dir, "Folder to write the source tables into")->required();
  sample_command->add_option("--orders", sample_options.orders, "Orders to write (default 200)")->check(CLI::PositiveNumber);
  sample_command->add_option("--seed", sample_options.seed, "The same seed writes the same bytes (default 1)");

  std::string export_file;
  std::string export_table;
  std::string export_format = "csv";
  int export_codepage = 437;
  CLI::App* export_command = app.add_subcommand("export", "Print a .dbf, or one table of a .mdb, as rows");
  export_command->add_option("FILE", export_file, "A .dbf table or a .mdb database")->required();
  export_command->add_option("TABLE", export_table, "Table of the .mdb to print (without it: the tables and their row counts)");
  export_command->add_option("--format", export_format, "Rows as csv (default) or json")->check(CLI::IsMember({"csv", "json"}));
  export_command->add_option("--source-codepage", export_codepage,
                              "Code page of a .dbf whose header names none (default 437)");

  // A misspelt command is named, with the commands there are.
  if (argc > 1 && argv[1][0] != '-') {
    std::string word = argv[1];
    bool known = false;
    for (const CLI::App* command : app.get_subcommands({})) known = known || command->get_name() == word;
    if (!known) {
      std::cerr << "qorvane: unknown command '" << word
                << "' (the commands are convert, init-target, check, sample and export; see qorvane --help)\n";
      return kExitUsage;
    }
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    int code = app.exit(error);
    return code == 0 ? 0 : kExitUsage;
  }

  if (convert_command->parsed()) return RunConvert(convert);
  if (init_command->parsed()) {
    return data::InitTarget(init_dir, std::cout, std::cerr);
  }
  if (check_command->parsed()) {
    if (!os::IsDirectory(check_source)) {
      std::cerr << "qorvane: " << check_source << ": no such folder (give the folder of the old program's .dbf tables)\n";
      return kExitUsage;
    }
    try {
      return data::SourceCheckExitStatus(data::CheckSource(check_source, check_codepage, std::cout));
    } catch (const std::exception& error) {
      // What the check finds in the tables is reported line by line; this is what stopped it.
      std::cout.flush();
      std::cerr << "qorvane: check: " << error.what() << "\n";
      return kExitFileError;
    }
  }
  if (sample_command->parsed()) return RunSample(sample_dir, sample_options);
  if (export_command->parsed()) {
    cli::ExportOptions options;
    options.file = export_file;
    if (!export_table.empty()) options.table = export_table;
    options.format = export_format == "json" ? cli::ExportFormat::Json : cli::ExportFormat::Csv;
    options.source_codepage = export_codepage;
    return cli::Export(options, std::cout, std::cerr);
  }
  return kExitUsage;
}
