// Look-ups in office.mdb (see lookups.h).
#include "data/lookups.h"

#include "data/fields.h"

#include <fmt/format.h>

#include <cctype>
#include <charconv>

namespace qorvane::data {
namespace {

std::string_view TrimBlanks(std::string_view text) {
  std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// Upper case of the ASCII letters; keys and SQL words are compared this way.
std::string Upper(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return upper;
}

// The number a text begins with, as the office's program read amounts (0 when none).
double LeadingNumber(std::string_view text) {
  std::string_view trimmed = TrimBlanks(text);
  double value = 0;
  std::from_chars(trimmed.data(), trimmed.data() + trimmed.size(), value);
  return value;
}

std::string Filter(const char* column, std::string_view value) {
  return std::string(column) + "='" + SqlQuote(value) + "'";
}

}  // namespace

std::string FilterFormClient(std::string_view value) { return Filter("FormClient", value); }
std::string FilterClient(std::string_view value) { return Filter("Client", value); }
std::string FilterOldCliNum(std::string_view value) { return Filter("OldCliNum", value); }
std::string FilterFormtype(std::string_view value) { return Filter("Formtype", value); }
std::string FilterForm(std::string_view value) { return Filter("Form", value); }
std::string FilterUser(std::string_view value) { return Filter("user", value); }
std::string FilterAppraiser(std::string_view value) { return Filter("Appraiser", value); }
std::string FilterFormAppraiser(std::string_view value) { return Filter("FormAppraiser", value); }
std::string FilterFileNumber(std::string_view value) { return Filter("FileNumber", value); }

std::string PadFileNumber(std::string_view number) {
  std::string key = Upper(TrimBlanks(number));
  if (key.size() < 10) key.insert(0, 10 - key.size(), ' ');
  return key;
}

std::string PadInvNum(std::string_view number) {
  std::string key(TrimBlanks(number));
  key.resize(10, ' ');
  return Upper(key);
}

namespace {

template <typename Control>
void Select(Control& control, const char* routine, std::string sql) {
  control.form().Guard(routine, [&] {
    control.RecordSource = std::move(sql);
    control.Refresh();
  });
}

std::string FileNumberKey(std::string_view number) { return SqlQuote(PadFileNumber(number)); }

}  // namespace

void SelectPropertyFileNumbers(AdoControl& control, std::string_view number) {
  Select(control, "SelectPropertyFileNumbers",
         TrimBlanks(number).empty() ? "Select filenumber from Property order by FILENUMBER"
                                    : "Select filenumber from Property where Filenumber='" + FileNumberKey(number) + "'");
}

void SelectInvoiceFileNumbers(AdoControl& control, std::string_view number) {
  Select(control, "SelectInvoiceFileNumbers",
         TrimBlanks(number).empty() ? "Select filenumber from Invoice order by FILENUMBER"
                                    : "Select filenumber from Invoice where Filenumber='" + FileNumberKey(number) + "'");
}

void SelectClient(AdoControl& control, std::string_view client, bool active_only) {
  std::string key = SqlQuote(Upper(TrimBlanks(client)));
  std::string sql;
  if (key.empty()) {
    sql = active_only ? "Select * from client where Active=-1" : "Select * from client";
  } else {
    sql = "Select * from client where client='" + key + "'" + (active_only ? " AND ACTIVE=-1" : "");
  }
  Select(control, "SelectClient", sql);
}

void SelectClientFee(AdoControl& control, std::string_view client, std::string_view form) {
  std::string_view trimmed_client = TrimBlanks(client);
  std::string_view trimmed_form = TrimBlanks(form);
  std::string sql;
  if (trimmed_client.empty() && trimmed_form.empty()) {
    sql = "Select * from clientfee";
  } else if (trimmed_form.empty()) {
    sql = "Select * from clientfee where client='" + SqlQuote(Upper(trimmed_client)) + "'";
  } else if (trimmed_client.empty()) {
    sql = "Select * from clientFee where Form='" + SqlQuote(trimmed_form) + "'";
  } else {
    sql = "Select * from clientFEE where FORMclient='" +
          SqlQuote(Upper(TrimBlanks(std::string(form) + std::string(client)))) + "'";
  }
  Select(control, "SelectClientFee", sql);
}

void SelectAssigned(AdoControl& control, std::string_view number) {
  Select(control, "SelectAssigned",
         TrimBlanks(number).empty() ? "Select * from Assigned"
                                    : "Select * from Assigned where FILENUMBER='" + FileNumberKey(number) + "'");
}

void SelectAssignedFileNumbers(AdoControl& control, std::string_view number) {
  Select(control, "SelectAssignedFileNumbers",
         TrimBlanks(number).empty() ? "Select filenumber from Assigned"
                                    : "Select FileNumber from Assigned where FILENUMBER='" + FileNumberKey(number) + "'");
}

void SelectProperty(AdoControl& control, std::string_view number) {
  Select(control, "SelectProperty",
         TrimBlanks(number).empty() ? "Select * from property"
                                    : "Select * from property where FILENUMBER='" + FileNumberKey(number) + "'");
}

void SelectProperty(DataControl& control, std::string_view number) {
  // Only the property control itself is given the source column; any other source control
  // gets the target's column, as the office's program did.
  std::string column = Upper(control.name()) == "DATPROPERTY" ? "FILE_NUM" : "FILENUMBER";
  Select(control, "SelectProperty",
         TrimBlanks(number).empty() ? "Select * from property"
                                    : "Select * from property where " + column + "='" + FileNumberKey(number) + "'");
}

void SelectInvoice(AdoControl& control, std::string_view number) {
  Select(control, "SelectInvoice",
         TrimBlanks(number).empty() ? "Select * from invoice"
                                    : "Select * from invoice where FILENUMBER='" + FileNumberKey(number) + "'");
}

void SelectInvoice(DataControl& control, std::string_view number) {
  std::string sql;
  if (TrimBlanks(number).empty()) {
    sql = "Select * from invoice";
  } else if (control.name() == "datinvoice") {
    sql = "Select * from INVOICE where INV_NUM='" + SqlQuote(PadInvNum(number)) + "'";
  } else {
    sql = "Select * from invoice where FILENUMBER='" + FileNumberKey(number) + "'";
  }
  Select(control, "SelectInvoice", sql);
}

void SelectClientExpenses(DataControl& control, std::string_view invoice_number) {
  Select(control, "SelectClientExpenses",
         "Select * from Cliexp where TRIM(UCASE(INV_NUM))='" + SqlQuote(invoice_number) + "'");
}

bool AdoFindfield(AdoControl& control, std::string_view table, std::string_view field, std::string_view value) {
  return control.form().Guard("AdoFindfield", [&] {
    control.RecordSource = "Select " + std::string(field) + " From " + std::string(table) + " where " +
                           std::string(field) + "='" + SqlQuote(value) + "'";
    control.Refresh();
    return !control.Recordset().eof();
  });
}

bool FindRecord(DataControl& control, std::string_view key, std::string_view field) {
  return control.form().Guard("FindRecord", [&] {
    if (TrimBlanks(key).empty()) return false;
    // A table that could not be opened was said once; a look-up in it finds nothing.
    if (control.Unreadable()) return false;
    foxpro::RecordSet& records = control.Recordset();
    records.SetIndex(std::string(field));
    std::optional<foxpro::RecordSet::Bookmark> before;
    if (!records.EndOfFile() && !records.BeginningOfFile()) before = records.GetBookmark();
    std::string padded = Trim2Size(control, key, field);
    if (records.Seek(padded)) return true;
    if (before) records.SetBookmark(*before);
    return false;
  });
}

std::string ReportFee(AdoControl& control) {
  return control.form().Guard("ReportFee", [&] {
    double total = 0;
    for (const char* field : {"ReportFee", "Desc1Amount", "Desc2Amount", "Desc3Amount"}) {
      total += LeadingNumber(adogetfield(control, field));
    }
    return fmt::format("{}", total);
  });
}

bool AdoPointAtField(AdoControl& control, std::string_view field, std::string_view value, bool refresh_first) {
  return control.form().Guard("AdoPointAtField", [&] {
    if (refresh_first) control.Refresh();
    jet::Recordset& records = control.Recordset();
    if (TrimBlanks(value).empty() || records.RecordCount() == 0) return false;
    records.MoveFirst();
    return records.Find(std::string(field) + "='" + SqlQuote(value) + "'");
  });
}

void SetFieldWhere(AdoControl& control, std::string_view table, std::string_view key_field,
                   std::string_view key_value, std::string_view field, std::string_view new_value) {
  control.form().Guard("SetFieldWhere", [&] {
    std::string key = Upper(key_field) == "FILENUMBER" ? PadFileNumber(key_value) : std::string(key_value);
    control.RecordSource = "Select * from " + std::string(table) + " where " + std::string(key_field) + "='" + key + "'";
    control.Refresh();
    AdoWriteField(control, new_value, field);
  });
}

void DeleteAllRows(AdoControl& control) {
  control.form().Guard("DeleteAllRows", [&] { ForEachRow(control, [&] { control.Recordset().Delete(); }); });
}

std::size_t ForEachRow(AdoControl& control, const std::function<void()>& visit) {
  jet::Recordset& rows = control.Recordset();
  std::size_t visited = 0;
  if (rows.eof() && rows.RecordCount() == 0) return 0;
  for (rows.MoveFirst(); !rows.eof(); rows.MoveNext(), ++visited) visit();
  return visited;
}

void MoveFirstIfAny(AdoControl& control) {
  control.form().Guard("MoveFirstIfAny", [&] {
    if (control.Recordset().RecordCount() > 0) control.Recordset().MoveFirst();
  });
}

std::string AdoReturnTextFieldNames(Connections& connections) {
  app::MainForm& form = connections.main_form();
  return form.Guard("AdoReturnTextFieldNames", [&] {
    jet::Database& database = connections.target_database().Open();
    std::string names;
    for (const jet::TableSummary& table : database.ListTables()) {
      if (Upper(table.name).rfind("MSYS", 0) == 0) continue;
      jet::Recordset columns(database, "Select * from [" + table.name + "] where 1=2");
      for (const jet::FieldInfo& field : columns.fields()) {
        if (field.type != jet::ColumnType::Text && field.type != jet::ColumnType::Memo) continue;
        names += (names.empty() ? "" : ",") + field.name;
      }
    }
    return names;
  });
}

std::string ParseFromClause(std::string_view sql) {
  std::string upper = Upper(sql);
  std::size_t from = upper.find("FROM ");
  if (from == std::string::npos) return "";
  std::size_t start = from + 5;
  std::size_t end = upper.find(' ', start);
  return upper.substr(start, end == std::string::npos ? std::string::npos : end - start);
}

std::string ReplaceAll(std::string_view text, std::string_view find, std::string_view with) {
  if (find.empty()) return std::string(text);
  std::string result;
  std::size_t start = 0;
  for (std::size_t at; (at = text.find(find, start)) != std::string_view::npos; start = at + find.size()) {
    result.append(text.substr(start, at - start));
    result.append(with);
  }
  result.append(text.substr(start));
  return result;
}

bool AdoFindRec(AdoControl& control, const std::string& criteria) {
  return control.form().Guard("AdoFindRec", [&] {
    control.Refresh();
    jet::Recordset& records = control.Recordset();
    if (records.eof() && records.RecordCount() == 0) return false;
    records.MoveFirst();
    records.Find(criteria);
    return !records.eof();
  });
}

}  // namespace qorvane::data
