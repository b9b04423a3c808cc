#include "desktop/ical/EventReader.h"

#include <algorithm>
#include <fmt/format.h>
#include <set>

namespace brelix::ical {
namespace {

constexpr const char* kUtc = "UTC";

std::string ZoneOf(icalproperty* property, const icaltimetype& time) {
  if (icaltime_is_utc(time)) return kUtc;
  icalparameter* tzid = icalproperty_get_first_parameter(property, ICAL_TZID_PARAMETER);
  const char* text = tzid == nullptr ? nullptr : icalparameter_get_tzid(tzid);
  return text == nullptr ? "" : text;
}

// Properties that say nothing a person would miss.
bool IsBookkeeping(icalproperty* property) {
  static const std::set<icalproperty_kind> kKinds = {
      ICAL_UID_PROPERTY,      ICAL_DTSTAMP_PROPERTY, ICAL_CREATED_PROPERTY, ICAL_LASTMODIFIED_PROPERTY,
      ICAL_SEQUENCE_PROPERTY, ICAL_DTSTART_PROPERTY, ICAL_DTEND_PROPERTY,   ICAL_DURATION_PROPERTY,
      ICAL_RRULE_PROPERTY,    ICAL_EXDATE_PROPERTY,  ICAL_RDATE_PROPERTY,   ICAL_EXRULE_PROPERTY,
  };
  return kKinds.contains(icalproperty_isa(property));
}

std::string TextOf(const char* text) { return text == nullptr ? "" : text; }

template <typename Value, size_t kCount>
const Value* Find(const std::pair<const char*, Value> (&rows)[kCount], const std::string& word) {
  const auto row = std::find_if(std::begin(rows), std::end(rows), [&](const auto& r) { return word == r.first; });
  return row == std::end(rows) ? nullptr : &row->second;
}

constexpr std::pair<const char*, BusyStatus> kBusy[] = {{"FREE", BusyStatus::kFree},
                                                        {"TENTATIVE", BusyStatus::kTentative},
                                                        {"BUSY", BusyStatus::kBusy},
                                                        {"OOF", BusyStatus::kOutOfOffice}};
constexpr std::pair<const char*, Sensitivity> kClasses[] = {{"PUBLIC", Sensitivity::kNormal},
                                                            {"X-PERSONAL", Sensitivity::kPersonal},
                                                            {"PRIVATE", Sensitivity::kPrivate},
                                                            {"CONFIDENTIAL", Sensitivity::kConfidential}};
constexpr std::pair<const char*, MeetingStatus> kMeetings[] = {{"MEETING", MeetingStatus::kMeeting},
                                                               {"ACCEPTED", MeetingStatus::kAccepted}};

}  // namespace

icaltimetype EventReader::Local(const icaltimetype& time) const {
  if (!icaltime_is_utc(time)) {
    icaltimetype local = time;
    local.zone = nullptr;
    return local;
  }
  return ToIcal(to_local_(FromIcal(time)), false);
}

// The time of a property of the event; nothing when it has none that is a date.
std::optional<EventReader::Moment> EventReader::MomentOf(icalproperty_kind kind) {
  icalproperty* property = icalcomponent_get_first_property(event_, kind);
  if (property == nullptr) return std::nullopt;
  icalvalue* value = icalproperty_get_value(property);
  if (value == nullptr || (icalvalue_isa(value) != ICAL_DATETIME_VALUE && icalvalue_isa(value) != ICAL_DATE_VALUE))
    return std::nullopt;
  const icaltimetype written = icalvalue_get_datetime(value);
  if (!Exists(written)) return std::nullopt;
  Moment moment{written, Local(written), ZoneOf(property, written)};
  if (!Exists(moment.local)) return std::nullopt;
  if (!moment.zone.empty() && std::find(zones_.begin(), zones_.end(), moment.zone) == zones_.end())
    zones_.push_back(moment.zone);
  return moment;
}

icaltimetype EventReader::EndOf(const Moment& start) {
  icaltimetype end = start.local;
  if (const auto moment = MomentOf(ICAL_DTEND_PROPERTY)) {
    end = moment->local;
    if (moment->zone != start.zone)
      Note(fmt::format("its end is in another time zone ({}) than its start", moment->zone));
    if (moment->local.is_date != start.local.is_date) end = start.local;
  } else if (icalproperty* length = icalcomponent_get_first_property(event_, ICAL_DURATION_PROPERTY)) {
    end = icaltime_add(start.local, icalproperty_get_duration(length));
  }
  // A day without an end is that day.
  const icaltimetype least = start.local.is_date ? DaysLater(start.local, 1) : start.local;
  if (!Exists(end) || icaltime_compare(end, start.local) < 0) Note("its end lies before its start");
  return !Exists(end) || icaltime_compare(end, least) < 0 ? least : end;
}

bool EventReader::ReadTimes(Appointment& item) {
  const auto start = MomentOf(ICAL_DTSTART_PROPERTY);
  if (!start) {
    Note("left out: it has no DTSTART that is a date");
    return false;
  }
  start_ = *start;
  end_ = EndOf(start_);
  item.all_day = start_.local.is_date != 0;
  return true;
}

void EventReader::ReadText(std::optional<std::string>& to, icalproperty* property) {
  icalvalue* value = icalproperty_get_value(property);
  if (to || value == nullptr) return LeaveOut(property);
  const std::string text = TextOf(icalvalue_get_text(value));
  if (!text.empty()) to = text;
}

// Phones keep the categories as one text, with commas between them.
void EventReader::ReadCategory(icalproperty* property, Appointment& item) {
  const std::string text = TextOf(icalproperty_get_categories(property));
  if (text.find_first_of(",;") != text.npos) Note(fmt::format("its category \"{}\" becomes several", text));
  if (!text.empty()) item.categories = item.categories ? *item.categories + ", " + text : text;
}

void EventReader::ReadClass(icalproperty* property, Appointment& item) {
  const std::string word = TextOf(icalproperty_get_value_as_string(property));
  if (const Sensitivity* known = Find(kClasses, word)) {
    item.sensitivity = *known;
    return;
  }
  item.sensitivity = Sensitivity::kPrivate;
  Note(fmt::format("CLASS:{} becomes private", word));
}

void EventReader::ReadX(icalproperty* property, Appointment& item) {
  const std::string name = TextOf(icalproperty_get_x_name(property));
  const std::string word = TextOf(icalproperty_get_x(property));
  if (name == "X-MICROSOFT-CDO-BUSYSTATUS") {
    if (const BusyStatus* known = Find(kBusy, word)) {
      item.busy_status = *known;
      busy_told_ = true;
      return;
    }
  }
  if (name == "X-BRELIX-MEETING") {
    if (const MeetingStatus* known = Find(kMeetings, word)) {
      item.meeting_status = *known;
      return;
    }
  }
  LeaveOut(property);
}

void EventReader::LeaveOut(icalproperty* property) {
  const bool named = icalproperty_isa(property) == ICAL_X_PROPERTY;
  left_out_[TextOf(named ? icalproperty_get_x_name(property) : icalproperty_get_property_name(property))]++;
}

void EventReader::TellLeftOut() {
  std::string names;
  for (const auto& [name, count] : left_out_) {
    names += (names.empty() ? "" : ", ") + name;
    if (count > 1) names += fmt::format(" ({} times)", count);
  }
  if (!names.empty()) Note("left out: " + names);
}

void EventReader::ReadProperty(icalproperty* property, Appointment& item) {
  switch (icalproperty_isa(property)) {
    case ICAL_SUMMARY_PROPERTY:
      return ReadText(item.subject, property);
    case ICAL_LOCATION_PROPERTY:
      return ReadText(item.location, property);
    case ICAL_DESCRIPTION_PROPERTY:
      return ReadText(item.body, property);
    case ICAL_CATEGORIES_PROPERTY:
      return ReadCategory(property, item);
    case ICAL_CLASS_PROPERTY:
      return ReadClass(property, item);
    case ICAL_TRANSP_PROPERTY:
      if (!busy_told_ && icalproperty_get_transp(property) == ICAL_TRANSP_TRANSPARENT)
        item.busy_status = BusyStatus::kFree;
      return;
    case ICAL_STATUS_PROPERTY:
      if (icalproperty_get_status(property) == ICAL_STATUS_CANCELLED) item.meeting_status = MeetingStatus::kCanceled;
      if (icalproperty_get_status(property) == ICAL_STATUS_TENTATIVE && !busy_told_)
        item.busy_status = BusyStatus::kTentative;
      return;
    case ICAL_X_PROPERTY:
      return ReadX(property, item);
    case ICAL_XLICERROR_PROPERTY:
      return Note("cannot be read: " + TextOf(icalproperty_get_value_as_string(property)));
    default:
      if (!IsBookkeeping(property)) LeaveOut(property);
  }
}

// Minutes before the start; nothing for an alarm that no phone can say.
std::optional<int64_t> EventReader::MinutesBefore(icalcomponent* alarm) {
  icalproperty* action = icalcomponent_get_first_property(alarm, ICAL_ACTION_PROPERTY);
  icalproperty* property = icalcomponent_get_first_property(alarm, ICAL_TRIGGER_PROPERTY);
  if (property == nullptr) return std::nullopt;
  if (action != nullptr) {
    const icalproperty_action kind = icalproperty_get_action(action);
    if (kind != ICAL_ACTION_DISPLAY && kind != ICAL_ACTION_AUDIO) return std::nullopt;
  }
  icalparameter* related = icalproperty_get_first_parameter(property, ICAL_RELATED_PARAMETER);
  if (related != nullptr && icalparameter_get_related(related) == ICAL_RELATED_END) return std::nullopt;
  const icaltriggertype trigger = icalproperty_get_trigger(property);
  int64_t seconds = 0;
  if (icaltime_is_null_time(trigger.time)) {
    seconds = -int64_t{icaldurationtype_as_int(trigger.duration)};
  } else {
    if (!Exists(trigger.time)) return std::nullopt;
    seconds = icaldurationtype_as_int(icaltime_subtract(start_.local, Local(trigger.time)));
  }
  if (seconds < 0) return std::nullopt;
  return (seconds + 59) / 60;
}

void EventReader::ReadAlarms(Appointment& item) {
  int more = 0;
  for (icalcomponent* alarm = icalcomponent_get_first_component(event_, ICAL_VALARM_COMPONENT); alarm != nullptr;
       alarm = icalcomponent_get_next_component(event_, ICAL_VALARM_COMPONENT)) {
    const auto minutes = MinutesBefore(alarm);
    if (!minutes || item.reminder_set) {
      more++;
      continue;
    }
    item.reminder_set = true;
    item.reminder_minutes = minutes;
    for (icalproperty* x = icalcomponent_get_first_property(alarm, ICAL_X_PROPERTY); x != nullptr;
         x = icalcomponent_get_next_property(alarm, ICAL_X_PROPERTY))
      if (TextOf(icalproperty_get_x_name(x)) == "X-BRELIX-SOUND") item.reminder_sound = TextOf(icalproperty_get_x(x));
  }
  if (more > 0) Note(fmt::format("{} of its alarms left out: a phone keeps one, at or before the start", more));
}

std::optional<Appointment> EventReader::Read() {
  if (icalcomponent_get_first_property(event_, ICAL_RECURRENCEID_PROPERTY) != nullptr) {
    Note("left out: it changes one occurrence of another event, which a phone's pattern cannot say");
    return std::nullopt;
  }
  Appointment item;
  item.busy_status = BusyStatus::kBusy;
  item.sensitivity = Sensitivity::kNormal;
  item.meeting_status = MeetingStatus::kNone;
  for (icalproperty* property = icalcomponent_get_first_property(event_, ICAL_ANY_PROPERTY); property != nullptr;
       property = icalcomponent_get_next_property(event_, ICAL_ANY_PROPERTY))
    ReadProperty(property, item);
  if (!ReadTimes(item)) return std::nullopt;
  ReadPattern(item);
  ReadAlarms(item);
  TellLeftOut();
  item.start = FromIcal(start_.local);
  item.end = FromIcal(end_);
  return item;
}

}  // namespace brelix::ical
