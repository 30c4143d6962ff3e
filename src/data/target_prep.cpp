// Preparing office.mdb (see target_prep.h).
#include "data/target_prep.h"

#include "common/text.h"
#include "data/connections.h"
#include "data/file_numbers.h"
#include "data/lookups.h"
#include "data/record_loop.h"
#include "jet/recordset.h"

namespace qorvane::data {
namespace {

using app::CheckBox;
using app::TargetControl;

// "DELETE FROM [<office.mdb>].[<table>]": the form that names the database in the statement.
std::string DeleteFrom(Context& context, std::string_view table) {
  return "DELETE FROM [" + context.Paths().target_file + "].[" + std::string(table) + "]";
}

std::int64_t Execute(Context& context, const std::string& sql) {
  jet::Database& database = context.connections().target_database().Open();
  return static_cast<std::int64_t>(jet::Execute(database, sql));
}

// Puts a control back on the record source AdoConnect gave it, after a clearing pointed it
// elsewhere, so that the converters after it see the whole table again.
void Rebind(AdoControl& control, std::string record_source) {
  control.RecordSource = std::move(record_source);
  control.Refresh();
}

struct TableClear {
  CheckBox box;
  const char* table;
  const char* log_line;  // nullptr: none
};

constexpr TableClear kWholeTables[] = {
    {CheckBox::ckbClearAppraiser, "Appraiser", "Appraiser table cleared from office.mdb"},
    {CheckBox::ckbclearapprfee, "Appraiserfee", "Appraiserfee table cleared from office.mdb"},
    {CheckBox::ckbClearClient, "Client", "Client table cleared from office.mdb"},
    {CheckBox::ckbClearClient, "ClientContact", nullptr},
    {CheckBox::ckbclearclientfee, "ClientFee", "ClientFee table cleared from office.mdb"},
    {CheckBox::ckbclearcompany, "Company", "Company table cleared from office.mdb"},
};

// Assigned, invoices and property: the whole table, or only the "-A" rows of the listed file
// numbers. (Assigned follows the other two when the run is limited to a list: a run that
// converts only the listed orders again clears only their expenses and payments.)
struct OrderClear {
  CheckBox box;
  const char* table;
  const char* log_line;
  TargetControl control;
};

constexpr OrderClear kAssigned = {CheckBox::ckbclearapplied, "Assigned", "Assigned table cleared from office.mdb",
                                  TargetControl::adoassigned};
constexpr OrderClear kOrderTables[] = {
    {CheckBox::ckbclearinvoice, "Invoice", "Invoice table cleared from office.mdb", TargetControl::adoinvoice},
    {CheckBox::ckbClearProperty, "Property", "Property table cleared from office.mdb", TargetControl::adoproperty},
};

void ClearWholeTable(Context& context, app::Ledger& ledger, const char* table, const char* log_line) {
  std::int64_t deleted = DeleteAllRecords(context, table);
  ledger.Tally(app::RecordOutcome::Deleted, deleted, std::string(table) + ": every row");
  if (log_line) context.Log(log_line);
}


// An order table: whole, or (limited to listed numbers) only their rows, without the whole
// table's log line; the control then sees its whole table again.
void ClearOrderTable(Context& context, app::Ledger& ledger, const OrderClear& clear) {
  if (context.FileNumbers().empty()) {
    ClearWholeTable(context, ledger, clear.table, clear.log_line);
    return;
  }
  ledger.Merge(DeleteListedFileNumbers(context, clear.table).ledger);
  // The control sees its table again without the deleted rows.
  AdoControl& control = context.Target(clear.control);
  context.Guard("ClearSelectedTables", [&] { Rebind(control, control.RecordSource); });
}

// Each statement's table and blank column.
struct EmptyKey {
  const char* table;
  const char* column;
};

constexpr EmptyKey kEmptyKeys[] = {
    {"property", "filenumber"}, {"invoice", "filenumber"},   {"assigned", "filenumber"},
    {"client", "client"},       {"clientcontact", "client"}, {"clientfee", "client"},
    {"clientfee", "form"},      {"appraiserfee", "appraiser"}, {"Appraiserfee", "form"},
    {"appraiser", "appraiser"}, {"usercontrol", "user"},     {"usercontrol", "rights"},
    {"usercontrol", "control"}, {"users", "user"},           {"users", "rights"},
    {"users", "password"},
};

}  // namespace

std::int64_t DeleteAllRecords(Context& context, std::string_view table) {
  return context.Guard("DeleteAllRecords", [&] { return Execute(context, DeleteFrom(context, table)); });
}

app::StepResult ClearData(Context& context, AdoControl& control) {
  RecordLoop loop;
  loop.routine = "ClearData";
  loop.target = &control;
  loop.counter_in_label = false;
  return RunRecordLoop(context, loop, [&] {
    control.Recordset().Delete();
    return app::RecordResult{app::RecordOutcome::Deleted, {}};
  });
}

app::StepResult DeleteListedFileNumbers(Context& context, std::string_view table_name) {
  app::StepResult result;
  const std::vector<std::string>& numbers = context.FileNumbers();
  // The payments step converts the last listed number only, so in Assigned the payment rows
  // ("Converted Form Payment", code "0") of the other listed numbers stay: nothing in this run
  // would convert them again. Their expense and assignment rows go.
  const bool assigned = text::UCase(table_name) == "ASSIGNED";
  const bool payments_converted = context.run().form().Checked(CheckBox::ckbApplied);
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    context.Guard("DeleteListedFileNumbers", [&] {
      TargetTable& table = context.Table(table_name);
      const TargetColumn file_number = table.Column("FileNumber");
      const std::string key = MakeFileNumberDashA(numbers[i]);
      std::vector<jet::RowId> rows = table.FindAll(file_number, key);
      if (assigned && (!payments_converted || i + 1 != numbers.size())) {
        const TargetColumn description = table.Column("Description");
        const TargetColumn code = table.Column("DescCode");
        std::erase_if(rows, [&](jet::RowId row) {
          return table.Text(row, description) == "Converted Form Payment" && table.Text(row, code) == "0";
        });
      }
      DeleteAllRows(table, rows);
      result.ledger.Tally(app::RecordOutcome::Deleted, static_cast<std::int64_t>(rows.size()),
                          table.name() + ": the rows of file number " + numbers[i]);
    });
  }
  return result;
}

