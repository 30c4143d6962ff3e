// The source folder around the repairs (see source_repairs.h).
#include "data/source_repairs.h"
#include "common/text.h"

#include <algorithm>
#include <set>

#include "app/errors.h"
#include "common/error.h"
#include "common/os.h"
#include "data/connections.h"
#include "data/duplicate_clients.h"
#include "foxpro/cdx.h"
#include "foxpro/repair_journal.h"
#include "foxpro/table.h"

namespace qorvane::data {
namespace {

// Earlier runs named one by one in the confirmation; older ones are counted.
constexpr std::size_t kRunsNamed = 3;

std::string BaseName(const std::string& path) {
  auto slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The source tables a run may read, each once: the ones the connections bind and forms.dbf.
std::vector<std::string> TableFiles() {
  std::vector<std::string> files;
  for (const SourceTableFile& file : SourceTableFiles()) files.push_back(file.file);
  files.push_back("forms.dbf");
  return files;
}

void RemoveLeftovers(Context& context) {
  for (const std::string& path : foxpro::RemoveRepairLeftovers(context.Paths().source_folder)) {
    context.Log("Removed " + path + ", which a run that was stopped left behind");
  }
}

// Rebuilds the index of DISAGREEMENT from its table, after a copy of both, with the journal
// told; says what was done or why it could not be.
void RebuildIndex(Context& context, const IndexDisagreement& disagreement) {
  Connections& connections = context.connections();
  const std::string folder = context.Paths().source_folder;
  const std::string dbf_path = os::JoinPath(folder, disagreement.table);
  std::string first = disagreement.problems.empty() ? std::string() : " (" + disagreement.problems.front() + ")";
  try {
    auto table = foxpro::Table::Open(dbf_path, {connections.record_options().default_code_page, nullptr});
    foxpro::CompoundIndex index = foxpro::CompoundIndex::Open(disagreement.index_path);
    std::vector<std::byte> rebuilt = foxpro::RebuildWholeIndex(*table, index);
    foxpro::BackupSession* backup = connections.backup();
    if (backup) {
      std::vector<std::string> files{dbf_path, disagreement.index_path};
      backup->EnsureBackedUp(files);
      backup->BeginWriting(dbf_path, &disagreement);
    }
    foxpro::ReplaceIndexFile(disagreement.index_path, rebuilt);
    if (backup) backup->WritingDone(dbf_path, &disagreement);
    std::string copies = backup ? backup->FolderFor(folder.substr(0, folder.size() - 1)) : std::string();
    context.Log(disagreement.index + " did not agree with " + disagreement.table + first +
                "; it was rebuilt from the table's records" +
                (copies.empty() ? std::string() : " (both as they were are in " + copies + "/)"));
  } catch (const Error& error) {
    context.run().ReportRoutineError("PrepareSourceRepairs", app::error_number::kUnrecognizedFormat,
                                     disagreement.index + " does not agree with " + disagreement.table + first +
                                         " and cannot be rebuilt: " + error.what() +
                                         ". Rebuild it in the old program (REINDEX) before using it there");
  }
}

}  // namespace

std::vector<IndexDisagreement> CheckSourceIndexes(const std::string& folder, int default_code_page) {
  std::vector<IndexDisagreement> found;
  for (const std::string& file : TableFiles()) {
    auto dbf_path = os::FindCaseInsensitive(folder, file);
    if (!dbf_path) continue;
    auto cdx_path = os::FindCaseInsensitive(folder, file.substr(0, file.size() - 4) + ".cdx");
    if (!cdx_path) continue;
    try {
      auto table = foxpro::Table::Open(*dbf_path, {default_code_page, nullptr});
      foxpro::CompoundIndex index = foxpro::CompoundIndex::Open(*cdx_path);
      foxpro::IndexCheck check = foxpro::VerifyIndex(*table, index);
      if (check.ok() && check.unchecked.empty()) continue;
      std::vector<std::string> problems(check.problems.begin(),
                                        check.problems.begin() + std::min<std::size_t>(check.problems.size(), 3));
      found.push_back({BaseName(*dbf_path), BaseName(*cdx_path), *cdx_path, std::move(problems), check.unchecked});
    } catch (const Error&) {
      // A table or index that cannot be read is said where it is read.
    }
  }
  return found;
}

bool PrepareSourceRepairs(Context& context, bool repairs) {
  Connections& connections = context.connections();
  const std::string& folder = context.Paths().source_folder;
  // A folder this run may not write: the repairs say so each when they try, and nothing here
  // can be left over by a run of this user.
  if (!os::MayWrite(folder)) return true;
  if (!repairs) {
    // Nothing of the tables is written; only files of a killed run go, if no run is at work.
    try {
      if (!connections.LockSourceFolder()) return true;
      RemoveLeftovers(context);
      connections.UnlockSourceFolder();
    } catch (const Error&) {
      // Tidying is not this run's work: it reads the tables as they are.
    }
    return true;
  }
  return context.Guard("PrepareSourceRepairs", [&] {
    if (!connections.LockSourceFolder()) {
      throw app::RunTimeError(app::error_number::kPermissionDenied,
                              folder + ": another conversion is repairing these source tables (it holds the lock file " +
                                  connections.SourceLockPath() +
                                  "); this run stops before it changes anything. Run it again once the other one has ended");
    }
    RemoveLeftovers(context);
    foxpro::RepairHistory history = foxpro::ReadRepairHistory(folder);
    for (const foxpro::RepairHistory::Unfinished& unfinished : history.unfinished) {
      context.Log("The run started " + history.runs[unfinished.run].start + " was stopped while it repaired " +
                  unfinished.table + "; this run finishes that repair (the table's index is checked first)");
    }
    for (const ClientKeyPlan& plan : ClientKeyPlans(history)) {
      if (!plan.corrected) FinishClientKeyPlan(context, plan, history.runs[plan.run].start);
    }
    std::set<std::string> rebuilt;
    for (const IndexDisagreement& disagreement :
         CheckSourceIndexes(folder, connections.record_options().default_code_page)) {
      if (disagreement.problems.empty()) continue;  // what it cannot check, look-ups say once
      RebuildIndex(context, disagreement);
      rebuilt.insert(disagreement.table);
    }
    // A table the stopped run was writing whose index agrees with it needs no rebuild: the
    // journal is told it is in step again.
    if (foxpro::RepairJournal* journal = connections.journal()) {
      for (const foxpro::RepairHistory::Unfinished& unfinished : history.unfinished) {
        if (!rebuilt.count(unfinished.table)) journal->Append({"written", unfinished.table});
      }
    }
    return true;
  });
}

std::vector<std::string> SourceHistoryLines(const std::string& folder, bool repairs) {
  foxpro::RepairHistory history;
  try {
    history = foxpro::ReadRepairHistory(folder);
  } catch (const Error& error) {
    return {std::string("The journal of this program's earlier repairs cannot be read (") + error.what() + ")."};
  }
  std::vector<std::string> lines;
  const std::vector<ClientKeyPlan> plans = ClientKeyPlans(history);
  std::vector<std::string> earlier;
  for (std::size_t run = 0; run < history.runs.size(); ++run) {
    std::vector<std::string> tables;
    for (std::size_t i = 0; i < history.entries.size(); ++i) {
      const foxpro::JournalEntry& entry = history.entries[i];
      if (history.run_of_entry[i] != run || entry[0] != "writing" || entry.size() < 2) continue;
      if (std::find(tables.begin(), tables.end(), entry[1]) == tables.end()) tables.push_back(entry[1]);
    }
    std::size_t keys = 0;
    for (const ClientKeyPlan& plan : plans) keys += plan.run == run ? plan.keys.size() : 0;
    if (tables.empty() && keys == 0) continue;
    std::string line = "The run started " + history.runs[run].start + " repaired " +
                       (tables.empty() ? std::string("client.dbf") : qorvane::text::JoinedWithAnd(tables));
    if (keys > 0) line += " (" + std::to_string(keys) + " client keys corrected then are not corrected again)";
    if (!history.runs[run].backups.empty()) {
      line += "; the tables as they were before are in " + folder + history.runs[run].backups.front() + "/";
    }
    earlier.push_back(line + ".");
  }
  if (!earlier.empty()) {
    lines.push_back("This program corrected these source tables before:");
    std::size_t first = earlier.size() > kRunsNamed ? earlier.size() - kRunsNamed : 0;
    if (first > 0) {
      lines.push_back("  " + std::to_string(first) + " earlier run(s) (see " + folder + foxpro::kRepairJournalName + ")");
    }
    for (std::size_t i = first; i < earlier.size(); ++i) lines.push_back("  " + earlier[i]);
  }
  const std::string finish = repairs ? "this run finishes that repair before its own"
                                     : "a run with the Preliminary Corrections finishes it (this one only reads the "
                                       "tables, which read whole)";
  for (const foxpro::RepairHistory::Unfinished& unfinished : history.unfinished) {
    lines.push_back("The run started " + history.runs[unfinished.run].start + " was stopped while it repaired " +
                    unfinished.table + ", so its index may not agree with it: " + finish + ".");
  }
  for (const ClientKeyPlan& plan : plans) {
    if (plan.corrected) continue;
    lines.push_back("The run started " + history.runs[plan.run].start + " was stopped while it corrected " +
                    std::to_string(plan.keys.size()) + " client keys: " + finish + ".");
  }
  return lines;
}

}  // namespace qorvane::data
