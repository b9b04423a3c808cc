// A phone's recurrence pattern as an iCalendar rule, and the other way.
//
// What a phone means by its numbers, and a rule does not say by itself:
//   - a day of the month beyond the month's end is its last day, where BYMONTHDAY would leave the month out;
//   - an instance of 5 is the last one, where BYDAY=5MO would leave out months without a fifth Monday;
//   - weeks begin on Sunday;
//   - yearly intervals count months.
#pragma once

#include <libical/ical.h>
#include <optional>
#include <string>

#include "desktop/agenda/Appointment.h"

namespace brelix::ical {

// The rule without its end, for an appointment that starts at `start`. Nothing when the pattern's numbers are none
// that a phone keeps; `why_not` then names the one.
std::optional<std::string> RuleOf(const Recurrence& pattern, const icaltimetype& start, std::string& why_not);

// ";UNTIL=..." or ";COUNT=...", or nothing when the pattern has no end. The date goes before the number, since it holds
// whatever the first occurrence is.
std::string RuleEnd(const Recurrence& pattern, bool all_day);

// The pattern for a rule, without start and end. Nothing when no pattern yields such dates; `why_not` then names the
// part of the rule.
std::optional<Recurrence> PatternOf(const icalrecurrencetype& rule, const icaltimetype& start, std::string& why_not);

}  // namespace brelix::ical
