// The command line's View (see terminal_view.h).
#include "cli/terminal_view.h"

#include "app/steps.h"

#include <poll.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <optional>
#include <cstdlib>
#include <iostream>

namespace qorvane::cli {
namespace {

// The Ctrl-C count: written by the signal handler, read by PollUserRequest and the prompt.
volatile sig_atomic_t interrupts = 0;

extern "C" void OnInterrupt(int) { interrupts = interrupts + 1; }

long long NowMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

// What runs now, with its place among the run's steps: "step 6 of 14: Orders (Property)".
std::string RunningStep(const app::FormModel& form) {
  if (form.RunningCaption.empty()) return "";
  if (form.StepNumber <= 0 || form.StepCount <= 0) return form.RunningCaption;
  return "step " + std::to_string(form.StepNumber) + " of " + std::to_string(form.StepCount) + ": " +
         form.RunningCaption;
}

// 12,345
std::string Grouped(long long number) {
  std::string digits = std::to_string(number);
  std::string text;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && (digits.size() - i) % 3 == 0 && digits[i - 1] != '-') text += ',';
    text += digits[i];
  }
  return text;
}

// "  1,234/s  0:42 left" once a step has run long enough to tell (ELAPSED_MS without pauses).
std::string RateAndTimeLeft(const app::FormModel& form, long long elapsed_ms) {
  if (form.RecordTotal <= 0 || form.RecordNumber <= 0 || elapsed_ms < 1000) return "";
  double rate = static_cast<double>(form.RecordNumber) * 1000.0 / static_cast<double>(elapsed_ms);
  long long left = static_cast<long long>(static_cast<double>(form.RecordTotal - form.RecordNumber) / rate);
  char text[64];
  std::snprintf(text, sizeof text, "%lld:%02lld left", left / 60, left % 60);
  return "  " + Grouped(static_cast<long long>(rate)) + "/s  " + text;
}

}  // namespace

void InstallInterruptHandler() {
  struct sigaction action {};
  action.sa_handler = OnInterrupt;
  sigemptyset(&action.sa_mask);
  action.sa_flags = 0;  // no SA_RESTART: a Ctrl-C interrupts a pending read of an answer
  sigaction(SIGINT, &action, nullptr);
  interrupts = 0;
}

void RemoveInterruptHandler() { signal(SIGINT, SIG_DFL); }

TerminalView::TerminalView(TerminalOptions options, std::ostream& err)
    : options_(options), err_(err), interactive_(isatty(STDIN_FILENO) == 1),
      err_is_terminal_(isatty(STDERR_FILENO) == 1) {}

struct TerminalView::SavedTerminal {
  termios settings;
};

TerminalView::~TerminalView() {
  LeaveRunMode();
  FinishProgress();
}

void TerminalView::EnterRunMode() {
  if (!interactive_ || run_mode_) return;
  auto* saved = new SavedTerminal;
  if (tcgetattr(STDIN_FILENO, &saved->settings) != 0) {
    delete saved;
    return;
  }
  termios keys = saved->settings;
  keys.c_lflag &= ~(ICANON | ECHO);
  keys.c_cc[VMIN] = 0;
  keys.c_cc[VTIME] = 0;
  tcsetattr(STDIN_FILENO, TCSANOW, &keys);
  saved_terminal_ = saved;
  run_mode_ = true;
}

void TerminalView::LeaveRunMode() {
  if (!run_mode_) return;
  tcsetattr(STDIN_FILENO, TCSANOW, &saved_terminal_->settings);
  delete saved_terminal_;
  saved_terminal_ = nullptr;
  run_mode_ = false;
}

bool TerminalView::EscapePressed() {
  if (!run_mode_) return false;
  long long now = NowMs();
  if (now - last_key_check_ms_ < 50) return false;
  last_key_check_ms_ = now;
  bool escape = false;
  pollfd input{STDIN_FILENO, POLLIN, 0};
  while (poll(&input, 1, 0) > 0 && (input.revents & POLLIN)) {
    char key = 0;
    if (::read(STDIN_FILENO, &key, 1) != 1) break;
    escape = escape || key == 0x1b;
  }
  return escape;
}

