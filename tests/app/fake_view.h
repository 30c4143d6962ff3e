// A scripted View for tests: records every message box and prompt, answers from a script, and
// turns a chosen DoEvents call into the user's Quit request.
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "app/main_form.h"

namespace qorvane::test {

class FakeView : public app::View {
 public:
  void Show(const app::FormModel&) override { ++shows; }
  app::UserRequest PollUserRequest() override {
    if (requests.empty()) return app::UserRequest::None;
    app::UserRequest next = requests.front();
    requests.pop_front();
    return next;
  }
  app::MessageResult MessageBox(const std::string& text, app::MessageButtons buttons,
                                const std::string& title) override {
    messages.push_back(text);
    titles.push_back(title);
    gathered.push_back(gathering > 0);
    if (buttons == app::MessageButtons::YesNo) return confirm;
    if (buttons == app::MessageButtons::AbortRetryIgnore) return error_answer;
    return app::MessageResult::Ok;
  }
  void Notify(const std::string& text) override { notices.push_back(text); }
  app::EscapeChoice PromptEscape() override {
    ++prompts;
    app::EscapeChoice choice = escape_answers.empty() ? app::EscapeChoice::Continue : escape_answers.front();
    if (!escape_answers.empty()) escape_answers.pop_front();
    return choice;
  }
  void OpenLog(const std::string& path) override { opened_logs.push_back(path); }
  void BeginMessages() override { ++gathering; }
  void EndMessages() override { --gathering; }
  std::string OfferMissingTargetFolder(const std::string& folder) override {
    return offer_folder ? offer_folder(folder) : "";
  }

  std::function<std::string(const std::string&)> offer_folder;
  app::MessageResult confirm = app::MessageResult::Yes;
  app::MessageResult error_answer = app::MessageResult::Ignore;
  std::deque<app::UserRequest> requests;
  std::deque<app::EscapeChoice> escape_answers;
  std::vector<std::string> messages;
  std::vector<std::string> titles;
  std::vector<bool> gathered;  // per message: whether it came while messages were gathered
  int gathering = 0;           // BeginMessages depth
  std::vector<std::string> notices;
  std::vector<std::string> opened_logs;
  int prompts = 0;
  int shows = 0;
};

// A clock that starts at a fixed moment and moves only when told.
class FakeClock : public app::Clock {
 public:
  explicit FakeClock(std::int64_t epoch_seconds) : now_(epoch_seconds) {}
  app::Timestamp Now() override { return app::Timestamp::FromEpoch(now_); }
  void Advance(std::int64_t seconds) { now_ += seconds; }

 private:
  std::int64_t now_;
};

}  // namespace qorvane::test
