// The record loop (see record_loop.h).
#include "data/record_loop.h"

#include <limits>

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

  std::int64_t counter = 0;
  while (!records.eof()) {
    context.DoEvents();
    if (context.AbortRequested()) return false;
    ++counter;
    app::FormModel& form = context.form();
    form.RecordNumber = counter;
    form.RecordTotal = total;
    if (loop.counter_in_label) {
      form.lblRecord = std::to_string(counter);
      result.shown_count = counter;
    }
    std::string record = table + " record " + std::to_string(records.Position());
    app::RecordResult outcome = context.main_form().GuardOr(
        loop.routine, record,
        [&] {
          if (loop.key) record += " (" + loop.key() + ")";
          if (loop.show) loop.show(counter);
          context.SetGaugeValue(static_cast<float>(counter), gauge_total);
          return body();
        },
        [](const app::ErrorInfo& error) { return app::RecordResult::Refused(error.description); });
    result.ledger.Record(record, outcome);
    if (context.AbortRequested()) return false;
    records.MoveNext();
  }
  return true;
}

bool RunPass(Context& context, const RecordLoop& loop, const RecordBody& body, app::StepResult& result) {
  if (loop.source) return RunPass(context, loop, body, result, SourceCursor{loop.source->Recordset()});
  return RunPass(context, loop, body, result, TargetCursor{loop.target->Recordset()});
}

}  // namespace

app::StepResult RunRecordLoop(Context& context, const RecordLoop& loop, const RecordBody& body) {
  app::StepResult result;
  struct ClearProgress {
    app::FormModel& form;
    ~ClearProgress() { form.RecordNumber = form.RecordTotal = 0; }
  } clear_progress{context.form()};
  context.main_form().Guard(loop.routine, [&] {
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

}  // namespace qorvane::data
