// Number and date texts (see vb_text.h).
#include "app/vb_text.h"

#include <ctime>

#include <fmt/format.h>

namespace qorvane::app {

Timestamp Timestamp::FromEpoch(std::int64_t epoch_seconds) {
  std::time_t seconds = static_cast<std::time_t>(epoch_seconds);
  std::tm local {};
  localtime_r(&seconds, &local);
  Timestamp when;
  when.epoch_seconds = epoch_seconds;
  when.year = local.tm_year + 1900;
  when.month = local.tm_mon + 1;
  when.day = local.tm_mday;
  when.hour = local.tm_hour;
  when.minute = local.tm_min;
  when.second = local.tm_sec;
  return when;
}

Timestamp Timestamp::Now() { return FromEpoch(static_cast<std::int64_t>(std::time(nullptr))); }

std::string Str(std::int64_t number) {
  return number < 0 ? fmt::format("{}", number) : fmt::format(" {}", number);
}

std::string DateText(const Timestamp& when) {
  return fmt::format("{}/{}/{}", when.month, when.day, when.year);
}

std::string DateTimeText(const Timestamp& when) {
  int hour12 = when.hour % 12 == 0 ? 12 : when.hour % 12;
  return fmt::format("{} {}:{:02}:{:02} {}", DateText(when), hour12, when.minute, when.second,
                     when.hour < 12 ? "AM" : "PM");
}

}  // namespace qorvane::app
