// What holds for every appointment, whoever made it: its export is a calendar that the importer reads, with the same
// text; and nothing about it ends a program.
#pragma once

#include <cstdlib>
#include <sstream>

#include "desktop/Failure.h"
#include "desktop/Text.h"
#include "desktop/agenda/AppointmentJson.h"
#include "desktop/ical/Export.h"
#include "desktop/ical/Import.h"
#include "desktop/ical/Span.h"

namespace fuzz {

inline brelix::LocalTime OneHourBehind(const brelix::LocalTime& utc) {
  icaltimetype time = brelix::ical::ToIcal(utc, false);
  icaltime_adjust(&time, 0, -1, 0, 0);
  return brelix::ical::FromIcal(time);
}

inline void Check(bool holds) {
  if (!holds) std::abort();
}

// libical keeps its last texts for a while; what it keeps must not look like a leak after every input.
struct ForgetTexts {
  ~ForgetTexts() { icalmemory_free_ring(); }
};

inline void RoundTrip(const brelix::Appointment& item) {
  using namespace brelix;
  ToJson(item).dump();
  if (item.recurrence) RecurrenceText(*item.recurrence);
  const icaltimetype now = icaltime_from_string("20260101T120000Z");
  const ical::ExportedEvent event = ical::ToEvent(item, "phone", now);
  if (const auto span = ical::SpanOf(item)) ical::FallsWithin(*span, now, std::nullopt);
  if (event.text.empty()) return;
  Check(IsUtf8(event.text));
  std::istringstream in(ical::CalendarBegin() + event.text + ical::CalendarEnd());
  const ical::ImportedCalendar again = ical::ReadCalendar(in, "again.ics", OneHourBehind);
  Check(again.appointments.size() == 1);
  const Appointment& back = again.appointments[0];
  Check(back.all_day == item.all_day);
  Check(back.sensitivity == item.sensitivity || item.sensitivity == Sensitivity::kUnknown);
  Check(back.busy_status == item.busy_status || item.busy_status == BusyStatus::kUnknown);
}

}  // namespace fuzz
