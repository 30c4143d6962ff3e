// The reconciliation report of a run (see run_summary.h).
#include "app/run_summary.h"
#include "common/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "app/steps.h"

namespace qorvane::app {
namespace {

using Kind = MainForm::ReportKind;

const char* KindName(Kind kind) {
  switch (kind) {
    case Kind::Step: return "step";
    case Kind::Massage: return "massage";
    case Kind::Preparation:
    case Kind::ClientKeys:
    case Kind::Clearing: return "preparation";
  }
  return "";
}

// 12,345
std::string Grouped(std::int64_t number) {
  std::string digits = std::to_string(number < 0 ? -number : number);
  std::string text;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && (digits.size() - i) % 3 == 0) text += ',';
    text += digits[i];
  }
  return number < 0 ? "-" + text : text;
}

std::string Plural(std::int64_t count, const char* one, const char* many) {
  return Grouped(count) + " " + (count == 1 ? one : many);
}

// The reasons of a ledger's skipped and refused records, counted, most frequent first.
std::vector<std::pair<std::string, std::int64_t>> CountedReasons(const Ledger& ledger, RecordOutcome outcome) {
  std::map<std::string, std::int64_t> counts;
  for (const LedgerNote& note : ledger.notes()) {
    if (note.outcome == outcome) ++counts[note.reason];
  }
  std::vector<std::pair<std::string, std::int64_t>> sorted(counts.begin(), counts.end());
  std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a.second > b.second; });
  return sorted;
}

std::string Quoted(const std::string& text) {
  std::string quoted = "\"";
  for (char c : text) {
    switch (c) {
      case '"': quoted += "\\\""; break;
      case '\\': quoted += "\\\\"; break;
      case '\n': quoted += "\\n"; break;
      case '\r': quoted += "\\r"; break;
      case '\t': quoted += "\\t"; break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          quoted += fmt::format("\\u{:04x}", static_cast<unsigned char>(c));
        } else {
          quoted += c;
        }
    }
  }
  return quoted + "\"";
}

std::string CountsJson(const TableCounts& counts) {
  std::string json = "{";
  for (const auto& [table, rows] : counts) json += (json.size() > 1 ? ", " : "") + Quoted(table) + ": " + std::to_string(rows);
  return json + "}";
}

std::string JsonList(const std::vector<std::string>& items) {
  std::string json = "[";
  for (std::size_t i = 0; i < items.size(); ++i) json += (i ? ", " : "") + Quoted(items[i]);
  return json + "]";
}

// A row of the step table: each source record once, in the five outcomes that make up read.
struct Row {
  std::int64_t read = 0, added = 0, updated = 0, unchanged = 0, skipped = 0, refused = 0;
  std::string from;
  std::vector<std::string> reasons;
};

// The duplicate-client check reads client.dbf once (its listed keys are noted as skipped) and
// its correction then reads each listed client again, by number (updated, or refused when it
// is gone): shown as one read of client.dbf whose listed clients were corrected.
std::int64_t ClientKeyCorrections(const Ledger& ledger) {
  std::int64_t corrections = ledger.count(RecordOutcome::Updated);
  for (const LedgerNote& note : ledger.notes()) {
    if (note.outcome == RecordOutcome::Refused && !ParseRecordPlace(note.record)) ++corrections;
  }
  return corrections;
}

