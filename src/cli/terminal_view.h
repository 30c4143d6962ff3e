// The command line's View: progress on standard error (one updating line per step on a
// terminal, plain lines otherwise), message boxes as lines on standard error, questions asked
// on the terminal, and Ctrl-C turned into the Quit request that brings up Continue/Stop.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "app/view.h"

namespace qorvane::cli {

struct TerminalOptions {
  bool assume_yes = false;  // --yes: answers Yes to the one confirmation
  bool quiet = false;       // --quiet: no progress lines
};

class TerminalView : public app::View {
 public:
  TerminalView(TerminalOptions options, std::ostream& err);
  ~TerminalView() override;

  void Show(const app::FormModel& form) override;
  app::UserRequest PollUserRequest() override;
  app::MessageResult MessageBox(const std::string& text, app::MessageButtons buttons,
                                const std::string& title) override;
  void Notify(const std::string& text) override;
  app::EscapeChoice PromptEscape() override;
  void OpenLog(const std::string& path) override;

  // Ends the updating progress line, so that later output starts on a line of its own.
  void FinishProgress();
  // While a run goes on, a terminal on standard input reports single keys, so that ESC can
  // pause the run as Ctrl-C does; LeaveRunMode restores the terminal as it was.
  void EnterRunMode();
  void LeaveRunMode();

 private:
  // Reads one answer line from the terminal; nullopt when there is none (no terminal, end of
  // input, or Ctrl-C while waiting).
  bool AskLine(const std::string& question, std::string* answer);
  // True when ESC was typed since the last look (looked at no more than every 50 ms).
  bool EscapePressed();

  TerminalOptions options_;
  std::ostream& err_;
  bool interactive_ = false;  // standard input is a terminal
  bool err_is_terminal_ = false;
  std::vector<std::string> shown_messages_;  // information boxes already printed
  std::string current_step_;
  std::string last_progress_;
  bool progress_line_open_ = false;
  long long last_draw_ms_ = 0;
  long long step_start_ms_ = 0;  // when the running step began, for its rate and time left
  bool run_mode_ = false;
  long long last_key_check_ms_ = 0;
  struct SavedTerminal;
  SavedTerminal* saved_terminal_ = nullptr;
};

// What opens the log for the user: $VISUAL, else $EDITOR, else xdg-open where a desktop is
// there to open it on; nullopt when there is nothing (the caller then names the log's path).
std::optional<std::string> LogOpener();
// The path of the program NAME on $PATH, or "".
std::string FindProgram(const std::string& name);

// Installs the Ctrl-C handler for a run (each Ctrl-C is counted, not fatal) and removes it.
void InstallInterruptHandler();
void RemoveInterruptHandler();

}  // namespace qorvane::cli
