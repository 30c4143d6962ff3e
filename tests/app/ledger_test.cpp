// The ledger counts each source record once, however many passes read it, so a step's line
// adds up: read = added + updated + unchanged + skipped + refused, and the notes of skipped and
// refused records are those of the records that end so.
#include <gtest/gtest.h>

#include "app/ledger.h"

namespace qorvane::app {
namespace {

using O = RecordOutcome;

RecordResult Result(O outcome, const std::string& reason = "") { return {outcome, reason}; }

// One pass over records 1..N of TABLE with the given outcomes (a stopped pass reads fewer
// than it found).
Ledger Pass(const std::string& table, std::vector<RecordResult> outcomes, std::int64_t found = -1) {
  Ledger ledger;
  ledger.Expect(found < 0 ? static_cast<std::int64_t>(outcomes.size()) : found);
  for (std::size_t i = 0; i < outcomes.size(); ++i) {
    ledger.Record(table + " record " + std::to_string(i + 1) + " (Cli_num " + std::to_string(100 + i) + ")", outcomes[i]);
  }
  return ledger;
}

std::int64_t SumOfOutcomes(const Ledger& ledger) {
  return ledger.count(O::Added) + ledger.count(O::Updated) + ledger.count(O::Unchanged) + ledger.count(O::Skipped) +
         ledger.count(O::Refused);
}

struct MergeCase {
  const char* name;
  Ledger first, second;
  std::int64_t read, added, unchanged, skipped, refused, expected;
  bool complete;
  std::vector<std::string> noted;  // the records the notes name, in order
};

TEST(Ledger, PassesOverTheSameRecordsCountEachRecordOnce) {
  std::vector<MergeCase> cases = {
      // The client step: by name, then by number. A client the first pass skipped as already
      // there is added by the second; one it added is found again (unchanged); a private person
      // is skipped by both; a failure in one pass stays a refusal.
      {"two passes over client.dbf",
       Pass("client.dbf", {Result(O::Added), Result(O::Skipped, "client already in Client"),
                           Result(O::Skipped, "a private person"), Result(O::Refused, "disk")}),
       Pass("client.dbf", {Result(O::Unchanged), Result(O::Added), Result(O::Skipped, "a private person"),
                           Result(O::Unchanged)}),
       4, 2, 0, 1, 1, 4, true,
       {"client.dbf record 3 (Cli_num 102)", "client.dbf record 4 (Cli_num 103)"}},
      // A second run: the first pass skips every client as already there, the second finds each.
      {"a second run", Pass("client.dbf", {Result(O::Skipped, "client already in Client"), Result(O::Skipped, "x")}),
       Pass("client.dbf", {Result(O::Unchanged), Result(O::Unchanged)}), 2, 0, 2, 0, 0, 2, true, {}},
      // One pass per listed file number: different records, so the counts add.
      {"passes over different tables", Pass("property.dbf", {Result(O::Added), Result(O::Skipped, "no file number")}),
       Pass("invoice.dbf", {Result(O::Added)}), 3, 2, 0, 1, 0, 3, true, {"property.dbf record 2 (Cli_num 101)"}},
      // Stopped in the second pass: every record was read once, but the step did not finish.
      {"a second pass stopped", Pass("client.dbf", {Result(O::Skipped, "client already in Client"), Result(O::Added)}),
       Pass("client.dbf", {Result(O::Added)}, 2), 2, 2, 0, 0, 0, 2, false, {}},
      // Target rows are numbered from 1 in each pass: never taken for the same row.
      {"target rows", Pass("Invoice", {Result(O::Updated)}), Pass("Invoice", {Result(O::Updated)}), 2, 0, 0, 0, 0, 2,
       true, {}},
  };
  for (MergeCase& test : cases) {
    SCOPED_TRACE(test.name);
    Ledger step;
    step.Merge(test.first);
    step.Merge(test.second);
    EXPECT_EQ(step.read(), test.read);
    EXPECT_EQ(SumOfOutcomes(step), step.read());
    EXPECT_EQ(step.count(O::Added), test.added);
    EXPECT_EQ(step.count(O::Unchanged), test.unchanged);
    EXPECT_EQ(step.count(O::Skipped), test.skipped);
    EXPECT_EQ(step.count(O::Refused), test.refused);
    EXPECT_EQ(step.expected(), test.expected);
    EXPECT_EQ(step.Complete(), test.complete);
    std::vector<std::string> noted;
    for (const LedgerNote& note : step.notes()) noted.push_back(note.record);
    EXPECT_EQ(noted, test.noted);
  }
}

TEST(Ledger, ARecordReadTwiceInOnePassCountsOnce) {
  Ledger ledger;
  ledger.Expect(2);
  ledger.Record("property.dbf record 7 (00-0001)", Result(O::Skipped, "no file number"));
  ledger.Record("property.dbf record 7 (00-0001)", Result(O::Added));
  EXPECT_EQ(ledger.read(), 1);
  EXPECT_EQ(ledger.count(O::Added), 1);
  EXPECT_TRUE(ledger.notes().empty());
}

TEST(RecordPlace, ReadsTableNumberAndKeyOfTheLoopsRecordNames) {
  auto place = ParseRecordPlace("client.dbf record 12 (Cli_num 5 (old))");
  ASSERT_TRUE(place);
  EXPECT_EQ(place->table, "client.dbf");
  EXPECT_EQ(place->number, 12);
  EXPECT_EQ(place->key, "Cli_num 5 (old)");
  EXPECT_EQ(ParseRecordPlace("Property record 3")->key, "");
  for (const char* unplaced : {"client.dbf Cli_num 5", "record 5", "x record 0", "x record 5 junk", "Assigned: every row"}) {
    EXPECT_FALSE(ParseRecordPlace(unplaced)) << unplaced;
  }
}

}  // namespace
}  // namespace qorvane::app
