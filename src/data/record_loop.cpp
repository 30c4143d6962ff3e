// The record loop (see record_loop.h).
#include "data/record_loop.h"

#include <limits>

namespace qorvane::data {
namespace {

// One pass over the records SOURCE holds now. Returns false when the run was stopped.
bool RunPass(Context& context, const RecordLoop& loop, const RecordBody& body, app::StepResult& result) {
  foxpro::RecordSet& records = loop.source->Recordset();
  if (records.EndOfFile()) return true;
  records.MoveLast();
  std::int64_t total = records.RecordCount();
  if (total == 0) return true;
  records.MoveFirst();
  result.ledger.Expect(total);
  const std::string table = records.table().name();
  auto gauge_total = static_cast<std::int32_t>(std::min<std::int64_t>(total, std::numeric_limits<std::int32_t>::max()));

  std::int64_t counter = 0;
  while (!records.EndOfFile()) {
    context.DoEvents();
    if (context.AbortRequested()) return false;
    ++counter;
    app::FormModel& form = context.form();
    if (loop.counter_in_label) {
      form.lblRecord = std::to_string(counter);
      result.shown_count = counter;
    }
    std::string record = table + " record " + std::to_string(records.GetBookmark() + 1);
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

}  // namespace

app::StepResult RunRecordLoop(Context& context, const RecordLoop& loop, const RecordBody& body) {
  app::StepResult result;
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
