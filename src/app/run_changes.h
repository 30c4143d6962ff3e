// What a run about to start will change, said below its confirmation question by every face:
// the steps it runs, the office.mdb tables it empties first, whether it repairs the source
// tables in place (and where the copies of the repaired tables go), the file numbers it is
// limited to.
#pragma once

#include <string>
#include <vector>

#include "app/form_model.h"
#include "app/session.h"
#include "app/vb_text.h"
#include "app/view.h"

namespace qorvane::app {

// A client key (Cli_lname of client.dbf) the duplicate-client correction changes.
struct ClientKeyChange {
  std::string number;         // Cli_num
  std::string key;            // the client's own key as found
  std::string listed_key;     // the key the check lists: its own for a duplicate, else the one before it
  std::string corrected_key;  // the number followed by the listed key
};
// What the correction does to one client, in plain words: "client C1 MULLER & CO becomes
// C1ALPHA: its number followed by the previous client's key (ALPHA), as the old converter did".
std::string ClientKeyChangeInWords(const ClientKeyChange& change);

// The lines for a run with the choices of FORM, on PATHS, started at START; PLANNED are the
// client keys the duplicate-client correction will change (found beforehand; may be empty).
// The last line names where all of them are listed, in the words of FACE.
std::string RunChangesText(const FormModel& form, const DataPaths& paths, const Timestamp& start,
                           const std::vector<ClientKeyChange>& planned = {}, Face face = Face::CommandLine);

// The folder beside the source tables that receives a copy of each table a run started at
// START writes into ("qorvane-backup-261115-957"; named as the log is, YYMMDD-HMS). When a
// folder of that name is already there the run appends "-2", "-3"...
std::string BackupFolderName(const Timestamp& start);

}  // namespace qorvane::app
