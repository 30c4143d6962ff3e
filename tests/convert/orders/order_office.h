// A small source office for the order converters, written with the FoxPro engine's table
// creator: property, invoice, client expenses, appraiser expenses, applied payments and the
// appraiser table, records given as column maps. Also runs of the whole program over it into a
// new office.mdb, the target read back through mdb-export, and the source and target edits the
// tests need between runs (a stored value patched in a .dbf, one cell of office.mdb changed).
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "jet/database.h"
#include "../expect_cells.h"
#include "test_support/office_run.h"
#include "test_support/sample_office.h"

namespace qorvane::convert::test_orders {

using Record = std::map<std::string, foxpro::Value>;

inline foxpro::Value Text(const std::string& text) { return test::FoxText(text); }
inline foxpro::Value Number(double value) {
  foxpro::Value v;
  v.kind = foxpro::Value::Kind::Number;
  v.number = value;
  return v;
}
inline foxpro::Value Day(int year, int month, int day) {
  foxpro::Value v;
  v.kind = foxpro::Value::Kind::Date;
  v.date = {year, month, day};
  return v;
}

inline const std::vector<foxpro::FieldSpec>& PropertyFields() {
  static const std::vector<foxpro::FieldSpec> fields = {
      {"FILE_NUM", 'C', 10},   {"INV_NUM", 'C', 10},    {"CLI_NUM", 'C', 10},    {"PR_REF_NUM", 'C', 20}, {"PR_FHA_NUM", 'C', 20},
      {"PR_CENSUS", 'C', 10},  {"PR_STREET", 'C', 60},  {"PR_CITY", 'C', 30},    {"PR_COUNTY", 'C', 30},
      {"PR_STATE", 'C', 2},    {"PR_ZIP", 'C', 10},     {"PR_SUBDIV", 'C', 40},  {"PR_OWNER", 'C', 50},
      {"PR_BPHON2", 'C', 25},  {"PR_BORROWR", 'C', 50}, {"PR_BPHON1", 'C', 25},  {"PR_MAP_REF", 'C', 30},
      {"PR_CONT2", 'C', 50},   {"PR_REPCOST", 'N', 12, 2}, {"PR_BORREST", 'N', 12, 2}, {"PR_LOANREQ", 'N', 12, 2},
      {"PR_APPRVAL", 'N', 12, 2}, {"ASS_TYPE", 'C', 10}, {"PR_CONT1", 'C', 50},  {"PR_C1_PHON", 'C', 20},
      {"PR_C1_EXT", 'C', 6},   {"PR_LOT", 'C', 10},     {"PR_BLOCK", 'C', 10},   {"PR_LANDLOT", 'C', 10},
      {"PR_LANDIST", 'C', 10}, {"PR_SECT", 'C', 10},    {"PR_DEEDBK", 'C', 10},  {"PR_DEEDPG", 'C', 10},
      {"PR_PLATBK", 'C', 10},  {"PR_PLATPG", 'C', 10},  {"PR_DRECEIV", 'D'},     {"PR_DPROMIS", 'D'},
      {"PR_DASSIGN", 'D'},     {"PR_DONHOLD", 'D'},     {"PR_DOFFHLD", 'D'},     {"PR_DFINISH", 'D'},
      {"PR_DNSPECT", 'D'},     {"PR_DREVIEW", 'D'},     {"PR_DSALE", 'D'},       {"PR_STCOMM", 'M'},
      {"PR_HOLDCOM", 'M'},     {"PR_COMM", 'M'},
  };
  return fields;
}

inline const std::vector<foxpro::FieldSpec>& InvoiceFields() {
  static const std::vector<foxpro::FieldSpec> fields = {
      {"INV_NUM", 'C', 10},  {"INV_DATE", 'D'},       {"INV_DETL1", 'C', 40}, {"INV_DETL2", 'C', 40},
      {"INV_CHK1", 'C', 20}, {"INV_DATE1", 'D'},      {"INV_CHK2", 'C', 20},  {"INV_DATE2", 'D'},
      {"INV_CHK3", 'C', 20}, {"INV_DATE3", 'D'},      {"INV_AMT1", 'N', 10, 2}, {"INV_AMT2", 'N', 10, 2},
      {"INV_AMT3", 'N', 10, 2}, {"INV_FEE", 'N', 10, 2}, {"INV_EXP", 'N', 10, 2},
  };
  return fields;
}

inline const std::vector<foxpro::FieldSpec>& ClientExpenseFields() {
  static const std::vector<foxpro::FieldSpec> fields = {
      {"INV_NUM", 'C', 10}, {"EXP_TYPE", 'C', 4}, {"EXP_DESC", 'C', 40}, {"EXP_AMT", 'N', 10, 2}};
  return fields;
}

inline const std::vector<foxpro::FieldSpec>& ApprExpFields() {
  static const std::vector<foxpro::FieldSpec> fields = {
      {"FILE_NUM", 'C', 10}, {"APP_NUM", 'C', 6}, {"EXP_NUM", 'C', 4}, {"EXP_AMT", 'N', 10, 2}};
  return fields;
}

inline const std::vector<foxpro::FieldSpec>& AppliedFields() {
  static const std::vector<foxpro::FieldSpec> fields = {
      {"FILE_NUM", 'C', 10}, {"APP_NUM", 'C', 6},      {"SPLIT_BOOL", 'L'},
      {"SPLIT_VAL", 'N', 10, 2}, {"PD_APPR", 'N', 10, 2}, {"PAY_FEE", 'N', 10, 2}};
  return fields;
}

inline const std::vector<foxpro::FieldSpec>& AppraiserFields() {
  static const std::vector<foxpro::FieldSpec> fields = {{"APP_NUM", 'C', 6}, {"APP_LNAME", 'C', 30}};
  return fields;
}

// Writes RECORDS as the table at PATH with FIELDS; columns a record does not name are blank.
inline void WriteTable(const std::string& path, const std::vector<foxpro::FieldSpec>& fields,
                       const std::vector<Record>& records) {
  std::vector<std::vector<foxpro::Value>> rows;
  for (const Record& record : records) {
    std::vector<foxpro::Value> row;
    for (const foxpro::FieldSpec& field : fields) {
      auto found = record.find(field.name);
      row.push_back(found == record.end() ? foxpro::Value() : found->second);
    }
    rows.push_back(std::move(row));
  }
  test::WriteFoxTable(path, fields, rows);
}

// Replaces the one occurrence of FIND in the file at PATH with REPLACEMENT (same length): a
// stored value no writer would write.
inline void PatchBytes(const std::string& path, const std::string& find, const std::string& replacement) {
  ASSERT_EQ(find.size(), replacement.size());
  std::ifstream in(path, std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  in.close();
  std::size_t at = bytes.find(find);
  ASSERT_NE(at, std::string::npos) << find;
  ASSERT_EQ(bytes.find(find, at + 1), std::string::npos) << find << " is not unique";
  bytes.replace(at, find.size(), replacement);
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

struct Source {
  std::vector<Record> property, invoice, cliexp, apprexp, applied, appraisers;
};

class OrdersTest : public ::testing::Test, public test::OfficeRun {
 protected:
  void Write(const Source& office) {
    WriteTable(source + "/PROPERTY.DBF", PropertyFields(), office.property);
    WriteTable(source + "/INVOICE.DBF", InvoiceFields(), office.invoice);
    WriteTable(source + "/CLIEXP.DBF", ClientExpenseFields(), office.cliexp);
    WriteTable(source + "/APPREXP.DBF", ApprExpFields(), office.apprexp);
    WriteTable(source + "/APPLIED.DBF", AppliedFields(), office.applied);
    WriteTable(source + "/APPRAISR.DBF", AppraiserFields(), office.appraisers);
    // The form-types step needs its two tables to write the standard form types.
    test::WriteFoxTable(source + "/FORMS.DBF", {{"FORM_TYPE", 'C', 10}, {"FORM_DESC", 'C', 40}}, {});
    test::WriteFoxTable(source + "/ASSIGN.DBF", {{"FILE_NUM", 'C', 10}}, {});
  }

  // One run with the conversion STEPS and the massage MASSAGE (words as --steps and --massage
  // take them), limited to FILES when given, with the preliminary corrections when PRELIMINARY.
  // Returns the run's log lines.
  std::vector<std::string> Run(const std::vector<app::Step>& steps, const std::vector<app::MassageStep>& massage = {},
                               const std::vector<std::string>& files = {}, bool preliminary = false) {
    app::FormModel& form = Load().form();
    form.SetCheck(app::CheckBox::ckbPrelim, preliminary);
    for (app::Step step : steps) form.SetCheck(app::InfoOf(step).check_box, true);
    for (app::MassageStep step : massage) form.SetCheck(app::InfoOf(step).check_box, true);
    if (!massage.empty()) form.SetCheck(app::CheckBox::ckbMassage, true);
    form.lstfilenum = files;
    std::vector<std::string> log = Convert();
    EXPECT_EQ(program.main_form->outcome(), app::RunOutcome::Completed);
    return log;
  }

  std::string Office() const { return target + "/office.mdb"; }

  // Dates as M/D/YYYY.
  std::vector<test::ExportedRow> Rows(const std::string& table) const {
    return test::MdbExport(Office(), table, "-D '%-m/%-d/%Y' -T '%-m/%-d/%Y'");
  }

  // The rows of TABLE by the trimmed value of COLUMN.
  std::map<std::string, test::ExportedRow> RowsBy(const std::string& table, const std::string& column) const {
    std::map<std::string, test::ExportedRow> rows;
    for (auto& row : Rows(table)) {
      std::string key = row[column];
      key.erase(0, key.find_first_not_of(' '));
      rows[key] = row;
    }
    return rows;
  }

  // The file numbers of the Assigned rows that hold payments (description code 0).
  std::set<std::string> PaidFileNumbers() const {
    std::set<std::string> paid;
    for (auto& [key, row] : RowsBy("Assigned", "FileNumberCodeAppraiser")) {
      if (row["DescCode"] == "0") paid.insert(row["FileNumber"]);
    }
    return paid;
  }

  // Writes VALUE into COLUMN of every row of TABLE whose MATCH column holds MATCH_VALUE.
  void SetCell(const std::string& table_name, const std::string& match, const std::string& match_value,
               const std::string& column, jet::Value value) {
    auto database = jet::Database::Open(Office(), {.open_for = jet::OpenFor::Writing});
    jet::Table& table = database->GetTable(table_name);
    std::size_t match_at = 0, column_at = 0;
    for (std::size_t i = 0; i < table.columns().size(); ++i) {
      if (table.columns()[i].name == match) match_at = i;
      if (table.columns()[i].name == column) column_at = i;
    }
    for (auto row = table.FirstRow(); row; row = table.NextRow(*row)) {
      std::vector<jet::Value> values = table.ReadRow(*row);
      if (values[match_at].bytes != match_value) continue;
      values[column_at] = value;
      table.Update(*row, std::move(values));
    }
    database->Commit();
  }

  const app::Ledger& Ledger(const std::string& step) const {
    for (const auto& report : program.main_form->RunReport()) {
      if (report.name == step && report.kind != app::MainForm::ReportKind::Preparation) return report.result.ledger;
    }
    throw std::runtime_error("the step " + step + " did not run");
  }

  static bool Has(const std::vector<std::string>& lines, const std::string& line) {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
  }
  // The lines that begin with PREFIX, in order.
  static std::vector<std::string> LinesStarting(const std::vector<std::string>& lines, const std::string& prefix) {
    std::vector<std::string> found;
    for (const std::string& line : lines) {
      if (line.rfind(prefix, 0) == 0) found.push_back(line);
    }
    return found;
  }

};

}  // namespace qorvane::convert::test_orders
