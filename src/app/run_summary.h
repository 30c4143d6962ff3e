// The reconciliation report of a run: per step, the source records read and what became of
// them (added, updated, skipped, refused, with each reason counted), and office.mdb's rows per
// table before the run, as the run left them, and as the file on disk holds them afterwards.
// Where the counts do not agree (a step that did not account for every record it found, a
// table on disk that differs from what the run wrote) the report says so in words. A run whose
// end could not save office.mdb says so first and last: its changes are not on disk.
#pragma once

#include <string>

#include "app/main_form.h"

namespace qorvane::app {

// The report as a table for a terminal.
std::string RunSummaryText(const MainForm& form);
// The same as JSON (the command line's --summary FILE).
std::string RunSummaryJson(const MainForm& form);
// The sentences that say what does not agree; empty when everything does.
std::vector<std::string> RunSummaryProblems(const MainForm& form);

}  // namespace qorvane::app
