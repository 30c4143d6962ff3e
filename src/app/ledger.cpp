// The ledger of a conversion step (see ledger.h).
#include "app/ledger.h"

namespace qorvane::app {

void Ledger::Record(const std::string& record, const RecordResult& result) {
  ++read_;
  ++counts_[static_cast<int>(result.outcome)];
  if (result.outcome == RecordOutcome::Skipped || result.outcome == RecordOutcome::Refused) {
    notes_.push_back({result.outcome, record, result.reason});
  }
}

void Ledger::Tally(RecordOutcome outcome, std::int64_t count, const std::string& what) {
  read_ += count;
  expected_ += count;
  counts_[static_cast<int>(outcome)] += count;
  if (count > 0) notes_.push_back({outcome, what, std::to_string(count) + " rows"});
}

void Ledger::Merge(const Ledger& other) {
  read_ += other.read_;
  expected_ += other.expected_;
  for (int i = 0; i < 6; ++i) counts_[i] += other.counts_[i];
  notes_.insert(notes_.end(), other.notes_.begin(), other.notes_.end());
}

}  // namespace qorvane::app
