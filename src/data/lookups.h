// Look-ups, under the office's names for them. In office.mdb: a filter (the column a look-up
// compares and the value it looks for) answered by the column's prepared hash look-up, and the
// selectors of an order's rows by file number; no SQL text, no record set, no row decoded to
// learn whether a key is there. Jet's '=' is kept: text compares without regard to case or
// trailing blanks. In a source table: a control positioned on the record whose indexed field
// holds a key.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "data/target_table.h"

namespace qorvane::data {

class DataControl;

// A look-up's filter: COLUMN = VALUE. The value goes in as the column stores it: the caller
// trims, upper-cases and cuts a key as the row that holds it was written.
struct Filter {
  const TargetColumn& column;
  std::string_view value;
};
// The office's filters, each on the column it is named after.
inline Filter FilterClient(const TargetColumn& client, std::string_view value) { return {client, value}; }
inline Filter FilterOldCliNum(const TargetColumn& old_cli_num, std::string_view value) { return {old_cli_num, value}; }
inline Filter FilterFormtype(const TargetColumn& form_type, std::string_view value) { return {form_type, value}; }
inline Filter FilterAppraiser(const TargetColumn& appraiser, std::string_view value) { return {appraiser, value}; }
inline Filter FilterUser(const TargetColumn& user, std::string_view value) { return {user, value}; }
inline Filter FilterFormAppraiser(const TargetColumn& form_appraiser, std::string_view value) {
  return {form_appraiser, value};
}
inline Filter FilterFormClient(const TargetColumn& form_client, std::string_view value) { return {form_client, value}; }

// The first row of TABLE, in table order, that FILTER finds; nullopt when none does (or the
// table lacks the column).
inline std::optional<jet::RowId> AdoFindRec(TargetTable& table, const Filter& filter) {
  return table.Find(filter.column, filter.value);
}

// Whether any row of TABLE holds VALUE in FIELD.
inline bool AdoFindfield(TargetTable& table, const TargetColumn& field, std::string_view value) {
  return table.Find(field, value).has_value();
}
// Deletes ROWS of TABLE (the rows a look-up or a selector found).
inline void DeleteAllRows(TargetTable& table, const std::vector<jet::RowId>& rows) {
  for (jet::RowId row : rows) table.Delete(row);
}

// An order's rows by its file-number KEY as stored (MakeFileNumber's form, which the caller
// built): its first Property row, its first Invoice row, and its Assigned rows in table order.
inline std::optional<jet::RowId> SelectProperty(TargetTable& property, const TargetColumn& file_number,
                                                std::string_view key) {
  return property.Find(file_number, key);
}
inline std::optional<jet::RowId> SelectInvoice(TargetTable& invoice, const TargetColumn& file_number,
                                               std::string_view key) {
  return invoice.Find(file_number, key);
}
inline std::vector<jet::RowId> SelectAssigned(TargetTable& assigned, const TargetColumn& file_number,
                                              std::string_view key) {
  return assigned.FindAll(file_number, key);
}

// The record source the form-types control is given back after a clearing.
inline constexpr const char* kFormTypesSource = "Select * from FormTypes";

// Seeks KEY (padded to the field's size) on the index named FIELD of a source table; on no
// match the cursor stays where it was.
bool FindRecord(DataControl& control, std::string_view key, std::string_view field);

}  // namespace qorvane::data