Row RowOf(const MainForm::StepReport& report) {
  const Ledger& ledger = report.result.ledger;
  Row row{ledger.read(), ledger.count(RecordOutcome::Added), ledger.count(RecordOutcome::Updated),
          ledger.count(RecordOutcome::Unchanged), ledger.count(RecordOutcome::Skipped),
          ledger.count(RecordOutcome::Refused), "", {}};
  std::vector<std::string> tables = ledger.Tables();
  // Rows of office.mdb walked (the massage, the form rows per party) have no .dbf place.
  row.from = tables.empty() && ledger.read() > 0 ? "office.mdb" : qorvane::text::JoinedWithAnd(tables);
  if (report.kind == Kind::ClientKeys) {
    std::int64_t corrections = ClientKeyCorrections(ledger);
    row.read -= corrections;
    row.skipped -= corrections;
    for (const auto& [reason, count] : CountedReasons(ledger, RecordOutcome::Skipped)) {
      row.reasons.push_back(fmt::format("found {}: {}", Grouped(count), reason));
    }
    if (row.updated > 0) row.reasons.push_back("updated: corrected in client.dbf (see the duplicate-client form)");
    for (const auto& [reason, count] : CountedReasons(ledger, RecordOutcome::Refused)) {
      row.reasons.push_back(fmt::format("refused {}: {}", Grouped(count), reason));
    }
    return row;
  }
  for (RecordOutcome outcome : {RecordOutcome::Skipped, RecordOutcome::Refused}) {
    for (const auto& [reason, count] : CountedReasons(ledger, outcome)) {
      row.reasons.push_back(
          fmt::format("{} {}: {}", outcome == RecordOutcome::Skipped ? "skipped" : "refused", Grouped(count), reason));
    }
  }
  return row;
}

bool InTable(const MainForm::StepReport& report) {
  if (report.kind == Kind::Clearing) return false;
  return report.kind == Kind::Step || report.kind == Kind::Massage || report.result.ledger.read() > 0;
}

bool Ran(const MainForm& form, Kind kind, const char* word) {
  for (const MainForm::StepReport& report : form.RunReport()) {
    if (report.kind == kind && report.name == word) return true;
  }
  return false;
}

// The ticked steps a stopped run did not reach, in the window's words.
std::vector<std::string> NotRun(const MainForm& main_form) {
  const FormModel& form = main_form.form();
  std::vector<std::string> missing;
  if (form.Checked(CheckBox::ckbPrelim)) {
    std::size_t corrections = 0;
    for (const MainForm::StepReport& report : main_form.RunReport()) corrections += report.kind == Kind::Preparation;
    if (corrections < 1 + DataFileNumFixes().size()) missing.push_back("the rest of the Preliminary Corrections");
  }
  for (const StepInfo& step : ConversionSteps()) {
    if (form.Checked(step.check_box) && !Ran(main_form, Kind::Step, step.word)) missing.push_back(step.caption);
  }
  if (form.Checked(CheckBox::ckbMassage)) {
    std::vector<std::string> massage;
    for (const MassageStepInfo& step : MassageSteps()) {
      if (form.Checked(step.check_box) && !Ran(main_form, Kind::Massage, step.word)) massage.push_back(step.caption);
    }
    if (!massage.empty()) missing.push_back("Massage Data (" + qorvane::text::JoinedWithAnd(massage) + ")");
  }
  return missing;
}

// What a second run of the same choices does with what the stopped one converted.
std::string SecondRunText(const MainForm& main_form) {
  const FormModel& form = main_form.form();
  std::string text =
      "Running the same conversion again is safe and finishes the job. A second run with the same choices starts "
      "again at the first ticked step and adds nothing twice: form types, clients, appraisers, users, invoices, "
      "appraiser expenses, payments and fees already in office.mdb are left as they are and only the missing ones "
      "are added (the form rows of clients and appraisers already there get their display order again); orders "
      "already there are written again from property.dbf, and the company row is written again.";
  bool cleared = false;
  for (const ClearChoice& choice : ClearChoices()) cleared = cleared || form.Checked(choice.check_box);
  if (cleared) text += " The tables ticked under Clear Data First are emptied again first and filled afresh.";
  if (form.Checked(CheckBox::ckbPrelim)) {
    text += " The Preliminary Corrections find the numbers this run already repaired legal and leave them.";
  }
  if (form.Checked(CheckBox::ckbMassage)) text += " The massage recomputes what it repairs from the rows as they are.";
  return text;
}

