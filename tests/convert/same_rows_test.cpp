// The rows a whole conversion writes, pinned: a 300-order sample office (seed 7), every step with
// the Preliminary Corrections and the massage, each table of office.mdb exported by mdb-export,
// sorted and hashed. The digests are those of the record-set data path this program had before
// its look-ups were prepared and its rows typed (the two builds gave the same rows, table by
// table, here and at 10,000 orders), so a change to the data path that changes one cell of one
// row names its table here. A change meant to change the rows updates its digest in the same
// commit, saying why.
#include <gtest/gtest.h>

#include <map>

#include "sample/sample_office.h"
#include "test_support/office_run.h"
#include "test_support/oracles.h"
#include "test_support/run_command.h"
#include "test_support/sample_office.h"

namespace qorvane::convert {
namespace {

TEST(SameRows, AWholeRunWritesTheRowsTheRecordSetPathWrote) {
  test::RequireOracle(test::Oracle::Mdbtools);
  test::OfficeRun run;
  std::filesystem::remove_all(run.source);
  sample::WriteSampleOffice(run.source, {.orders = 300, .seed = 7});
  run.Load();
  app::FormModel& form = run.model();
  form.CheckBoxes.fill(0);
  for (const app::StepInfo& step : app::ConversionSteps()) form.SetCheck(step.check_box, true);
  for (const app::MassageStepInfo& step : app::MassageSteps()) form.SetCheck(step.check_box, true);
  form.SetCheck(app::CheckBox::ckbMassage, true);
  form.SetCheck(app::CheckBox::ckbPrelim, true);
  run.Convert();
  const std::map<std::string, std::string> expected = {
      {"Property", "6a7f5832807fb6d3"},     {"Invoice", "c0e5e0b5361c7b55"},  {"Assigned", "e9024f4377c64102"},
      {"Client", "9d1f46e28ad30544"},       {"ClientContact", "de1167f4b6a69e46"},
      {"ClientFee", "619133844f55f248"},    {"Appraiser", "a42d5c31a5dd1488"},
      {"AppraiserFee", "995888f7109839b8"}, {"FormTypes", "bd6fb4461096981b"}, {"Company", "8997e22c9504231c"},
      {"users", "7cc9068bd4497c1c"},        {"usercontrol", "341466644acc64a8"},
  };
  const std::string mdb = test::ShellQuote(run.target + "/office.mdb");
  for (const auto& [table, digest] : expected) {
    std::string actual = test::Command("mdb-export " + mdb + " " + table + " | LC_ALL=C sort | sha256sum | cut -c1-16");
    if (!actual.empty() && actual.back() == '\n') actual.pop_back();
    EXPECT_EQ(actual, digest) << table << ": its rows differ from the record-set path's ("
                              << test::Command("mdb-count " + mdb + " " + table) << " rows now)";
  }
}

}  // namespace
}  // namespace qorvane::convert
