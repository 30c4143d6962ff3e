// The record loop through the run layer alone: it counts and shows every record, fills the
// ledger, goes on past a record whose body fails (refusing it, the failure reported naming the
// record), stops at once when the run is stopped, and makes one pass per listed file number.
#include "data/record_loop.h"

#include <gtest/gtest.h>

#include "data/fields.h"
#include "test_support/office_run.h"
#include "test_support/plain_run.h"
#include "test_support/sample_office.h"

namespace qorvane::data {
namespace {

// The source folder of OFFICE, holding a property table of five records, two of one number.
std::string WithPropertyTable(const test::OfficeRun& office) {
  std::vector<std::vector<foxpro::Value>> rows;
  for (const char* number : {"100", "200", "200", "300", "400"}) rows.push_back({test::FoxText(number)});
  test::WriteFoxTable(office.source + "/PROPERTY.DBF", {{"FILE_NUM", 'C', 10}}, rows);
  return office.source;
}

class RecordLoopTest : public ::testing::Test {
 protected:
  // The loop over every record of datproperty with BODY, by listed file number when BY_FILE_NUMBER.
  app::StepResult RunProperty(const RecordBody& body, bool by_file_number = false) {
    DataControl& property = run.context.Source(app::SourceControl::datproperty);
    RecordLoop loop;
    loop.routine = "ConvertPropertyDBF";
    loop.source = &property;
    loop.key = [&] { return "File_num " + DATgetfield(property, "FILE_NUM"); };
    if (by_file_number) {
      loop.select_file_number = [&](const std::string& number) {
        property.RecordSource = "Select * from property where FILE_NUM='" + number + "'";
        property.Refresh();
      };
    }
    return RunRecordLoop(run.context, loop, body);
  }
  std::string FileNumber() { return DATgetfield(run.context.Source(app::SourceControl::datproperty), "FILE_NUM"); }

  test::OfficeRun office;
  test::PlainRun run{WithPropertyTable(office), office.target};
};

TEST_F(RecordLoopTest, EveryRecordIsCountedShownAndAccountedFor) {
  std::vector<std::int64_t> seen;
  app::StepResult result = RunProperty([&] {
    seen.push_back(run.layer.shown_counter);
    return app::RecordResult::Added();
  });
  EXPECT_EQ(seen, (std::vector<std::int64_t>{1, 2, 3, 4, 5}));
  EXPECT_EQ(result.shown_count, 5);
  EXPECT_TRUE(result.ledger.Complete());
  EXPECT_EQ(result.ledger.count(app::RecordOutcome::Added), 5);
}

TEST_F(RecordLoopTest, AFailingRecordIsRefusedAndTheLoopGoesOn) {
  app::StepResult result = RunProperty([&] {
    if (run.layer.shown_counter == 3) throw Error(ErrorKind::Constraint, "duplicate key in Property");
    return app::RecordResult::Added();
  });
  EXPECT_TRUE(result.ledger.Complete());
  EXPECT_EQ(result.ledger.count(app::RecordOutcome::Added), 4);
  ASSERT_EQ(result.ledger.count(app::RecordOutcome::Refused), 1);
  EXPECT_EQ(result.ledger.notes()[0].record, "PROPERTY.DBF record 3 (File_num 200)");
  EXPECT_EQ(run.layer.failures, std::vector<std::string>{"ConvertPropertyDBF: duplicate key in Property "
                                                         "(PROPERTY.DBF record 3 (File_num 200))"});
}

TEST_F(RecordLoopTest, StopEndsTheLoopAtOnceAndTheLedgerShowsWhatWasNotRead) {
  app::StepResult result = RunProperty([&] {
    if (run.layer.shown_counter == 2) run.layer.state.AbortRequested = true;
    return app::RecordResult::Added();
  });
  EXPECT_EQ(result.ledger.read(), 2);
  EXPECT_EQ(result.ledger.expected(), 5);
  EXPECT_FALSE(result.ledger.Complete());
}

TEST_F(RecordLoopTest, AListOfFileNumbersMakesOnePassEachWithItsOwnCounter) {
  run.layer.file_numbers = {"200", "400"};
  std::vector<std::string> seen;
  app::StepResult result = RunProperty(
      [&] {
        seen.push_back(std::to_string(run.layer.shown_counter) + ":" + FileNumber());
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