// How the log's old wording maps to the rows above, for the steps that ran.
std::vector<std::string> LogWording(const MainForm& form) {
  std::vector<std::string> lines;
  if (Ran(form, Kind::Step, "client")) {
    lines.push_back("Clients: the log ends this step with a second \"Formtypes table (standard) conversion complete:\" "
                    "line; it read client.dbf.");
  }
  if (Ran(form, Kind::Step, "appraiser")) {
    lines.push_back("Appraisers: the log's \"Appriaser table conversion complete:\" line, and its \"Connected to "
                    ".../appraiser.dbf\", mean the file appraisr.dbf.");
  }
  if (Ran(form, Kind::Step, "apprexp")) {
    lines.push_back("Appraiser expenses: \"into Invoice.mdb\" in the log; the rows go into the Assigned table.");
  }
  if (Ran(form, Kind::Step, "clientfee")) {
    lines.push_back("Client fees: \"ClientFee into Client.mdb\" in the log; the rows go into the ClientFee table.");
  }
  if (Ran(form, Kind::Step, "applied")) lines.push_back("Applied payments: this step writes no begin line in the log.");
  if (!lines.empty()) {
    lines.push_back("Each step's \"... complete: N records\" line in the log is the record counter it showed last; "
                    "the table above counts each source record once.");
  }
  return lines;
}

std::int64_t RejectCount(const MainForm::StepReport& report) {
  if (report.kind == Kind::Clearing) return 0;
  const Ledger& ledger = report.result.ledger;
  if (report.kind == Kind::ClientKeys) return ledger.count(RecordOutcome::Refused);
  return ledger.count(RecordOutcome::Skipped) + ledger.count(RecordOutcome::Refused);
}

std::string CsvField(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + "\"";
}

}  // namespace

std::string RejectsPathFor(const std::string& log_path) {
  std::string stem = log_path.size() > 4 && log_path.ends_with(".log") ? log_path.substr(0, log_path.size() - 4) : log_path;
  return stem + "-rejects.csv";
}

// The first words of a report whose run could not put office.mdb in place.
static std::string CommitFailedHeadline(const MainForm& form) {
  std::string headline = "office.mdb was NOT changed: the end of the run could not save it";
  if (!form.CommitError().empty()) headline += " (" + form.CommitError() + ")";
  return headline + ". It holds what it held before the run (\"on disk\" below); none of the rows this run wrote are in it.";
}

std::vector<std::string> RunSummaryProblems(const MainForm& form) {
  std::vector<std::string> problems;
  if (form.CommitFailed()) problems.push_back(CommitFailedHeadline(form));
  for (const MainForm::StepReport& report : form.RunReport()) {
    const Ledger& ledger = report.result.ledger;
    if (ledger.Complete()) continue;
    const char* stopped =
        form.outcome() == RunOutcome::Stopped || !form.StoppingError().empty() ? " (the run was stopped)" : "";
    if (ledger.read() < ledger.expected()) {
      problems.push_back(fmt::format("{} read {} of the {} records it found: {} were not reached{}.", report.caption,
                                     Grouped(ledger.read()), Grouped(ledger.expected()),
                                     Grouped(ledger.expected() - ledger.read()), stopped));
    } else {
      problems.push_back(fmt::format("{} read every record once, but its second pass ended {} records early{}.",
                                     report.caption, Grouped(ledger.NotReached()), stopped));
    }
  }
  if (!form.RowsCommitted().empty()) {
    for (const auto& [table, written] : form.RowsWritten()) {
      auto found = form.RowsCommitted().find(table);
      std::int64_t on_disk = found == form.RowsCommitted().end() ? 0 : found->second;
      if (on_disk == written) continue;
      problems.push_back(fmt::format("office.mdb on disk holds {} rows in {}, but the run wrote {}.", Grouped(on_disk),
                                     table, Grouped(written)));
    }
  }
  return problems;
}

std::string RunHeadline(const MainForm& form) {
  if (form.CommitFailed()) return CommitFailedHeadline(form);
  switch (form.outcome()) {
    case RunOutcome::Completed: return form.CompletionText();
    case RunOutcome::Stopped: {
      const auto& stop = form.StoppedAt();
      std::string who = stop && stop->by_user ? "Stopped by you" : "Stopped (Abort in an error box)";
      if (!stop || stop->during.empty()) return who + " before the first step.";
      std::string where = stop->records > 0 ? fmt::format(" (record {} of {})", Grouped(stop->record), Grouped(stop->records))
                                            : std::string();
      return who + " during " + stop->during + where + ".";
    }
    case RunOutcome::Failed: return "The run ended before its end: an error stopped it (the log names it).";
    default: return "";
  }
}

