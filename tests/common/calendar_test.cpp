// The shared calendar: anchors both file formats depend on, and the round trip over every day
// either engine can meet.
#include "common/calendar.h"

#include <gtest/gtest.h>

namespace qorvane::calendar {
namespace {

TEST(CalendarTest, AnchorsOfBothFormats) {
  EXPECT_EQ(DaysFromCivil(1970, 1, 1), 0);
  // FoxPro and CDX keys: 2000-01-01 is Julian day 2451545.
  EXPECT_EQ(DaysFromCivil(2000, 1, 1) + kJulianDayOf1970, 2451545);
  // Jet: 1899-12-30 is OLE day 0; Access keeps 0100-01-01 (-657434) to 9999-12-31 (2958465).
  EXPECT_EQ(DaysFromCivil(1899, 12, 30) + kOleDayOf1970, 0);
  EXPECT_EQ(DaysFromCivil(100, 1, 1) + kOleDayOf1970, -657434);
  EXPECT_EQ(DaysFromCivil(9999, 12, 31) + kOleDayOf1970, 2958465);
  EXPECT_EQ(CivilFromDays(-1), (CivilDate{1969, 12, 31}));
  EXPECT_EQ(CivilFromDays(DaysFromCivil(2024, 2, 29) + 1), (CivilDate{2024, 3, 1}));
}

// The days of years 1 to 9999 in order; their number pins the leap-year rule (1900 is not a
// leap year, 2000 is) and the anchors above pin where they lie.
TEST(CalendarTest, EveryDayFromYear1To9999RoundTripsInOrder) {
  std::int64_t expected = DaysFromCivil(1, 1, 1);
  for (int year = 1; year <= 9999; ++year) {
    for (int month = 1; month <= 12; ++month) {
      for (int day = 1; day <= DaysInMonth(year, month); ++day, ++expected) {
        const std::int64_t days = DaysFromCivil(year, month, day);
        ASSERT_EQ(days, expected) << year << '-' << month << '-' << day;
        ASSERT_EQ(CivilFromDays(days), (CivilDate{year, month, day})) << days;
      }
    }
  }
  EXPECT_EQ(expected - DaysFromCivil(1, 1, 1), 3652059);  // days in years 1..9999
}

}  // namespace
}  // namespace qorvane::calendar
