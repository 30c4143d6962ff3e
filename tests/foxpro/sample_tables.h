// Small source tables written by the engine's own writer for the record set and write-back
// tests: a property table with memos, a deleted record and a structural index, and a client
// table with duplicate keys.
#pragma once

#include <string>

#include "foxpro/table_writer.h"

namespace qorvane::foxpro::test {

inline Value Text(std::string text) { return Value{Value::Kind::Text, std::move(text), 0, {}, false}; }
inline Value Number(double number) { return Value{Value::Kind::Number, "", number, {}, false}; }
inline Value DateValue(int year, int month, int day) { return Value{Value::Kind::Date, "", 0, Date{year, month, day}, false}; }
inline Value Logical(bool value) { return Value{Value::Kind::Logical, "", 0, {}, value}; }

// property.dbf/.fpt/.cdx in folder: 6 records, the fourth deleted.
inline void WritePropertyTable(const std::string& folder) {
  NewTableOptions options;
  options.code_page = 1252;
  options.tags = {{"FILE_NUM", "UPPER(FILE_NUM)", "", false},
                  {"CLI_NUM", "CLI_NUM", ".NOT. DELETED()", false},
                  {"RECEIVED", "DTOS(PR_DRECEIV)+FILE_NUM", "", false},
                  {"VALUE", "PR_APPRVAL", "", false},
                  {"BILLED", "FILE_NUM", "PREF_BILL", false}};
  TableCreator creator(folder + "/Property.DBF",
                       {{"FILE_NUM", 'C', 10}, {"INV_NUM", 'C', 10}, {"CLI_NUM", 'C', 6}, {"PR_STREET", 'C', 30},
                        {"PR_APPRVAL", 'N', 10, 2}, {"PR_DRECEIV", 'D'}, {"PREF_BILL", 'L'}, {"PR_COMM", 'M'}},
                       options);
  creator.Append({Text("4521"), Text("INV1"), Text("7"), Text("12 Main St"), Number(123456.78), DateValue(1999, 12, 31),
                  Logical(true), Text("First line\r\nsecond line")});
  creator.Append({Text("ab 12"), Text("INV2"), Text("9"), Text("Elm Road"), Value{}, Value{}, Value{}, Value{}});
  creator.Append({Text("1#2#3&4"), Text("IN V3"), Text("12"), Text("Café Straße"), Number(-42.5), DateValue(2001, 2, 3),
                  Logical(false), Text(std::string(150, 'x'))});
  creator.Append({Text("0999"), Text("INV4"), Text("7"), Text("Gone"), Number(1), DateValue(2002, 1, 1), Logical(true), Text("deleted")},
                 RecordState::Deleted);
  creator.Append({Text("1000"), Text("INV5"), Text("40"), Text("Oak"), Number(0), DateValue(2024, 2, 29), Logical(true), Value{}});
  creator.Append({Text("4521"), Text("INV6"), Text("9"), Text("Duplicate"), Number(5), DateValue(2020, 5, 6), Logical(false), Value{}});
  creator.Finish();
}

// client.dbf/.cdx in folder: keys with duplicates, an empty one and an illegal character.
inline void WriteClientTable(const std::string& folder) {
  NewTableOptions options;
  options.tags = {{"CLI_NUM", "CLI_NUM", "", false}, {"CLI_LNAME", "UPPER(CLI_LNAME)", "", false}};
  TableCreator creator(folder + "/client.dbf", {{"CLI_NUM", 'C', 6}, {"CLI_LNAME", 'C', 20}, {"BALANCE", 'N', 8, 2}}, options);
  const char* rows[][2] = {{"7", "SMITH"}, {"9", "SMITH"}, {"12", "SMITH"}, {"40", ""}, {"3", "JONES"}, {"5", "A&B"}};
  for (auto& row : rows) creator.Append({Text(row[0]), Text(row[1]), Number(1.5)});
  creator.Finish();
}

}  // namespace qorvane::foxpro::test
