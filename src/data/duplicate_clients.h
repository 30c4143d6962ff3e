// The duplicate-client check: a client key (Cli_lname) that is empty, equal to the key before
// it, or holds a character illegal in a file number would merge or break clients in the
// conversion. The check lists such keys (frmClientDup's lists in the form model) and the
// correction makes each unique with the client's number, written back into client.dbf.
#pragma once

#include <string>

#include "app/ledger.h"
#include "data/context.h"

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

// Fills lstduplicateclients and lstclinum; false when the run was stopped.
app::StepResult CheckDuplicateClientKeys(Context& context);
// Corrects every listed client: new key = number + listed key; lstafterdup and log lines.
app::StepResult CorrectDuplicateClients(Context& context);
// The check, then the correction when anything was listed.
app::StepResult CheckAndCorrectDuplicateClients(Context& context);
// The printed list: heading, underline, one line per listed key.
std::string DuplicateClientListText(const app::FormModel& form);

}  // namespace qorvane::data
