// The command line as a script uses it: exit statuses, the log path as the last line of
// standard output, and the words that set the main form's choices.
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <sstream>

#include "cli/choices.h"
#include "test_support/run_command.h"
#include "test_support/sample_office.h"
#include "test_support/temp_dir.h"

namespace qorvane::cli {
namespace {

using Result = test::CommandResult;

// Runs qorvane with ARGS (already quoted), standard input from /dev/null, standard error dropped
// (or, with BOTH_STREAMS, read together with standard output).
Result RunQorvane(const std::string& args, bool both_streams = false) {
  return test::RunForResult(std::string(QORVANE_CLI_PATH) + " " + args + " </dev/null " +
                            (both_streams ? "2>&1" : "2>/dev/null"));
}

std::string LastLine(const std::string& text) {
  std::string trimmed = text;
  while (!trimmed.empty() && trimmed.back() == '\n') trimmed.pop_back();
  std::size_t newline = trimmed.rfind('\n');
  return newline == std::string::npos ? trimmed : trimmed.substr(newline + 1);
}

std::string ReadText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream buffer;
  buffer << in.rdbuf();
  return buffer.str();
}

class CommandLineTest : public ::testing::Test {
 protected:
  void SetUp() override {
    source = dir.path() + "/S";
    target = dir.path() + "/T";
    std::filesystem::create_directories(source);
    std::filesystem::create_directories(target);
    common = "--source " + source + " --target " + target + " --settings " + dir.path() + "/settings";
  }
  test::TempDir dir;
  std::string source, target, common;
};

// Folders a run cannot use end it with its status and the reason in the log: empty folders
// (1), a source without --yes and without a terminal to confirm on (1, declined), a target that
// is not a database (3, at the end of the run).
TEST_F(CommandLineTest, FoldersARunCannotUseGiveTheirStatusAndTheLogSaysWhy) {
  struct Case {
    const char* name;
    std::function<void()> prepare;
    std::string choices;
    int status;
    std::string in_log;  // empty: the run ended before its end lines
  };
  const Case cases[] = {
      {"empty folders", [] {}, " --yes --steps none", 1, "Conversion aborted: Data directories not correctly set\r\n"},
      {"no --yes and no terminal",
       [&] {
         std::ofstream(source + "/Property.dbf") << "x";
         std::ofstream(target + "/Office.mdb") << "x";
       },
       " --steps none", 1, ""},
      {"a target that is not a database", [&] { std::ofstream(target + "/Office.mdb") << "not a database"; },
       " --yes --steps none", 3, "Error # 3343 in module AdoConnect"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    c.prepare();
    Result result = RunQorvane("convert " + common + c.choices);
    EXPECT_EQ(result.status, c.status);
    std::string log = ReadText(LastLine(result.out));
    if (c.in_log.empty()) {
      EXPECT_EQ(log.find("Qorvane Conversion End"), std::string::npos) << log;
    } else {
      EXPECT_NE(log.find(c.in_log), std::string::npos) << log;
    }
  }
}

// A run with no steps writes the whole log and exits 0; the confirmation on standard error says
// what the run will change, and --view-log with nothing to open the log with names the log.
TEST_F(CommandLineTest, ARunWithNoStepsWritesTheWholeLogConfirmsOnStandardErrorAndNamesTheLog) {
  ASSERT_EQ(RunQorvane("sample " + source + " --orders 1").status, 0);
  ASSERT_EQ(RunQorvane("init-target " + target).status, 0);
  std::string err_file = dir.path() + "/err.txt";
  Result result = test::RunForResult("env -u VISUAL -u EDITOR -u DISPLAY -u WAYLAND_DISPLAY " +
                                     std::string(QORVANE_CLI_PATH) + " convert " + common +
                                     " --yes --quiet --steps none --clear client,invoice --files 1001 --view-log"
                                     " </dev/null 2>" + err_file);
  EXPECT_EQ(result.status, 0);
  std::string log_path = LastLine(result.out);
  EXPECT_EQ(log_path.rfind(target + "/ConvLog-", 0), 0u) << log_path;
  std::string log = ReadText(log_path);
  EXPECT_EQ(log.rfind("Company: ", 0), 0u);
  EXPECT_NE(log.find("\r\n\r\nListboxes cleared\r\n\r\n"), std::string::npos);
  EXPECT_NE(log.find("\r\nQorvane Conversion End = "), std::string::npos);
  EXPECT_NE(log.find("\r\nElapsed Time:  0 days  0 hrs  0 mins "), std::string::npos);
  std::string err = ReadText(err_file);
  // What will change comes first, then the old question, and the answer stands beside "Convert now?".
  for (const std::string& part : std::vector<std::string>{
           "qorvane: What this run will change:\n", "\n- EMPTIES these tables of office.mdb first (Clear Data First): Clients.",
        "\n- Deletes first the rows of the listed file numbers from Invoices (Clear Data First); their other rows stay.\n",
        "\n- Converts only the file numbers 1001, each afresh: their rows in ", "\n\nYou should have a good backup",
        "'. Do you wish to continue?\n\nConvert now? yes (--yes)\n",
        "qorvane: nothing to open the log with: set $VISUAL or $EDITOR (or install xdg-utils on a desktop); the log is " +
            log_path}) {
    EXPECT_NE(err.find(part), std::string::npos) << part << "\n" << err;
  }
}

// A target folder that is not there is refused with status 1 (the notice that names it is the
// run's, in tests/app); init-target makes it, or says which folder it could not make (status 3).
TEST_F(CommandLineTest, AMissingTargetFolderIsRefusedAndInitTargetMakesIt) {
  ASSERT_EQ(RunQorvane("sample " + source + " --orders 1").status, 0);
  std::string missing = dir.path() + "/not/yet";
  Result refused = RunQorvane("convert --source " + source + " --target " + missing + " --settings " + dir.path() +
                              "/settings --yes --steps none", true);
  EXPECT_EQ(refused.status, 1);
  EXPECT_NE(refused.out.find("The target folder " + missing + "/ does not exist"), std::string::npos) << refused.out;
  Result made = RunQorvane("init-target " + missing, true);
  EXPECT_EQ(made.status, 0);
  EXPECT_EQ(made.out, "init-target: wrote " + missing + "/office.mdb (12 tables)\n");
  Result again = RunQorvane("init-target " + missing, true);
  EXPECT_EQ(again.status, 1);
  EXPECT_EQ(again.out, "init-target: " + missing + "/office.mdb: already exists; it is left as it is (remove it first to "
                       "start afresh)\n");
  std::ofstream(dir.path() + "/a-file") << "x";
  Result blocked = RunQorvane("init-target " + dir.path() + "/a-file/t", true);
  EXPECT_EQ(blocked.status, 3);
  EXPECT_NE(blocked.out.find("cannot make the folder " + dir.path() + "/a-file/t"), std::string::npos) << blocked.out;
}

// Unusable values read past are shown on the terminal only the first few times per file; the
// log gets every one.
TEST_F(CommandLineTest, DamageReadPastIsShownAFewTimesPerFileAndLoggedInFull) {
  ASSERT_EQ(RunQorvane("sample " + source + " --orders 3000").status, 0);
  ASSERT_EQ(RunQorvane("init-target " + target).status, 0);
  Result result = RunQorvane("convert " + common + " --yes --quiet --steps property", true);
  ASSERT_EQ(result.status, 0) << result.out;
  auto count = [](const std::string& text, const std::string& what) {
    std::size_t n = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
    return n;
  };
  EXPECT_EQ(count(result.out, "qorvane: property.dbf: record "), 10u);
  EXPECT_EQ(count(result.out, "property.dbf: more values like these are read past; from here on each is written "
                              "only to the conversion log"), 1u);
  EXPECT_GT(count(ReadText(LastLine(result.out)), "property.dbf: record "), 10u);
}

// Ctrl-C with no terminal to answer on stops the run. The report then says where it stopped and
// what did not run, on standard output and at the end of the log, and a second run of the same
// conversion reaches what one uninterrupted run reaches (mdb-count), nothing added twice.
TEST_F(CommandLineTest, AStoppedRunSaysWhereAndTheSameRunAgainFinishesTheJob) {
  test::RequireOracle(test::Oracle::Mdbtools);
  test::RequireOracle(test::Oracle::Python3);
  // Enough orders that the run is still going when the signal comes from the polling below.
  ASSERT_EQ(RunQorvane("sample " + source + " --orders 12000").status, 0);
  ASSERT_EQ(RunQorvane("init-target " + target).status, 0);
  std::string whole = dir.path() + "/W";
  ASSERT_EQ(RunQorvane("init-target " + whole).status, 0);
  // Every step but the per-party form rows, whose second run adds the rows of form types the
  // order step made in the first: that is so for any two runs, stopped or not.
  const std::string choices = " --yes --quiet --steps formtypes,client,appraiser,property,invoice,apprexp,applied,"
                              "company,users --massage all";
  std::string out_file = dir.path() + "/out.txt";
  std::string command = std::string(QORVANE_CLI_PATH) + " convert " + common + choices + " </dev/null >" + out_file +
                        " 2>/dev/null & pid=$!; "
                        "for i in $(seq 1 600); do grep -qs 'Begin conversion: Invoice.mdb' " + target +
                        "/ConvLog-*.log && break; sleep 0.01; done; kill -INT $pid; wait $pid; echo $?";
  std::string status = test::Command(command);
  ASSERT_EQ(status, "1\n") << "the stopped run exits 1";
  std::string out = ReadText(out_file);
  // Stopped in the invoices (before their first record on a slow machine), or just after them
  // on a quick one; the record it stopped at is the run's test's.
  EXPECT_EQ(out.rfind("Stopped by you during ", 0), 0u) << out;
  EXPECT_NE(out.find("Applied payments, Company, Users and Massage Data (Property, Assigned and Invoice).\n"),
            std::string::npos) << out;
  EXPECT_NE(out.find("\nRunning the same conversion again is safe and finishes the job."), std::string::npos);
  std::string log = ReadText(LastLine(out));
  EXPECT_NE(log.find("Conversion aborted by User and program ended (Quit button)\r\n\r\nWhat this run did:\r\n"
                     "Stopped by you during "),
            std::string::npos) << log;

  Result second = RunQorvane("convert " + common + choices);
  ASSERT_EQ(second.status, 0);
  ASSERT_EQ(RunQorvane("convert --source " + source + " --target " + whole + " --settings " + dir.path() +
                       "/settings" + choices).status, 0);
  // The records the report counts as skipped or refused are the rows of the rejects file, as
  // Python's csv reader sees them.
  std::size_t at = second.out.find(" skipped or refused, each with its table, record number, key and reason, are listed in ");
  ASSERT_NE(at, std::string::npos) << second.out;
  std::size_t start = second.out.rfind("The ", at) + 4;
  std::string count = second.out.substr(start, second.out.find(' ', start) - start);
  std::erase(count, ',');
  std::size_t path_at = at + std::string(" skipped or refused, each with its table, record number, key and reason, are listed in ").size();
  std::string rejects = second.out.substr(path_at, second.out.find(".\n", path_at) - path_at);
  EXPECT_EQ(test::Command("python3 -c \"import csv,sys; print(sum(1 for row in csv.DictReader(open(sys.argv[1], "
                          "encoding='utf-8-sig')) if row['outcome'] in ('skipped', 'refused') and row['reason']))\" " +
                          test::ShellQuote(rejects)),
            count + "\n");
  for (const char* table : {"Property", "Invoice", "Assigned", "Client", "ClientContact", "Appraiser", "FormTypes",
                            "Company", "users"}) {
    auto count = [&](const std::string& folder) {
      return test::Command("mdb-count " + test::ShellQuote(folder + "/office.mdb") + " " + table);
    };
    EXPECT_EQ(count(target), count(whole)) << table;
  }
}

TEST_F(CommandLineTest, BadUseExitsTwo) {
  EXPECT_EQ(RunQorvane("convrt").status, 2);
  EXPECT_EQ(RunQorvane("convert " + common + " --source-codepage 12345 --yes").status, 2);
  EXPECT_EQ(RunQorvane("convert " + common + " --files '1001,far too long a number' --yes").status, 2);
  Result letters = RunQorvane("convert " + common + " --files abc --yes", true);
  EXPECT_EQ(letters.status, 2);
  EXPECT_NE(letters.out.find("--files: 'abc' is not a file number"), std::string::npos) << letters.out;
  // A misspelt option is named with the one meant, for each command.
  for (const auto& [args, message] : std::vector<std::pair<std::string, std::string>>{
           {"convert --souce " + source, "unknown option --souce (did you mean --source?); see qorvane convert --help"},
           {"check --sorce " + source, "unknown option --sorce (did you mean --source?); see qorvane check --help"},
           {"export x.mdb --formt csv", "unknown option --formt (did you mean --format?); see qorvane export --help"},
           {"convert --frobnicate", "unknown option --frobnicate; see qorvane convert --help"}}) {
    Result misspelt = RunQorvane(args, true);
    EXPECT_EQ(misspelt.status, 2) << args;
    EXPECT_EQ(misspelt.out, "qorvane: " + message + "\n");
  }
  EXPECT_EQ(RunQorvane("").status, 2);
  EXPECT_EQ(RunQorvane("frobnicate").status, 2);
  EXPECT_EQ(RunQorvane("convert " + common + " --steps property,nonsense --yes").status, 2);
  EXPECT_EQ(RunQorvane("export").status, 2);
  EXPECT_EQ(RunQorvane("--version").status, 0);
}

// Every option and argument of every command says what it is for: a line of --help naming one
// ends with its description, not with its bare type, and names what it takes (DIR, LIST), not
// TEXT. Each command's help has its own examples and exit status, and no example would empty
// a table without asking (--clear with --yes).
TEST(Help, EveryCommandSaysItsOwnOptionsExamplesAndExitStatus) {
  for (std::string command : {"", "convert", "init-target", "check", "sample", "export"}) {
    Result help = RunQorvane(command + " --help");
    ASSERT_EQ(help.status, 0) << command;
    std::istringstream lines(help.out);
    bool in_list = false;
    for (std::string line; std::getline(lines, line);) {
      if (line.rfind("  qorvane ", 0) == 0) {
        EXPECT_FALSE(line.find("--clear") != std::string::npos && line.find("--yes") != std::string::npos) << line;
      }
      if (line == "Options:" || line == "Positionals:" || line == "Subcommands:") { in_list = true; continue; }
      if (line.empty() || line[0] != ' ') { in_list = false; continue; }
      if (!in_list) continue;
      std::size_t end = line.find_last_not_of(' ');
      EXPECT_TRUE(line.size() > 30 && end >= 30) << "qorvane " << command << ": " << line;
      EXPECT_EQ(line.find(" TEXT "), std::string::npos) << "qorvane " << command << ": " << line;
    }
    if (command.empty()) continue;
    EXPECT_NE(help.out.find("\nExit status: 0 "), std::string::npos) << command;
    EXPECT_NE(help.out.find("  qorvane " + command + " "), std::string::npos) << command << ": no example of its own";
    if (command != "sample") {
      EXPECT_EQ(help.out.find("qorvane sample demo/source"), std::string::npos)
          << command << " repeats the examples of every command";
    }
  }
  // init-target has its own statuses: 1 is an office.mdb already there.
  EXPECT_NE(RunQorvane("init-target --help").out.find("1 an office.mdb is there already"), std::string::npos);
}

// The export command's exit statuses: 0 read, 3 a database it cannot read, 2 a file it does not know.
TEST(Export, ExitsWithTheStatusOfWhatItRead) {
  EXPECT_EQ(RunQorvane("export " + test::FixturePath("mdb/northwind-V2000.mdb") + " Shippers").status, 0);
  EXPECT_EQ(RunQorvane("export " + test::FixturePath("mdb/testV1997.mdb")).status, 3);
  EXPECT_EQ(RunQorvane("export /etc/hostname").status, 2);
}

TEST(ApplyChoices, WordsSetTheirCheckBoxes) {
  app::FormModel form;
  ConvertChoices choices;
  choices.steps = "Property, invoice";
  choices.clear = "all";
  choices.massage = "assigned";
  choices.files = " 1001, 1002-A ,1001";
  EXPECT_FALSE(ApplyChoices(choices, form).has_value());
  EXPECT_TRUE(form.Checked(app::CheckBox::ckbProperty));
  EXPECT_TRUE(form.Checked(app::CheckBox::ckbinvoice));
  EXPECT_FALSE(form.Checked(app::CheckBox::ckbClient));
  EXPECT_TRUE(form.Checked(app::CheckBox::ckbclearsystem));
  EXPECT_TRUE(form.Checked(app::CheckBox::ckbMassage));
  EXPECT_TRUE(form.Checked(app::CheckBox::ckbmassageassigned));
  EXPECT_FALSE(form.Checked(app::CheckBox::ckbmassageproperty));
  EXPECT_EQ(form.lstfilenum, (std::vector<std::string>{"1001", "1002-A"}));  // a number listed twice runs once
  // The window's caption words name the same boxes.
  choices.clear = "assigned, users";
  EXPECT_FALSE(ApplyChoices(choices, form).has_value());
  EXPECT_TRUE(form.Checked(app::CheckBox::ckbclearapplied));
  EXPECT_TRUE(form.Checked(app::CheckBox::ckbclearsystem));
  EXPECT_FALSE(form.Checked(app::CheckBox::ckbClearClient));
  choices.steps = "none";
  choices.clear = "bogus";
  auto error = ApplyChoices(choices, form);
  ASSERT_TRUE(error.has_value());
  EXPECT_NE(error->find("'bogus'"), std::string::npos);
}

}  // namespace
}  // namespace qorvane::cli
