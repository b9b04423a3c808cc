#include "handset/store/TimeText.h"

#include <algorithm>
#include <fmt/format.h>
#include <initializer_list>

#include "handset/store/VariantDate.h"

namespace handset {

namespace {

constexpr std::string_view kMarks = "____-__-__T__:__:__.___";
constexpr std::size_t kDateSize = 10;
constexpr std::size_t kTimeSize = 19;

// The parts of a text that has one of these sizes; their ranges are not looked at.
std::optional<ce::SYSTEMTIME> Parts(std::string_view text, std::initializer_list<std::size_t> sizes) {
  if (std::ranges::find(sizes, text.size()) == sizes.end()) return std::nullopt;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool fits = kMarks[i] == '_' ? text[i] >= '0' && text[i] <= '9' : text[i] == kMarks[i];
    if (!fits) return std::nullopt;
  }
  const auto number = [&](std::size_t at, std::size_t count) {
    ce::WORD value = 0;
    for (std::size_t i = at; i < std::min(at + count, text.size()); ++i) {
      value = static_cast<ce::WORD>(value * 10 + (text[i] - '0'));
    }
    return value;
  };
  return ce::SYSTEMTIME{.wYear = number(0, 4),
                        .wMonth = number(5, 2),
                        .wDayOfWeek = 0,
                        .wDay = number(8, 2),
                        .wHour = number(11, 2),
                        .wMinute = number(14, 2),
                        .wSecond = number(17, 2),
                        .wMilliseconds = number(20, 3)};
}

}  // namespace

std::optional<LocalTime> ParseTime(std::string_view text) {
  using namespace std::chrono;
  const auto parts = Parts(text, {kTimeSize, kMarks.size()});
  if (!parts || parts->wYear < 1601 || parts->wHour > 23 || parts->wMinute > 59 || parts->wSecond > 59) {
    return std::nullopt;
  }
  const year_month_day date(year(parts->wYear), month(parts->wMonth), day(parts->wDay));
  if (!date.ok()) return std::nullopt;
  return local_days(date) + hours(parts->wHour) + minutes(parts->wMinute) + seconds(parts->wSecond) +
         milliseconds(parts->wMilliseconds);
}

std::string PrintTime(LocalTime time) {
  using namespace std::chrono;
  const auto day = floor<days>(time);
  const year_month_day date(day);
  const hh_mm_ss clock(time - day);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}", static_cast<int>(date.year()),
                     static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), clock.hours().count(),
                     clock.minutes().count(), clock.seconds().count(), clock.subseconds().count());
}

std::optional<double> ParseDate(std::string_view text) {
  const auto parts = Parts(text, {kDateSize, kTimeSize});
  return parts ? ToDate(*parts) : std::nullopt;
}

std::optional<std::string> PrintDate(double date) {
  const auto time = ToSystemTime(date);
  if (!time || ToDate(*time) != date) return std::nullopt;
  const std::string day = fmt::format("{:04}-{:02}-{:02}", time->wYear, time->wMonth, time->wDay);
  if (time->wHour == 0 && time->wMinute == 0 && time->wSecond == 0) return day;
  return fmt::format("{}T{:02}:{:02}:{:02}", day, time->wHour, time->wMinute, time->wSecond);
}

}  // namespace handset
