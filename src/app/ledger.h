// The ledger of one conversion step: every source record the step read ends in it as added,
// updated, unchanged, skipped or refused, and the last two keep the record and the reason. The
// record loop also enters how many records each pass found, so a step that read fewer than it
// found (a record lost, or a Stop) shows as incomplete. Counts cost nothing per record; only
// skipped and refused records keep a note.
//
// A step may read the same records more than once (the client step walks client.dbf by name,
// then by number): the ledger keeps one outcome byte per source record it can place (.dbf
// table and record number), so that such a record is counted once, with the outcome that says most about it.
// read() then equals the sum of the five outcomes.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qorvane::app {

// Unchanged: read and found in order, or already converted (a correction that had nothing to
// correct, a client already in office.mdb); counted, with no note, so a walk over a million
// good records keeps no million notes.
// Deleted: a target row removed (clearing, rows without a key); not a source record.
enum class RecordOutcome { Added, Updated, Skipped, Refused, Unchanged, Deleted };
inline constexpr int kRecordOutcomeCount = 6;

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

// A record name as the record loop forms it: "<table> record <number>", then optionally
// " (<key>)". Other names (a client named only by its number) have no place.
struct RecordPlace {
  std::string_view table;
  std::int64_t number = 0;      // 1-based
  std::string_view key;         // without the parentheses; empty when none
};
std::optional<RecordPlace> ParseRecordPlace(std::string_view record);

// Of two outcomes of the same record in two passes, the one the record ends with: added beats
// updated beats refused beats unchanged beats skipped (a client the first pass skipped as
// "already in Client" and the second found by its number is unchanged, not skipped).
RecordOutcome StrongerOutcome(RecordOutcome a, RecordOutcome b);

class Ledger {
 public:
  // One source record read and what became of it. A record read again (same table and record
  // number) is counted once.
  void Record(const std::string& record, const RecordResult& result);
  // The same for the record NUMBER (1-based) of TABLE, without parsing a name: NAME is the
  // record's name for a note, needed only when the outcome is skipped or refused.
  void Record(std::string_view table, std::int64_t number, const RecordResult& result, const std::string& name);
  // COUNT rows that came to OUTCOME at once (a DELETE statement), with one note for them all.
  void Tally(RecordOutcome outcome, std::int64_t count, const std::string& what);
  // Adds another ledger's counts and notes (a step of two routines, or one pass per file
  // number). Records both ledgers read are counted once; when the two overlap, the records
  // found are those of the larger pass, not the sum.
  void Merge(const Ledger& other);

  // Distinct source records read: the sum of the five outcomes (and of Deleted, for target rows).
  std::int64_t read() const { return read_; }
  std::int64_t count(RecordOutcome outcome) const { return counts_[static_cast<int>(outcome)]; }
  // The records a pass found before reading them.
  void Expect(std::int64_t records) {
    expected_ += records;
    pass_expected_ += records;
  }
  // Distinct records found.
  std::int64_t expected() const { return expected_; }
  // Every pass read every record it found.
  bool Complete() const { return pass_reads_ == pass_expected_; }
  // Record reads the passes found but did not make (0 when complete).
  std::int64_t NotReached() const { return pass_expected_ - pass_reads_; }
  const std::vector<LedgerNote>& notes() const { return notes_; }
  // The tables whose records the ledger placed, in name order ("client.dbf").
  std::vector<std::string> Tables() const;

 private:
  // The outcome byte of a placed record (0: not read; else outcome + 1).
  std::uint8_t* Slot(std::string_view table, std::int64_t number);
  void Recount(RecordOutcome from, RecordOutcome to);
  // Removes the notes of the records in PLACES except the first one whose outcome is KEEP.
  void DropNotes(const std::map<std::pair<std::string, std::int64_t>, RecordOutcome>& places);

  std::int64_t read_ = 0;
  std::int64_t expected_ = 0;
  std::int64_t pass_reads_ = 0;
  std::int64_t pass_expected_ = 0;
  std::int64_t counts_[kRecordOutcomeCount] = {0, 0, 0, 0, 0, 0};
  std::vector<LedgerNote> notes_;
  std::map<std::string, std::vector<std::uint8_t>, std::less<>> outcomes_;
  // The table Slot placed the last record in (record loops place one table's records in a row);
  // forgotten when the ledger is copied or moved, as it points into this ledger's own map.
  struct SlotCache {
    std::string table;
    std::vector<std::uint8_t>* places = nullptr;
    SlotCache() = default;
    SlotCache(const SlotCache&) {}
    SlotCache& operator=(const SlotCache&) {
      table.clear();
      places = nullptr;
      return *this;
    }
  };
  SlotCache last_;
};

// What a converter or a massage routine returns to the run.
struct StepResult {
  // The count the record counter lblRecord shows when the routine ends, which the run writes
  // into the completion line; empty when the routine never showed one.
  std::optional<std::int64_t> shown_count;
  Ledger ledger;
};

}  // namespace qorvane::app