std::string RunSummaryText(const MainForm& form) {
  std::string text;
  std::string headline = RunHeadline(form);
  if (!headline.empty()) text += headline + "\n";
  for (const std::string& notice : form.RunNotices()) text += notice + "\n";
  if (form.outcome() == RunOutcome::Stopped) {
    std::vector<std::string> missing = NotRun(form);
    text += missing.empty() ? "Every ticked step had started.\n" : "Not run: " + qorvane::text::JoinedWithAnd(missing) + ".\n";
    text += SecondRunText(form) + "\n";
  }
  if (!text.empty()) text += "\n";

  text += "What each step did with the records it read (read = added + updated + unchanged + skipped + refused):\n";
  std::size_t width = 16;
  for (const MainForm::StepReport& report : form.RunReport()) {
    if (InTable(report)) width = std::max(width, report.caption.size() + 2);
  }
  text += fmt::format("{:<{}}{:>8}{:>8}{:>8}{:>10}{:>8}{:>8}  {}\n", "", width, "read", "added", "updated", "unchanged",
                      "skipped", "refused", "from");
  for (const MainForm::StepReport& report : form.RunReport()) {
    if (!InTable(report)) continue;
    Row row = RowOf(report);
    text += fmt::format("{:<{}}{:>8}{:>8}{:>8}{:>10}{:>8}{:>8}  {}\n", report.caption, width, Grouped(row.read),
                        Grouped(row.added), Grouped(row.updated), Grouped(row.unchanged), Grouped(row.skipped),
                        Grouped(row.refused), row.from);
    for (const std::string& reason : row.reasons) text += "    " + reason + "\n";
  }

  for (const MainForm::StepReport& report : form.RunReport()) {
    if (report.kind != Kind::Clearing || report.rows_changed.empty()) continue;
    std::vector<std::string> deleted;
    for (const auto& [table, change] : report.rows_changed) {
      deleted.push_back(table + " " + Plural(-change, "row", "rows"));
    }
    text += "\n" + report.caption + ": deleted " + qorvane::text::JoinedWithAnd(deleted) + ".\n";
  }

  if (!form.RowsBefore().empty()) {
    text += fmt::format("\n{:<{}}{:>8}{:>8}{:>10}\n", "office.mdb rows", width, "before", "after", "on disk");
    for (const auto& [table, written] : form.RowsWritten()) {
      auto before = form.RowsBefore().find(table);
      auto on_disk = form.RowsCommitted().find(table);
      text += fmt::format("{:<{}}{:>8}{:>8}{:>10}\n", table, width,
                          Grouped(before == form.RowsBefore().end() ? 0 : before->second), Grouped(written),
                          on_disk == form.RowsCommitted().end() ? std::string("-") : Grouped(on_disk->second));
    }
  }

  std::vector<std::string> wording = LogWording(form);
  if (!wording.empty()) {
    text += "\nIn the conversion log:\n";
    for (const std::string& line : wording) text += "- " + line + "\n";
  }

  std::vector<std::string> problems = RunSummaryProblems(form);
  if (problems.empty()) {
    text += "\nEvery source record read is accounted for above";
    text += form.RowsCommitted().empty() ? ".\n" : ", and office.mdb on disk holds every row the run wrote.\n";
  } else {
    text += "\n";
    for (const std::string& problem : problems) text += problem + "\n";
  }
  std::int64_t rejects = 0;
  for (const MainForm::StepReport& report : form.RunReport()) rejects += RejectCount(report);
  if (rejects == 0) {
    text += "No record was skipped or refused.\n";
  } else if (!form.RejectsPath().empty()) {
    text += fmt::format("The {} skipped or refused, each with its table, record number, key and reason, are listed in "
                        "{}.\n",
                        Plural(rejects, "record", "records"), form.RejectsPath());
  }
  return text;
}

