// The duplicate-client check: a client key (Cli_lname) that is empty, equal to the key before
// it, or holds a character illegal in a file number would merge or break clients in the
// conversion. The check lists such keys (frmClientDup's lists in the form model) and the
// correction makes each unique with the client's number, written back into client.dbf.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "app/ledger.h"
#include "data/context.h"
#include "foxpro/repair_journal.h"

namespace qorvane::data {

// Walks client keys in key order and decides which are listed: an empty key, the key before
// it repeated, or a key with a character illegal in a file number. Listed keys are the key
// BEFORE the record (for a duplicate that is its own key). Feed it each record in order.
class ClientKeyScan {
 public:
  // The reason KEY is listed, or "" when it is not; REPORTED_KEY is then what the list shows.
  std::string Next(const std::string& key, std::string& reported_key);

 private:
  std::string previous_;
};
// The corrected key of a listed client: its number followed by the listed key.
inline std::string CorrectedClientKey(const std::string& number, const std::string& listed_key) {
  return number + listed_key;
}

// The client keys a run planned to correct, as the source folder's repair journal records
// them: the plan is written whole before the first key is, and marked corrected once every key
// is written and the table's index agrees with it.
struct ClientKeyPlan {
  struct Key {
    std::string number, old_key, new_key;
  };
  std::size_t run = 0;  // index into RepairHistory::runs
  std::vector<Key> keys;
  bool corrected = false;
};
std::vector<ClientKeyPlan> ClientKeyPlans(const foxpro::RepairHistory& history);
// Whether a plan of an earlier run gave the client NUMBER the key KEY it has now: a key this
// program corrected is not corrected again, however it reads.
bool CorrectedBefore(const std::vector<ClientKeyPlan>& plans, std::string_view number, std::string_view key);
// Writes the keys of PLAN, which a run was stopped in, that the clients do not have yet (a
// client whose key someone changed since is left alone, and said), then marks it corrected.
app::StepResult FinishClientKeyPlan(Context& context, const ClientKeyPlan& plan, const std::string& run_start);

// Fills lstduplicateclients and lstclinum; false when the run was stopped. A key an earlier
// run corrected (see CorrectedBefore) is not listed.
app::StepResult CheckDuplicateClientKeys(Context& context);
// Corrects every listed client: new key = number + listed key; lstafterdup and log lines. The
// whole plan goes into the repair journal (after the table's backup) before the first key is
// written, and is marked corrected when the table and its index are written.
app::StepResult CorrectDuplicateClients(Context& context);
// The check, then the correction when anything was listed.
app::StepResult CheckAndCorrectDuplicateClients(Context& context);

}  // namespace qorvane::data
