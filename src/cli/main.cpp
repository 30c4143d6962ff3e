// qorvane: the command line. One engine with the window; this face turns options into the main
// form's choices, runs the conversion with a terminal view and maps how it ended to an exit
// status: 0 completed, 1 refused or stopped, 2 bad command-line use, 3 a file that could not be
// read or written at all.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "app/main_form.h"
#include "app/paths.h"
#include "app/run_summary.h"
#include "common/os.h"
#include "cli/check_summary.h"
#include "cli/choices.h"
#include "cli/export.h"
#include "cli/terminal_view.h"
#include "convert/office.h"
#include "data/init_target.h"
#include "foxpro/codepage.h"
#include "data/source_check.h"
#include "preview/client_keys.h"
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
  if (auto error = cli::CheckFileNumbers(scratch.lstfilenum)) {
    std::cerr << "qorvane: --files: " << *error << "\n";
    return kExitUsage;
  }
  main_form.PlanClientKeyChanges = [&main_form, codepage = options.source_codepage] {
    return preview::PlanClientKeyChanges(main_form.session().Paths.source_folder, codepage);
  };
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

// The number of single-character edits between A and B.
std::size_t EditDistance(const std::string& a, const std::string& b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      std::size_t above = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
      diagonal = above;
    }
  }
  return row[b.size()];
}

// An option COMMAND does not have ("--souce"), named with the nearest one it has, before the
// parser's own "arguments were not expected"; nullopt when every option is known.
std::optional<std::string> UnknownOption(const CLI::App& command, int first, int argc, char** argv) {
  std::vector<std::string> known = {"--help"};
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) known.push_back("--" + name);
  }
  for (int i = first; i < argc; ++i) {
    std::string word = argv[i];
    if (word == "--") break;
    if (word.rfind("--", 0) != 0) continue;
    word = word.substr(0, word.find('='));
    if (std::find(known.begin(), known.end(), word) != known.end()) continue;
    std::string nearest;
    std::size_t best = 4;  // further than three edits away is no longer a slip of the finger
    for (const std::string& name : known) {
      std::size_t distance = EditDistance(word, name);
      if (distance < best) {
        best = distance;
        nearest = name;
      }
    }
    std::string command_name = command.get_name();
    return "unknown option " + word + (nearest.empty() ? "" : " (did you mean " + nearest + "?)") + "; see qorvane " +
           command_name + " --help";
  }
  return std::nullopt;
}

// `check`: the report, its last line replaced by the summary in plain words and what to do next.
int RunCheck(const std::string& source, int codepage, const std::vector<std::string>& files) {
  std::ostringstream report;
  data::SourceCheckResult result = data::CheckSource(source, codepage, report);
  std::string text = report.str();
  // The report's own count is of corrected fields; the summary counts numbers.
  std::size_t last = text.rfind('\n', text.size() >= 2 ? text.size() - 2 : 0);
  text = last == std::string::npos ? std::string() : text.substr(0, last + 1);
  std::cout << text;
  std::string folder = source;
  app::CkRSlash(folder);
  std::cout << cli::CheckSummary(text, folder, preview::PlanClientKeyChanges(folder, codepage),
                                 result.tables_unreadable);
  std::cout << cli::ListedNumbersNotHeld(folder, codepage, files);
  return data::SourceCheckExitStatus(result);
}

// `init-target` on a folder that has an office.mdb: named once, as it is spelt on disk.
std::optional<int> RefuseExistingTarget(const std::string& folder) {
  if (!os::IsDirectory(folder)) return std::nullopt;
  auto existing = os::FindCaseInsensitive(folder, "office.mdb");
  if (!existing) return std::nullopt;
  std::cerr << "init-target: " << *existing << ": already exists; it is left as it is (remove it first to start afresh)\n";
  return 1;
}

