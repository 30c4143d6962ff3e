// The duplicate-client check and its correction (see duplicate_clients.h).
#include "data/duplicate_clients.h"

#include "app/vb_text.h"
#include "common/sql_tokens.h"
#include "common/error.h"
#include "data/connections.h"
#include "data/fields.h"
#include "data/file_numbers.h"
#include "data/lookups.h"
#include "data/record_loop.h"

namespace qorvane::data {
namespace {

// A Stop during the check or the correction ends the run here, with the date and time.
void LogStop(Context& context) {
  context.Log("Conversion aborted (ESC key): " + app::DateTimeText(context.run().Now()));
  context.run().CloseLog();
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

// Trimmed of blanks, as keys and numbers are compared.
std::string Trimmed(std::string_view text) {
  std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return "";
  return std::string(text.substr(first, text.find_last_not_of(' ') - first + 1));
}

// Makes the client table's record set write KEY into the current record's Cli_lname.
void WriteClientKey(DataControl& clients, const std::string& key) {
  DaoSetField(clients, key, "Cli_lname");
  foxpro::RecordSet& records = clients.Recordset();
  if (records.EditInProgress()) records.Update();
}

}  // namespace

std::vector<ClientKeyPlan> ClientKeyPlans(const foxpro::RepairHistory& history) {
  std::vector<ClientKeyPlan> plans;
  ClientKeyPlan being_written;
  for (std::size_t i = 0; i < history.entries.size(); ++i) {
    const foxpro::JournalEntry& entry = history.entries[i];
    if (entry[0] == "client-key" && entry.size() >= 4) {
      if (being_written.keys.empty()) being_written.run = history.run_of_entry[i];
      being_written.keys.push_back({entry[1], entry[2], entry[3]});
    } else if (entry[0] == "client-keys" && entry.size() >= 2 && entry[1] == "planned") {
      // A plan cut before this line was never acted on: no key is written before it.
      if (!being_written.keys.empty()) plans.push_back(std::move(being_written));
      being_written = {};
    } else if (entry[0] == "client-keys" && entry.size() >= 2 && entry[1] == "corrected" && !plans.empty()) {
      plans.back().corrected = true;
    } else if (entry[0] == "run") {
      being_written = {};
    }
  }
  return plans;
}

bool CorrectedBefore(const std::vector<ClientKeyPlan>& plans, std::string_view number, std::string_view key) {
  const std::string wanted_number = Trimmed(number), wanted_key = Trimmed(key);
  for (const ClientKeyPlan& plan : plans) {
    for (const ClientKeyPlan::Key& planned : plan.keys) {
      if (Trimmed(planned.number) == wanted_number && Trimmed(planned.new_key) == wanted_key) return true;
    }
  }
  return false;
}

app::StepResult FinishClientKeyPlan(Context& context, const ClientKeyPlan& plan, const std::string& run_start) {
  return context.Guard("CorrectDuplicateClients", [&]() -> app::StepResult {
    app::StepResult result;
    DataControl& clients = context.Source(app::SourceControl::datClient);
    if (!clients.bound()) return result;
    context.Log("Finishing the client key corrections of the run started " + run_start + ", which was stopped before "
                "it had written them all");
    result.ledger.Expect(static_cast<std::int64_t>(plan.keys.size()));
    for (const ClientKeyPlan::Key& key : plan.keys) {
      std::string record = "client.dbf Cli_num " + key.number;
      if (!FindRecord(clients, key.number, "Cli_num")) {
        result.ledger.Record(record, app::RecordResult::Refused("client number not found"));
        continue;
      }
      std::string now = Trimmed(DATgetfield(clients, "Cli_lname"));
      if (now == Trimmed(key.new_key)) {
        result.ledger.Record(record, app::RecordResult::Unchanged());
      } else if (now == Trimmed(key.old_key)) {
        WriteClientKey(clients, key.new_key);
        context.Log("Clientnum: " + key.number + " Cli_lname: " + key.old_key + " = " + key.new_key);
        result.ledger.Record(record, app::RecordResult::Updated());
      } else {
        context.Log("Clientnum: " + key.number + " Cli_lname: " + now + " is left as it is: the stopped run planned " +
                    key.old_key + " = " + key.new_key + ", and the key was changed since");
        result.ledger.Record(record, app::RecordResult::Skipped("client key changed since the stopped run"));
      }
    }
    clients.Recordset().Flush();
    if (foxpro::RepairJournal* journal = context.connections().journal()) journal->Append({"client-keys", "corrected"});
    return result;
  });
}

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
    app::FormModel& form = context.run().form();
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
    // Keys this program corrected in an earlier run are not corrected again.
    const std::vector<ClientKeyPlan> plans =
        ClientKeyPlans(foxpro::ReadRepairHistory(context.Paths().source_folder));
    std::int64_t corrected_before = 0;
    ClientKeyScan scan;
    RecordLoop loop;
    loop.routine = "CheckDuplicateClients";
    loop.source = &clients;
    loop.counter_in_label = false;
    loop.key = [&] { return "Cli_num " + DATgetfield(clients, "Cli_num"); };
    app::StepResult result = RunRecordLoop(context, loop, [&] {
      std::string listed_key;
      std::string key = DATgetfield(clients, "Cli_lname");
      std::string reason = scan.Next(key, listed_key);
      if (reason.empty()) return app::RecordResult::Unchanged();
      std::string number = DATgetfield(clients, "Cli_num");
      if (CorrectedBefore(plans, number, key)) {
        ++corrected_before;
        return app::RecordResult::Unchanged();
      }
      form.lstduplicateclients.push_back(listed_key);
      form.lstclinum.push_back(number);
      return app::RecordResult::Skipped(reason);
    });
    if (context.AbortRequested()) {
      LogStop(context);
    } else if (corrected_before > 0) {
      context.Log(std::to_string(corrected_before) + " client key(s) that an earlier run of this program corrected are "
                  "left as they are (see " + std::string(foxpro::kRepairJournalName) + " in the source folder)");
    }
    return result;
  });
}

