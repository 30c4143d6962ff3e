// `qorvane export FILE.dbf`: prints every live record of a FoxPro table through the shared
// ExportWriter (CSV or JSON): text as UTF-8, numbers in plain decimal, dates
// "YYYY-MM-DD 00:00:00", logicals 1/0, memos whole, blank values as null.
#pragma once

#include <ostream>

#include "common/export_writer.h"

namespace qorvane::foxpro {

// Returns the exit status: 0 when the table was printed, 3 when it could not be read (a
// message naming the file goes to err). Damage read past is reported on err as it is met.
int ExportDbf(const qorvane::ExportOptions& options, std::ostream& out, std::ostream& err);

}  // namespace qorvane::foxpro
