// Where a reader reports damage it can skip ("dropped N bytes in record R: reason") and goes
// on. The conversion plugs its log in here; tests collect the messages.
#pragma once

#include <string>
#include <vector>

namespace qorvane {

class Reporter {
 public:
  virtual ~Reporter() = default;
  // One complete message that names the file (and table, record, field) and says what is wrong.
  virtual void Report(const std::string& message) = 0;
};

// A reporter that keeps every message, for tests and for callers that show them later.
class CollectingReporter : public Reporter {
 public:
  void Report(const std::string& message) override { messages.push_back(message); }
  std::vector<std::string> messages;
};

}  // namespace qorvane
