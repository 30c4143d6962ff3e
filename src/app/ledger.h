// The ledger of one conversion step: every source record the step read ends in it as added,
// updated, skipped or refused, and the last two keep the record and the reason. The record loop
// also enters how many records each pass found, so a step that read fewer than it found (a
// record lost, or a Stop) shows as incomplete. Counts cost nothing per record; only skipped and
// refused records keep a note.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qorvane::app {

// Unchanged: read and found in order (a correction that had nothing to correct); counted, with
// no note, so a walk over a million good records keeps no million notes.
// Deleted: a target row removed (clearing, rows without a key).
enum class RecordOutcome { Added, Updated, Skipped, Refused, Unchanged, Deleted };

// What became of one source record. The ledger names the record (table, record number, key);
// the reason is a short category ("no form code") that the run's report counts.
struct RecordResult {
  RecordOutcome outcome = RecordOutcome::Added;
  std::string reason;  // why it was skipped or refused; empty for added and updated

  static RecordResult Added() { return {RecordOutcome::Added, {}}; }
  static RecordResult Updated() { return {RecordOutcome::Updated, {}}; }
  static RecordResult Skipped(std::string why) { return {RecordOutcome::Skipped, std::move(why)}; }
  static RecordResult Refused(std::string why) { return {RecordOutcome::Refused, std::move(why)}; }
  static RecordResult Unchanged() { return {RecordOutcome::Unchanged, {}}; }
};

struct LedgerNote {
  RecordOutcome outcome;
  std::string record;
  std::string reason;
};

class Ledger {
 public:
  // One source record read and what became of it.
  void Record(const std::string& record, const RecordResult& result);
  // One record read that came to OUTCOME and keeps no note (added, updated, unchanged).
  void Count(RecordOutcome outcome) {
    ++read_;
    ++counts_[static_cast<int>(outcome)];
  }
  // COUNT rows that came to OUTCOME at once (a DELETE statement), with one note for them all.
  void Tally(RecordOutcome outcome, std::int64_t count, const std::string& what);
  // Adds another ledger's counts and notes (a step of two routines, or one pass per file number).
  void Merge(const Ledger& other);

  std::int64_t read() const { return read_; }
  std::int64_t count(RecordOutcome outcome) const { return counts_[static_cast<int>(outcome)]; }
  // The records a pass found before reading them.
  void Expect(std::int64_t records) { expected_ += records; }
  std::int64_t expected() const { return expected_; }
  // Every record found was read and accounted for.
  bool Complete() const { return read_ == expected_; }
  const std::vector<LedgerNote>& notes() const { return notes_; }

 private:
  std::int64_t read_ = 0;
  std::int64_t expected_ = 0;
  std::int64_t counts_[6] = {0, 0, 0, 0, 0, 0};
  std::vector<LedgerNote> notes_;
};

// What a converter or a massage routine returns to the run.
struct StepResult {
  // The count the record counter lblRecord shows when the routine ends, which the run writes
  // into the completion line; empty when the routine never showed one.
  std::optional<std::int64_t> shown_count;
  Ledger ledger;
};

}  // namespace qorvane::app
