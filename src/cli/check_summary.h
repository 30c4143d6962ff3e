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

}  // namespace qorvane::cli