app::StepResult CorrectDuplicateClients(Context& context) {
  return context.Guard("CorrectDuplicateClients", [&]() -> app::StepResult {
    app::StepResult result;
    app::FormModel& form = context.run().form();
    DataControl& clients = context.Source(app::SourceControl::datClient);
    const std::size_t listed = std::min(form.lstduplicateclients.size(), form.lstclinum.size());
    // Each listed client is a record this pass reads again, to correct it.
    result.ledger.Expect(static_cast<std::int64_t>(listed));
    // The whole plan is in the journal, after the table's backup, before the first key is
    // written: a run stopped halfway is finished by the next one with these very keys.
    foxpro::RepairJournal* journal = context.connections().journal();
    if (journal && listed > 0) {
      foxpro::RecordSet& records = clients.Recordset();
      if (auto refusal = records.WriteRefusal()) throw Error(ErrorKind::Corrupt, records.table().name() + ": " + *refusal);
      if (foxpro::BackupSession* backup = context.connections().backup()) backup->EnsureBackedUp(records.Files());
      // One write and one sync for the whole plan; "planned" comes last, so a plan cut short
      // by a crash is not taken for a whole one.
      std::vector<foxpro::JournalEntry> plan;
      plan.reserve(listed + 1);
      for (std::size_t i = 0; i < listed; ++i) {
        const std::string& number = form.lstclinum[i];
        plan.push_back({"client-key", number, form.lstduplicateclients[i],
                        DaoTrim(clients, CorrectedClientKey(number, form.lstduplicateclients[i]), "Cli_lname")});
      }
      plan.push_back({"client-keys", "planned", std::to_string(listed)});
      journal->Append(plan);
    }
    for (std::size_t i = 0; i < listed; ++i) {
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
    if (journal && listed > 0 && !context.AbortRequested()) {
      clients.Recordset().Flush();
      journal->Append({"client-keys", "corrected"});
    }
    return result;
  });
}

app::StepResult CheckAndCorrectDuplicateClients(Context& context) {
  app::StepResult result = CheckDuplicateClientKeys(context);
  if (context.AbortRequested() || context.run().form().lstduplicateclients.empty()) return result;
  result.ledger.Merge(CorrectDuplicateClients(context).ledger);
  ReadCorrectedClients(context, context.Source(app::SourceControl::datClient));
  if (context.AbortRequested()) return result;
  context.run().ShowMessage("Invalid Client records were found and corrected automatically.");
  return result;
}

}  // namespace qorvane::data
