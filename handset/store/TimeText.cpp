#include "handset/store/TimeText.h"

#include <fmt/format.h>

namespace handset {

namespace {

// The number in the digits at a place, or nothing when they are no digits.
std::optional<unsigned> Digits(std::string_view text, std::size_t at, std::size_t count) {
  unsigned number = 0;
  for (const char c : text.substr(at, count)) {
    if (c < '0' || c > '9') return std::nullopt;
    number = number * 10 + static_cast<unsigned>(c - '0');
  }
  return number;
}

}  // namespace

std::optional<LocalTime> ParseTime(std::string_view text) {
  using namespace std::chrono;
  constexpr std::string_view kMarks = "____-__-__T__:__:__.___";
  if (text.size() != 19 && text.size() != kMarks.size()) return std::nullopt;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (kMarks[i] != '_' && kMarks[i] != text[i]) return std::nullopt;
  }
  const auto y = Digits(text, 0, 4), mo = Digits(text, 5, 2), d = Digits(text, 8, 2);
  const auto h = Digits(text, 11, 2), mi = Digits(text, 14, 2), s = Digits(text, 17, 2);
  const auto ms = text.size() > 19 ? Digits(text, 20, 3) : 0;
  if (!y || !mo || !d || !h || !mi || !s || !ms || *h > 23 || *mi > 59 || *s > 59) return std::nullopt;
  const year_month_day date{year(static_cast<int>(*y)), month(*mo), day(*d)};
  if (!date.ok() || *y < 1601) return std::nullopt;
  return local_days(date) + hours(*h) + minutes(*mi) + seconds(*s) + milliseconds(*ms);
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

}  // namespace handset
