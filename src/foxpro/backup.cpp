// Backup copies before write-back.
#include "foxpro/backup.h"

#include <utility>

#include "common/os.h"

namespace qorvane::foxpro {

BackupSession::BackupSession(std::string folder_name, Reporter* reporter)
    : folder_name_(std::move(folder_name)), reporter_(reporter) {}

void BackupSession::EnsureBackedUp(const std::vector<std::string>& paths) {
  for (const std::string& path : paths) {
    if (path.empty() || done_.count(path) || !os::IsRegularFile(path)) continue;
    auto slash = path.rfind('/');
    std::string directory = slash == std::string::npos ? "." : path.substr(0, slash);
    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    std::string& folder = folders_[directory];
    if (folder.empty()) {
      std::string candidate = os::JoinPath(directory, folder_name_);
      for (int suffix = 2; os::IsDirectory(candidate) || os::IsRegularFile(candidate); ++suffix) {
        candidate = os::JoinPath(directory, folder_name_ + "-" + std::to_string(suffix));
      }
      os::MakeDirectory(candidate);
      os::SyncDirectory(directory);
      folder = candidate;
    }
    // Copied under a provisional name and renamed once whole and synced: a file under the
    // table's own name in a backup folder is always a whole copy, even after a crash.
    std::string target = os::JoinPath(folder, name);
    std::string partial = target + ".part";
    os::CopyFile(path, partial);
    os::Rename(partial, target);
    os::SyncDirectory(folder);
    done_.insert(path);
    if (reporter_) reporter_->Report({.kind = DamageKind::Notice, .what = "backed up " + path + " to " + target});
  }
}

}  // namespace qorvane::foxpro
