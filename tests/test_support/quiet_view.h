// A view that answers Yes, continues on every prompt and shows nothing: benchmarks and runs
// that no person watches.
#pragma once

#include "app/view.h"

namespace qorvane::test {

class QuietView : public app::View {
 public:
  void Show(const app::FormModel&) override {}
  app::UserRequest PollUserRequest() override { return app::UserRequest::None; }
  app::MessageResult MessageBox(const std::string&, app::MessageButtons, const std::string&) override {
    return app::MessageResult::Yes;
  }
  void Notify(const std::string&) override {}
  app::EscapeChoice PromptEscape() override { return app::EscapeChoice::Continue; }
  void OpenLog(const std::string&) override {}
};

}  // namespace qorvane::test
