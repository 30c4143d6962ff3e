// The reconciliation report of a run (see run_summary.h).
#include "app/run_summary.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

namespace qorvane::app {
namespace {

using Kind = MainForm::ReportKind;

const char* KindName(Kind kind) {
  switch (kind) {
    case Kind::Step: return "step";
    case Kind::Massage: return "massage";
    case Kind::Preparation: return "preparation";
  }
  return "";
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

bool Shown(const MainForm::StepReport& report) {
  return report.kind != Kind::Preparation || report.result.ledger.read() > 0 || !report.rows_changed.empty();
}

}  // namespace

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
    std::int64_t missing = ledger.expected() - ledger.read();
    problems.push_back(fmt::format("{} read {} of the {} records it found: {} were not reached{}.", report.name,
                                   ledger.read(), ledger.expected(), missing,
                                   form.outcome() == RunOutcome::Stopped || !form.StoppingError().empty()
                                       ? " (the run was stopped)"
                                       : ""));
  }
  if (!form.RowsCommitted().empty()) {
    for (const auto& [table, written] : form.RowsWritten()) {
      auto found = form.RowsCommitted().find(table);
      std::int64_t on_disk = found == form.RowsCommitted().end() ? 0 : found->second;
      if (on_disk == written) continue;
      problems.push_back(fmt::format("office.mdb on disk holds {} rows in {}, but the run wrote {}.", on_disk, table, written));
    }
  }
  return problems;
}

std::string RunSummaryText(const MainForm& form) {
  std::string text = form.CommitFailed() ? CommitFailedHeadline(form) + "\n\n" : std::string();
  text += fmt::format("{:<28}{:>10}{:>10}{:>10}{:>10}{:>10}{:>10}\n", "What ran", "read", "added", "updated",
                                 "skipped", "refused", "seconds");
  for (const MainForm::StepReport& report : form.RunReport()) {
    if (!Shown(report)) continue;
    const Ledger& ledger = report.result.ledger;
    std::string name = report.kind == Kind::Massage ? "massage " + report.name : report.name;
    text += fmt::format("{:<28}{:>10}{:>10}{:>10}{:>10}{:>10}{:>10.2f}\n", name, ledger.read(),
                        ledger.count(RecordOutcome::Added), ledger.count(RecordOutcome::Updated),
                        ledger.count(RecordOutcome::Skipped), ledger.count(RecordOutcome::Refused), report.seconds);
    for (RecordOutcome outcome : {RecordOutcome::Skipped, RecordOutcome::Refused}) {
      for (const auto& [reason, count] : CountedReasons(ledger, outcome)) {
        text += fmt::format("    {} {}: {}\n", outcome == RecordOutcome::Skipped ? "skipped" : "refused", count, reason);
      }
    }
    if (ledger.count(RecordOutcome::Deleted) > 0) {
      text += fmt::format("    deleted {} target rows\n", ledger.count(RecordOutcome::Deleted));
    }
  }
  if (!form.RowsBefore().empty()) {
    text += fmt::format("\n{:<28}{:>10}{:>10}{:>10}\n", "office.mdb rows", "before", "after", "on disk");
    for (const auto& [table, written] : form.RowsWritten()) {
      auto before = form.RowsBefore().find(table);
      auto on_disk = form.RowsCommitted().find(table);
      text += fmt::format("{:<28}{:>10}{:>10}{:>10}\n", table, before == form.RowsBefore().end() ? 0 : before->second,
                          written, on_disk == form.RowsCommitted().end() ? std::string("-") : std::to_string(on_disk->second));
    }
  }
  std::vector<std::string> problems = RunSummaryProblems(form);
  if (problems.empty()) {
    text += "\nEvery source record read is accounted for above";
    text += form.RowsCommitted().empty() ? ".\n" : ", and office.mdb on disk holds every row the run wrote.\n";
  } else {
    text += "\n";
    for (const std::string& problem : problems) text += problem + "\n";
  }
  return text;
}

std::string RunSummaryJson(const MainForm& form) {
  std::string json = "{\n  \"steps\": [";
  bool first = true;
  for (const MainForm::StepReport& report : form.RunReport()) {
    const Ledger& ledger = report.result.ledger;
    json += first ? "\n" : ",\n";
    first = false;
    json += fmt::format(
        "    {{\"name\": {}, \"kind\": \"{}\", \"read\": {}, \"found\": {}, \"added\": {}, \"updated\": {}, "
        "\"skipped\": {}, \"refused\": {}, \"unchanged\": {}, \"deleted\": {}, \"shown_count\": {}, "
        "\"seconds\": {:.3f}, \"rows_changed\": {}, \"reasons\": {{",
        Quoted(report.name), KindName(report.kind), ledger.read(), ledger.expected(),
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
  json += "  \"problems\": [";
  std::vector<std::string> problems = RunSummaryProblems(form);
  for (std::size_t i = 0; i < problems.size(); ++i) json += (i ? ", " : "") + Quoted(problems[i]);
  json += "]\n}\n";
  return json;
}

}  // namespace qorvane::app