std::string RejectsCsv(const MainForm& form) {
  std::string csv;
  for (const MainForm::StepReport& report : form.RunReport()) {
    if (RejectCount(report) == 0) continue;
    for (const LedgerNote& note : report.result.ledger.notes()) {
      if (note.outcome != RecordOutcome::Skipped && note.outcome != RecordOutcome::Refused) continue;
      if (report.kind == Kind::ClientKeys && note.outcome != RecordOutcome::Refused) continue;
      std::string table, number, key;
      if (auto place = ParseRecordPlace(note.record)) {
        table = place->table;
        number = std::to_string(place->number);
        key = place->key;
      } else {
        std::size_t blank = note.record.find(' ');
        table = note.record.substr(0, blank);
        key = blank == std::string::npos ? "" : note.record.substr(blank + 1);
      }
      csv += CsvField(report.caption) + "," + CsvField(table) + "," + number + "," + CsvField(key) + "," +
             (note.outcome == RecordOutcome::Skipped ? "skipped" : "refused") + "," + CsvField(note.reason) + "\r\n";
    }
  }
  if (csv.empty()) return csv;
  // With a byte-order mark, so that a spreadsheet program reads accented names as UTF-8.
  return "\xEF\xBB\xBFstep,table,record,key,outcome,reason\r\n" + csv;
}

std::string RunSummaryJson(const MainForm& form) {
  std::string json = "{\n  \"headline\": " + Quoted(RunHeadline(form)) + ",\n";
  json += "  \"notices\": " + JsonList(form.RunNotices()) + ",\n";
  if (form.outcome() == RunOutcome::Stopped) {
    json += "  \"stopped_during\": " + Quoted(form.StoppedAt() ? form.StoppedAt()->during : "") + ",\n";
    json += "  \"not_run\": " + JsonList(NotRun(form)) + ",\n";
  }
  json += "  \"rejects_file\": " + (form.RejectsPath().empty() ? std::string("null") : Quoted(form.RejectsPath())) + ",\n";
  json += "  \"steps\": [";
  bool first = true;
  for (const MainForm::StepReport& report : form.RunReport()) {
    const Ledger& ledger = report.result.ledger;
    json += first ? "\n" : ",\n";
    first = false;
    json += fmt::format(
        "    {{\"name\": {}, \"caption\": {}, \"kind\": \"{}\", \"read\": {}, \"found\": {}, \"added\": {}, "
        "\"updated\": {}, \"skipped\": {}, \"refused\": {}, \"unchanged\": {}, \"deleted\": {}, \"shown_count\": {}, "
        "\"seconds\": {:.3f}, \"rows_changed\": {}, \"reasons\": {{",
        Quoted(report.name), Quoted(report.caption), KindName(report.kind), ledger.read(), ledger.expected(),
        ledger.count(RecordOutcome::Added), ledger.count(RecordOutcome::Updated), ledger.count(RecordOutcome::Skipped),
        ledger.count(RecordOutcome::Refused), ledger.count(RecordOutcome::Unchanged), ledger.count(RecordOutcome::Deleted),
        report.result.shown_count ? std::to_string(*report.result.shown_count) : "null", report.seconds,
        CountsJson(report.rows_changed));
    std::string reasons;
    for (RecordOutcome outcome : {RecordOutcome::Skipped, RecordOutcome::Refused}) {
      for (const auto& [reason, count] : CountedReasons(ledger, outcome)) {
        reasons += (reasons.empty() ? "" : ", ") +
                   Quoted(std::string(outcome == RecordOutcome::Skipped ? "skipped: " : "refused: ") + reason) + ": " +
                   std::to_string(count);
      }
    }
    json += reasons + "}}";
  }
  json += "\n  ],\n";
  json += "  \"rows_before\": " + CountsJson(form.RowsBefore()) + ",\n";
  json += "  \"rows_after\": " + CountsJson(form.RowsWritten()) + ",\n";
  json += "  \"rows_on_disk\": " + CountsJson(form.RowsCommitted()) + ",\n";
  json += "  \"problems\": " + JsonList(RunSummaryProblems(form)) + "\n}\n";
  return json;
}

}  // namespace qorvane::app
