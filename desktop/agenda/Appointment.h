// One appointment of the phone's calendar, as its agent tells of it. All times are the phone's own local times; a time
// that the phone wrote and nobody can read is an empty optional.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "desktop/Client.h"

namespace brelix {

// kUnknown, here and below: the phone has a value for which its agent has no word.
enum class RecurrenceType {
  kUnknown,
  kOnce,
  kDaily,
  kWeekly,
  kMonthly,       // on a day of the month
  kMonthlyByDay,  // on the first, second ... last of some days of the week
  kYearly,        // on a day of a month
  kYearlyByDay,   // on the first, second ... last of some days of the week in a month
};
enum class BusyStatus { kUnknown, kFree, kTentative, kBusy, kOutOfOffice };
enum class Sensitivity { kUnknown, kNormal, kPersonal, kPrivate, kConfidential };
enum class MeetingStatus { kUnknown, kNone, kMeeting, kAccepted, kCanceled };

// Which of the numbers are there follows from the type. As the phone says them: not checked against any range.
struct Recurrence {
  RecurrenceType type = RecurrenceType::kUnknown;
  std::optional<int64_t> interval{};          // days, weeks or months; of the yearly types months, 12 a year
  std::optional<int64_t> day_of_week_mask{};  // Sunday 1, Monday 2, Tuesday 4 ... Saturday 64
  std::optional<int64_t> day_of_month{};      // 1 to 31; beyond the end of a month its last day
  std::optional<int64_t> month_of_year{};     // 1 to 12
  std::optional<int64_t> instance{};          // 1 to 4, and 5 for the last
  std::optional<LocalTime> start_date{};      // from this day on
  std::optional<LocalTime> end_date{};        // to this day inclusive; none when it never ends
  std::optional<int64_t> occurrences{};       // in all; none when it never ends
};

struct Appointment {
  uint32_t oid = 0;  // the phone's number for it; stays the same for the item's life
  bool all_day = false;
  std::optional<std::string> subject, location, categories, body;
  std::optional<LocalTime> start, end;
  std::optional<Recurrence> recurrence;
  BusyStatus busy_status = BusyStatus::kUnknown;
  Sensitivity sensitivity = Sensitivity::kUnknown;
  MeetingStatus meeting_status = MeetingStatus::kUnknown;
  bool reminder_set = false;
  std::optional<int64_t> reminder_minutes;  // before the start; the phone keeps a number for unset reminders too
  std::optional<std::string> reminder_sound;
  bool ambiguous = false;  // a text holds what looks like the elements around it; the phone may have meant others
};

// Reads an `agendaentry` document; throws a protocol failure when it is not a whole one.
Appointment ReadAppointment(std::string_view document);

// The words for people and programs; "unknown" for kUnknown.
std::string_view Word(RecurrenceType type);
std::string_view Word(BusyStatus status);
std::string_view Word(Sensitivity sensitivity);
std::string_view Word(MeetingStatus status);

// "A, B; C" as three texts without blanks around them; empty ones are left out.
std::vector<std::string> SplitCategories(const std::string& categories);

// The interval of a yearly type in years. Phones count months there; a number that is no multiple of 12 is taken as it
// is.
std::optional<int64_t> YearlyInterval(const Recurrence& recurrence);

// "every 2 weeks on Mon, Fri until 2009-12-31"
std::string RecurrenceText(const Recurrence& recurrence);

}  // namespace brelix
