#include "handset/store/VariantDate.h"

#include <chrono>
#include <cmath>

namespace handset {

namespace {

using namespace std::chrono;

constexpr sys_days kDayZero = December / 30 / 1899;
constexpr ce::DATE kFirstDay = -657434;  // 1 January 100
constexpr ce::DATE kDayAfterLast = 2958466;
constexpr long kDaySeconds = 86400;

}  // namespace

// Before the first day the whole part goes back and the fraction still forth: -1.25 is 29 December 1899, 06:00.
std::optional<ce::SYSTEMTIME> ToSystemTime(ce::DATE date) {
  if (!(date > kFirstDay - 1 && date < kDayAfterLast)) return std::nullopt;
  double whole = 0;
  const double fraction = std::abs(std::modf(date, &whole));
  const sys_seconds time = kDayZero + days(static_cast<long>(whole)) + seconds(std::lround(fraction * kDaySeconds));
  const auto day = floor<days>(time);
  const year_month_day calendar(day);
  const hh_mm_ss clock(time - day);
  if (static_cast<int>(calendar.year()) > 9999) return std::nullopt;
  return ce::SYSTEMTIME{.wYear = static_cast<ce::WORD>(static_cast<int>(calendar.year())),
                        .wMonth = static_cast<ce::WORD>(static_cast<unsigned>(calendar.month())),
                        .wDayOfWeek = static_cast<ce::WORD>(weekday(day).c_encoding()),
                        .wDay = static_cast<ce::WORD>(static_cast<unsigned>(calendar.day())),
                        .wHour = static_cast<ce::WORD>(clock.hours().count()),
                        .wMinute = static_cast<ce::WORD>(clock.minutes().count()),
                        .wSecond = static_cast<ce::WORD>(clock.seconds().count()),
                        .wMilliseconds = 0};
}

std::optional<ce::DATE> ToDate(const ce::SYSTEMTIME& time) {
  const year_month_day calendar(year(time.wYear), month(time.wMonth), day(time.wDay));
  if (!calendar.ok() || time.wYear < 100 || time.wYear > 9999 || time.wHour > 23 || time.wMinute > 59 ||
      time.wSecond > 59) {
    return std::nullopt;
  }
  const auto whole = static_cast<double>((sys_days(calendar) - kDayZero).count());
  const double fraction = (time.wHour * 3600 + time.wMinute * 60 + time.wSecond) / static_cast<double>(kDaySeconds);
  return whole < 0 ? whole - fraction : whole + fraction;
}

}  // namespace handset
