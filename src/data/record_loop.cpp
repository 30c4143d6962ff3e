// The record loop (see record_loop.h).
#include "data/record_loop.h"

#include <limits>

#include "app/paths.h"
#include "data/connections.h"

namespace qorvane::data {
namespace {

// The moves the loop makes, over either engine's record set.
struct SourceCursor {
  foxpro::RecordSet& records;
  bool eof() const { return records.EndOfFile(); }
  std::int64_t Count() {
    records.MoveLast();
    return records.RecordCount();
  }
  void MoveFirst() { records.MoveFirst(); }
  void MoveNext() { records.MoveNext(); }
  std::string Table() const { return records.table().name(); }
  std::int64_t Position() const { return records.GetBookmark() + 1; }
};

struct TargetCursor {
  jet::Recordset& records;
  std::int64_t position = 0;
  bool eof() const { return records.eof(); }
  std::int64_t Count() { return static_cast<std::int64_t>(records.RecordCount()); }
  void MoveFirst() {
    records.MoveFirst();
    position = 1;
  }
  void MoveNext() {
    records.MoveNext();
    ++position;
  }
  std::string Table() const { return records.table().name(); }
  std::int64_t Position() const { return position; }
};

// Rows of a target table given as a list.
struct RowListCursor {
  const std::vector<jet::RowId>& rows;
  jet::Table& table;
  std::size_t* out;
  std::size_t position = 0;
  bool eof() const { return position >= rows.size(); }
  std::int64_t Count() { return static_cast<std::int64_t>(rows.size()); }
  void MoveFirst() {
    position = 0;
    if (out) *out = position;
  }
  void MoveNext() {
    ++position;
    if (out) *out = position;
  }
  std::string Table() const { return table.name(); }
  std::int64_t Position() const { return static_cast<std::int64_t>(position) + 1; }
};

// One pass over the records the loop's control holds now. Returns false when the run was
// stopped.
template <typename Cursor>
bool RunPass(Context& context, const RecordLoop& loop, const RecordBody& body, app::StepResult& result,
             Cursor records) {
  if (records.eof()) return true;
  std::int64_t total = records.Count();
  if (total == 0) return true;
  records.MoveFirst();
  result.ledger.Expect(total);
  const std::string table = records.Table();
  auto gauge_total = static_cast<std::int32_t>(std::min<std::int64_t>(total, std::numeric_limits<std::int32_t>::max()));

  app::RunLayer& run = context.run();
  // The record as reports name it ("PROPERTY.DBF record 12 (File_num 1001)"), built only when a
  // report or a ledger note needs it.
  auto record_name = [&] {
    std::string name = table + " record " + std::to_string(records.Position());
    if (loop.key) {
      try {
        name += " (" + loop.key() + ")";
      } catch (...) {
        // A record whose key cannot be read is named by its number alone.
      }
    }
    return name;
  };
  std::int64_t counter = 0;
  while (!records.eof()) {
    context.DoEvents();
    if (context.AbortRequested()) return false;
    ++counter;
    run.ShowPosition(counter, total);
    if (loop.counter_in_label) {
      run.ShowCounter(counter);
      result.shown_count = counter;
    }
    // A failure is the record's: reported naming it, the record refused, the loop goes on
    // (Retry runs the record again, Abort stops the step).
    app::RecordResult outcome = run.GuardNamed(
        loop.routine, record_name,
        [&] {
          if (loop.show) loop.show(counter);
          context.SetGaugeValue(static_cast<float>(counter), gauge_total);
          return body();
        },
        [](const app::ErrorInfo& error) { return app::RecordResult::Refused(error.description); });
    bool noted = outcome.outcome == app::RecordOutcome::Skipped || outcome.outcome == app::RecordOutcome::Refused;
    result.ledger.Record(table, records.Position(), outcome, noted ? record_name() : std::string());
    if (context.AbortRequested()) return false;
    records.MoveNext();
  }
  return true;
}

bool RunPass(Context& context, const RecordLoop& loop, const RecordBody& body, app::StepResult& result) {
  if (loop.source) return RunPass(context, loop, body, result, SourceCursor{loop.source->Recordset()});
  if (loop.rows) {
    if (loop.row_position) *loop.row_position = 0;
    return RunPass(context, loop, body, result, RowListCursor{*loop.rows, *loop.row_table, loop.row_position});
  }
  return RunPass(context, loop, body, result, TargetCursor{loop.target->Recordset()});
}

}  // namespace

app::StepResult RunRecordLoop(Context& context, const RecordLoop& loop, const RecordBody& body) {
  app::StepResult result;
  struct ClearProgress {
    app::RunLayer& run;
    ~ClearProgress() { run.ShowPosition(0, 0); }
  } clear_progress{context.run()};
  context.run().Guard(loop.routine, [&] {
    const std::vector<std::string>& numbers = context.FileNumbers();
    if (!loop.select_file_number || numbers.empty()) {
      RunPass(context, loop, body, result);
      return;
    }
    for (const std::string& number : numbers) {
      loop.select_file_number(number);
      if (!RunPass(context, loop, body, result)) return;
    }
  });
  return result;
}

app::StepResult RunSourceTableLoop(Context& context, const char* file, const RecordLoop& loop, const RecordBody& body) {
  if (!app::FileExists(context.Paths().source_folder + file)) return {};
  return RunRecordLoop(context, loop, body);
}

}  // namespace qorvane::data
