// The source folder around the repairs a run writes into it: its lock, what earlier runs left
// (files of a run that was killed, a repair it did not finish, an index that no longer agrees
// with its table) and what they already did (the repair journal, see foxpro/repair_journal.h).
//
// A run that repairs the source (the Preliminary Corrections) holds the folder's lock from
// before its first write to its end, so that a second run never writes beside it. Before its
// own repairs it removes the leftovers of a killed run, finishes a client key correction that
// was stopped halfway, and rebuilds every index that disagrees with its table (after a backup),
// saying so: a table and its index end each run in step.
#pragma once

#include <string>
#include <vector>

#include "data/context.h"
#include "foxpro/index_maintenance.h"

namespace qorvane::data {

// Before anything is written (office.mdb is open): with REPAIRS, locks the source folder and
// puts it in order as above; false when another run holds the lock (said, with what to do).
// Without REPAIRS, only removes the leftovers of a killed run when no run holds the lock.
bool PrepareSourceRepairs(Context& context, bool repairs);

// What the repair journal of FOLDER says a person should know before a run: earlier runs that
// repaired the tables (when, where their copies went, how many client keys they corrected) and
// a repair that was stopped halfway, with what the next run does about it (REPAIRS: the run
// about to start repairs the source). Empty when no run of this program wrote there.
std::vector<std::string> SourceHistoryLines(const std::string& folder, bool repairs);

// An index of a source table that does not agree with its table.
struct IndexDisagreement {
  std::string table;  // "property.dbf" as spelt on disk
  std::string index;  // "property.cdx"
  std::string index_path;
  std::vector<std::string> problems;   // the verifier's first findings (empty: the tags it could check agree)
  std::vector<std::string> unchecked;  // tags that cannot be checked (an expression it cannot evaluate)
};
// Compares the .cdx of each source table in FOLDER with its table: one entry per index with
// a problem or a tag it cannot check. A table or index that cannot be read at all is left out
// (its own messages say why).
std::vector<IndexDisagreement> CheckSourceIndexes(const std::string& folder, int default_code_page);

}  // namespace qorvane::data
