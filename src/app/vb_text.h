// The text forms the old program's log and messages use for numbers and dates, kept so that a
// log reads as it always has: Str() gives a non-negative number a leading blank; dates are
// written month/day/year and times with AM/PM, as the office's US Windows did.
#pragma once

#include <cstdint>
#include <string>

namespace qorvane::app {

// A moment in local time, with the seconds since the epoch for differences.
struct Timestamp {
  std::int64_t epoch_seconds = 0;
  int year = 1970, month = 1, day = 1, hour = 0, minute = 0, second = 0;

  static Timestamp FromEpoch(std::int64_t epoch_seconds);  // in the local time zone
  static Timestamp Now();
};

// "5" -> " 5", "-5" -> "-5".
std::string Str(std::int64_t number);
// "11/15/2026 9:05:07 AM"
std::string DateTimeText(const Timestamp& when);
// "11/15/2026"
std::string DateText(const Timestamp& when);

}  // namespace qorvane::app