constexpr const char* kExamples =
    "Examples (a sample office in demo/; the sample's file numbers look like 95-0003):\n"
    "  qorvane sample demo/source --orders 5000\n"
    "  qorvane init-target demo/target\n"
    "  qorvane check --source demo/source\n"
    "  qorvane convert --source demo/source --target demo/target --prelim --massage all\n"
    "  qorvane convert --source demo/source --target demo/target --steps property,invoice,apprexp,applied \\\n"
    "                  --files 95-0003,95-0005 --clear property,invoice,assigned\n"
    "  qorvane export demo/target/office.mdb Property --format json\n"
    "\n"
    "convert asks before it changes anything; --yes answers for a script, so give it only to a run whose\n"
    "confirmation you have read (with --files, --clear empties only the rows of the listed numbers).\n";

constexpr const char* kConvertFooter =
    "The window's \"Clear Data First\" boxes are --clear words: Assigned = applied (or assigned),\n"
    "Users = system (or users); the others are named as in the window. With --files, property,\n"
    "invoice and assigned empty only the rows of the listed numbers; the other tables are emptied whole.\n"
    "\n"
    "Example, one order converted afresh (asks first):\n"
    "  qorvane convert --source demo/source --target demo/target --steps property,invoice,apprexp,applied \\\n"
    "                  --files 95-0003 --clear property,invoice,assigned\n"
    "\n"
    "Exit status: 0 completed; 1 refused or stopped (folders not set, confirmation declined, Stop);\n"
    "2 bad use of the command line; 3 a source or target file could not be read or written.";

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"Qorvane converts an appraisal office's FoxPro 2.6 tables into an Access 2000 "
               "office.mdb.",
               "qorvane"};
  app.set_version_flag("--version", std::to_string(QORVANE_VERSION_MAJOR) + "." +
                                        std::to_string(QORVANE_VERSION_MINOR) + "." +
                                        std::to_string(QORVANE_VERSION_PATCH));
  app.require_subcommand(1);
  app.footer(std::string(kExamples) +
             "\nEach command's own --help (qorvane convert --help) says its options and exit status.");

  ConvertOptions convert;
  CLI::App* convert_command = app.add_subcommand("convert", "Convert the source office into office.mdb");
  convert_command->footer(kConvertFooter);
  convert_command->add_option("--source", convert.source, "Source data folder (.dbf/.cdx/.fpt)")->type_name("DIR");
  convert_command->add_option("--target", convert.target, "Folder holding office.mdb")->type_name("DIR");
  convert_command->add_option("--settings", convert.settings, "Settings folder (FOXCON.INI, zul.ini, VL.ini)")
      ->type_name("DIR");
  convert_command->add_option("--steps", convert.choices.steps,
                              "Steps to convert: all (default), none, or " + cli::StepWords())
      ->type_name("LIST");
  convert_command->add_option("--clear", convert.choices.clear,
                              "Target tables to empty first: none (default), all, or " + cli::ClearWords() +
                                  " (with --files: only the listed numbers' rows of property, invoice and assigned)")
      ->type_name("LIST");
  convert_command->add_flag("--prelim", convert.choices.prelim,
                            "Run the preliminary corrections of the source tables (written back, after a copy)");
  convert_command->add_option("--massage", convert.choices.massage,
                              "Data massage: none (default), all, or " + cli::MassageWords())
      ->type_name("LIST");
  convert_command->add_option("--files", convert.choices.files,
                              "Limit the run to these file numbers, as the old program shows them (95-0003,95-0005)")
      ->type_name("N[,N...]");
  convert_command->add_option("--source-codepage", convert.source_codepage,
                              "Code page of source tables whose header names none (default 437)")
      ->type_name("CP");
  convert_command->add_flag("--yes", convert.yes, "Answer Yes to the confirmation (read it first: it says what the run changes)");
  convert_command->add_flag("--view-log", convert.choices.view_log,
                            "Open the log when the run ends ($VISUAL, $EDITOR, or xdg-open on a desktop)");
  convert_command->add_flag("--quiet", convert.quiet, "No progress on standard error");
  convert_command->add_option("--summary", convert.summary_file,
                              "Also write the reconciliation report (what each step read, added, skipped, refused) as JSON to FILE")
      ->type_name("FILE");

  std::string init_dir;
  CLI::App* init_command = app.add_subcommand("init-target", "Write a blank office.mdb into DIR");
  init_command->footer(
      "Example:\n  qorvane init-target demo/target\n\n"
      "Exit status: 0 written; 1 an office.mdb is there already (it is never replaced);\n"
      "2 bad use of the command line; 3 the folder could not be made or the file not written.");
  init_command->add_option("DIR", init_dir, "Folder to write office.mdb into (made if missing)")->required()->type_name("DIR");

  std::string check_source;
  int check_codepage = 437;
  CLI::App* check_command = app.add_subcommand("check", "Report illegal file numbers and invalid client keys; writes nothing");
  check_command->footer(
      "Example:\n  qorvane check --source demo/source\n\n"
      "Exit status: 0 nothing to repair; 1 the Preliminary Corrections would repair something;\n"
      "2 bad use of the command line; 3 a table could not be read.");
  check_command->add_option("--source", check_source, "Source data folder (.dbf/.cdx/.fpt)")->required()->type_name("DIR");
  std::string check_files;
  check_command->add_option("--files", check_files,
                            "Also say which of these file numbers the source does not hold (as convert --files takes them)")
      ->type_name("N[,N...]");
  check_command->add_option("--source-codepage", check_codepage,
                             "Code page of source tables whose header names none (default 437)")
      ->type_name("CP");

  std::string sample_dir;
  sample::SampleOptions sample_options;
  CLI::App* sample_command = app.add_subcommand("sample", "Write a realistic FoxPro 2.6 source office into DIR");
  sample_command->footer(
      "Example:\n  qorvane sample demo/source --orders 5000\n\n"
      "Exit status: 0 written; 2 bad use (a folder that already holds tables, a bad count);\n"
      "3 the folder or a table could not be written.");
  sample_command->add_option("DIR", sample_dir, "Folder to write the source tables into")->required()->type_name("DIR");
  sample_command->add_option("--orders", sample_options.orders, "Orders to write (default 200)")
      ->check(CLI::PositiveNumber)
      ->type_name("N");
  sample_command->add_option("--seed", sample_options.seed, "The same seed writes the same bytes (default 1)")
      ->type_name("N");

  std::string export_file;
  std::string export_table;
  std::string export_format = "csv";
  int export_codepage = 437;
  CLI::App* export_command = app.add_subcommand("export", "Print a .dbf, or one table of a .mdb, as rows");
  export_command->footer(
      "Examples:\n  qorvane export demo/target/office.mdb\n"
      "  qorvane export demo/target/office.mdb Property --format json\n  qorvane export demo/source/client.dbf\n\n"
      "Exit status: 0 printed; 2 bad use of the command line; 3 the file could not be read.");
  export_command->add_option("FILE", export_file, "A .dbf table or a .mdb database")->required()->type_name("FILE");
  export_command->add_option("TABLE", export_table, "Table of the .mdb to print (without it: the tables and their row counts)")
      ->type_name("TABLE");
  export_command->add_option("--format", export_format, "Rows as csv (default) or json")
      ->check(CLI::IsMember({"csv", "json"}))
      ->type_name("FORMAT");
  export_command->add_option("--source-codepage", export_codepage,
                              "Code page of a .dbf whose header names none (default 437)")
      ->type_name("CP");

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
  if (argc > 1) {
    for (const CLI::App* command : app.get_subcommands({})) {
      if (command->get_name() != argv[1]) continue;
      if (auto unknown = UnknownOption(*command, 2, argc, argv)) {
        std::cerr << "qorvane: " << *unknown << "\n";
        return kExitUsage;
      }
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
    if (auto refused = RefuseExistingTarget(init_dir)) return *refused;
    return data::InitTarget(init_dir, std::cout, std::cerr);
  }
  if (check_command->parsed()) {
    if (!os::IsDirectory(check_source)) {
      std::cerr << "qorvane: " << check_source << ": no such folder (give the folder of the old program's .dbf tables)\n";
      return kExitUsage;
    }
    cli::ConvertChoices listed;
    listed.files = check_files;
    app::FormModel scratch;
    cli::ApplyChoices(listed, scratch);
    if (auto error = cli::CheckFileNumbers(scratch.lstfilenum)) {
      std::cerr << "qorvane: --files: " << *error << "\n";
      return kExitUsage;
    }
    try {
      return RunCheck(check_source, check_codepage, scratch.lstfilenum);
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
