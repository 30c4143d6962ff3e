// The reconciliation report of a run, in the window's words: a headline that says how the run
// ended (and, after a Stop, where, what did not run and what a second run does), then per step
// the source records read and what became of each (read = added + updated + unchanged +
// skipped + refused, each record counted once, with each reason counted), the rows cleared,
// office.mdb's rows per table before the run, as the run left them and as the file on disk
// holds them afterwards, how the log's old wording maps to these rows, and the file that lists
// every skipped and refused record. Where the counts do not agree (a step that did not account
// for every record it found, a table on disk that differs from what the run wrote) the report
// says so in words. A run whose end could not save office.mdb says so first and last: its
// changes are not on disk.
#pragma once

#include <string>
#include <vector>

#include "app/main_form.h"

namespace qorvane::app {

// The line above the report where it is appended to the log, after the log's own end lines.
inline constexpr const char* kReportHeading = "What this run did:";

// The report as text for a terminal, the window and the end of the log.
std::string RunSummaryText(const MainForm& form);
// The same as JSON (the command line's --summary FILE).
std::string RunSummaryJson(const MainForm& form);
// The sentences that say what does not agree; empty when everything does.
std::vector<std::string> RunSummaryProblems(const MainForm& form);
// How the run ended, in one line ("Stopped by you during Client fees (record 812 of 5,000)."),
// or the "Conversion complete: ..." summary; empty for a run that never started converting.
std::string RunHeadline(const MainForm& form);
// Every record the run skipped or refused, as CSV (step, table, record, key, outcome, reason)
// with a header line; empty when there is none.
std::string RejectsCsv(const MainForm& form);
// The path of the rejects file beside LOG_PATH: ConvLog-...-rejects.csv.
std::string RejectsPathFor(const std::string& log_path);

}  // namespace qorvane::app
