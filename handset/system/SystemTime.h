// The phone's record of a calendar time.
#pragma once

#include "handset/system/Clock.h"
#include "platform/Types.h"

namespace handset {

inline ce::SYSTEMTIME ToSystemTime(LocalTime time) {
  using namespace std::chrono;
  const auto day = floor<days>(time);
  const year_month_day date(day);
  const hh_mm_ss clock(time - day);
  return {.wYear = static_cast<ce::WORD>(static_cast<int>(date.year())),
          .wMonth = static_cast<ce::WORD>(static_cast<unsigned>(date.month())),
          .wDayOfWeek = static_cast<ce::WORD>(weekday(day).c_encoding()),
          .wDay = static_cast<ce::WORD>(static_cast<unsigned>(date.day())),
          .wHour = static_cast<ce::WORD>(clock.hours().count()),
          .wMinute = static_cast<ce::WORD>(clock.minutes().count()),
          .wSecond = static_cast<ce::WORD>(clock.seconds().count()),
          .wMilliseconds = static_cast<ce::WORD>(clock.subseconds().count())};
}

}  // namespace handset
