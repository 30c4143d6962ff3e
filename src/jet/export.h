// `qorvane export office.mdb [TABLE]`: prints one table of a Jet database as CSV or JSON, or,
// without a table, lists the user tables with their row counts.
#pragma once

#include <ostream>

#include "common/export_writer.h"
#include "jet/table_definition.h"
#include "jet/value.h"

namespace qorvane {

// Exit status: 0 done; 2 no such table; 3 the file cannot be read (message on ERR naming it).
int ExportMdb(const ExportOptions& options, std::ostream& out, std::ostream& err);

namespace jet {
// A value in its export form: text as UTF-8, dates "YYYY-MM-DD HH:MM:SS", booleans 1/0,
// numbers in plain decimal, GUIDs in braces, binary as hex.
ExportValue ToExportValue(const ColumnDefinition& column, const Value& value);
}  // namespace jet

}  // namespace qorvane
