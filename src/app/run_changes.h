// What a run about to start will change, said below its confirmation question by every face:
// the steps it runs, the office.mdb tables it empties first, whether it repairs the source
// tables in place (and where the copies of the repaired tables go), the file numbers it is
// limited to.
#pragma once

#include <string>

#include "app/form_model.h"
#include "app/session.h"
#include "app/vb_text.h"

namespace qorvane::app {

// The lines for a run with the choices of FORM, on PATHS, started at START.
std::string RunChangesText(const FormModel& form, const DataPaths& paths, const Timestamp& start);

// The folder beside the source tables that receives a copy of each table a run started at
// START writes into ("qorvane-backup-261115-957"; named as the log is, YYMMDD-HMS). When a
// folder of that name is already there the run appends "-2", "-3"...
std::string BackupFolderName(const Timestamp& start);

}  // namespace qorvane::app
