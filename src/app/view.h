// What the conversion asks of whatever shows the main form: to show the model, to serve the
// user's pending requests while a converter yields, to show message boxes and the Continue/Stop
// prompt, and to open the log. The command line, the window and the tests implement it.
#pragma once

#include <string>

#include "app/form_model.h"

namespace qorvane::app {

// YesNo is the one confirmation of a run (a window labels its buttons Convert and Cancel).
enum class MessageButtons { Ok, YesNo, AbortRetryIgnore };
enum class MessageResult { Ok, Cancel, Abort, Retry, Ignore, Yes, No };
enum class EscapeChoice { Continue, Stop };
// A request the user made while the run was busy: Quit (button or ESC) or closing the window.
enum class UserRequest { None, Quit, CloseWindow };
// Which face shows the form: advice names its controls (a button, an option).
enum class Face { CommandLine, Window };

class View {
 public:
  virtual ~View() = default;
  // Presents the current state of the form. Called often (once per record while a converter
  // yields): a view redraws only as often as a person can see.
  virtual void Show(const FormModel& form) = 0;
  // Serves the interface's own events and returns the next pending user request, or None.
  virtual UserRequest PollUserRequest() = 0;
  virtual MessageResult MessageBox(const std::string& text, MessageButtons buttons,
                                   const std::string& title) = 0;
  // A notice that needs no answer and shows no box: a failure the reporter passes on without a
  // box, so that the user still reads what went wrong (a line on standard error, the status
  // line of the window).
  virtual void Notify(const std::string& text) = 0;
  // The modal Continue/Stop prompt (frmEscape).
  virtual EscapeChoice PromptEscape() = 0;
  // Opens the conversion log for the user to read (the view-log choice).
  virtual void OpenLog(const std::string& path) = 0;
  // The messages of one moment (start-up, the checks before a run) come between
  // BeginMessages and EndMessages, which may nest: a view may gather the OK-only message boxes
  // and the notices and show them together when the outermost EndMessages comes. A question
  // (Yes/No, Abort/Retry/Ignore) is still asked at once. By default nothing is gathered.
  virtual void BeginMessages() {}
  virtual void EndMessages() {}
  virtual Face face() const { return Face::CommandLine; }
  // Convert met a target folder that is not there: a face may offer to make it (with a blank
  // office.mdb) or to choose another. Returns the folder the run uses instead (made, or
  // chosen), or "" when the user chose neither; by default "".
  virtual std::string OfferMissingTargetFolder(const std::string& folder) { return ""; }
};

// Gathers the view's messages while it lives (BeginMessages .. EndMessages), also when the
// moment ends with an exception.
class GatheredMessages {
 public:
  explicit GatheredMessages(View& view) : view_(view) { view_.BeginMessages(); }
  ~GatheredMessages() { view_.EndMessages(); }
  GatheredMessages(const GatheredMessages&) = delete;
  GatheredMessages& operator=(const GatheredMessages&) = delete;

 private:
  View& view_;
};

}  // namespace qorvane::app
