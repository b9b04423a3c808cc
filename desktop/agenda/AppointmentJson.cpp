#include "desktop/agenda/AppointmentJson.h"

#include <fmt/format.h>

namespace brelix {
namespace {

using Json = nlohmann::ordered_json;

template <typename T>
Json OrNull(const std::optional<T>& value) {
  return value ? Json(*value) : Json();
}

Json Date(const std::optional<LocalTime>& time) {
  if (!time) return {};
  return fmt::format("{:04}-{:02}-{:02}", time->year, time->month, time->day);
}

Json Time(const std::optional<LocalTime>& time) {
  if (!time) return {};
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}", time->year, time->month, time->day, time->hour,
                     time->minute, time->second.value_or(0));
}

Json Pattern(const std::optional<Recurrence>& r) {
  if (!r) return {};
  return {{"type", Word(r->type)},
          {"interval", OrNull(r->interval)},
          {"day_of_week_mask", OrNull(r->day_of_week_mask)},
          {"day_of_month", OrNull(r->day_of_month)},
          {"month_of_year", OrNull(r->month_of_year)},
          {"instance", OrNull(r->instance)},
          {"start_date", Date(r->start_date)},
          {"end_date", Date(r->end_date)},
          {"occurrences", OrNull(r->occurrences)}};
}

}  // namespace

Json ToJson(const Appointment& item) {
  Json object = {{"oid", item.oid},
                 {"subject", OrNull(item.subject)},
                 {"location", OrNull(item.location)},
                 {"categories", SplitCategories(item.categories.value_or(""))},
                 {"body", OrNull(item.body)},
                 {"all_day", item.all_day},
                 {"start", Time(item.start)},
                 {"end", Time(item.end)},
                 {"recurrence", Pattern(item.recurrence)},
                 {"busy_status", Word(item.busy_status)},
                 {"sensitivity", Word(item.sensitivity)},
                 {"meeting_status", Word(item.meeting_status)},
                 {"reminder_set", item.reminder_set},
                 {"reminder_minutes", OrNull(item.reminder_minutes)},
                 {"reminder_sound", OrNull(item.reminder_sound)}};
  if (item.ambiguous) object["ambiguous"] = true;
  return object;
}

}  // namespace brelix
