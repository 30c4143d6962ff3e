// The record loop inside a real run: it counts and shows every record, fills the ledger, goes
// on past a record whose body fails (refusing it, with the failure in the log naming the
// record), stops at once on Stop, and makes one pass per listed file number.
#include "data/record_loop.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "../app/fake_view.h"
#include "data/connections.h"
#include "data/fields.h"
#include "jet/create/create.h"
#include "data/office_schema.h"
#include "test_support/log_lines.h"
#include "test_support/office_folders.h"
#include "test_support/sample_office.h"
#include "test_support/scripted_routines.h"
#include "test_support/temp_dir.h"

namespace qorvane::data {
namespace {

class RecordLoopTest : public ::testing::Test {
 protected:
  void SetUp() override {
    test::OfficeFolders folders(dir.path());
    source = folders.source;
    target = folders.target;
    std::vector<std::vector<foxpro::Value>> rows;
    for (const char* number : {"100", "200", "200", "300", "400"}) rows.push_back({test::FoxText(number)});
    test::WriteFoxTable(source + "/PROPERTY.DBF", {{"FILE_NUM", 'C', 10}}, rows);
    jet::create::CreateDatabase(target + "/office.mdb", data::OfficeSchema());
    main_form.SetRoutines(routines);
    main_form.FormLoad({source, target});
    main_form.form().CheckBoxes.fill(0);
    main_form.form().SetCheck(app::CheckBox::ckbProperty, true);
  }

  // Runs the property step with BODY for every record of datproperty.
  app::StepResult RunProperty(const RecordBody& body, bool by_file_number = false) {
    app::StepResult result;
    routines.On(&app::RunRoutines::ConvertPropertyDBF, [&] {
      DataControl& property = context.Source(app::SourceControl::datproperty);
      RecordLoop loop;
      loop.routine = "ConvertPropertyDBF";
      loop.source = &property;
      loop.show = [&](std::int64_t) { context.ShowRecord("Property.DBF Address", ""); };
      loop.key = [&] { return "File_num " + DATgetfield(property, "FILE_NUM"); };
      if (by_file_number) {
        loop.select_file_number = [&](const std::string& number) {
          property.RecordSource = "Select * from property where FILE_NUM='" + number + "'";
          property.Refresh();
        };
      }
      result = RunRecordLoop(context, loop, body);
      return result;
    });
    main_form.cmdNEWConvert();
    return result;
  }

  std::vector<std::string> Log() const { return test::ReadLogLines(main_form.LogPath()); }

  test::TempDir dir;
  std::string source, target;
  test::FakeView view;
  test::FakeClock clock{1794733507};
  test::ScriptedRoutines routines;
  app::MainForm main_form{view, app::Settings(dir.path() + "/settings"), clock};
  Connections connections{main_form, {}};
  Context context{main_form, connections};
  struct Binding {
    Binding(test::ScriptedRoutines& routines, Connections& connections) {
      routines.connect2data = [&connections] { connections.Connect2Data(); };
    }
  } binding{routines, connections};
};

TEST_F(RecordLoopTest, EveryRecordIsCountedShownAndAccountedFor) {
  std::vector<std::string> seen;
  app::StepResult result = RunProperty([&] {
    seen.push_back(main_form.form().lblRecord);
    return app::RecordResult::Added();
  });
  EXPECT_EQ(seen, (std::vector<std::string>{"1", "2", "3", "4", "5"}));
  EXPECT_EQ(result.shown_count, 5);
  EXPECT_TRUE(result.ledger.Complete());
  EXPECT_EQ(result.ledger.count(app::RecordOutcome::Added), 5);
  EXPECT_EQ(main_form.form().lblCaption, "");  // cleared by the completion notice
  auto log = Log();
  EXPECT_NE(std::find(log.begin(), log.end(), "Property table conversion complete: 5 records"), log.end());
}

TEST_F(RecordLoopTest, AFailingRecordIsRefusedAndTheLoopGoesOn) {
  app::StepResult result = RunProperty([&] {
    if (main_form.form().lblRecord == "3") throw Error(ErrorKind::Constraint, "duplicate key in Property");
    return app::RecordResult::Added();
  });
  EXPECT_TRUE(result.ledger.Complete());
  EXPECT_EQ(result.ledger.count(app::RecordOutcome::Added), 4);
  ASSERT_EQ(result.ledger.count(app::RecordOutcome::Refused), 1);
  EXPECT_EQ(result.ledger.notes()[0].record, "PROPERTY.DBF record 3 (File_num 200)");
  auto log = Log();
  auto failure = std::find_if(log.begin(), log.end(), [](const std::string& line) {
    return line.rfind("Error # 3022 in module ConvertPropertyDBF: duplicate key in Property", 0) == 0;
  });
  ASSERT_NE(failure, log.end());
  EXPECT_NE(failure->find("PROPERTY.DBF record 3 (File_num 200)"), std::string::npos) << *failure;
}

TEST_F(RecordLoopTest, StopEndsTheLoopAtOnceAndTheLedgerShowsWhatWasNotRead) {
  view.escape_answers.push_back(app::EscapeChoice::Stop);
  app::StepResult result = RunProperty([&] {
    if (main_form.form().lblRecord == "2") view.requests.push_back(app::UserRequest::Quit);
    return app::RecordResult::Added();
  });
  EXPECT_EQ(main_form.outcome(), app::RunOutcome::Stopped);
  EXPECT_EQ(result.ledger.read(), 2);
  EXPECT_EQ(result.ledger.expected(), 5);
  EXPECT_FALSE(result.ledger.Complete());
}

TEST_F(RecordLoopTest, AListOfFileNumbersMakesOnePassEachWithItsOwnCounter) {
  main_form.form().lstfilenum = {"200", "400"};
  std::vector<std::string> seen;
  app::StepResult result = RunProperty(
      [&] {
        seen.push_back(main_form.form().lblRecord + ":" + DATgetfield(context.Source(app::SourceControl::datproperty), "FILE_NUM"));
        return app::RecordResult::Updated();
      },
      true);
  EXPECT_EQ(seen, (std::vector<std::string>{"1:200", "2:200", "1:400"}));
  EXPECT_EQ(result.shown_count, 1);  // the counter as the last pass left it
  EXPECT_EQ(result.ledger.read(), 3);
  EXPECT_TRUE(result.ledger.Complete());
}

}  // namespace
}  // namespace qorvane::data
