// Preparing office.mdb before and after the converters: emptying the tables the user chose
// ("Clear Data First") and deleting rows whose key is blank, each with the SQL statement the
// office's program ran. Deletions are counted in the result's ledger.
#pragma once

#include <string>
#include <string_view>

#include "app/ledger.h"
#include "data/context.h"

namespace qorvane::data {

// The clearing pass the "Clear Data First" boxes drive, with its log lines. With listed file
// numbers, Assigned, Invoice and Property lose only the "-A" rows of those numbers.
app::StepResult ClearSelectedTables(Context& context);
// Empties TABLE ("DELETE FROM [path].[table]"); returns the rows deleted.
std::int64_t DeleteAllRecords(Context& context, std::string_view table);
// The sixteen deletions of rows with a blank key; a table or column this office.mdb lacks is
// reported in the log and the other statements go on.
app::StepResult DeleteEmptyFilenumbers(Context& context);
// Deletes every row of the control's record set.
app::StepResult ClearData(Context& context, AdoControl& control);
// Deletes the "-A" rows of the listed file numbers from TABLE, found by their stored key (a
// look-up per number, no statement); in Assigned the payments this run does not convert again
// stay.
app::StepResult DeleteListedFileNumbers(Context& context, std::string_view table);

}  // namespace qorvane::data
