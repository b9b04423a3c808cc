#include "desktop/ical/Ical.h"

namespace brelix::ical {
namespace {

constexpr int kLastYear = 2999;

}  // namespace

icaltimetype ToIcal(const LocalTime& time, bool as_date) {
  icaltimetype out = icaltime_null_time();
  out.year = time.year;
  out.month = time.month;
  out.day = time.day;
  out.is_date = as_date ? 1 : 0;
  if (as_date) return out;
  out.hour = time.hour;
  out.minute = time.minute;
  out.second = time.second.value_or(0);
  return out;
}

LocalTime FromIcal(const icaltimetype& time) {
  if (time.is_date) return {time.year, time.month, time.day, 0, 0, 0};
  return {time.year, time.month, time.day, time.hour, time.minute, time.second};
}

bool Exists(const icaltimetype& time) {
  return time.year >= 1 && time.year <= kLastYear && time.month >= 1 && time.month <= 12 && time.day >= 1 &&
         time.day <= icaltime_days_in_month(time.month, time.year) && time.hour >= 0 && time.hour <= 23 &&
         time.minute >= 0 && time.minute <= 59 && time.second >= 0 && time.second <= 60;
}

icaltimetype DateOf(const icaltimetype& time) {
  icaltimetype date = icaltime_null_date();
  date.year = time.year;
  date.month = time.month;
  date.day = time.day;
  return date;
}

icaltimetype DaysLater(icaltimetype date, int days) {
  icaltime_adjust(&date, days, 0, 0, 0);
  return date;
}

bool SameDay(const icaltimetype& a, const icaltimetype& b) {
  return a.year == b.year && a.month == b.month && a.day == b.day;
}

std::string Owned(char* text) {
  if (text == nullptr) return {};
  std::string out(text);
  icalmemory_free_buffer(text);
  return out;
}

Occurrences::Occurrences(const icalrecurrencetype& rule, const icaltimetype& start)
    : iterator_(icalrecur_iterator_new(rule, start)) {}

std::optional<icaltimetype> Occurrences::Next() {
  if (!iterator_) return std::nullopt;
  const icaltimetype next = icalrecur_iterator_next(iterator_.get());
  if (icaltime_is_null_time(next)) return std::nullopt;
  return next;
}

}  // namespace brelix::ical
