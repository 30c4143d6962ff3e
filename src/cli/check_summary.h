// The end of `qorvane check` in plain words: the report's own lines say, in the log's wording,
// each value the Preliminary Corrections would repair and each client key the duplicate-client
// check would change; this summary counts file numbers (not the places they appear in), says
// what happens to each client, and ends with what to do next.
#pragma once

#include <string>
#include <vector>

#include "app/run_changes.h"

namespace qorvane::cli {

// The summary of the check report TEXT (as data::CheckSource wrote it, its own last line
// left out) for the source FOLDER; CLIENTS are the client keys the correction would change.
// UNREADABLE is how many tables could not be read.
std::string CheckSummary(const std::string& text, const std::string& folder,
                         const std::vector<app::ClientKeyChange>& clients, int unreadable);

// `check --files`: the listed NUMBERS that neither property.dbf nor invoice.dbf of FOLDER holds
// in any form a conversion looks for (trimmed and upper-cased, or as the corrections would
// store it), each with a line saying what a conversion limited to it would do. Empty when every
// number is there. A table that cannot be read is said in the line instead.
std::string ListedNumbersNotHeld(const std::string& folder, int code_page, const std::vector<std::string>& numbers);

}  // namespace qorvane::cli
