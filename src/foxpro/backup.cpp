// Backup copies before write-back.
#include "foxpro/backup.h"

#include <utility>

#include "common/os.h"

namespace qorvane::foxpro {
namespace {

std::string BaseName(const std::string& path) {
  auto slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace

BackupSession::BackupSession(std::string folder_name, Reporter* reporter, RepairJournal* journal)
    : folder_name_(std::move(folder_name)), reporter_(reporter), journal_(journal) {}

std::string BackupSession::FolderFor(const std::string& directory) const {
  auto found = folders_.find(directory);
  return found == folders_.end() ? std::string() : found->second;
}

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
      // Named in the journal before anything is copied into it: a copy cut short in it is found
      // and removed by the next run.
      if (journal_) journal_->Append({"backup", BaseName(candidate)});
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

void BackupSession::BeginWriting(const std::string& dbf_path, const void* writer) {
  std::set<const void*>& writers = writers_[dbf_path];
  if (writers.count(writer)) return;
  if (writers.empty() && journal_) journal_->Append({"writing", BaseName(dbf_path)});
  writers.insert(writer);
}

void BackupSession::WritingDone(const std::string& dbf_path, const void* writer) {
  auto found = writers_.find(dbf_path);
  if (found == writers_.end() || !found->second.erase(writer) || !found->second.empty()) return;
  writers_.erase(found);
  if (journal_) journal_->Append({"written", BaseName(dbf_path)});
}

}  // namespace qorvane::foxpro
