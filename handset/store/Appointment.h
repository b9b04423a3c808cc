// An appointment as the phone keeps it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace handset {

// Dates are days since 30 December 1899, in local time. An absent value cannot be read.
struct Recurrence {
  std::int32_t type = 0;
  double patternStartDate = 0;
  double startTime = 0;
  double endTime = 0;
  std::optional<double> patternEndDate;
  bool noEndDate = true;
  std::optional<std::int32_t> occurrences;
  std::optional<std::int32_t> interval = 1;
  std::optional<std::int32_t> dayOfWeekMask = 0;
  std::int32_t dayOfMonth = 0;
  std::int32_t monthOfYear = 0;
  std::int32_t instance = 0;
  std::int32_t duration = 0;

  // Calls visit(name, property) for each of them; the names are those of the object model, of a description and of the
  // columns.
  template <typename Self, typename Visit>
  static void ForEachProperty(Self& self, Visit visit) {
    visit("RecurrenceType", self.type);
    visit("PatternStartDate", self.patternStartDate);
    visit("StartTime", self.startTime);
    visit("EndTime", self.endTime);
    visit("PatternEndDate", self.patternEndDate);
    visit("NoEndDate", self.noEndDate);
    visit("Occurrences", self.occurrences);
    visit("Interval", self.interval);
    visit("DayOfWeekMask", self.dayOfWeekMask);
    visit("DayOfMonth", self.dayOfMonth);
    visit("MonthOfYear", self.monthOfYear);
    visit("Instance", self.instance);
    visit("Duration", self.duration);
  }
};

struct Appointment {
  std::uint32_t oid = 0;
  std::u16string subject;
  std::u16string location;
  std::u16string categories;
  std::u16string body;
  double start = 0;
  double end = 0;
  std::int32_t duration = 0;  // minutes
  bool allDayEvent = false;
  std::int32_t busyStatus = 2;
  std::int32_t sensitivity = 0;
  std::int32_t meetingStatus = 0;
  bool reminderSet = false;
  std::u16string reminderSoundFile;
  std::int32_t reminderMinutesBeforeStart = 0;
  std::int32_t reminderOptions = 0;
  std::vector<std::u16string> recipients;
  std::optional<Recurrence> recurrence;

  // As above, without recipients and recurrence.
  template <typename Self, typename Visit>
  static void ForEachProperty(Self& self, Visit visit) {
    visit("Subject", self.subject);
    visit("Location", self.location);
    visit("Categories", self.categories);
    visit("Body", self.body);
    visit("Start", self.start);
    visit("End", self.end);
    visit("Duration", self.duration);
    visit("AllDayEvent", self.allDayEvent);
    visit("BusyStatus", self.busyStatus);
    visit("Sensitivity", self.sensitivity);
    visit("MeetingStatus", self.meetingStatus);
    visit("ReminderSet", self.reminderSet);
    visit("ReminderSoundFile", self.reminderSoundFile);
    visit("ReminderMinutesBeforeStart", self.reminderMinutesBeforeStart);
    visit("ReminderOptions", self.reminderOptions);
  }
};

}  // namespace handset
