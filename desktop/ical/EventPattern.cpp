// The repetition of one VEVENT as a phone's pattern.
#include <algorithm>
#include <fmt/format.h>

#include "desktop/ical/EventReader.h"
#include "desktop/ical/Rule.h"

namespace brelix::ical {
namespace {

constexpr int kCompared = 60;       // occurrences; five years of months, more than a year of weeks
constexpr int kMostCounted = 5000;  // more dates of one pattern than a phone has ever shown

icalrecurrencetype Endless(icalrecurrencetype rule) {
  rule.count = 0;
  rule.until = icaltime_null_time();
  return rule;
}

int CountOf(icalcomponent* event, icalproperty_kind kind) { return icalcomponent_count_properties(event, kind); }

bool Earlier(const icaltimetype& a, const icaltimetype& b) {
  const auto second = [](const icaltimetype& t) { return t.hour * 3600 + t.minute * 60 + t.second; };
  return second(a) < second(b);
}

std::string DateText(const icaltimetype& date) {
  return fmt::format("{:04}-{:02}-{:02}", date.year, date.month, date.day);
}

}  // namespace

// Says from when on the phone's dates differ from the rule's, which may skip months, or count weeks from Monday, or
// go by the days of another zone.
void EventReader::Compare(icalrecurrencetype rule, const icalrecurrencetype& said) {
  Occurrences theirs(Endless(rule), start_.written);
  Occurrences ours(said, start_.local);
  for (int i = 0; i < kCompared; i++) {
    const auto a = theirs.Next();
    const auto b = ours.Next();
    if (!a || !b) return;
    const icaltimetype there = Local(*a);
    if (SameDay(there, *b)) continue;
    return Note(fmt::format("on the phone its dates differ: {} instead of {}", DateText(*b), DateText(there)));
  }
}

// The last day on which the event may still begin.
icaltimetype EventReader::LastDay(const icaltimetype& until) const {
  icaltimetype last = until;
  if (icaltime_is_utc(until) && !start_.zone.empty()) {
    icaltimezone* zone = icaltimezone_get_builtin_timezone(start_.zone.c_str());
    last = icaltime_is_utc(start_.written) || zone == nullptr ? Local(until) : icaltime_convert_to_zone(until, zone);
  }
  const bool too_early = !last.is_date && !start_.local.is_date && Earlier(last, start_.local);
  return too_early ? DaysLater(DateOf(last), -1) : DateOf(last);
}

// A phone keeps both, the last day and how many occurrences there are until then.
void EventReader::ReadEnd(const icalrecurrencetype& rule, const icalrecurrencetype& said, Recurrence& pattern) {
  const bool until = !icaltime_is_null_time(rule.until);
  if (!until && rule.count <= 0) return;
  const icaltimetype last_day = until ? LastDay(rule.until) : icaltime_null_date();
  Occurrences occurrences(said, start_.local);
  icaltimetype last = start_.local;
  int count = 0;
  while (count < kMostCounted && (until || count < rule.count)) {
    const auto next = occurrences.Next();
    if (!next || (until && icaltime_compare_date_only(*next, last_day) > 0)) break;
    last = *next;
    count++;
  }
  if (count == 0) Note("its rule ends before it begins");
  if (count == kMostCounted) Note(fmt::format("only its first {} occurrences are kept", kMostCounted));
  pattern.occurrences = std::max(1, count);
  pattern.end_date = FromIcal(DateOf(until && count < kMostCounted && count > 0 ? last_day : last));
}

std::optional<Recurrence> EventReader::PatternOfRule(const icalrecurrencetype& rule) {
  std::string why_not;
  auto pattern = PatternOf(rule, start_.local, why_not);
  if (!pattern) {
    Note(fmt::format("only its first occurrence is kept: a phone's pattern cannot say {}", why_not));
    return std::nullopt;
  }
  const auto text = RuleOf(*pattern, start_.local, why_not);
  const icalrecurrencetype said = icalrecurrencetype_from_string(text ? text->c_str() : "");
  const auto first = text ? Occurrences(said, start_.local).Next() : std::nullopt;
  if (!first) {
    Note("only its first occurrence is kept: its rule yields no dates");
    return std::nullopt;
  }
  Compare(rule, said);
  if (!SameDay(*first, start_.local)) {
    Note(fmt::format("it begins on {}, the first date of its rule", DateText(*first)));
    end_ = icaltime_add(*first, icaltime_subtract(end_, start_.local));
    if (!Exists(end_)) end_ = *first;
    start_.local = *first;
  }
  pattern->start_date = FromIcal(DateOf(start_.local));
  ReadEnd(rule, said, *pattern);
  return pattern;
}

void EventReader::ReadPattern(Appointment& item) {
  icalproperty* property = icalcomponent_get_first_property(event_, ICAL_RRULE_PROPERTY);
  if (property != nullptr) item.recurrence = PatternOfRule(icalproperty_get_rrule(property));
  if (CountOf(event_, ICAL_RRULE_PROPERTY) > 1) Note("its second RRULE is left out");
  if (CountOf(event_, ICAL_RDATE_PROPERTY) > 0) Note("RDATE is left out: a phone's pattern has no further dates");
  if (CountOf(event_, ICAL_EXDATE_PROPERTY) + CountOf(event_, ICAL_EXRULE_PROPERTY) > 0)
    Note("EXDATE is left out: on the phone it takes place on those dates too");
}

}  // namespace brelix::ical