app::StepResult ClearSelectedTables(Context& context) {
  app::StepResult result;
  context.Guard("ClearSelectedTables", [&] {
    const app::FormModel& form = context.run().form();
    context.Log("Clearing Selected Office.MDB tables (listed below if any)");
    if (form.Checked(CheckBox::ckbClearFormTypes)) {
      AdoControl& formtypes = context.Target(TargetControl::adoformtypes);
      context.Guard("ClearSelectedTables", [&] {
        formtypes.RecordSource = "Select * from FormTypes where Standard=0";
        formtypes.Refresh();
        result.ledger.Merge(ClearData(context, formtypes).ledger);
        Rebind(formtypes, kFormTypesSource);
      });
      context.Log("Non-Standard records from Formtypes table cleared from office.mdb");
    }
    if (form.Checked(kAssigned.box)) ClearOrderTable(context, result.ledger, kAssigned);
    for (const TableClear& clear : kWholeTables) {
      if (form.Checked(clear.box)) ClearWholeTable(context, result.ledger, clear.table, clear.log_line);
    }
    for (const OrderClear& clear : kOrderTables) {
      if (form.Checked(clear.box)) ClearOrderTable(context, result.ledger, clear);
    }
    if (form.Checked(CheckBox::ckbclearsystem)) {
      ClearWholeTable(context, result.ledger, "Users", "Users table cleared from office.mdb");
    }
  });
  return result;
}

app::StepResult DeleteEmptyFilenumbers(Context& context) {
  app::StepResult result;
  for (const EmptyKey& key : kEmptyKeys) {
    // Each statement on its own: a table or column this office.mdb lacks is reported and the
    // others still run.
    context.Guard("DeleteEmptyFilenumbers", [&] {
      std::string sql = DeleteFrom(context, key.table) + " WHERE trim(" + key.column + ")=''";
      std::int64_t deleted = Execute(context, sql);
      result.ledger.Tally(app::RecordOutcome::Deleted, deleted,
                          std::string(key.table) + ": rows whose " + key.column + " is blank");
    });
  }
  return result;
}

}  // namespace qorvane::data
