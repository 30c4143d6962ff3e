// Look-ups in office.mdb as the converters make them: a filter built from one value, and a
// control positioned on the first row that matches it. The filters are the texts the office's
// look-ups always used (every value through SqlQuote); the search itself is a hash look-up in
// the engine, so it costs the same however large the table is.
#pragma once

#include <string>
#include <string_view>

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

// Refreshes CONTROL (a pending row is saved first); false when its record set is empty;
// otherwise moves to the first row and finds the first row matching CRITERIA. True when one
// was found: the control is then positioned on it.
bool AdoFindRec(AdoControl& control, const std::string& criteria);

}  // namespace qorvane::data
