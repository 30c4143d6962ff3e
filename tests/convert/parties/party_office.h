// A small source office for the party converters' tests: source tables written with the FoxPro
// engine's writer (in a chosen code page), a new office.mdb, whole runs of chosen steps as the
// command line runs them or converters called alone through the run layer (no program around
// them), and the results read back through mdb-export and the log.
#pragma once

#include <stdexcept>

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "app/ledger.h"
#include "data/context.h"
#include "foxpro/table_writer.h"
#include "../expect_cells.h"
#include "test_support/office_run.h"
#include "test_support/plain_run.h"
#include "test_support/sample_office.h"

namespace qorvane::convert {

inline foxpro::Value Fox(const std::string& text) { return test::FoxText(text); }
inline foxpro::Value FoxNumber(double number) {
  foxpro::Value value;
  value.kind = foxpro::Value::Kind::Number;
  value.number = number;
  return value;
}
inline foxpro::Value FoxLogical(bool flag) {
  foxpro::Value value;
  value.kind = foxpro::Value::Kind::Logical;
  value.logical = flag;
  return value;
}

// The source tables' layouts, as the office's tables have them.
inline std::vector<foxpro::FieldSpec> ClientFields() {
  return {{"CLI_NUM", 'C', 10},    {"CLI_LNAME", 'C', 50}, {"PLAIN_NAME", 'C', 50}, {"CLI_BILL", 'C', 10},
          {"CLI_STREET", 'C', 30}, {"CLI_ADDR2", 'C', 30}, {"CLI_ADDR3", 'C', 30},  {"CLI_PHONE", 'C', 14},
          {"CLI_EXT", 'C', 5},     {"CLI_CONT", 'C', 30},  {"CLI_FAX", 'C', 14},    {"DUNS", 'C', 12},
          {"PREF_BILL", 'L', 1}};
}

// One client.dbf record; the fields not given are blank.
struct ClientRecord {
  std::string number = {}, name = {}, printed_name = {}, bill_to = {}, street = {}, addr2 = {}, addr3 = {},
              phone = {}, ext = {}, contact = {}, fax = {}, duns = {};
  bool preferred_billing = false;
  std::vector<foxpro::Value> Values() const {
    return {Fox(number), Fox(name),   Fox(printed_name), Fox(bill_to), Fox(street), Fox(addr2), Fox(addr3),
            Fox(phone),  Fox(ext),    Fox(contact),      Fox(fax),     Fox(duns),
            FoxLogical(preferred_billing)};
  }
};

class PartyOfficeTest : public ::testing::Test, public test::OfficeRun {
 protected:
  PartyOfficeTest() {
    // The run needs the property table; the form types step needs the forms table.
    test::WriteFoxTable(source + "/PROPERTY.DBF", {{"FILE_NUM", 'C', 10}, {"CLI_NUM", 'C', 10}}, {});
  }

  void WriteTable(const std::string& file, std::vector<foxpro::FieldSpec> fields,
                  const std::vector<std::vector<foxpro::Value>>& rows, int code_page = 437) {
    foxpro::NewTableOptions options;
    options.code_page = code_page;
    foxpro::TableCreator creator(source + "/" + file, std::move(fields), options);
    for (const auto& row : rows) creator.Append(row);
    creator.Finish();
  }

  void WriteClients(const std::vector<ClientRecord>& records, int code_page = 437) {
    std::vector<std::vector<foxpro::Value>> rows;
    for (const ClientRecord& record : records) rows.push_back(record.Values());
    WriteTable("CLIENT.DBF", ClientFields(), rows, code_page);
  }

  // One run of STEPS alone, as the command line runs it; the log of this run is kept.
  void Run(std::initializer_list<app::CheckBox> steps) {
    Load();
    for (app::CheckBox step : steps) model().SetCheck(step, true);
    log = Convert();
    ASSERT_EQ(form().outcome(), app::RunOutcome::Completed);
    if (getenv("QORVANE_SHOW_LOG")) {
      for (const std::string& line : log) std::cerr << line << "\n";
    }
    clock.Advance(60);  // the next run writes a log of its own
  }

  // The CONVERTERS of one step called in turn through the run layer alone, with office.mdb put in
  // place after them; their results merged as the run merges a step's. The layer's log and
  // failures are kept.
  app::StepResult RunConverters(std::initializer_list<app::StepResult (*)(data::Context&)> converters) {
    test::PlainRun run(source, target);
    app::StepResult step;
    for (auto converter : converters) {
      app::StepResult result = converter(run.context);
      step.ledger.Merge(result.ledger);
      if (result.shown_count) step.shown_count = result.shown_count;
    }
    run.Finish();
    log = run.layer.log;
    failures = run.layer.failures;
    return step;
  }

  std::vector<test::ExportedRow> Rows(const std::string& table) const {
    return test::MdbExport(target + "/office.mdb", table);
  }
  // The rows of TABLE by the value of COLUMN (each value expected once).
  std::map<std::string, test::ExportedRow> RowsBy(const std::string& table, const std::string& column) const {
    std::map<std::string, test::ExportedRow> rows;
    for (auto& row : Rows(table)) {
      EXPECT_EQ(rows.count(row[column]), 0u) << table << " has " << column << " " << row[column] << " twice";
      rows[row[column]] = row;
    }
    return rows;
  }

  // The log lines from the first that begins with FIRST up to the next "Begin" line or the
  // end of the steps.
  std::vector<std::string> StepLines(const std::string& first) const {
    std::vector<std::string> lines;
    for (const std::string& line : log) {
      if (lines.empty() && line.rfind(first, 0) != 0) continue;
      if (!lines.empty() && (line.rfind("Begin", 0) == 0 || line.empty())) break;
      lines.push_back(line);
    }
    return lines;
  }

  // The ledger of the STEP-th conversion step that ran (preparations not counted).
  const app::Ledger& StepLedger(std::size_t step = 0) const {
    for (const auto& report : program.main_form->RunReport()) {
      if (report.kind != app::MainForm::ReportKind::Step) continue;
      if (step-- == 0) return report.result.ledger;
    }
    throw std::out_of_range("no such step in the run");
  }

  std::vector<std::string> log, failures;
};

}  // namespace qorvane::convert
