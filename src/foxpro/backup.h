// The copy of source files taken before a run first writes into them: one folder per run
// beside the tables, each file copied once (as NAME.part, renamed to NAME when
// whole) and synced before any write. With a repair journal, the session also records there
// which tables it is writing and when they agree with their indexes again, so that a run that
// is killed in between leaves a note the next run finishes from.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "common/reporter.h"
#include "foxpro/repair_journal.h"

namespace qorvane::foxpro {

class BackupSession {
 public:
  // folder_name: the backup folder's name for this run, as the caller names it from the run's
  // start ("qorvane-backup-261115-957"); reporter receives "backed up X to Y" lines; journal
  // (may be null, not owned) receives the backup folder and the tables written.
  BackupSession(std::string folder_name, Reporter* reporter, RepairJournal* journal = nullptr);

  // The backup folder name for this run. When a folder of that name is already there (two runs
  // in one second), "-2", "-3"... is appended, so an earlier backup is never overwritten.
  const std::string& folder_name() const { return folder_name_; }
  // The backup folder made beside the tables of DIRECTORY, or "" when none was made yet.
  std::string FolderFor(const std::string& directory) const;
  // Copies each existing file of paths into the backup folder beside it, unless this session
  // already did. Throws qorvane::Error when a copy cannot be made; the caller must then not
  // write. Files that do not exist are skipped.
  void EnsureBackedUp(const std::vector<std::string>& paths);

  // WRITER (any identity, a record set) is about to write the table at DBF_PATH, whose files
  // are backed up: the journal says so before the first write. Throws when the journal
  // cannot be written; the caller must then not write.
  void BeginWriting(const std::string& dbf_path, const void* writer);
  // WRITER's writes to the table are synced and its index rebuilt: once no writer of the
  // table has writes pending, the journal says the table and its index agree again.
  void WritingDone(const std::string& dbf_path, const void* writer);

 private:
  std::string folder_name_;
  Reporter* reporter_;
  RepairJournal* journal_;
  std::set<std::string> done_;
  std::map<std::string, std::string> folders_;  // table folder -> its backup folder
  std::map<std::string, std::set<const void*>> writers_;  // table -> writers with pending writes
};

}  // namespace qorvane::foxpro
