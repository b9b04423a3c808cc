#include <fmt/format.h>

#include "desktop/agenda/Appointment.h"

namespace brelix {
namespace {

constexpr const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr const char* kMonths[] = {"January", "February", "March",     "April",   "May",      "June",
                                   "July",    "August",   "September", "October", "November", "December"};
constexpr const char* kInstances[] = {"first", "second", "third", "fourth", "last"};

// The name for a number from 1 on; the number itself where it has none.
template <size_t kCount>
std::string Named(const char* const (&names)[kCount], std::optional<int64_t> number) {
  if (!number) return "?";
  if (*number < 1 || *number > static_cast<int64_t>(kCount)) return std::to_string(*number);
  return names[*number - 1];
}

std::string Days(std::optional<int64_t> mask) {
  std::string out;
  for (int day = 0; day < 7; day++)
    if (mask && (*mask >> day & 1) != 0) out += (out.empty() ? "" : ", ") + std::string(kDays[day]);
  return out.empty() ? "?" : out;
}

std::string Every(std::optional<int64_t> interval, const char* unit) {
  if (interval.value_or(1) <= 1) return fmt::format("every {}", unit);
  return fmt::format("every {} {}s", *interval, unit);
}

std::string Number(std::optional<int64_t> number) { return number ? std::to_string(*number) : "?"; }

std::string Pattern(const Recurrence& r) {
  const std::string which = Named(kInstances, r.instance) + " " + Days(r.day_of_week_mask);
  const std::string years = Every(YearlyInterval(r), "year");
  switch (r.type) {
    case RecurrenceType::kUnknown:
      return "unknown";
    case RecurrenceType::kOnce:
      return "once";
    case RecurrenceType::kDaily:
      return Every(r.interval, "day");
    case RecurrenceType::kWeekly:
      return Every(r.interval, "week") + " on " + Days(r.day_of_week_mask);
    case RecurrenceType::kMonthly:
      return Every(r.interval, "month") + " on day " + Number(r.day_of_month);
    case RecurrenceType::kMonthlyByDay:
      return Every(r.interval, "month") + " on the " + which;
    case RecurrenceType::kYearly:
      return fmt::format("{} on {} {}", years, Named(kMonths, r.month_of_year), Number(r.day_of_month));
    case RecurrenceType::kYearlyByDay:
      return fmt::format("{} on the {} of {}", years, which, Named(kMonths, r.month_of_year));
  }
  return "unknown";
}

}  // namespace

std::optional<int64_t> YearlyInterval(const Recurrence& r) {
  if (!r.interval || *r.interval <= 0 || *r.interval % 12 != 0) return r.interval;
  return *r.interval / 12;
}

std::string RecurrenceText(const Recurrence& r) {
  const std::string pattern = Pattern(r);
  if (r.end_date)
    return fmt::format("{} until {:04}-{:02}-{:02}", pattern, r.end_date->year, r.end_date->month, r.end_date->day);
  if (r.occurrences) return fmt::format("{}, {} times", pattern, *r.occurrences);
  return pattern;
}

}  // namespace brelix
