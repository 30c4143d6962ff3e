// A whole office converted end to end: a sample source office of a few hundred orders, every
// step with the Preliminary Corrections and the massage, then office.mdb read with mdb-export
// and reconciled with the source tables read by python3-dbfread: every order, invoice, client
// number, appraiser and fee is in office.mdb or named, with its reason, in the log, a result
// list or the run's report; and the report's counts are what mdb-export counts.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <tuple>

#include "app/run_summary.h"
#include "data/file_numbers.h"
#include "sample/sample_office.h"
#include "test_support/office_run.h"
#include "test_support/sample_office.h"

namespace qorvane::convert {
namespace {

std::vector<std::string> SourceValues(const std::string& table, const std::string& field) {
  test::RequireOracle(test::Oracle::Dbfread);
  std::string script = std::string(QORVANE_SOURCE_DIR) + "/tests/convert/dbf_values.py";
  std::string out = test::Command("/usr/bin/python3 " + test::ShellQuote(script) + " " + test::ShellQuote(table) + " " + field);
  std::vector<std::string> values;
  for (std::size_t start = 0, end; (end = out.find('\n', start)) != std::string::npos; start = end + 1) {
    values.push_back(out.substr(start, end - start));
  }
  return values;
}

std::set<std::string> Trimmed(const std::vector<test::ExportedRow>& rows, const std::string& column) {
  std::set<std::string> values;
  for (const auto& row : rows) {
    std::string value = row.at(column);
    value.erase(0, value.find_first_not_of(' '));
    values.insert(value);
  }
  return values;
}

class WholeOffice : public ::testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::remove_all(run.source);
    sample::WriteSampleOffice(run.source, {.orders = 300, .seed = 7});
    run.Load();
    app::FormModel& form = run.model();
    form.CheckBoxes.fill(0);
    for (const app::StepInfo& step : app::ConversionSteps()) form.SetCheck(step.check_box, true);
    for (const app::MassageStepInfo& step : app::MassageSteps()) form.SetCheck(step.check_box, true);
    form.SetCheck(app::CheckBox::ckbMassage, true);
    form.SetCheck(app::CheckBox::ckbPrelim, true);
    log = run.Convert();
    for (const std::string& line : log) log_text += line + "\n";
    mdb = run.target + "/office.mdb";
  }

  // Whether TEXT is named in the log, a result list, or a skipped or refused record of the run.
  bool Named(const std::string& text) const {
    if (log_text.find(text) != std::string::npos) return true;
    for (const auto& list : {run.model().lstWasNotConverted, run.model().lstIllegalFilenumbers}) {
      for (const std::string& entry : list) {
        if (entry.find(text) != std::string::npos) return true;
      }
    }
    for (const auto& report : run.form().RunReport()) {
      for (const app::LedgerNote& note : report.result.ledger.notes()) {
        if (note.record.find(text) != std::string::npos) return true;
      }
    }
    return false;
  }

  const app::StepResult& Step(const std::string& name) const { return run.Report(name); }

  test::OfficeRun run;
  std::vector<std::string> log;
  std::string log_text, mdb;
};

TEST_F(WholeOffice, EveryRecordIsInOfficeMdbOrNamedWithItsReasonAndASecondRunAddsNothing) {
  ASSERT_EQ(run.form().outcome(), app::RunOutcome::Completed) << run.Notices();
  EXPECT_TRUE(app::RunSummaryProblems(run.form()).empty()) << app::RunSummaryText(run.form());

  // Orders and invoices, by their (corrected) numbers.
  std::set<std::string> orders = Trimmed(test::MdbExport(mdb, "Property"), "FileNumber");
  for (auto [file, field, table] : {std::tuple{"property.dbf", "File_num", "Property"}, {"invoice.dbf", "Inv_num", "Invoice"}}) {
    std::set<std::string> keys = Trimmed(test::MdbExport(mdb, table), "FileNumber");
    for (const std::string& number : SourceValues(run.source + "/" + file, field)) {
      std::string key = data::MakeFileNumberDashA(number);
      key.erase(0, key.find_first_not_of(' '));
      EXPECT_TRUE(keys.count(key) || Named(number)) << file << " " << number;
    }
  }

  // Client numbers: a row of their own (OldCliNum), or named.
  std::set<std::string> clients = Trimmed(test::MdbExport(mdb, "Client"), "OldCliNum");
  for (const std::string& number : SourceValues(run.source + "/client.dbf", "Cli_num")) {
    EXPECT_TRUE(clients.count(number) || Named(number)) << "client " << number;
  }

  // Appraisers and fees: every record read is added or skipped with its reason.
  std::size_t appraisers = SourceValues(run.source + "/appraisr.dbf", "App_num").size();
  EXPECT_EQ(Step("appraiser").ledger.read(), static_cast<std::int64_t>(appraisers));
  EXPECT_EQ(Step("appraiser").ledger.count(app::RecordOutcome::Added), static_cast<std::int64_t>(appraisers));
  EXPECT_GE(test::MdbExport(mdb, "Appraiser").size(), appraisers);
  for (const char* step : {"apprfee", "clientfee"}) {
    const app::Ledger& fees = Step(step).ledger;
    EXPECT_TRUE(fees.Complete()) << step;
    EXPECT_EQ(fees.read(), fees.count(app::RecordOutcome::Added) + fees.count(app::RecordOutcome::Skipped)) << step;
  }
  EXPECT_EQ(Step("apprfee").ledger.read(),
            static_cast<std::int64_t>(SourceValues(run.source + "/apprfee.dbf", "App_num").size()));

  // The report's rows per table are what an independent reader counts.
  for (const auto& [table, rows] : run.form().RowsCommitted()) {
    EXPECT_EQ(static_cast<std::int64_t>(test::MdbExport(mdb, table).size()), rows) << table;
  }
  EXPECT_EQ(run.form().RowsCommitted().at("Property"), static_cast<std::int64_t>(orders.size()));

  // A second run over the same target adds no orders, invoices or clients.
  app::TableCounts first = run.form().RowsCommitted();
  auto damage_lines = [](const std::vector<std::string>& lines) {
    return std::count_if(lines.begin(), lines.end(),
                         [](const std::string& line) { return line.find("is not a date") != std::string::npos; });
  };
  run.clock.Advance(60);
  std::vector<std::string> second_log = run.Convert();
  ASSERT_EQ(run.form().outcome(), app::RunOutcome::Completed) << run.Notices();
  // Each run's log is whole: the values read past are named again, once each.
  EXPECT_GT(damage_lines(log), 0);
  EXPECT_EQ(damage_lines(second_log), damage_lines(log));
  for (const char* table : {"Property", "Invoice", "Client", "Appraiser", "FormTypes", "Company"}) {
    EXPECT_EQ(run.form().RowsCommitted().at(table), first.at(table)) << table;
  }
}

}  // namespace
}  // namespace qorvane::convert
