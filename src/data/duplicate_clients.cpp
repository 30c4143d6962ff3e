// The duplicate-client check and its correction (see duplicate_clients.h).
#include "data/duplicate_clients.h"

#include "app/result_lists.h"
#include "app/vb_text.h"
#include "common/sql_tokens.h"
#include "data/fields.h"
#include "data/file_numbers.h"
#include "data/lookups.h"
#include "data/record_loop.h"

namespace qorvane::data {
namespace {

// A Stop during the check or the correction ends the run here, with the date and time.
void LogStop(Context& context) {
  context.Log("Conversion aborted (ESC key): " + app::DateTimeText(context.main_form().clock().Now()));
  context.main_form().CloseLog();
}

// The other controls on client.dbf read their records before the correction wrote the new
// keys: each opens its record source again, so the client conversion and the bill-to and
// client look-ups of the steps after it see the corrected keys.
void ReadCorrectedClients(Context& context, DataControl& corrected) {
  if (corrected.bound()) corrected.Recordset().Flush();
  context.connections().source().ForEach([&](DataControl& control) {
    if (&control == &corrected || !control.bound() || UpperAscii(control.BoundSource) != "CLIENT") return;
    context.Guard("CorrectDuplicateClients", [&] { control.Refresh(); });
  });
}

}  // namespace

std::string ClientKeyScan::Next(const std::string& key, std::string& reported_key) {
  std::string reason;
  if (key.empty()) {
    reason = "empty client key";
  } else if (key == previous_) {
    reason = "client key used twice";
  } else if (HasIllegalFileChars(key)) {
    reason = "client key holds a character not allowed in a key";
  }
  reported_key = previous_;
  previous_ = key;
  return reason;
}

app::StepResult CheckDuplicateClientKeys(Context& context) {
  return context.Guard("CheckDuplicateClients", [&]() -> app::StepResult {
    app::FormModel& form = context.form();
    form.lstduplicateclients.clear();
    form.lstafterdup.clear();
    form.lstclinum.clear();
    DataControl& clients = context.Source(app::SourceControl::datClient);
    if (!clients.bound()) return {};
    clients.RecordSource = "Select * from client order by cli_lname";
    clients.Refresh();
    if (clients.Recordset().EndOfFile()) return {};
    context.Log("Checking For duplicate Client Listings");
    context.Log("");

    // Equal keys are adjacent in this order. A listed record puts the key BEFORE it in the list
    // (for a duplicate that is its own key; for an empty or illegal key, the neighbour's).
    ClientKeyScan scan;
    RecordLoop loop;
    loop.routine = "CheckDuplicateClients";
    loop.source = &clients;
    loop.counter_in_label = false;
    loop.key = [&] { return "Cli_num " + DATgetfield(clients, "Cli_num"); };
    app::StepResult result = RunRecordLoop(context, loop, [&] {
      std::string listed_key;
      std::string reason = scan.Next(DATgetfield(clients, "Cli_lname"), listed_key);
      if (reason.empty()) return app::RecordResult::Unchanged();
      form.lstduplicateclients.push_back(listed_key);
      form.lstclinum.push_back(DATgetfield(clients, "Cli_num"));
      return app::RecordResult::Skipped(reason);
    });
    if (context.AbortRequested()) LogStop(context);
    return result;
  });
}

app::StepResult CorrectDuplicateClients(Context& context) {
  return context.Guard("CorrectDuplicateClients", [&]() -> app::StepResult {
    app::StepResult result;
    app::FormModel& form = context.form();
    DataControl& clients = context.Source(app::SourceControl::datClient);
    // Each listed client is a record this pass reads again, to correct it.
    result.ledger.Expect(static_cast<std::int64_t>(std::min(form.lstduplicateclients.size(), form.lstclinum.size())));
    for (std::size_t i = 0; i < form.lstduplicateclients.size() && i < form.lstclinum.size(); ++i) {
      context.DoEvents();
      if (context.AbortRequested()) {
        LogStop(context);
        break;
      }
      const std::string old_key = form.lstduplicateclients[i];
      const std::string number = form.lstclinum[i];
      std::string record = "client.dbf Cli_num " + number;
      if (!FindRecord(clients, number, "Cli_num")) {
        result.ledger.Record(record, app::RecordResult::Refused("client number not found"));
        continue;
      }
      std::string new_key = CorrectedClientKey(number, old_key);
      DaoSetField(clients, new_key, "Cli_lname");
      form.lstafterdup.push_back(new_key);
      context.Log("Clientnum: " + number + " Cli_lname: " + old_key + " = " + new_key);
      foxpro::RecordSet& records = clients.Recordset();
      if (records.EditInProgress()) records.Update();
      result.ledger.Record(record, app::RecordResult::Updated());
    }
    return result;
  });
}

app::StepResult CheckAndCorrectDuplicateClients(Context& context) {
  app::StepResult result = CheckDuplicateClientKeys(context);
  if (context.AbortRequested() || context.form().lstduplicateclients.empty()) return result;
  result.ledger.Merge(CorrectDuplicateClients(context).ledger);
  ReadCorrectedClients(context, context.Source(app::SourceControl::datClient));
  if (context.AbortRequested()) return result;
  context.main_form().MsgBox("Invalid Client records were found and corrected automatically.");
  return result;
}

std::string DuplicateClientListText(const app::FormModel& form) {
  return app::PrintedListText(app::kDuplicateClientHeading, form.lstduplicateclients);
}

}  // namespace qorvane::data
