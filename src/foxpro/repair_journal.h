// The journal of the repairs a run writes into a folder of tables, kept beside them as
// qorvane-repairs.journal: one line per event, appended and synced before the change it
// announces. A run that is killed leaves the lines of what it began and did not finish; the
// next run reads them, finishes that work (an index rebuilt, a planned correction written) and
// knows what earlier runs already changed, so that it does not change it a second time.
//
// Lines are fields separated by tabs (a tab, a line feed or a backslash inside a field is
// written \t, \n or \\). A line without its line feed was cut by a crash and is not read.
//   run      START                      a run that writes here (START: "2026-11-15 09:05:07")
//   backup   FOLDER                     the run's copies of the tables it writes went there
//   writing  TABLE                      TABLE (a .dbf name) is about to be written
//   written  TABLE                      TABLE and its index agree again, synced
//   (anything else)                     entries of the caller's own (see Entries)
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "common/os.h"

namespace qorvane::foxpro {

inline constexpr const char* kRepairJournalName = "qorvane-repairs.journal";

// One line of the journal, split into its fields.
using JournalEntry = std::vector<std::string>;

class RepairJournal {
 public:
  // The journal of FOLDER for a run started at RUN_START. Nothing is written until the first
  // Append, which writes the run's own line first.
  RepairJournal(std::string folder, std::string run_start);

  const std::string& path() const { return path_; }
  const std::string& run_start() const { return run_start_; }
  // Appends ENTRY as one line and syncs it. Throws qorvane::Error when it cannot be written;
  // the caller must then not make the change the line announces.
  void Append(const JournalEntry& entry) { Append(std::span<const JournalEntry>(&entry, 1)); }
  // Appends ENTRIES as lines in one write and one sync: a crash keeps a whole-line prefix of
  // them, never a line cut short that is read.
  void Append(std::span<const JournalEntry> entries);

 private:
  std::string folder_;
  std::string path_;
  std::string run_start_;
  os::File file_;
  std::uint64_t size_ = 0;
  bool run_written_ = false;
};

// Every whole line of the journal of FOLDER, in order; empty when there is none. Throws
// qorvane::Error when the journal is there but cannot be read.
std::vector<JournalEntry> ReadRepairJournal(const std::string& folder);

// What the journal of a folder says about earlier runs.
struct RepairHistory {
  struct Run {
    std::string start;                 // as the run line gives it
    std::vector<std::string> backups;  // its backup folders, by name
  };
  std::vector<Run> runs;
  // Tables whose last line is "writing": a run stopped while it wrote them, and their index
  // may disagree with them. Each with the run that was writing it.
  struct Unfinished {
    std::string table;
    std::size_t run;  // index into runs
  };
  std::vector<Unfinished> unfinished;
  // The index in runs of the run that wrote ENTRY_INDEX (the line's position in the journal).
  std::vector<std::size_t> run_of_entry;
  std::vector<JournalEntry> entries;
};
RepairHistory ReadRepairHistory(const std::string& folder);

// Files an earlier run that was killed may have left in FOLDER: index rebuilds not yet renamed
// (NAME.cdx.qorvane-new) and backup copies cut short (NAME.part in a backup folder the journal
// names). Removes them and returns their paths.
std::vector<std::string> RemoveRepairLeftovers(const std::string& folder);

}  // namespace qorvane::foxpro
