// Small helpers the party converters share that are not about one table: reading a source
// logical or numeric field, whether a source table has a field, upper-casing text as the
// office's program did (letters with accents included), and counting characters of UTF-8 text.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "data/context.h"
#include "data/controls.h"
#include "data/record_loop.h"

namespace qorvane::data {

// A source logical field as a flag (false when blank or not a logical); a source numeric field
// as a single-precision number (text fields through Csingle; blank is 0). Failures are
// reported as the other field helpers report theirs, and give false / 0.
bool DATgetfieldtf(DataControl& control, std::string_view field);
float DATgetfieldSingle(DataControl& control, std::string_view field);
// Whether the source control's record set has FIELD (by name, without regard to case).
bool DATHasField(DataControl& control, std::string_view field);
// The current source record for a person: "CLIENT.DBF record 12".
std::string DATRecordPlace(DataControl& control);

// LOOP over the source table FILE (a file name in the source folder, "client.dbf"), or nothing
// at all when that file is missing.
app::StepResult RunSourceTableLoop(Context& context, const char* file, const RecordLoop& loop, const RecordBody& body);

// Adds a row to CONTROL, lets FILL set its columns and saves it. When FILL or the save fails,
// the row is dropped (never left pending, half-written) and the failure goes on to the caller.
void AddNewRow(AdoControl& control, const std::function<void()>& fill);
// The same for the current row: FILL changes it and it is saved, or the edit is dropped.
void UpdateRow(AdoControl& control, const std::function<void()>& fill);

// TEXT as COLUMN of TARGET stores it (AdoTrim: cut to the column's width). When it had to be
// cut, a log line names the source record, the column and both texts, so that a key too long
// for its column is looked up, and merged, as the row that holds it.
std::string KeyAsStored(Context& context, DataControl& source, AdoControl& target, std::string_view text,
                        std::string_view column);

// TEXT upper-cased: ASCII letters, the accented letters of Latin-1 and Latin Extended-A, Greek
// and Cyrillic; anything else unchanged.
std::string UCase(std::string_view text);
// Blanks trimmed on both sides, then upper-cased.
std::string UCaseTrim(std::string_view text);
// Characters (code points) of UTF-8 text, and its first COUNT characters.
std::size_t CharLength(std::string_view text);
std::string LeftChars(std::string_view text, std::size_t count);

}  // namespace qorvane::data
