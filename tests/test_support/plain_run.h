// A conversion run without the program: the run layer a converter works through, kept in plain
// members (the log's lines, the two result lists, the progress shown, every failure reported),
// over the source tables of a folder bound as the run binds them and office.mdb opened for
// writing. A test calls one converter on it and reads office.mdb back once Finish put it in
// place. Failures are answered Ignore: the record is refused and the step goes on.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "app/run_layer.h"
#include "data/connections.h"
#include "data/context.h"

namespace qorvane::test {

class PlainRunLayer : public app::RunLayer {
 public:
  void AddtoLogFile(const std::string& line) override { log.push_back(line); }
  void ListIllegalFileNumber(const std::string& entry) override { illegal_file_numbers.push_back(entry); }
  void ListNotConverted(const std::string& entry) override { not_converted.push_back(entry); }
  const std::vector<std::string>& FileNumbers() const override { return file_numbers; }
  const std::string& SingleFileNumber() const override { return single_file_number; }
  void ShowFileNumber(const std::string& number) override { single_file_number = number; }
  bool AbortRequested() const override { return state.AbortRequested; }
  void DoEvents() override {}
  void ShowRecord(std::string_view, std::string_view) override {}
  void ShowCounter(std::int64_t counter) override { shown_counter = counter; }
  void ShowPosition(std::int64_t, std::int64_t) override {}
  void SetGaugeValue(float, std::int32_t) override {}
  void EnterRoutine(const std::string&) override {}
  bool RetryAfterFailure(const std::string& name, const app::ErrorInfo& info, const std::string& where) override {
    failures.push_back(name + ": " + info.description + (where.empty() ? "" : " (" + where + ")"));
    return false;
  }
  int ReportRoutineError(std::string_view routine, int, const std::string& description) override {
    failures.push_back(std::string(routine) + ": " + description);
    return app::kReportIgnore;
  }
  void Notify(const std::string& text) override { notices.push_back(text); }
  void ShowMessage(const std::string& text) override { notices.push_back(text); }
  app::ConvertSession& session() override { return state; }
  app::FormModel& form() override { return model; }
  const app::Timestamp& RunStart() const override { return start; }
  app::Timestamp Now() override { return start; }
  void CloseLog() override {}

  std::vector<std::string> log, illegal_file_numbers, not_converted, notices, failures;
  std::vector<std::string> file_numbers;
  std::string single_file_number;
  std::int64_t shown_counter = 0;
  app::ConvertSession state;
  app::FormModel model;
  app::Timestamp start;
};

// The run layer over SOURCE (the folder of the .dbf tables) and TARGET (the folder of
// office.mdb): every source table there bound to its controls, every target control connected.
class PlainRun {
 public:
  PlainRun(const std::string& source, const std::string& target) {
    layer.state.Paths = {source + "/", target + "/", target + "/office.mdb"};
    layer.state.State = app::RunState::Running;
    connections.Connect2Data();
    connections.AdoConnect();
  }
  // Puts office.mdb in place, as the end of a run does.
  void Finish() { connections.EndRun(); }

  PlainRunLayer layer;
  data::Connections connections{layer, {}};
  data::Context context{layer, connections};
};

}  // namespace qorvane::test
