#include "desktop/ical/Export.h"

#include <fmt/format.h>

#include "desktop/ical/Rule.h"
#include "desktop/ical/Span.h"

namespace brelix::ical {
namespace {

constexpr int64_t kMostReminder = 60 * 24 * 366;  // minutes

// A text may hold tabs and line ends, no other control characters.
std::string CleanText(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); i++) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c == '\r') {
      if (i + 1 == text.size() || text[i + 1] != '\n') out += '\n';
    } else if ((c < 0x20 && c != '\t' && c != '\n') || c == 0x7F) {
      out += "\uFFFD";
    } else {
      out += text[i];
    }
  }
  return out;
}

void Add(icalcomponent* event, icalproperty* property) { icalcomponent_add_property(event, property); }

void AddX(icalcomponent* event, const char* name, const std::string& text) {
  icalproperty* property = icalproperty_new_x(text.c_str());
  icalproperty_set_x_name(property, name);
  Add(event, property);
}

void AddTexts(icalcomponent* event, const Appointment& item) {
  if (item.subject) Add(event, icalproperty_new_summary(CleanText(*item.subject).c_str()));
  if (item.location) Add(event, icalproperty_new_location(CleanText(*item.location).c_str()));
  if (item.body) Add(event, icalproperty_new_description(CleanText(*item.body).c_str()));
  for (const std::string& category : SplitCategories(item.categories.value_or("")))
    Add(event, icalproperty_new_categories(CleanText(category).c_str()));
}

void AddBusy(icalcomponent* event, BusyStatus status, std::vector<std::string>& notes) {
  static constexpr const char* kWords[] = {nullptr, "FREE", "TENTATIVE", "BUSY", "OOF"};
  const char* word = kWords[static_cast<int>(status)];
  if (word == nullptr) {
    notes.emplace_back("its busy status is unknown");
    return;
  }
  Add(event, icalproperty_new_transp(status == BusyStatus::kFree ? ICAL_TRANSP_TRANSPARENT : ICAL_TRANSP_OPAQUE));
  AddX(event, "X-MICROSOFT-CDO-BUSYSTATUS", word);
}

void AddSensitivity(icalcomponent* event, Sensitivity sensitivity, std::vector<std::string>& notes) {
  static constexpr const char* kWords[] = {nullptr, "PUBLIC", "X-PERSONAL", "PRIVATE", "CONFIDENTIAL"};
  if (const char* word = kWords[static_cast<int>(sensitivity)])
    Add(event, icalproperty_new_from_string(fmt::format("CLASS:{}", word).c_str()));
  else
    notes.emplace_back("its sensitivity is unknown");
}

void AddMeeting(icalcomponent* event, MeetingStatus status, std::vector<std::string>& notes) {
  if (status == MeetingStatus::kUnknown) notes.emplace_back("its meeting status is unknown");
  if (status == MeetingStatus::kCanceled) Add(event, icalproperty_new_status(ICAL_STATUS_CANCELLED));
  if (status == MeetingStatus::kMeeting) AddX(event, "X-BRELIX-MEETING", "MEETING");
  if (status == MeetingStatus::kAccepted) AddX(event, "X-BRELIX-MEETING", "ACCEPTED");
}

void AddReminder(icalcomponent* event, const Appointment& item, std::vector<std::string>& notes) {
  if (!item.reminder_set) return;
  const int64_t minutes = item.reminder_minutes.value_or(kMostReminder + 1);
  if (minutes > kMostReminder || minutes < -kMostReminder) {
    notes.emplace_back("its reminder has no time that makes sense");
    return;
  }
  icalcomponent* alarm = icalcomponent_new_valarm();
  icaltriggertype trigger{};
  trigger.time = icaltime_null_time();
  trigger.duration = icaldurationtype_from_int(static_cast<int>(-minutes * 60));
  Add(alarm, icalproperty_new_action(ICAL_ACTION_DISPLAY));
  Add(alarm, icalproperty_new_trigger(trigger));
  Add(alarm, icalproperty_new_description(CleanText(item.subject.value_or("Reminder")).c_str()));
  if (item.reminder_sound) AddX(alarm, "X-BRELIX-SOUND", CleanText(*item.reminder_sound));
  icalcomponent_add_component(event, alarm);
}

void AddTimes(icalcomponent* event, const Span& span, std::vector<std::string>& notes) {
  Add(event, icalproperty_new_dtstart(span.start));
  // An event without an end lasts no time at all.
  if (icaltime_compare(span.end, span.start) > 0) Add(event, icalproperty_new_dtend(span.end));
  if (!span.rule.empty())
    Add(event, icalproperty_new_rrule(icalrecurrencetype_from_string((span.rule + span.rule_end).c_str())));
  notes.insert(notes.end(), span.notes.begin(), span.notes.end());
}

}  // namespace

ExportedEvent ToEvent(const Appointment& item, const std::string& phone, const icaltimetype& now) {
  ExportedEvent out;
  const std::optional<Span> span = SpanOf(item);
  if (!span) {
    out.complete = false;
    out.notes.emplace_back("it is left out, since it has no start that is a date");
    return out;
  }
  out.complete = !span->dates_lost;
  if (item.ambiguous) out.notes.emplace_back("its texts could be told apart in another way");
  const Component event(icalcomponent_new_vevent());
  Add(event.get(), icalproperty_new_uid(fmt::format("agenda-{}@{}.brelix", item.oid, phone).c_str()));
  Add(event.get(), icalproperty_new_dtstamp(now));
  AddTimes(event.get(), *span, out.notes);
  AddTexts(event.get(), item);
  AddBusy(event.get(), item.busy_status, out.notes);
  AddSensitivity(event.get(), item.sensitivity, out.notes);
  AddMeeting(event.get(), item.meeting_status, out.notes);
  AddReminder(event.get(), item, out.notes);
  out.text = Owned(icalcomponent_as_ical_string_r(event.get()));
  return out;
}

std::string CalendarBegin() {
  return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//BrelixEngine//brelix//EN\r\nCALSCALE:GREGORIAN\r\n";
}

std::string CalendarEnd() { return "END:VCALENDAR\r\n"; }

}  // namespace brelix::ical
