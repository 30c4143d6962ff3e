// ConvertSession: the run state of the main form, the one piece of program-wide mutable state.
#pragma once

#include <string>

namespace qorvane::app {

class ConvertSession {
 public:
  bool InConversion = false;    // a run is in progress; a second Convert does nothing
  bool AbortRequested = false;  // set by Stop; tested after every converter and once per record
  bool LogOpen = false;         // AddtoLogFile writes only while this is true
  bool RunActive = false;       // the third run flag: set at the start of a run, cleared by CloseLog
  bool DirectoriesSet = false;  // the result of the last data-directory discovery
  bool EndRequested = false;    // the main form was unloaded: the program ends after this event

  std::string SourcePath;       // source data path, ending in '/'
  std::string TargetPath;       // target data path, ending in '/'
  std::string SourceProgram = "PYX";  // the old program's name in captions and messages
  std::string TargetProgram;          // the new program's name

  static constexpr std::size_t kRoutineNameLength = 20;
  // Records the routine now running, cut or padded to 20 characters as the reporter expects.
  void SetRoutine(const std::string& name) {
    routine_ = name.substr(0, kRoutineNameLength);
    routine_.resize(kRoutineNameLength, ' ');
  }
  // The fixed-length name, blanks included.
  const std::string& Routine() const { return routine_; }

 private:
  std::string routine_ = std::string(kRoutineNameLength, ' ');
};

}  // namespace qorvane::app
