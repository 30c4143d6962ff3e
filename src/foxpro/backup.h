// The copy of source files taken before a run first writes into them: one folder per run
// beside the tables, each file copied once (as NAME.part, renamed to NAME when
// whole) and synced before any write.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "common/reporter.h"

namespace qorvane::foxpro {

class BackupSession {
 public:
  // folder_name: the backup folder's name for this run, as the caller names it from the run's
  // start ("qorvane-backup-261115-957"); reporter receives "backed up X to Y" lines.
  BackupSession(std::string folder_name, Reporter* reporter);

  // The backup folder name for this run. When a folder of that name is already there (two runs
  // in one second), "-2", "-3"... is appended, so an earlier backup is never overwritten.
  const std::string& folder_name() const { return folder_name_; }
  // Copies each existing file of paths into the backup folder beside it, unless this session
  // already did. Throws qorvane::Error when a copy cannot be made; the caller must then not
  // write. Files that do not exist are skipped.
  void EnsureBackedUp(const std::vector<std::string>& paths);

 private:
  std::string folder_name_;
  Reporter* reporter_;
  std::set<std::string> done_;
  std::map<std::string, std::string> folders_;  // table folder -> its backup folder
};

}  // namespace qorvane::foxpro
