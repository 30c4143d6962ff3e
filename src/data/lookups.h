// Look-ups in office.mdb as the converters make them: a filter built from one value, and a
// control positioned on the first row that matches it. The filters are the texts the office's
// look-ups always used (every value through SqlQuote); the search itself is a hash look-up in
// the engine, so it costs the same however large the table is.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "data/connections.h"
#include "data/controls.h"

namespace qorvane::data {

std::string FilterFormClient(std::string_view value);
std::string FilterClient(std::string_view value);
std::string FilterOldCliNum(std::string_view value);
std::string FilterFormtype(std::string_view value);
std::string FilterForm(std::string_view value);
std::string FilterUser(std::string_view value);
std::string FilterAppraiser(std::string_view value);
std::string FilterFormAppraiser(std::string_view value);
std::string FilterFileNumber(std::string_view value);

// Keys: the file number trimmed, upper-cased and right-justified in 10 characters (a longer
// one kept whole); the invoice number trimmed, cut or padded to 10 and upper-cased.
std::string PadFileNumber(std::string_view number);
std::string PadInvNum(std::string_view number);

// Fixed record sources.
inline constexpr const char* kFormTypesSource = "Select * from FormTypes";
inline constexpr const char* kAppraiserFeeSource = "Select * from AppraiserFee ORDER BY DisplayOrder";
inline constexpr const char* kClientFeeSource = "Select * from ClientFee ORDER BY DisplayOrder";

// Record-source selectors: each sets the control's RecordSource to the office's query and
// refreshes it. An empty key selects the whole table.
void SelectPropertyFileNumbers(AdoControl& control, std::string_view number);
void SelectInvoiceFileNumbers(AdoControl& control, std::string_view number);
void SelectClient(AdoControl& control, std::string_view client, bool active_only);
void SelectClientFee(AdoControl& control, std::string_view client, std::string_view form);
void SelectAssigned(AdoControl& control, std::string_view number);
void SelectAssignedFileNumbers(AdoControl& control, std::string_view number);
void SelectProperty(AdoControl& control, std::string_view number);
void SelectProperty(DataControl& control, std::string_view number);
void SelectInvoice(AdoControl& control, std::string_view number);
void SelectInvoice(DataControl& control, std::string_view number);
void SelectClientExpenses(DataControl& control, std::string_view invoice_number);

// Whether VALUE is in FIELD of TABLE (the control is pointed at the one-column query).
bool AdoFindfield(AdoControl& control, std::string_view table, std::string_view field, std::string_view value);
// Seeks KEY (padded to the field's size) on the index named FIELD of a source table; on no
// match the cursor stays where it was.
bool FindRecord(DataControl& control, std::string_view key, std::string_view field);
// ReportFee + Desc1Amount + Desc2Amount + Desc3Amount of the current row, as text.
std::string ReportFee(AdoControl& control);
// Positions CONTROL on the first row whose FIELD holds VALUE.
bool AdoPointAtField(AdoControl& control, std::string_view field, std::string_view value, bool refresh_first);
// Writes NEW_VALUE into FIELD of the rows of TABLE whose KEY_FIELD holds KEY_VALUE (the
// file-number key when KEY_FIELD is FILENUMBER) and saves.
void SetFieldWhere(AdoControl& control, std::string_view table, std::string_view key_field,
                   std::string_view key_value, std::string_view field, std::string_view new_value);
// Deletes every row of the control's record set; MoveFirstIfAny moves to the first row of a
// record set that has one.
void DeleteAllRows(AdoControl& control);
// Runs VISIT on each row of the control's record set in turn: the few rows a selector found
// for one record (a whole table is walked by the record loop, record_loop.h). Returns the
// number of rows visited.
std::size_t ForEachRow(AdoControl& control, const std::function<void()>& visit);
// Whether CONTROL stands on a row: the look-up or selector that just ran found one.
inline bool FoundRow(AdoControl& control) { return !control.Recordset().eof(); }
void MoveFirstIfAny(AdoControl& control);
// The names of the text columns of every user table of the target, comma-separated.
std::string AdoReturnTextFieldNames(Connections& connections);
// The table name after "FROM " of an SQL statement (upper-cased).
std::string ParseFromClause(std::string_view sql);
std::string ReplaceAll(std::string_view text, std::string_view find, std::string_view with);

// Refreshes CONTROL (a pending row is saved first); false when its record set is empty;
// otherwise moves to the first row and finds the first row matching CRITERIA. True when one
// was found: the control is then positioned on it.
bool AdoFindRec(AdoControl& control, const std::string& criteria);

}  // namespace qorvane::data