void TerminalView::FinishProgress() {
  if (progress_line_open_) {
    err_ << "\n";
    progress_line_open_ = false;
  }
  err_.flush();
}

void TerminalView::Show(const app::FormModel& form) {
  if (options_.quiet) return;
  std::string step = RunningStep(form);
  bool new_step = step != current_step_;
  if (new_step) step_start_ms_ = NowMs();
  std::string progress;
  if (!step.empty()) {
    progress = step;
    if (form.RecordTotal > 0) {
      progress += ": record " + Grouped(form.RecordNumber) + " of " + Grouped(form.RecordTotal);
    } else if (!form.lblRecord.empty()) {
      progress += ": record " + form.lblRecord;
    }
    if (!form.lblCaption.empty()) progress += "  " + form.lblCaption;
    progress += "  " + std::to_string(form.gauprogress) + "%";
    progress += RateAndTimeLeft(form, NowMs() - step_start_ms_);
  }
  if (err_is_terminal_) {
    long long now = NowMs();
    if (!new_step && now - last_draw_ms_ < 100) return;
    last_draw_ms_ = now;
    // A new step, or the end of the steps (a Stop clears what runs): the line is left as it
    // was last drawn, never redrawn with a rate that keeps falling.
    if (new_step) FinishProgress();
    if (!progress.empty() && progress != last_progress_) {
      err_ << "\r\033[K" << progress << std::flush;
      progress_line_open_ = true;
    }
  } else if (new_step && !step.empty()) {
    err_ << "qorvane: " << step << "\n" << std::flush;
  }
  current_step_ = step;
  last_progress_ = progress;
}

app::UserRequest TerminalView::PollUserRequest() {
  if (interrupts > 0 || EscapePressed()) {
    interrupts = 0;
    return app::UserRequest::Quit;
  }
  return app::UserRequest::None;
}

bool TerminalView::AskLine(const std::string& question, std::string* answer) {
  FinishProgress();
  err_ << question << std::flush;
  if (!interactive_) {
    err_ << "\n";
    return false;
  }
  bool was_run_mode = run_mode_;
  LeaveRunMode();
  struct Restore {
    TerminalView* view;
    bool again;
    ~Restore() {
      if (again) view->EnterRunMode();
    }
  } restore{this, was_run_mode};
  answer->clear();
  char c = 0;
  for (;;) {
    ssize_t n = ::read(STDIN_FILENO, &c, 1);
    if (n < 0) {
      err_ << "\n";
      return false;  // interrupted by Ctrl-C
    }
    if (n == 0) return !answer->empty();
    if (c == '\n') return true;
    answer->push_back(c);
  }
}

