// Settings files: INI reading and writing as the Windows profile functions did, the tags, and
// where the data directories come from.
#include "app/settings.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "app/main_form.h"
#include "app/steps.h"
#include "fake_view.h"
#include "test_support/temp_dir.h"

namespace qorvane::app {
namespace {

std::string ReadText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream buffer;
  buffer << in.rdbuf();
  return buffer.str();
}

TEST(ProfileStrings, SectionsAndKeysAreCaseBlindAndWritesKeepTheRest) {
  test::TempDir dir;
  std::string path = dir.path() + "/zul.ini";
  std::ofstream(path) << "; comment\r\n[Directories]\r\nDataDir = \"C:\\ZUL\\DATA\\\"\r\n"
                         "[Other]\r\nx=1\r\n";
  EXPECT_EQ(ReadProfileString(path, "DIRECTORIES", "DATADIR", "none"), "C:\\ZUL\\DATA\\");
  EXPECT_EQ(ReadProfileString(path, "DIRECTORIES", "DATAFILE", "office.mdb"), "office.mdb");
  EXPECT_EQ(ReadProfileString(dir.path() + "/missing.ini", "a", "b", "dflt"), "dflt");
  WriteProfileString(path, "directories", "DATAFILE", "Office.mdb");
  WriteProfileString(path, "other", "X", "2");
  WriteProfileString(path, "New", "k", "v");
  EXPECT_EQ(ReadText(path),
            "; comment\r\n[Directories]\r\nDataDir = \"C:\\ZUL\\DATA\\\"\r\nDATAFILE=Office.mdb\r\n"
            "[Other]\r\nX=2\r\n\r\n[New]\r\nk=v\r\n");
}

// A fresh account has no ~/.config (nor ~/.config/qorvane): the first choices stored make both.
TEST(ProfileStrings, StoringChoicesMakesTheSettingsFolderAndTheFoldersAboveIt) {
  test::TempDir dir;
  Settings settings(dir.path() + "/home/.config/qorvane/");
  settings.Write(tags::kLastSourcePath, "/data/pyx/");
  EXPECT_EQ(ReadProfileString(dir.path() + "/home/.config/qorvane/FOXCON.INI", "PATHS", "PyxPath", ""), "/data/pyx/");
}

// "Massage Data" is never ticked with nothing to massage, also when stored choices say so.
TEST(TickMassage, KeepsMassageDataAndItsThreeBoxesTogether) {
  struct Case {
    const char* what;
    std::vector<std::pair<CheckBox, bool>> clicks;
    bool massage, property, assigned, invoice;
  };
  using enum CheckBox;
  const Case cases[] = {
      {"Massage Data alone ticks the three", {{ckbMassage, true}}, true, true, true, true},
      {"one of the three ticks Massage Data", {{ckbmassageinvoice, true}}, true, false, false, true},
      {"Massage Data keeps the one ticked", {{ckbmassageinvoice, true}, {ckbMassage, true}}, true, false, false, true},
      {"clearing Massage Data clears the three", {{ckbMassage, true}, {ckbMassage, false}}, false, false, false, false},
      {"clearing the last of the three clears it",
       {{ckbmassageinvoice, true}, {ckbmassageproperty, true}, {ckbmassageinvoice, false}, {ckbmassageproperty, false}},
       false, false, false, false},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(test.what);
    FormModel form;
    for (auto [box, checked] : test.clicks) TickMassage(form, box, checked);
    EXPECT_EQ(form.Checked(ckbMassage), test.massage);
    EXPECT_EQ(form.Checked(ckbmassageproperty), test.property);
    EXPECT_EQ(form.Checked(ckbmassageassigned), test.assigned);
    EXPECT_EQ(form.Checked(ckbmassageinvoice), test.invoice);
  }
}

// The tags name the files, sections and keys read here: VL.ini's and ZUL.INI's data folders,
// ZUL.INI's program alias (the target's caption), FOXCON.INI's last run.
TEST(StartUp, DataDirectoriesComeFromTheProgramsSettingsFiles) {
  test::TempDir dir;
  std::string settings = dir.path() + "/settings";
  std::filesystem::create_directories(settings);
  std::filesystem::create_directories(dir.path() + "/pyx");
  std::filesystem::create_directories(dir.path() + "/zul");
  std::ofstream(dir.path() + "/pyx/property.dbf") << "x";
  std::ofstream(dir.path() + "/zul/OFFICE.MDB") << "x";
  std::ofstream(settings + "/vl.INI") << "[DIRECTORIES]\nDATADIR=" << dir.path() << "/pyx\n";
  std::ofstream(settings + "/ZUL.INI") << "[DIRECTORIES]\nDATADIR=" << dir.path()
                                       << "/zul/\n[PROGRAM ALIAS]\nBrisalo Office Plus=Office Plus 9\n";
  test::FakeView view;
  test::FakeClock clock(0);
  MainForm form(view, Settings(settings), clock);
  form.FormLoad();
  EXPECT_TRUE(form.session().DirectoriesSet);
  EXPECT_EQ(form.session().Paths.source_folder, dir.path() + "/pyx/");
  EXPECT_EQ(form.session().Paths.target_folder, dir.path() + "/zul/");
  EXPECT_EQ(form.form().Caption, "Qorvane - Version 0.1.0");
  EXPECT_EQ(form.form().cmdTarget, "Office Plus 9 (Target)");
  EXPECT_EQ(form.form().cmdSource, "PYX (Source)");
  EXPECT_EQ(form.form().lblDescription,
            "This program converts tracking data from the PYX program to the Office Plus 9 program ");
  EXPECT_TRUE(view.messages.empty());

  // A path given on the command line wins over the settings.
  test::FakeView other_view;
  MainForm overridden(other_view, Settings(settings), clock);
  overridden.FormLoad({dir.path() + "/elsewhere", std::nullopt});
  EXPECT_FALSE(overridden.session().DirectoriesSet);
  EXPECT_EQ(overridden.session().Paths.target_folder, dir.path() + "/zul/");

  // The last run's folder (FOXCON.INI) wins over VL.ini's, and the start-up says which it took;
  // a database zul.ini names other than office.mdb is said to be left alone.
  std::filesystem::create_directories(dir.path() + "/pyx-copy");
  std::ofstream(dir.path() + "/pyx-copy/PROPERTY.DBF") << "x";
  std::ofstream(settings + "/FOXCON.INI") << "[PATHS]\nPyxPath=" << dir.path() << "/pyx-copy/\n";
  std::ofstream(settings + "/ZUL.INI", std::ios::app) << "[DIRECTORIES]\nDATAFILE=zul2026.mdb\n";
  test::FakeView last_view;
  MainForm last(last_view, Settings(settings), clock);
  last.FormLoad();
  EXPECT_EQ(last.session().Paths.source_folder, dir.path() + "/pyx-copy/");
  std::string notices;
  for (const std::string& notice : last_view.notices) notices += notice + "\n";
  EXPECT_NE(notices.find("The last run's folder " + dir.path() + "/pyx-copy/ (" + settings + "/FOXCON.INI) is used, not " +
                         dir.path() + "/pyx named in " + settings + "/VL.ini"),
            std::string::npos) << notices;
  EXPECT_NE(notices.find("zul.ini names the database zul2026.mdb ([DIRECTORIES] DATAFILE)"), std::string::npos)
      << notices;
}

}  // namespace
}  // namespace qorvane::app
