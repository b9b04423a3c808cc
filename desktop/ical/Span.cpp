#include "desktop/ical/Span.h"

#include <fmt/format.h>

#include "desktop/ical/Rule.h"

namespace brelix::ical {
namespace {

constexpr int kMostOccurrences = 200000;  // five hundred years of days

bool AtMidnight(const LocalTime& time) { return time.hour == 0 && time.minute == 0 && time.second.value_or(0) == 0; }

// The day after the last one.
icaltimetype AllDayEnd(const icaltimetype& start, const Appointment& item) {
  const icaltimetype next = DaysLater(start, 1);
  if (!item.end) return next;
  const icaltimetype date = ToIcal(*item.end, true);
  if (!Exists(date)) return next;
  const icaltimetype end = AtMidnight(*item.end) ? date : DaysLater(date, 1);
  return icaltime_compare(end, next) < 0 ? next : end;
}

icaltimetype TimedEnd(const icaltimetype& start, const Appointment& item, std::vector<std::string>& notes) {
  const icaltimetype end = item.end ? ToIcal(*item.end, false) : start;
  if (!item.end || !Exists(end) || icaltime_compare(end, start) < 0) {
    notes.emplace_back("it has no end behind its start");
    return start;
  }
  return end;
}

// Moves start and end, so that the appointment begins with the first date its pattern yields.
bool MoveToFirst(Span& span, const Recurrence& pattern) {
  icaltimetype from = span.start;
  if (pattern.start_date) {
    const icaltimetype date = ToIcal(*pattern.start_date, true);
    if (Exists(date)) {
      from.year = date.year;
      from.month = date.month;
      from.day = date.day;
    }
  }
  const std::string whole = span.rule + span.rule_end;
  const auto first = Occurrences(icalrecurrencetype_from_string(whole.c_str()), from).Next();
  if (!first) return false;
  const icaldurationtype length = icaltime_subtract(span.end, span.start);
  span.start = *first;
  span.end = icaltime_add(*first, length);
  if (!Exists(span.end)) span.end = *first;
  return true;
}

void AddPattern(Span& span, const Recurrence& pattern, bool all_day) {
  if (pattern.type == RecurrenceType::kOnce) return;
  std::string why_not;
  const auto rule = RuleOf(pattern, span.start, why_not);
  if (rule) {
    span.rule = *rule;
    span.rule_end = RuleEnd(pattern, all_day);
    if (MoveToFirst(span, pattern)) return;
    why_not = "its pattern yields no date";
  }
  span.dates_lost = true;
  span.rule.clear();
  span.rule_end.clear();
  span.notes.push_back(fmt::format("only one occurrence is kept, since {}", why_not));
}

}  // namespace

std::optional<Span> SpanOf(const Appointment& item) {
  if (!item.start) return std::nullopt;
  Span span;
  span.start = ToIcal(*item.start, item.all_day);
  if (!Exists(span.start)) return std::nullopt;
  span.end = item.all_day ? AllDayEnd(span.start, item) : TimedEnd(span.start, item, span.notes);
  if (item.recurrence) AddPattern(span, *item.recurrence, item.all_day);
  return span;
}

bool FallsWithin(const Span& span, const std::optional<icaltimetype>& from, const std::optional<icaltimetype>& to) {
  const icaldurationtype length = icaltime_subtract(span.end, span.start);
  const auto within = [&](const icaltimetype& start) {
    icaltimetype end = icaltime_add(start, length);
    // What ends at midnight does not touch the day that begins there.
    if (icaltime_compare(end, start) > 0) icaltime_adjust(&end, 0, 0, 0, -1);
    if (span.start.is_date) end = DaysLater(DateOf(icaltime_add(start, length)), -1);
    return (!to || icaltime_compare_date_only(start, *to) <= 0) &&
           (!from || icaltime_compare_date_only(end, *from) >= 0);
  };
  if (span.rule.empty()) return within(span.start);
  Occurrences occurrences(icalrecurrencetype_from_string((span.rule + span.rule_end).c_str()), span.start);
  for (int i = 0; i < kMostOccurrences; i++) {
    const auto next = occurrences.Next();
    if (!next || (to && icaltime_compare_date_only(*next, *to) > 0)) return false;
    if (within(*next)) return true;
  }
  return false;
}

}  // namespace brelix::ical
