// What every converter and correction is handed: typed access to the source and target
// controls, the resolved paths, the log, the two result lists, the record counter and gauge,
// the file-number list and the abort flag. A converter needs nothing else, and never reaches
// for a widget: the main form's model is shown by whatever view is wired in.
#pragma once

#include <string>
#include <vector>

#include "app/main_form.h"
#include "data/connections.h"
#include "data/source_table.h"
#include "data/target_table.h"

namespace qorvane::data {

class Context {
 public:
  Context(app::MainForm& main_form, Connections& connections)
      : main_form_(main_form), connections_(connections) {}

  DataControl& Source(app::SourceControl control) { return connections_.source()[control]; }
  AdoControl& Target(app::TargetControl control) { return connections_.target()[control]; }
  // A source control read through typed field handles, and a table of office.mdb written
  // through typed column handles (see source_table.h, target_table.h).
  SourceTable SourceOf(app::SourceControl control) { return SourceTable(Source(control)); }
  TargetTable& Table(std::string_view name) { return connections_.target_database().Table(name); }
  const app::DataPaths& Paths() const { return main_form_.session().Paths; }

  // A line of the conversion log.
  void Log(const std::string& line) { main_form_.AddtoLogFile(line); }
  // The two result lists: file numbers corrected, and records that were not converted.
  void ListIllegalFileNumber(const std::string& entry) { form().lstIllegalFilenumbers.push_back(entry); }
  void ListNotConverted(const std::string& entry) { form().lstWasNotConverted.push_back(entry); }

  // The file numbers a run is limited to (empty: the whole table), and the one number the
  // applied-payments step takes.
  const std::vector<std::string>& FileNumbers() const { return main_form_.form().lstfilenum; }
  const std::string& SingleFileNumber() const { return main_form_.form().txtfilenum; }

  bool AbortRequested() const { return main_form_.session().AbortRequested; }
  // Serves the user's pending requests (Quit, ESC, closing the window) and redraws.
  void DoEvents() { main_form_.DoEvents(); }
  void SetGaugeValue(float current, std::int32_t total) { main_form_.SetGaugeValue(current, total); }

  app::FormModel& form() { return main_form_.form(); }
  app::MainForm& main_form() { return main_form_; }
  Connections& connections() { return connections_; }

  // Runs BODY as the routine NAME (see MainForm::Guard).
  template <typename Body>
  auto Guard(const std::string& name, Body&& body) {
    return main_form_.Guard(name, std::forward<Body>(body));
  }

 private:
  app::MainForm& main_form_;
  Connections& connections_;
};

}  // namespace qorvane::data
