// What every converter and correction is handed: typed access to the source and target tables,
// and the run layer under them (app/run_layer.h): the log, the two result lists, the file-number
// list and single number, the abort flag, progress events and the error guard. A converter needs
// nothing else, and never reaches for the main form or a widget: whoever runs the conversion
// (the main form, or a plain stand-in in a test) implements the run layer.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "app/run_layer.h"
#include "data/source_table.h"
#include "data/target_table.h"

namespace qorvane::data {

class AdoControl;
class Connections;
class DataControl;

class Context {
 public:
  Context(app::RunLayer& run, Connections& connections) : run_(run), connections_(connections) {}

  DataControl& Source(app::SourceControl control);
  AdoControl& Target(app::TargetControl control);
  // A source control read through typed field handles, and a table of office.mdb written
  // through typed column handles (see source_table.h, target_table.h).
  SourceTable SourceOf(app::SourceControl control) { return SourceTable(Source(control)); }
  TargetTable& Table(std::string_view name);
  const app::DataPaths& Paths() const { return run_.session().Paths; }

  // A line of the conversion log.
  void Log(const std::string& line) { run_.AddtoLogFile(line); }
  // The two result lists: file numbers corrected, and records that were not converted.
  void ListIllegalFileNumber(const std::string& entry) { run_.ListIllegalFileNumber(entry); }
  void ListNotConverted(const std::string& entry) { run_.ListNotConverted(entry); }

  // The file numbers a run is limited to (empty: the whole table), the one number the
  // applied-payments step takes, and the listed number being worked on, shown to the user.
  const std::vector<std::string>& FileNumbers() const { return run_.FileNumbers(); }
  const std::string& SingleFileNumber() const { return run_.SingleFileNumber(); }
  void ShowFileNumber(const std::string& number) { run_.ShowFileNumber(number); }

  bool AbortRequested() const { return run_.AbortRequested(); }
  // Progress: serves the user's pending requests (Stop, closing the window) and redraws; names
  // the record being worked on (lblCaption, lblAddress); the record counter (lblRecord); the gauge.
  void DoEvents() { run_.DoEvents(); }
  void ShowRecord(std::string_view caption, std::string_view address) { run_.ShowRecord(caption, address); }
  void ShowCounter(std::int64_t counter) { run_.ShowCounter(counter); }
  void SetGaugeValue(float current, std::int32_t total) { run_.SetGaugeValue(current, total); }

  // Runs BODY as the routine NAME under the error guard (see app::RunLayer::Guard).
  template <typename Body>
  auto Guard(const std::string& name, Body&& body) {
    return run_.Guard(name, std::forward<Body>(body));
  }

  // For the set-up steps of the data layer (binding, source checks, the corrections): the whole
  // run layer and the connections.
  app::RunLayer& run() { return run_; }
  Connections& connections() { return connections_; }

 private:
  app::RunLayer& run_;
  Connections& connections_;
};

}  // namespace qorvane::data
