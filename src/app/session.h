// ConvertSession: the run state of the main form, the one piece of program-wide mutable state.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qorvane::app {

// Where the two offices are, resolved once by the directory discovery and taken as they are by
// every connection: nothing parses them back out of a text box or a connection string.
struct DataPaths {
  std::string source_folder;  // the folder of the .dbf tables, ending in '/'
  std::string target_folder;  // the folder of office.mdb (and of the log), ending in '/'
  std::string target_file;    // office.mdb as it is spelt on disk, inside target_folder
};

// The states of a run:
//
//            Convert                       CloseLog (end, refusal, Stop)
//   Idle ───────────────▶ Running ─────────────────────────────▶ Closing
//    ▲                   log open, buttons off                  log closed, buttons on;
//    │                   converters run                         a converter may still be
//    │                                                          unwinding
//    └──────────────────────────────────────────────────────────────┘
//                 the run has returned: EndRun puts office.mdb in place
//
// A second Convert does nothing unless the state is Idle. AbortRequested is a request, not a
// state: Stop (or the error box's Abort) sets it while Running, the run tests it after every
// routine and the record loop once per record; a new run clears it.
enum class RunState { Idle, Running, Closing };

class ConvertSession {
 public:
  RunState State = RunState::Idle;
  bool AbortRequested = false;  // set by Stop; tested after every converter and once per record
  bool DirectoriesSet = false;  // the result of the last data-directory discovery
  bool EndRequested = false;    // the main form was unloaded: the program ends after this event

  // A run is going on (the old InConversion): from Convert until the run has returned.
  bool InConversion() const { return State != RunState::Idle; }
  // The log takes lines (the old LogOpen): between the start of a run and CloseLog.
  bool LogOpen() const { return State == RunState::Running; }

  DataPaths Paths;              // set by the directory discovery
  // What earlier runs of this program did to the source tables, as the run's preparation read
  // it from their journal, for the confirmation (empty when nothing).
  std::vector<std::string> SourceHistory;
  std::string SourceProgram = "PYX";  // the old program's name in captions and messages
  std::string TargetProgram;          // the new program's name

  static constexpr std::size_t kRoutineNameLength = 20;
  // Records the routine now running, cut or padded to 20 characters as the reporter expects.
  // Called for every record: fills the one buffer in place, without allocating.
  void SetRoutine(std::string_view name) {
    routine_.assign(name.substr(0, kRoutineNameLength));
    routine_.resize(kRoutineNameLength, ' ');
  }
  // The fixed-length name, blanks included.
  const std::string& Routine() const { return routine_; }

 private:
  std::string routine_ = std::string(kRoutineNameLength, ' ');
};

}  // namespace qorvane::app
