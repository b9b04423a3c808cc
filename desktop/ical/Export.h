// Appointments as iCalendar (RFC 5545): one event each, in the phone's own local time, which has no zone.
//
// Where the standard has no property for what a phone keeps, the ones that other calendar programs read are used:
// X-MICROSOFT-CDO-BUSYSTATUS and CLASS:X-PERSONAL. A reminder's sound is X-BRELIX-SOUND of its alarm, a meeting's
// state X-BRELIX-MEETING.
#pragma once

#include <string>
#include <vector>

#include "desktop/agenda/Appointment.h"
#include "desktop/ical/Ical.h"

namespace brelix::ical {

struct ExportedEvent {
  std::string text;                // lines folded and ended as the standard says; empty when it cannot be exported
  bool complete = true;            // false when dates are missing, one or all of them
  std::vector<std::string> notes;  // what of the appointment is not in the text, and why
};

// `phone` tells the phones apart whose events may meet in one calendar; with the appointment's own number it makes the
// event's UID, so a later export replaces the event instead of doubling it. `now` is in UTC.
ExportedEvent ToEvent(const Appointment& item, const std::string& phone, const icaltimetype& now);

// What goes before and behind the events.
std::string CalendarBegin();
std::string CalendarEnd();

}  // namespace brelix::ical
