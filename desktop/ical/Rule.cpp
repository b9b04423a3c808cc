#include "desktop/ical/Rule.h"

#include <algorithm>
#include <fmt/format.h>

namespace brelix::ical {
namespace {

constexpr const char* kDays[] = {"SU", "MO", "TU", "WE", "TH", "FR", "SA"};  // in the order of the mask's bits
constexpr int64_t kEveryDay = 0x7F;
constexpr int64_t kMostInterval = 9999;  // phones keep up to 999; libical counts in 16 bits
constexpr int64_t kShortestMonth = 28;
constexpr int64_t kLast = 5;

// The numbers of one pattern, each checked where it is used; the first one out of range is remembered.
class Numbers {
 public:
  explicit Numbers(const Recurrence& pattern) : pattern_(pattern) {}

  int64_t Interval() { return AtLeastOne(pattern_.interval); }
  int64_t Years() { return AtLeastOne(YearlyInterval(pattern_)); }
  int64_t Mask() { return Checked("day of week mask", pattern_.day_of_week_mask, 1, kEveryDay); }
  int64_t Day() { return Checked("day of month", pattern_.day_of_month, 1, 31); }
  int64_t Month() { return Checked("month of year", pattern_.month_of_year, 1, 12); }
  int64_t Instance() { return Checked("instance", pattern_.instance, 1, kLast); }
  const std::string& wrong() const { return wrong_; }

 private:
  int64_t AtLeastOne(std::optional<int64_t> interval) {
    return Checked("interval", std::max<int64_t>(1, interval.value_or(1)), 1, kMostInterval);
  }
  int64_t Checked(const char* name, std::optional<int64_t> value, int64_t least, int64_t most) {
    if (value && *value >= least && *value <= most) return *value;
    if (wrong_.empty()) wrong_ = value ? fmt::format("its {} is {}", name, *value) : fmt::format("it has no {}", name);
    return least;
  }

  const Recurrence& pattern_;
  std::string wrong_;
};

std::string DayList(int64_t mask) {
  std::string out;
  for (int day = 0; day < 7; day++)
    if ((mask >> day & 1) != 0) out += (out.empty() ? "" : ",") + std::string(kDays[day]);
  return out;
}

std::string OnDay(int64_t day) {
  if (day <= kShortestMonth) return fmt::format(";BYMONTHDAY={}", day);
  std::string days = std::to_string(kShortestMonth);
  for (int64_t d = kShortestMonth + 1; d <= day; d++) days += "," + std::to_string(d);
  return fmt::format(";BYMONTHDAY={};BYSETPOS=-1", days);
}

std::string OnInstance(int64_t instance, int64_t mask) {
  const int64_t position = instance == kLast ? -1 : instance;
  const bool one_day = (mask & (mask - 1)) == 0;
  if (one_day) return fmt::format(";BYDAY={}{}", position, DayList(mask));
  return fmt::format(";BYDAY={};BYSETPOS={}", DayList(mask), position);
}

std::string Text(const Recurrence& pattern, Numbers& numbers, const icaltimetype& start) {
  const int64_t mask = pattern.day_of_week_mask.value_or(0) & kEveryDay;
  switch (pattern.type) {
    case RecurrenceType::kDaily:
      return fmt::format("FREQ=DAILY;INTERVAL={}", numbers.Interval()) +
             (mask == 0 || mask == kEveryDay ? "" : ";BYDAY=" + DayList(mask));
    case RecurrenceType::kWeekly:
      return fmt::format("FREQ=WEEKLY;INTERVAL={};BYDAY={};WKST=SU", numbers.Interval(),
                         DayList(mask == 0 ? 1 << (icaltime_day_of_week(start) - 1) : mask));
    case RecurrenceType::kMonthly:
      return fmt::format("FREQ=MONTHLY;INTERVAL={}{}", numbers.Interval(), OnDay(numbers.Day()));
    case RecurrenceType::kMonthlyByDay:
      return fmt::format("FREQ=MONTHLY;INTERVAL={}{}", numbers.Interval(),
                         OnInstance(numbers.Instance(), numbers.Mask()));
    case RecurrenceType::kYearly:
      return fmt::format("FREQ=YEARLY;INTERVAL={};BYMONTH={}{}", numbers.Years(), numbers.Month(),
                         OnDay(numbers.Day()));
    case RecurrenceType::kYearlyByDay:
      return fmt::format("FREQ=YEARLY;INTERVAL={};BYMONTH={}{}", numbers.Years(), numbers.Month(),
                         OnInstance(numbers.Instance(), numbers.Mask()));
    case RecurrenceType::kOnce:
    case RecurrenceType::kUnknown:
      break;
  }
  return {};
}

}  // namespace

std::optional<std::string> RuleOf(const Recurrence& pattern, const icaltimetype& start, std::string& why_not) {
  Numbers numbers(pattern);
  std::string text = Text(pattern, numbers, start);
  why_not = text.empty() ? "the phone's agent has no word for the kind of its pattern" : numbers.wrong();
  if (!why_not.empty()) return std::nullopt;
  return text;
}

std::string RuleEnd(const Recurrence& pattern, bool all_day) {
  if (pattern.end_date)
    return fmt::format(";UNTIL={:04}{:02}{:02}{}", pattern.end_date->year, pattern.end_date->month,
                       pattern.end_date->day, all_day ? "" : "T235959");
  if (pattern.occurrences && *pattern.occurrences > 0) return fmt::format(";COUNT={}", *pattern.occurrences);
  return {};
}

}  // namespace brelix::ical
