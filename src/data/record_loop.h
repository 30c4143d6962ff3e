// The one record loop every converter, correction and massage routine runs: it walks a source
// record set (or a target one) from its first record to its last and owns what every converter
// does around a record. Per
// record it yields to the interface, returns at once when a Stop was asked for, counts the
// record (lblRecord, when the converter shows the counter), lets the converter show it, moves
// the gauge, runs the converter's body and enters what became of the record in the step's
// ledger. When the run is limited to a list of file numbers and the converter selects by file
// number, it makes one pass per listed number, the counter starting again at 1 in each.
//
// A failure inside one record's body is reported under the converter's routine name, naming
// the record; the record is refused in the ledger and the loop goes on with the next one
// (Retry in the error box runs the record again, Abort stops the step).
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "app/ledger.h"
#include "data/context.h"

namespace qorvane::data {

struct RecordLoop {
  const char* routine = "";        // the converter's routine name
  DataControl* source = nullptr;   // walked from its current record source
  AdoControl* target = nullptr;    // or this one, when SOURCE is not set
  // Or these rows of a target table, in this order (the table names them in reports); the
  // position of the row being worked on is written to ROW_POSITION before anything else.
  const std::vector<jet::RowId>* rows = nullptr;
  jet::Table* row_table = nullptr;
  std::size_t* row_position = nullptr;
  // Whether lblRecord shows the counter (and the run then reports it as the step's count).
  bool counter_in_label = true;
  // The converter's display of the record being worked on (lblCaption, lblAddress).
  std::function<void(std::int64_t counter)> show;
  // Names the current record for the ledger and for error reports (its key, say).
  std::function<std::string()> key;
  // Re-points SOURCE at the records of one file number; set by the converters that make one
  // pass per listed file number when the run is limited to a list.
  std::function<void(const std::string& file_number)> select_file_number;
};

using RecordBody = std::function<app::RecordResult()>;

// Runs LOOP with BODY for each record; the result carries the counter as lblRecord last showed
// it and the ledger of every record read.
app::StepResult RunRecordLoop(Context& context, const RecordLoop& loop, const RecordBody& body);

// LOOP over the source table FILE (a file name in the source folder, "client.dbf"), or nothing
// at all when that file is missing.
app::StepResult RunSourceTableLoop(Context& context, const char* file, const RecordLoop& loop, const RecordBody& body);

}  // namespace qorvane::data
