// The ledger of a conversion step (see ledger.h).
#include "app/ledger.h"

#include <algorithm>
#include <charconv>
#include <set>

namespace qorvane::app {
namespace {

constexpr std::string_view kRecordWord = " record ";
// A record number beyond this is not kept per record (no table of the office comes near it).
constexpr std::int64_t kMostPlacedRecords = std::int64_t{1} << 28;

bool Noted(RecordOutcome outcome) { return outcome == RecordOutcome::Skipped || outcome == RecordOutcome::Refused; }

// How much an outcome says about a record read twice; the higher wins.
int Weight(RecordOutcome outcome) {
  switch (outcome) {
    case RecordOutcome::Added: return 5;
    case RecordOutcome::Updated: return 4;
    case RecordOutcome::Refused: return 3;
    case RecordOutcome::Unchanged: return 2;
    case RecordOutcome::Skipped: return 1;
    case RecordOutcome::Deleted: return 0;
  }
  return 0;
}

// Only source records have a lasting number (a target walk numbers its rows from 1 in each
// pass), so only they are placed.
bool IsSourceTable(std::string_view table) {
  if (table.size() < 4) return false;
  std::string_view end = table.substr(table.size() - 4);
  return end.size() == 4 && end[0] == '.' && (end[1] | 0x20) == 'd' && (end[2] | 0x20) == 'b' && (end[3] | 0x20) == 'f';
}

RecordOutcome OutcomeOf(std::uint8_t slot) { return static_cast<RecordOutcome>(slot - 1); }
std::uint8_t SlotOf(RecordOutcome outcome) { return static_cast<std::uint8_t>(static_cast<int>(outcome) + 1); }

}  // namespace

std::optional<RecordPlace> ParseRecordPlace(std::string_view record) {
  std::size_t word = record.find(kRecordWord);
  if (word == std::string_view::npos || word == 0) return std::nullopt;
  std::string_view rest = record.substr(word + kRecordWord.size());
  RecordPlace place;
  auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), place.number);
  if (error != std::errc() || end == rest.data() || place.number <= 0) return std::nullopt;
  place.table = record.substr(0, word);
  std::string_view after(end, static_cast<std::size_t>(rest.data() + rest.size() - end));
  if (after.size() >= 3 && after.substr(0, 2) == " (" && after.back() == ')') {
    place.key = after.substr(2, after.size() - 3);
  } else if (!after.empty()) {
    return std::nullopt;
  }
  return place;
}

RecordOutcome StrongerOutcome(RecordOutcome a, RecordOutcome b) { return Weight(b) > Weight(a) ? b : a; }

std::uint8_t* Ledger::Slot(std::string_view table, std::int64_t number) {
  if (number > kMostPlacedRecords) return nullptr;
  if (!last_.places || last_.table != table) {
    auto found = outcomes_.find(table);
    if (found == outcomes_.end()) found = outcomes_.emplace(std::string(table), std::vector<std::uint8_t>()).first;
    last_.table = std::string(table);
    last_.places = &found->second;
  }
  std::vector<std::uint8_t>& slots = *last_.places;
  if (static_cast<std::int64_t>(slots.size()) < number) slots.resize(static_cast<std::size_t>(number), 0);
  return &slots[static_cast<std::size_t>(number - 1)];
}

void Ledger::Recount(RecordOutcome from, RecordOutcome to) {
  --counts_[static_cast<int>(from)];
  ++counts_[static_cast<int>(to)];
}

void Ledger::Record(const std::string& record, const RecordResult& result) {
  auto place = ParseRecordPlace(record);
  if (place) {
    Record(place->table, place->number, result, record);
    return;
  }
  ++pass_reads_;
  ++read_;
  ++counts_[static_cast<int>(result.outcome)];
  if (Noted(result.outcome)) notes_.push_back({result.outcome, record, result.reason});
}

void Ledger::Record(std::string_view table, std::int64_t number, const RecordResult& result,
                    const std::string& record) {
  ++pass_reads_;
  if (IsSourceTable(table)) {
    if (std::uint8_t* slot = Slot(table, number)) {
      if (*slot != 0) {
        // Read before, in another pass: one record, one count.
        RecordOutcome before = OutcomeOf(*slot);
        RecordOutcome after = StrongerOutcome(before, result.outcome);
        if (after == before) return;
        Recount(before, after);
        *slot = SlotOf(after);
        if (Noted(before)) {
          std::map<std::pair<std::string, std::int64_t>, RecordOutcome> places{
              {{std::string(table), number}, RecordOutcome::Deleted}};
          DropNotes(places);
        }
        if (Noted(after)) notes_.push_back({after, record, result.reason});
        return;
      }
      *slot = SlotOf(result.outcome);
    }
  }
  ++read_;
  ++counts_[static_cast<int>(result.outcome)];
  if (Noted(result.outcome)) notes_.push_back({result.outcome, record, result.reason});
}

void Ledger::Tally(RecordOutcome outcome, std::int64_t count, const std::string& what) {
  read_ += count;
  expected_ += count;
  pass_reads_ += count;
  pass_expected_ += count;
  counts_[static_cast<int>(outcome)] += count;
  if (count > 0) notes_.push_back({outcome, what, std::to_string(count) + " rows"});
}

void Ledger::DropNotes(const std::map<std::pair<std::string, std::int64_t>, RecordOutcome>& places) {
  std::set<std::pair<std::string, std::int64_t>> kept;
  std::erase_if(notes_, [&](const LedgerNote& note) {
    auto place = ParseRecordPlace(note.record);
    if (!place) return false;
    std::pair<std::string, std::int64_t> where{std::string(place->table), place->number};
    auto found = places.find(where);
    if (found == places.end()) return false;
    if (note.outcome != found->second || kept.contains(where)) return true;
    kept.insert(where);
    return false;
  });
}

void Ledger::Merge(const Ledger& other) {
  read_ += other.read_;
  pass_reads_ += other.pass_reads_;
  pass_expected_ += other.pass_expected_;
  for (int i = 0; i < kRecordOutcomeCount; ++i) counts_[i] += other.counts_[i];
  notes_.insert(notes_.end(), other.notes_.begin(), other.notes_.end());

  // Records both read: each was counted twice above; it counts once, with the stronger outcome.
  std::map<std::pair<std::string, std::int64_t>, RecordOutcome> overlap;
  for (const auto& [table, theirs] : other.outcomes_) {
    std::vector<std::uint8_t>& mine = outcomes_[table];
    if (mine.size() < theirs.size()) mine.resize(theirs.size(), 0);
    for (std::size_t i = 0; i < theirs.size(); ++i) {
      if (theirs[i] == 0) continue;
      if (mine[i] == 0) {
        mine[i] = theirs[i];
        continue;
      }
      RecordOutcome a = OutcomeOf(mine[i]);
      RecordOutcome b = OutcomeOf(theirs[i]);
      RecordOutcome kept = StrongerOutcome(a, b);
      --counts_[static_cast<int>(a)];
      --counts_[static_cast<int>(b)];
      ++counts_[static_cast<int>(kept)];
      --read_;
      mine[i] = SlotOf(kept);
      overlap[{table, static_cast<std::int64_t>(i) + 1}] = kept;
    }
  }
  expected_ = overlap.empty() ? expected_ + other.expected_ : std::max(expected_, other.expected_);
  if (!overlap.empty()) DropNotes(overlap);
}

std::vector<std::string> Ledger::Tables() const {
  std::vector<std::string> tables;
  for (const auto& [table, slots] : outcomes_) tables.push_back(table);
  return tables;
}

}  // namespace qorvane::app
