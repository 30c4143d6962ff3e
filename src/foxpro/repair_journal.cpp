// The repair journal (see repair_journal.h).
#include "foxpro/repair_journal.h"

#include <algorithm>

#include "common/error.h"

namespace qorvane::foxpro {
namespace {

std::string Escaped(const std::string& field) {
  std::string out;
  for (char c : field) {
    if (c == '\\') {
      out += "\\\\";
    } else if (c == '\t') {
      out += "\\t";
    } else if (c == '\n') {
      out += "\\n";
    } else {
      out += c;
    }
  }
  return out;
}

JournalEntry SplitLine(std::string_view line) {
  JournalEntry entry(1);
  for (std::size_t i = 0; i < line.size(); ++i) {
    char c = line[i];
    if (c == '\t') {
      entry.emplace_back();
    } else if (c == '\\' && i + 1 < line.size()) {
      char next = line[++i];
      entry.back() += next == 't' ? '\t' : next == 'n' ? '\n' : next;
    } else if (c != '\r') {
      entry.back() += c;
    }
  }
  return entry;
}

bool EndsWith(const std::string& text, const std::string& tail) {
  return text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

}  // namespace

RepairJournal::RepairJournal(std::string folder, std::string run_start)
    : folder_(std::move(folder)), path_(os::JoinPath(folder_, kRepairJournalName)), run_start_(std::move(run_start)) {}

void RepairJournal::Append(std::span<const JournalEntry> entries) {
  std::string text;
  if (!file_.is_open()) {
    bool existed = os::IsRegularFile(path_);
    file_ = os::File::Open(path_, existed ? os::OpenMode::ReadWrite : os::OpenMode::CreateNew);
    size_ = file_.Size();
    if (!existed) os::SyncDirectory(folder_);
    // A line an earlier run was writing when it was killed stays a line of its own, unread.
    if (size_ > 0) {
      std::byte last{};
      file_.ReadAt(size_ - 1, std::span(&last, 1));
      if (std::to_integer<char>(last) != '\n') text += '\n';
    }
  }
  if (!run_written_) {
    text += "run\t" + Escaped(run_start_) + "\n";
    run_written_ = true;
  }
  for (const JournalEntry& entry : entries) {
    for (std::size_t i = 0; i < entry.size(); ++i) text += (i ? "\t" : "") + Escaped(entry[i]);
    text += '\n';
  }
  file_.WriteAt(size_, std::as_bytes(std::span(text.data(), text.size())));
  size_ += text.size();
  file_.Sync();
}

std::vector<JournalEntry> ReadRepairJournal(const std::string& folder) {
  std::string path = os::JoinPath(folder, kRepairJournalName);
  std::vector<JournalEntry> entries;
  if (!os::IsRegularFile(path)) return entries;
  std::vector<std::byte> bytes = os::ReadWholeFile(path);
  std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  for (std::size_t start = 0; start < text.size();) {
    std::size_t end = text.find('\n', start);
    if (end == std::string_view::npos) break;  // cut by a crash
    if (end > start) entries.push_back(SplitLine(text.substr(start, end - start)));
    start = end + 1;
  }
  return entries;
}

RepairHistory ReadRepairHistory(const std::string& folder) {
  RepairHistory history;
  history.entries = ReadRepairJournal(folder);
  // The state of each table as its last line left it.
  std::vector<std::pair<std::string, std::size_t>> writing;  // table, run
  for (const JournalEntry& entry : history.entries) {
    const std::string& kind = entry[0];
    if (kind == "run") {
      history.runs.push_back({entry.size() > 1 ? entry[1] : std::string(), {}});
    } else if (history.runs.empty()) {
      history.runs.push_back({"(a run of an unknown date)", {}});
    }
    std::size_t run = history.runs.size() - 1;
    history.run_of_entry.push_back(run);
    if (entry.size() < 2) continue;
    if (kind == "backup") history.runs[run].backups.push_back(entry[1]);
    if (kind == "writing" || kind == "written") {
      std::erase_if(writing, [&](const auto& table) { return table.first == entry[1]; });
      if (kind == "writing") writing.emplace_back(entry[1], run);
    }
  }
  for (const auto& [table, run] : writing) history.unfinished.push_back({table, run});
  return history;
}

std::vector<std::string> RemoveRepairLeftovers(const std::string& folder) {
  std::vector<std::string> removed;
  auto remove = [&](const std::string& path) {
    os::RemoveFile(path);
    removed.push_back(path);
  };
  for (const std::string& name : os::ListDirectory(folder)) {
    std::string path = os::JoinPath(folder, name);
    if (EndsWith(name, ".qorvane-new") && os::IsRegularFile(path)) remove(path);
  }
  std::vector<std::string> backups;
  for (const RepairHistory::Run& run : ReadRepairHistory(folder).runs) {
    backups.insert(backups.end(), run.backups.begin(), run.backups.end());
  }
  std::sort(backups.begin(), backups.end());
  backups.erase(std::unique(backups.begin(), backups.end()), backups.end());
  for (const std::string& backup : backups) {
    std::string path = os::JoinPath(folder, backup);
    if (!os::IsDirectory(path)) continue;
    for (const std::string& name : os::ListDirectory(path)) {
      if (EndsWith(name, ".part")) remove(os::JoinPath(path, name));
    }
  }
  if (!removed.empty()) os::SyncDirectory(folder);
  return removed;
}

}  // namespace qorvane::foxpro
