// When an appointment takes place.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "desktop/agenda/Appointment.h"
#include "desktop/ical/Ical.h"

namespace brelix::ical {

// Start and end of the first occurrence; dates for all-day appointments, whose end is the day after the last one.
struct Span {
  icaltimetype start, end;
  std::string rule, rule_end;      // both empty for what happens once
  bool dates_lost = false;         // it happens more than once, but only the first time can be told
  std::vector<std::string> notes;  // what was not as it should be
};

// Nothing when the phone tells no start that is a date. Phones may end an all-day appointment with its last minute or
// with the midnight behind it; both are the same day. A pattern may begin before the first day that it yields: the
// start is moved there, as a rule begins with its first occurrence.
std::optional<Span> SpanOf(const Appointment& item);

// Whether any occurrence falls on a day from `from` to `to`, both inclusive and both optional.
bool FallsWithin(const Span& span, const std::optional<icaltimetype>& from, const std::optional<icaltimetype>& to);

}  // namespace brelix::ical
