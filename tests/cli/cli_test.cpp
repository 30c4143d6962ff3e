// The command line as a script uses it: exit statuses, the log path as the last line of
// standard output, and the words that set the main form's choices.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <sys/wait.h>

#include "cli/choices.h"
#include "test_support/temp_dir.h"

namespace qorvane::cli {
namespace {

struct Result {
  int status = -1;
  std::string out;
};

// Runs qorvane with ARGS (already quoted), standard input from /dev/null, standard error dropped
// (or, with BOTH_STREAMS, read together with standard output).
Result RunQorvane(const std::string& args, bool both_streams = false) {
  std::string command = std::string(QORVANE_CLI_PATH) + " " + args + " </dev/null " + (both_streams ? "2>&1" : "2>/dev/null");
  Result result;
  FILE* pipe = popen(command.c_str(), "r");
  std::array<char, 4096> buffer;
  while (std::size_t n = fread(buffer.data(), 1, buffer.size(), pipe)) result.out.append(buffer.data(), n);
  int raw = pclose(pipe);
  result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  return result;
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

TEST_F(CommandLineTest, EmptyDirectoriesAreRefusedWithExitOne) {
  Result result = RunQorvane("convert " + common + " --yes --steps none");
  EXPECT_EQ(result.status, 1);
  std::string log = ReadText(LastLine(result.out));
  EXPECT_NE(log.find("Conversion aborted: Data directories not correctly set\r\n"), std::string::npos);
}

TEST_F(CommandLineTest, ARunWithNoStepsWritesTheWholeLogAndExitsZero) {
  ASSERT_EQ(RunQorvane("sample " + source + " --orders 1").status, 0);
  ASSERT_EQ(RunQorvane("init-target " + target).status, 0);
  Result result = RunQorvane("convert " + common + " --yes --steps none");
  EXPECT_EQ(result.status, 0);
  std::string log_path = LastLine(result.out);
  EXPECT_EQ(log_path.rfind(target + "/ConvLog-", 0), 0u) << log_path;
  std::string log = ReadText(log_path);
  EXPECT_EQ(log.rfind("Company: ", 0), 0u);
  EXPECT_NE(log.find("\r\n\r\nListboxes cleared\r\n\r\n"), std::string::npos);
  EXPECT_NE(log.find("\r\nQorvane Conversion End = "), std::string::npos);
  EXPECT_NE(log.find("\r\nElapsed Time:  0 days  0 hrs  0 mins "), std::string::npos);
}

TEST_F(CommandLineTest, TheConfirmationOnStandardErrorSaysWhatTheRunWillChange) {
  ASSERT_EQ(RunQorvane("sample " + source + " --orders 1").status, 0);
  ASSERT_EQ(RunQorvane("init-target " + target).status, 0);
  std::string command = std::string(QORVANE_CLI_PATH) + " convert " + common +
                        " --yes --quiet --steps none --clear client,invoice --files 1001 </dev/null 2>&1 >/dev/null";
  std::string err;
  FILE* pipe = popen(command.c_str(), "r");
  std::array<char, 4096> buffer;
  while (std::size_t n = fread(buffer.data(), 1, buffer.size(), pipe)) err.append(buffer.data(), n);
  pclose(pipe);
  EXPECT_NE(err.find("'. Do you wish to continue?\n\nWhat this run will change:\n"), std::string::npos) << err;
  EXPECT_NE(err.find("\n- EMPTIES these tables of office.mdb first (Clear Data First): Clients and Invoices."),
            std::string::npos) << err;
  EXPECT_NE(err.find("\n- Converts only the file numbers 1001, each afresh: their rows in "), std::string::npos) << err;
  EXPECT_NE(err.find("\nyes (--yes)\n"), std::string::npos) << err;
}

TEST_F(CommandLineTest, ARunThatCannotOpenItsTargetGoesToItsEndAndExitsThree) {
  ASSERT_EQ(RunQorvane("sample " + source + " --orders 1").status, 0);
  std::ofstream(target + "/Office.mdb") << "not a database";
  Result result = RunQorvane("convert " + common + " --yes --steps none");
  EXPECT_EQ(result.status, 3);
  EXPECT_NE(ReadText(LastLine(result.out)).find("Error # 3343 in module AdoConnect"), std::string::npos);
}

// A target folder that is not there is named, with what makes it, before the error the log's
// folder gives; init-target makes it, or says which folder it could not make (status 3).
TEST_F(CommandLineTest, AMissingTargetFolderIsNamedAndInitTargetMakesIt) {
  ASSERT_EQ(RunQorvane("sample " + source + " --orders 1").status, 0);
  std::string missing = dir.path() + "/not/yet";
  Result result = RunQorvane("convert --source " + source + " --target " + missing + " --settings " +
                             dir.path() + "/settings --yes --steps none", true);
  EXPECT_EQ(result.status, 3);
  EXPECT_NE(result.out.find("The target folder " + missing + "/ does not exist: `qorvane init-target " + missing + "/`"),
            std::string::npos) << result.out;
  EXPECT_NE(result.out.find("Error # 53 in module cmdNEWConvert"), std::string::npos) << result.out;

  Result made = RunQorvane("init-target " + missing, true);
  EXPECT_EQ(made.status, 0);
  EXPECT_EQ(made.out, "init-target: wrote " + missing + "/office.mdb (12 tables)\n");
  EXPECT_EQ(RunQorvane("init-target " + missing).status, 1);
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

TEST_F(CommandLineTest, WithoutYesAndWithoutATerminalTheConfirmationIsDeclined) {
  std::ofstream(source + "/Property.dbf") << "x";
  std::ofstream(target + "/Office.mdb") << "x";
  Result result = RunQorvane("convert " + common + " --steps none");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(ReadText(LastLine(result.out)).find("Qorvane Conversion End"), std::string::npos);
}

TEST_F(CommandLineTest, BadUseExitsTwo) {
  EXPECT_EQ(RunQorvane("convrt").status, 2);
  EXPECT_EQ(RunQorvane("convert " + common + " --source-codepage 12345 --yes").status, 2);
  EXPECT_EQ(RunQorvane("convert " + common + " --files '1001,far too long a number' --yes").status, 2);
  EXPECT_EQ(RunQorvane("").status, 2);
  EXPECT_EQ(RunQorvane("frobnicate").status, 2);
  EXPECT_EQ(RunQorvane("convert " + common + " --steps property,nonsense --yes").status, 2);
  EXPECT_EQ(RunQorvane("export").status, 2);
  EXPECT_EQ(RunQorvane("--version").status, 0);
}

// Every option and argument of every command says what it is for: a line of --help naming one
// ends with its description, not with its bare type.
TEST(Help, EveryOptionOfEveryCommandHasADescription) {
  for (std::string command : {"", "convert", "init-target", "check", "sample", "export"}) {
    Result help = RunQorvane(command + " --help");
    ASSERT_EQ(help.status, 0) << command;
    std::istringstream lines(help.out);
    bool in_list = false;
    for (std::string line; std::getline(lines, line);) {
      if (line == "Options:" || line == "Positionals:" || line == "Subcommands:") { in_list = true; continue; }
      if (line.empty() || line[0] != ' ') { in_list = false; continue; }
      if (!in_list) continue;
      std::size_t end = line.find_last_not_of(' ');
      EXPECT_TRUE(line.size() > 30 && end >= 30) << "qorvane " << command << ": " << line;
    }
  }
}

TEST(Export, ListsTheTablesOfADatabaseAndRefusesOtherFiles) {
  std::string northwind = test::FixturePath("mdb/northwind-V2000.mdb");
  Result tables = RunQorvane("export " + northwind);
  EXPECT_EQ(tables.status, 0);
  EXPECT_NE(tables.out.find("Shippers,3\n"), std::string::npos);
  Result shippers = RunQorvane("export " + northwind + " Shippers");
  EXPECT_NE(shippers.out.find("2,United Package,(503) 555-3199\n"), std::string::npos);
  EXPECT_EQ(RunQorvane("export " + test::FixturePath("mdb/testV1997.mdb")).status, 3);
  EXPECT_EQ(RunQorvane("export /etc/hostname").status, 2);
}

TEST(ApplyChoices, WordsSetTheirCheckBoxes) {
  app::FormModel form;
  ConvertChoices choices;
  choices.steps = "Property, invoice";
  choices.clear = "all";
  choices.massage = "assigned";
  choices.files = " 1001, 1002-A ,";
  EXPECT_FALSE(ApplyChoices(choices, form).has_value());
  EXPECT_TRUE(form.Checked(app::CheckBox::ckbProperty));
  EXPECT_TRUE(form.Checked(app::CheckBox::ckbinvoice));
  EXPECT_FALSE(form.Checked(app::CheckBox::ckbClient));
  EXPECT_TRUE(form.Checked(app::CheckBox::ckbclearsystem));
  EXPECT_TRUE(form.Checked(app::CheckBox::ckbMassage));
  EXPECT_TRUE(form.Checked(app::CheckBox::ckbmassageassigned));
  EXPECT_FALSE(form.Checked(app::CheckBox::ckbmassageproperty));
  EXPECT_EQ(form.lstfilenum, (std::vector<std::string>{"1001", "1002-A"}));
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
