// The proleptic Gregorian calendar both engines count days in: a civil date to a day number and
// back (days since 1970-01-01, as Howard Hinnant's era arithmetic computes them, exact for any
// year an int holds), leap years and month lengths. FoxPro stores dates as Julian day numbers
// and Jet as OLE days (days since 1899-12-30); each is this count shifted by a constant below.
#pragma once

#include <cstdint>

namespace qorvane::calendar {

struct CivilDate {
  int year = 0;
  int month = 0;  // 1..12
  int day = 0;    // 1..31
  bool operator==(const CivilDate&) const = default;
};

// 1970-01-01 as a Julian day number (FoxPro's D fields, CDX date keys) and as an OLE day.
inline constexpr std::int64_t kJulianDayOf1970 = 2440588;
inline constexpr std::int64_t kOleDayOf1970 = 25569;

constexpr bool IsLeapYear(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

// MONTH is 1..12.
constexpr int DaysInMonth(int year, int month) {
  constexpr int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

// Days since 1970-01-01 of a civil date (negative before). Counting runs from March so that the
// leap day ends a year; an era is the 400-year cycle of 146097 days; 719468 is the day number of
// 1970-01-01 counted from 0000-03-01.
constexpr std::int64_t DaysFromCivil(int year, int month, int day) {
  const std::int64_t march_year = static_cast<std::int64_t>(year) - (month <= 2 ? 1 : 0);
  const std::int64_t era = (march_year >= 0 ? march_year : march_year - 399) / 400;
  const std::int64_t year_of_era = march_year - era * 400;
  const std::int64_t day_of_year = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const std::int64_t day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  return era * 146097 + day_of_era - 719468;
}

// The civil date of a day number since 1970-01-01; the inverse of DaysFromCivil.
constexpr CivilDate CivilFromDays(std::int64_t days) {
  days += 719468;
  const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const std::int64_t day_of_era = days - era * 146097;
  const std::int64_t year_of_era =
      (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  const std::int64_t day_of_year = day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const std::int64_t march_month = (5 * day_of_year + 2) / 153;  // 0 = March .. 11 = February
  const int month = static_cast<int>(march_month < 10 ? march_month + 3 : march_month - 9);
  const int day = static_cast<int>(day_of_year - (153 * march_month + 2) / 5 + 1);
  return {static_cast<int>(year_of_era + era * 400 + (month <= 2 ? 1 : 0)), month, day};
}

}  // namespace qorvane::calendar
