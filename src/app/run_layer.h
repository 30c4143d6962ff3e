// The run as the converters, corrections and clean-up passes see it: the one narrow layer under
// them. A step logs lines, adds to the two result lists, reads the file numbers the run is
// limited to, tests the abort flag, reports its progress as events, and runs its routines and
// records under the error guard. Whoever runs the conversion implements it: the main form for
// both faces, a plain stand-in in the tests, so that a converter is built and tested without
// the program above it.
//
// The set-up of the run in the data layer (binding the source tables, the duplicate-client
// correction with its lists) needs a little more: the resolved paths, the run's state, the
// form's lists and check boxes, and the messages a person answers. Those come last.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "app/errors.h"
#include "app/form_model.h"
#include "app/session.h"
#include "app/vb_text.h"

namespace qorvane::app {

class RunLayer {
 public:
  virtual ~RunLayer() = default;

  // A line of the conversion log.
  virtual void AddtoLogFile(const std::string& line) = 0;
  // The two result lists: file numbers corrected, and records that were not converted.
  virtual void ListIllegalFileNumber(const std::string& entry) = 0;
  virtual void ListNotConverted(const std::string& entry) = 0;

  // The file numbers a run is limited to (empty: the whole table), the one number the
  // applied-payments step takes, and the number being worked on, shown where the user typed it.
  virtual const std::vector<std::string>& FileNumbers() const = 0;
  virtual const std::string& SingleFileNumber() const = 0;
  virtual void ShowFileNumber(const std::string& number) = 0;

  // Stop was asked for (or Abort in an error box): the step returns at its next record.
  virtual bool AbortRequested() const = 0;

  // Progress events. DoEvents serves the user's pending requests (Stop, closing the window) and
  // redraws; ShowRecord names what is being worked on (lblCaption, lblAddress); ShowCounter is
  // the record counter (lblRecord); ShowPosition the record among the records of the pass (0 of
  // 0 when the pass is over); SetGaugeValue the gauge.
  virtual void DoEvents() = 0;
  virtual void ShowRecord(std::string_view caption, std::string_view address) = 0;
  virtual void ShowCounter(std::int64_t counter) = 0;
  virtual void ShowPosition(std::int64_t record, std::int64_t total) = 0;
  virtual void SetGaugeValue(float current, std::int32_t total) = 0;

  // The error guard. Runs BODY as the routine NAME: a failure is reported (naming the record
  // WHERE_OF() gives, asked only then); Retry runs BODY again, Abort sets the abort flag; then
  // the routine returns ON_FAILURE(error), or its empty value.
  template <typename Body>
  auto Guard(const std::string& name, Body&& body) -> std::invoke_result_t<Body>;
  template <typename Body, typename OnFailure>
  auto GuardOr(const std::string& name, const std::string& where, Body&& body, OnFailure&& on_failure)
      -> std::invoke_result_t<Body>;
  template <typename Where, typename Body, typename OnFailure>
  auto GuardNamed(const std::string& name, Where&& where_of, Body&& body, OnFailure&& on_failure)
      -> std::invoke_result_t<Body>;
  // The guard's two halves: the routine NAME starts (or starts again), and a failure of it was
  // met (INFO, at WHERE: "" when no record is named). The second reports it and returns true
  // when the routine is to run again (Retry).
  virtual void EnterRoutine(const std::string& name) = 0;
  virtual bool RetryAfterFailure(const std::string& name, const ErrorInfo& info, const std::string& where) = 0;
  // Reports an error met without a failure (a table that cannot be read, a column missing) as
  // the routine ROUTINE; returns the reporter's answer (kReportRetry..kReportOther).
  virtual int ReportRoutineError(std::string_view routine, int number, const std::string& description) = 0;

  // --- The set-up of the run in the data layer ---

  // A notice shown beside the run without halting it (a table read past, a skipped column), and
  // an OK-only message box.
  virtual void Notify(const std::string& text) = 0;
  virtual void ShowMessage(const std::string& text) = 0;
  // The run's state (paths, the log open, the abort flag) and the form (check boxes, lists).
  virtual ConvertSession& session() = 0;
  virtual FormModel& form() = 0;
  // When the current run started, and now; closing the log (a run refused on the way).
  virtual const Timestamp& RunStart() const = 0;
  virtual Timestamp Now() = 0;
  virtual void CloseLog() = 0;
};

// Error-reporter results.
inline constexpr int kReportRetry = 0;
inline constexpr int kReportIgnore = 1;
inline constexpr int kReportAbort = 2;
inline constexpr int kReportOther = 3;

template <typename Body, typename OnFailure>
auto RunLayer::GuardOr(const std::string& name, const std::string& where, Body&& body,
                       OnFailure&& on_failure) -> std::invoke_result_t<Body> {
  return GuardNamed(name, [&] { return where; }, std::forward<Body>(body), std::forward<OnFailure>(on_failure));
}

template <typename Where, typename Body, typename OnFailure>
auto RunLayer::GuardNamed(const std::string& name, Where&& where_of, Body&& body, OnFailure&& on_failure)
    -> std::invoke_result_t<Body> {
  for (;;) {
    EnterRoutine(name);
    try {
      return body();
    } catch (const ProgramEnd&) {
      throw;
    } catch (...) {
      ErrorInfo info = DescribeException(std::current_exception());
      // Named before the failure is reported: naming the place may run other routines.
      std::string where = where_of();
      if (RetryAfterFailure(name, info, where)) continue;
      return on_failure(info);
    }
  }
}

template <typename Body>
auto RunLayer::Guard(const std::string& name, Body&& body) -> std::invoke_result_t<Body> {
  using Result = std::invoke_result_t<Body>;
  return GuardOr(name, std::string(), std::forward<Body>(body), [](const ErrorInfo&) {
    if constexpr (!std::is_void_v<Result>) return Result{};
  });
}

}  // namespace qorvane::app
