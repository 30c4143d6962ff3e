// The error reporter and the routine boundary, the gauge, the elapsed-time text and the log
// name: the small rules the whole run leans on.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>

#include "app/main_form.h"
#include "common/error.h"
#include "fake_view.h"

namespace qorvane::app {
namespace {

class ReporterTest : public ::testing::Test {
 protected:
  test::FakeView view;
  test::FakeClock clock{0};
  MainForm form{view, Settings("/nonexistent-settings"), clock};
};

// The file errors (61, 57, 71, 68) show the Abort/Retry/Ignore box with the routine's name and
// return the answer; other numbers show no box and return 3; a locked database ends the program.
TEST_F(ReporterTest, FileErrorsAskOthersShowNoBoxAndALockedDatabaseEndsTheProgram) {
  form.session().SetRoutine("ConvertPropertyDBF");
  struct Case {
    int number;
    MessageResult answer;
    int returned;
  };
  for (const Case& c : {Case{61, MessageResult::Ignore, kReportIgnore}, Case{57, MessageResult::Retry, kReportRetry},
                        Case{71, MessageResult::Abort, kReportAbort}, Case{68, MessageResult::Abort, kReportAbort},
                        Case{3021, MessageResult::Abort, kReportOther}, Case{53, MessageResult::Abort, kReportOther}}) {
    view.error_answer = c.answer;
    EXPECT_EQ(form.ReportError(c.number, "Disk full"), c.returned) << c.number;
  }
  ASSERT_EQ(view.messages.size(), 4u);
  EXPECT_EQ(view.messages[0], "Disk full.\r\nError # 61 in module ConvertPropertyDBF.");
  EXPECT_EQ(view.titles[0], "Error");
  EXPECT_THROW(form.ReportError(3218, "Could not update; currently locked"), ProgramEnd);
  ASSERT_EQ(view.messages.size(), 5u);
  EXPECT_NE(view.messages[4].find("may be corrupt"), std::string::npos);
}

TEST_F(ReporterTest, RoutineNameIsAFixedTwentyCharacterField) {
  form.session().SetRoutine("AdoSetFieldMemoAppendAndMore");
  EXPECT_EQ(form.session().Routine(), "AdoSetFieldMemoAppen");
  form.session().SetRoutine("CkRSlash");
  EXPECT_EQ(form.session().Routine(), "CkRSlash            ");
}

TEST_F(ReporterTest, GuardTurnsLibraryFailuresIntoTheOldErrorNumbers) {
  // A full disk while writing reaches the box; Retry runs the routine again.
  int calls = 0;
  view.error_answer = MessageResult::Retry;
  int result = form.Guard("ConvertInvoiceDBF", [&] {
    if (++calls == 1) throw ErrorFromErrno(ENOSPC, "cannot write", "/t/office.mdb");
    return 7;
  });
  EXPECT_EQ(result, 7);
  EXPECT_EQ(calls, 2);
  ASSERT_EQ(view.messages.size(), 1u);
  EXPECT_NE(view.messages[0].find("Error # 61 in module ConvertInvoiceDBF."), std::string::npos);
  EXPECT_NE(view.messages[0].find("/t/office.mdb"), std::string::npos);

  // Abort returns the empty value and asks the run to stop.
  view.error_answer = MessageResult::Abort;
  EXPECT_EQ(form.Guard("X", [&]() -> int { throw ErrorFromErrno(EIO, "cannot read", "f"); }), 0);
  EXPECT_TRUE(form.session().AbortRequested);

  // A missing file is 53: no box, the routine returns its empty value and the run goes on.
  form.session().AbortRequested = false;
  std::size_t boxes = view.messages.size();
  form.Guard("Connect2DBF", [&] { throw ErrorFromErrno(ENOENT, "cannot open", "/s/client.dbf"); });
  EXPECT_EQ(view.messages.size(), boxes);
  EXPECT_FALSE(form.session().AbortRequested);

  // Permission denied and a file locked by another program are both 70; no box.
  EXPECT_EQ(DescribeException(std::make_exception_ptr(ErrorFromErrno(EACCES, "x", "y"))).number, 70);
  EXPECT_EQ(DescribeException(std::make_exception_ptr(Error(ErrorKind::Locked, "in use"))).number, 70);
  EXPECT_EQ(DescribeException(std::make_exception_ptr(RunTimeError(3021, "none"))).number, 3021);
}

TEST_F(ReporterTest, GaugeScalesBy99Point9AndIgnoresAZeroTotal) {
  form.SetGaugeValue(1, 1);
  EXPECT_EQ(form.form().gauprogress, 99);
  form.SetGaugeValue(1, 2);
  EXPECT_EQ(form.form().gauprogress, 49);
  form.SetGaugeValue(0, 5);
  EXPECT_EQ(form.form().gauprogress, 0);
  form.SetGaugeValue(3, 4);
  EXPECT_EQ(form.form().gauprogress, 74);
  form.SetGaugeValue(1, 0);  // division by zero: reported without a box, gauge unchanged
  EXPECT_EQ(form.form().gauprogress, 74);
  EXPECT_TRUE(view.messages.empty());
}

TEST(ElapsedTime, UsesADayOf84600Seconds) {
  EXPECT_EQ(ElapsedTimeText(0), " 0 days  0 hrs  0 mins  0 secs");
  EXPECT_EQ(ElapsedTimeText(84600), " 1 days  0 hrs  0 mins  0 secs");
  EXPECT_EQ(ElapsedTimeText(86399), " 1 days  0 hrs  29 mins  59 secs");
  EXPECT_EQ(ElapsedTimeText(86400), " 1 days  0 hrs  30 mins  0 secs");
  EXPECT_EQ(ElapsedTimeText(3725), " 0 days  1 hrs  2 mins  5 secs");
  EXPECT_EQ(ElapsedTimeText(-5), " 0 days  0 hrs  0 mins -5 secs");
}

TEST(LogFileName, UsesTheStartTimeWithoutLeadingZerosInTheTime) {
  setenv("TZ", "UTC", 1);
  tzset();
  // 15 November 2026 09:05:07 UTC.
  Timestamp start = Timestamp::FromEpoch(1794733507);
  EXPECT_EQ(LogFileName(start), "ConvLog-261115-957.log");
  EXPECT_EQ(DateTimeText(start), "11/15/2026 9:05:07 AM");
  EXPECT_EQ(DateText(start), "11/15/2026");
  EXPECT_EQ(DateTimeText(Timestamp::FromEpoch(1794733507 + 4 * 3600)), "11/15/2026 1:05:07 PM");
  EXPECT_EQ(Str(0), " 0");
  EXPECT_EQ(Str(-3), "-3");
}

}  // namespace
}  // namespace qorvane::app
