// The duplicate-client check: a client key (Cli_lname) that is empty, equal to the key before
// it, or holds a character illegal in a file number would merge or break clients in the
// conversion. The check lists such keys (frmClientDup's lists in the form model) and the
// correction makes each unique with the client's number, written back into client.dbf.
#pragma once

#include <string>

#include "app/ledger.h"
#include "data/context.h"

namespace qorvane::data {

// Fills lstduplicateclients and lstclinum; false when the run was stopped.
app::StepResult CheckDuplicateClientKeys(Context& context);
// Corrects every listed client: new key = number + listed key; lstafterdup and log lines.
app::StepResult CorrectDuplicateClients(Context& context);
// The check, then the correction when anything was listed.
app::StepResult CheckAndCorrectDuplicateClients(Context& context);
// The printed list: heading, underline, one line per listed key.
std::string DuplicateClientListText(const app::FormModel& form);

}  // namespace qorvane::data
