// A whole conversion run for tests: a source folder and a target folder with a new office.mdb
// in a temporary directory, the program wired as the command line wires it (with a scripted
// view and a fixed clock), every check box cleared so a test ticks what it runs, and the log
// read back as lines.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "../app/fake_view.h"
#include "convert/office.h"
#include "data/office_schema.h"
#include "jet/create/create.h"
#include "test_support/log_lines.h"
#include "test_support/office_folders.h"
#include "test_support/temp_dir.h"

namespace qorvane::test {

class OfficeRun {
 public:
  // Folders under the temporary directory, inside SUBFOLDER when given; office.mdb is new.
  explicit OfficeRun(const std::string& subfolder = "") {
    root = dir.path() + (subfolder.empty() ? "" : "/" + subfolder);
    OfficeFolders folders(root);
    source = folders.source;
    target = folders.target;
    jet::create::CreateDatabase(target + "/office.mdb", data::OfficeSchema());
  }

  // Wires the program and loads the form (the source tables must be there by now).
  app::MainForm& Load() {
    program = convert::WireProgram(view, clock, {.settings_dir = dir.path() + "/settings"});
    program.main_form->FormLoad({source, target});
    program.main_form->form().CheckBoxes.fill(0);
    view.messages.clear();
    return *program.main_form;
  }
  app::MainForm& form() const { return *program.main_form; }
  app::FormModel& model() const { return program.main_form->form(); }

  // One run with the boxes ticked so far; returns the log's lines.
  std::vector<std::string> Convert() {
    program.main_form->cmdNEWConvert();
    return ReadLogLines(program.main_form->LogPath());
  }

  // The report of the step or preparation NAME in the last run.
  const app::StepResult& Report(const std::string& name) const {
    for (const auto& report : program.main_form->RunReport()) {
      if (report.name == name) return report.result;
    }
    throw std::runtime_error("nothing named " + name + " ran");
  }

  std::string Notices() const {
    std::string all;
    for (const std::string& notice : view.notices) all += notice + "\n";
    return all;
  }

  TempDir dir;
  std::string root, source, target;
  FakeView view;
  FakeClock clock{1794733507};  // 11/15/2026 9:05:07 AM UTC
  convert::Program program;
};

// The lines of LOG from the first that equals FIRST up to (not including) the first line after
// it that begins with STOP_PREFIX ("" for the end of the log).
inline std::vector<std::string> LinesFrom(const std::vector<std::string>& log, const std::string& first,
                                          const std::string& stop_prefix = "") {
  std::vector<std::string> lines;
  bool in = false;
  for (const std::string& line : log) {
    if (!in && line == first) in = true;
    else if (in && !stop_prefix.empty() && line.rfind(stop_prefix, 0) == 0) break;
    if (in) lines.push_back(line);
  }
  return lines;
}

}  // namespace qorvane::test
