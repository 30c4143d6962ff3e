// The command line's View (see terminal_view.h).
#include "cli/terminal_view.h"

#include "app/steps.h"

#include <poll.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
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

// The caption of the running step: the step whose now-running image shows.
std::string RunningStep(const app::FormModel& form) {
  for (const app::StepInfo& step : app::ConversionSteps()) {
    if (form.ImageVisible(step.images.now)) return step.caption;
  }
  for (const app::MassageStepInfo& step : app::MassageSteps()) {
    if (form.ImageVisible(step.images.now)) return std::string("Massage ") + step.caption;
  }
  if (form.ImageVisible(app::kMassageDataImages.now)) return "Massage";
  return "";
}

// "  1,234/s  0:42 left" once a step has run long enough to tell.
std::string RateAndTimeLeft(const app::FormModel& form, long long elapsed_ms) {
  if (form.RecordTotal <= 0 || form.RecordNumber <= 0 || elapsed_ms < 1000) return "";
  double rate = static_cast<double>(form.RecordNumber) * 1000.0 / static_cast<double>(elapsed_ms);
  long long left = static_cast<long long>(static_cast<double>(form.RecordTotal - form.RecordNumber) / rate);
  char text[64];
  std::snprintf(text, sizeof text, "  %.0f/s  %lld:%02lld left", rate, left / 60, left % 60);
  return text;
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
      progress += ": record " + std::to_string(form.RecordNumber) + " of " + std::to_string(form.RecordTotal);
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
      // A question of several lines (the confirmation and what the run will change) takes its
      // answer on a line of its own.
      const char* gap = text.find('\n') == std::string::npos ? " " : "\n";
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
  if (!AskLine("qorvane: conversion paused. [C]ontinue or [S]top? ", &answer)) {
    return app::EscapeChoice::Stop;  // no terminal to answer on, or a second Ctrl-C
  }
  if (!answer.empty() && (answer[0] == 's' || answer[0] == 'S')) return app::EscapeChoice::Stop;
  return app::EscapeChoice::Continue;
}

void TerminalView::OpenLog(const std::string& path) {
  FinishProgress();
  const char* editor = std::getenv("VISUAL");
  if (!editor || !*editor) editor = std::getenv("EDITOR");
  std::string command = editor && *editor ? editor : "xdg-open";
  std::string quoted = "'";
  for (char c : path) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  quoted += "'";
  if (std::system((command + " " + quoted).c_str()) != 0) {
    err_ << "qorvane: could not open the log with " << command << "; it is " << path << "\n";
  }
}

}  // namespace qorvane::cli
