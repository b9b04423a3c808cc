#include <ctime>
#include <fmt/format.h>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "desktop/ical/Import.h"
#include "programs/phone/import/Import.h"

namespace brelix_phone {
namespace {

using brelix::Appointment;
using brelix::LocalTime;
using nlohmann::json;

// As the phone described will show a time in UTC: by the zone it is given, else by this computer's, which it follows.
LocalTime ToLocal(const LocalTime& utc, const std::optional<int>& offsetMinutes) {
  std::tm parts{};
  parts.tm_year = utc.year - 1900;
  parts.tm_mon = utc.month - 1;
  parts.tm_mday = utc.day;
  parts.tm_hour = utc.hour;
  parts.tm_min = utc.minute + offsetMinutes.value_or(0);
  parts.tm_sec = utc.second.value_or(0);
  const std::time_t point = timegm(&parts);
  if (!offsetMinutes) localtime_r(&point, &parts);
  return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec};
}

std::string DateText(const LocalTime& time) {
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}", time.year, time.month, time.day, time.hour, time.minute,
                     time.second.value_or(0));
}

// The phone's own numbers, in the order of the words.
int BusyNumber(brelix::BusyStatus status) { return static_cast<int>(status) - 1; }
int SensitivityNumber(brelix::Sensitivity sensitivity) { return static_cast<int>(sensitivity) - 1; }

int MeetingNumber(brelix::MeetingStatus status) {
  static const std::map<brelix::MeetingStatus, int> kNumbers = {{brelix::MeetingStatus::kMeeting, 1},
                                                                {brelix::MeetingStatus::kAccepted, 3},
                                                                {brelix::MeetingStatus::kCanceled, 7}};
  const auto found = kNumbers.find(status);
  return found == kNumbers.end() ? 0 : found->second;
}

int TypeNumber(brelix::RecurrenceType type) {
  static const std::map<brelix::RecurrenceType, int> kNumbers = {
      {brelix::RecurrenceType::kDaily, 0},   {brelix::RecurrenceType::kWeekly, 1},
      {brelix::RecurrenceType::kMonthly, 2}, {brelix::RecurrenceType::kMonthlyByDay, 3},
      {brelix::RecurrenceType::kYearly, 5},  {brelix::RecurrenceType::kYearlyByDay, 6},
  };
  return kNumbers.at(type);
}

template <typename Value>
void Put(json& to, const char* key, const std::optional<Value>& value) {
  if (value) to[key] = *value;
}

json Pattern(const brelix::Recurrence& pattern) {
  json out = {{"RecurrenceType", TypeNumber(pattern.type)}, {"NoEndDate", !pattern.end_date}};
  Put(out, "Interval", pattern.interval);
  Put(out, "DayOfWeekMask", pattern.day_of_week_mask);
  Put(out, "DayOfMonth", pattern.day_of_month);
  Put(out, "MonthOfYear", pattern.month_of_year);
  Put(out, "Instance", pattern.instance);
  Put(out, "Occurrences", pattern.occurrences);
  if (pattern.start_date) out["PatternStartDate"] = DateText(*pattern.start_date);
  if (pattern.end_date) out["PatternEndDate"] = DateText(*pattern.end_date);
  return out;
}

json Describe(const Appointment& item) {
  json out = {{"Start", DateText(*item.start)},
              {"End", DateText(*item.end)},
              {"AllDayEvent", item.all_day},
              {"BusyStatus", BusyNumber(item.busy_status)},
              {"Sensitivity", SensitivityNumber(item.sensitivity)},
              {"MeetingStatus", MeetingNumber(item.meeting_status)},
              {"ReminderSet", item.reminder_set}};
  Put(out, "Subject", item.subject);
  Put(out, "Location", item.location);
  Put(out, "Categories", item.categories);
  Put(out, "Body", item.body);
  Put(out, "ReminderMinutesBeforeStart", item.reminder_minutes);
  Put(out, "ReminderSoundFile", item.reminder_sound);
  if (item.recurrence) out["Recurrence"] = Pattern(*item.recurrence);
  return out;
}

std::optional<int> OffsetOf(const json& description) {
  const json offset = description.value(json::json_pointer("/clock/utcOffsetMinutes"), json());
  if (!offset.is_number_integer()) return std::nullopt;
  return offset.get<int>();
}

}  // namespace

void ImportAgenda(const std::filesystem::path& file, json& description) {
  std::ifstream in(file, std::ios::binary);
  if (!in || std::filesystem::is_directory(file))
    throw std::runtime_error(fmt::format("{}: cannot be read", file.string()));
  const std::optional<int> offset = OffsetOf(description);
  const auto read =
      brelix::ical::ReadCalendar(in, file.string(), [&](const LocalTime& utc) { return ToLocal(utc, offset); });
  for (const std::string& note : read.notes) fmt::print(stderr, "brelix-phone: {}\n", note);
  json& appointments = description["appointments"];
  for (const Appointment& item : read.appointments) appointments.push_back(Describe(item));
}

}  // namespace brelix_phone
