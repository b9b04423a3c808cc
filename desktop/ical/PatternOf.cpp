#include <algorithm>
#include <span>
#include <vector>

#include "desktop/ical/Rule.h"

namespace brelix::ical {
namespace {

constexpr int kMonthsOfAYear = 12;
constexpr int kMonthEnd = 31;

using Ints = std::vector<int>;

// A BY list of libical: ended by a mark unless it is full.
Ints List(std::span<const short> values) {
  return {values.begin(), std::find(values.begin(), values.end(), ICAL_RECURRENCE_ARRAY_MAX)};
}

struct Parts {
  explicit Parts(const icalrecurrencetype& rule)
      : days(List(rule.by_day)),
        month_days(List(rule.by_month_day)),
        months(List(rule.by_month)),
        positions(List(rule.by_set_pos)) {}

  Ints days, month_days, months, positions;
};

// The days of the week as a mask; nothing when one of them has a position, as in 2MO.
std::optional<int64_t> Mask(const Ints& days) {
  int64_t mask = 0;
  for (const int day : days) {
    if (icalrecurrencetype_day_position(day) != 0) return std::nullopt;
    mask |= int64_t{1} << (icalrecurrencetype_day_day_of_week(day) - ICAL_SUNDAY_WEEKDAY);
  }
  return mask;
}

// A fifth becomes the last: in months that have five, both are the same.
std::optional<int64_t> Instance(int position) {
  if (position >= 1 && position <= 5) return position;
  if (position == -1) return 5;
  return std::nullopt;
}

// BYMONTHDAY=28,29,30;BYSETPOS=-1 is the 30th or the last day of a shorter month.
bool RunsToMonthEnd(const Parts& parts) {
  const Ints& days = parts.month_days;
  if (parts.positions != Ints{-1} || days.size() < 2 || days.size() > 4) return false;
  for (size_t i = 0; i < days.size(); i++)
    if (days[i] != 28 + static_cast<int>(i)) return false;
  return true;
}

std::optional<int64_t> DayOfMonth(const Parts& parts, const icaltimetype& start) {
  if (!parts.days.empty()) return std::nullopt;
  if (RunsToMonthEnd(parts)) return parts.month_days.back();
  if (!parts.positions.empty() || parts.month_days.size() > 1) return std::nullopt;
  if (parts.month_days.empty()) return start.day;
  const int day = parts.month_days.front();
  if (day == -1) return kMonthEnd;
  if (day < 1 || day > kMonthEnd) return std::nullopt;
  return day;
}

// "2TU", or several days and one position among them.
bool ByDay(const Parts& parts, Recurrence& pattern) {
  if (!parts.month_days.empty() || parts.days.empty()) return false;
  if (parts.days.size() == 1 && parts.positions.empty()) {
    const int day = parts.days.front();
    pattern.instance = Instance(icalrecurrencetype_day_position(day));
    pattern.day_of_week_mask = int64_t{1} << (icalrecurrencetype_day_day_of_week(day) - ICAL_SUNDAY_WEEKDAY);
    return pattern.instance.has_value();
  }
  if (parts.positions.size() != 1) return false;
  pattern.instance = Instance(parts.positions.front());
  pattern.day_of_week_mask = Mask(parts.days);
  return pattern.instance && pattern.day_of_week_mask;
}

bool Weekly(const Parts& parts, const icaltimetype& start, Recurrence& pattern) {
  if (!parts.month_days.empty() || !parts.months.empty() || !parts.positions.empty()) return false;
  pattern.type = RecurrenceType::kWeekly;
  pattern.day_of_week_mask = parts.days.empty() ? int64_t{1} << (icaltime_day_of_week(start) - 1) : Mask(parts.days);
  return pattern.day_of_week_mask.has_value();
}

bool Daily(const Parts& parts, const icaltimetype& start, Recurrence& pattern) {
  if (parts.days.empty() && parts.month_days.empty() && parts.months.empty() && parts.positions.empty()) {
    pattern.type = RecurrenceType::kDaily;
    return true;
  }
  // Every day of some days of the week is every week on those days.
  return pattern.interval == 1 && Weekly(parts, start, pattern);
}

bool Monthly(const Parts& parts, const icaltimetype& start, Recurrence& pattern) {
  if (!parts.months.empty()) return false;
  if ((pattern.day_of_month = DayOfMonth(parts, start))) {
    pattern.type = RecurrenceType::kMonthly;
    return true;
  }
  pattern.type = RecurrenceType::kMonthlyByDay;
  return ByDay(parts, pattern);
}

bool Yearly(const Parts& parts, const icaltimetype& start, Recurrence& pattern) {
  // Without a month, days are counted within the whole year.
  if (parts.months.size() > 1) return false;
  if (parts.months.empty() && (!parts.days.empty() || !parts.month_days.empty())) return false;
  pattern.interval = *pattern.interval * kMonthsOfAYear;
  pattern.month_of_year = parts.months.empty() ? start.month : parts.months.front();
  if (*pattern.month_of_year > kMonthsOfAYear) return false;  // a leap month of another calendar
  if ((pattern.day_of_month = DayOfMonth(parts, start))) {
    pattern.type = RecurrenceType::kYearly;
    return true;
  }
  pattern.type = RecurrenceType::kYearlyByDay;
  return ByDay(parts, pattern);
}

// A part that no pattern has; null when there is none.
const char* Stranger(const icalrecurrencetype& rule) {
  if (rule.rscale != nullptr) return "RSCALE";
  if (!List(rule.by_second).empty()) return "BYSECOND";
  if (!List(rule.by_minute).empty()) return "BYMINUTE";
  if (!List(rule.by_hour).empty()) return "BYHOUR";
  if (!List(rule.by_year_day).empty()) return "BYYEARDAY";
  if (!List(rule.by_week_no).empty()) return "BYWEEKNO";
  return nullptr;
}

}  // namespace

std::optional<Recurrence> PatternOf(const icalrecurrencetype& rule, const icaltimetype& start, std::string& why_not) {
  if (const char* part = Stranger(rule)) {
    why_not = part;
    return std::nullopt;
  }
  const Parts parts(rule);
  Recurrence pattern;
  pattern.interval = rule.interval < 1 ? 1 : rule.interval;
  why_not = "the combination of its BY parts";
  bool said = false;
  switch (rule.freq) {
    case ICAL_DAILY_RECURRENCE:
      said = Daily(parts, start, pattern);
      break;
    case ICAL_WEEKLY_RECURRENCE:
      said = Weekly(parts, start, pattern);
      break;
    case ICAL_MONTHLY_RECURRENCE:
      said = Monthly(parts, start, pattern);
      break;
    case ICAL_YEARLY_RECURRENCE:
      said = Yearly(parts, start, pattern);
      break;
    default:
      why_not = "its frequency";
  }
  // Phones keep no longer interval.
  if (said && *pattern.interval > 999) {
    why_not = "INTERVAL";
    said = false;
  }
  if (!said) return std::nullopt;
  return pattern;
}

}  // namespace brelix::ical