app::MessageResult TerminalView::MessageBox(const std::string& text, app::MessageButtons buttons,
                                             const std::string& title) {
  std::string heading = title.empty() ? "qorvane: " : "qorvane: " + title + ": ";
  std::string answer;
  switch (buttons) {
    case app::MessageButtons::Ok:
      // Start-up and the run check the same things; a terminal says each thing once.
      for (const std::string& shown : shown_messages_) {
        if (shown == text) return app::MessageResult::Ok;
      }
      shown_messages_.push_back(text);
      FinishProgress();
      err_ << heading << text << "\n" << std::flush;
      return app::MessageResult::Ok;
    case app::MessageButtons::YesNo: {
      // The answer goes beside the question it answers ("Convert now? [y/N]").
      const char* gap = " ";
      if (options_.assume_yes) {
        FinishProgress();
        err_ << heading << text << gap << "yes (--yes)\n" << std::flush;
        return app::MessageResult::Yes;
      }
      if (!AskLine(heading + text + gap + "[y/N] ", &answer)) {
        if (!interactive_) {
          err_ << "qorvane: no answer can be read here (standard input is not a terminal), so the run "
                  "stops as if No was answered; add --yes to answer Yes\n" << std::flush;
        }
        return app::MessageResult::No;
      }
      return (answer == "y" || answer == "Y" || answer == "yes" || answer == "Yes")
                 ? app::MessageResult::Yes
                 : app::MessageResult::No;
    }
    case app::MessageButtons::AbortRetryIgnore:
      if (!AskLine(heading + text + " [a]bort, [r]etry, [i]gnore? ", &answer)) {
        if (!interactive_) {
          err_ << "qorvane: no answer can be read here (standard input is not a terminal), so the run "
                  "stops as if Abort was answered\n" << std::flush;
        }
        return app::MessageResult::Abort;
      }
      if (!answer.empty() && (answer[0] == 'r' || answer[0] == 'R')) return app::MessageResult::Retry;
      if (!answer.empty() && (answer[0] == 'i' || answer[0] == 'I')) return app::MessageResult::Ignore;
      return app::MessageResult::Abort;
  }
  return app::MessageResult::Ok;
}

void TerminalView::Notify(const std::string& text) {
  FinishProgress();
  err_ << "qorvane: " << text << "\n" << std::flush;
}

app::EscapeChoice TerminalView::PromptEscape() {
  std::string answer;
  interrupts = 0;
  long long paused_at = NowMs();
  // The time spent paused does not count in the step's rate and time left.
  struct Resume {
    TerminalView* view;
    long long since;
    ~Resume() { view->step_start_ms_ += NowMs() - since; }
  } resume{this, paused_at};
  if (!AskLine("qorvane: conversion paused. [C]ontinue or [S]top? ", &answer)) {
    return app::EscapeChoice::Stop;  // no terminal to answer on, or a second Ctrl-C
  }
  if (!answer.empty() && (answer[0] == 's' || answer[0] == 'S')) return app::EscapeChoice::Stop;
  return app::EscapeChoice::Continue;
}

void TerminalView::OpenLog(const std::string& path) {
  FinishProgress();
  LeaveRunMode();  // an editor in this terminal gets it as it was
  std::optional<std::string> command = LogOpener();
  if (!command) {
    err_ << "qorvane: nothing to open the log with: set $VISUAL or $EDITOR (or install xdg-utils on a desktop); "
            "the log is " << path << "\n" << std::flush;
    return;
  }
  std::string quoted = "'";
  for (char c : path) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  quoted += "'";
  if (std::system((*command + " " + quoted).c_str()) != 0) {
    err_ << "qorvane: could not open the log with " << *command << "; it is " << path << "\n" << std::flush;
  }
}

std::optional<std::string> LogOpener() {
  for (const char* variable : {"VISUAL", "EDITOR"}) {
    const char* editor = std::getenv(variable);
    if (editor && *editor) return std::string(editor);
  }
  // xdg-open needs a desktop to open anything on; without one it fails, or says nothing.
  const char* display = std::getenv("DISPLAY");
  const char* wayland = std::getenv("WAYLAND_DISPLAY");
  bool desktop = (display && *display) || (wayland && *wayland);
  if (desktop && !FindProgram("xdg-open").empty()) return std::string("xdg-open");
  return std::nullopt;
}

std::string FindProgram(const std::string& name) {
  const char* path = std::getenv("PATH");
  std::string folders = path ? path : "/usr/bin:/bin";
  for (std::size_t start = 0; start <= folders.size();) {
    std::size_t end = folders.find(':', start);
    if (end == std::string::npos) end = folders.size();
    std::string folder = folders.substr(start, end - start);
    std::string candidate = (folder.empty() ? "." : folder) + "/" + name;
    if (::access(candidate.c_str(), X_OK) == 0) return candidate;
    start = end + 1;
  }
  return "";
}

}  // namespace qorvane::cli
