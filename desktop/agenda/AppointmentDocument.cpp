#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <span>

#include "desktop/Document.h"
#include "desktop/Elements.h"
#include "desktop/Failure.h"
#include "desktop/Text.h"
#include "desktop/agenda/Appointment.h"
#include "desktop/agenda/AppointmentElements.h"

namespace brelix {
namespace {

// The texts of the elements. A document in which something stands between the elements is read as far as it goes.
class Fields {
 public:
  explicit Fields(std::string_view text) {
    try {
      const Reading reading = ReadElements(InsideRoot(text, kRoot), kAppointmentElements);
      for (const ElementText& element : reading.elements) raw_.emplace(element.name, element.text);
      ambiguous_ = reading.ambiguous;
    } catch (const Failure&) {
      ReadTolerantly(text);
    }
  }

  bool ambiguous() const { return ambiguous_; }
  std::optional<std::string_view> Raw(std::string_view name) const {
    const auto found = raw_.find(name);
    if (found == raw_.end()) return std::nullopt;
    return found->second;
  }
  std::optional<std::string> Text(std::string_view name) const {
    const auto raw = Raw(name);
    if (!raw || raw->empty()) return std::nullopt;
    return CleanUtf8(*raw);
  }
  std::optional<int64_t> Number(std::string_view name) const {
    const std::string_view raw = Raw(name).value_or("");
    int64_t value = 0;
    const auto [end, error] = std::from_chars(raw.data(), raw.data() + raw.size(), value);
    if (error != std::errc() || end != raw.data() + raw.size()) return std::nullopt;
    return value;
  }

 private:
  void ReadTolerantly(std::string_view text) {
    std::vector<std::string_view> names;
    for (const ElementRule& rule : kAppointmentElements) names.push_back(rule.name);
    held_.emplace(text, kRoot, names);
    for (const std::string_view name : names)
      if (const auto raw = held_->Raw(name)) raw_.emplace(name, *raw);
  }

  static constexpr std::string_view kRoot = "agendaentry";
  std::map<std::string_view, std::string_view> raw_;
  std::optional<Document> held_;
  bool ambiguous_ = false;
};

template <typename Value>
struct WordRow {
  std::string_view word;
  Value value;
};

constexpr WordRow<RecurrenceType> kRecurrences[] = {
    {"once", RecurrenceType::kOnce},       {"daily", RecurrenceType::kDaily},   {"weekly", RecurrenceType::kWeekly},
    {"monthly", RecurrenceType::kMonthly}, {"yearly", RecurrenceType::kYearly},
};
constexpr WordRow<BusyStatus> kBusy[] = {
    {"free", BusyStatus::kFree},
    {"tentative", BusyStatus::kTentative},
    {"busy", BusyStatus::kBusy},
    {"outofoffice", BusyStatus::kOutOfOffice},
};
constexpr WordRow<Sensitivity> kSensitivities[] = {
    {"normal", Sensitivity::kNormal},
    {"personal", Sensitivity::kPersonal},
    {"private", Sensitivity::kPrivate},
    {"confidential", Sensitivity::kConfidential},
};
constexpr WordRow<MeetingStatus> kMeetings[] = {
    {"none", MeetingStatus::kNone},
    {"meeting", MeetingStatus::kMeeting},
    {"accepted", MeetingStatus::kAccepted},
    {"canceled", MeetingStatus::kCanceled},
};

// What has no word is not left out: between the tags stand as many bytes as the opening line is long, left over from
// an earlier reply. That is at least 14 bytes and never one of these words.
template <typename Value>
Value Lookup(std::span<const WordRow<Value>> rows, std::optional<std::string_view> word) {
  const auto row = std::find_if(rows.begin(), rows.end(), [&](const auto& r) { return word && r.word == *word; });
  return row == rows.end() ? Value::kUnknown : row->value;
}

template <typename Value>
std::string_view WordOf(std::span<const WordRow<Value>> rows, Value value) {
  const auto row = std::find_if(rows.begin(), rows.end(), [&](const auto& r) { return r.value == value; });
  return row == rows.end() ? std::string_view("unknown") : row->word;
}

bool IsEach(std::string_view word, std::string_view unit) {
  constexpr std::string_view kEach = "each ";
  if (word.size() <= kEach.size() + unit.size() || !word.starts_with(kEach) || !word.ends_with(unit)) return false;
  word = word.substr(kEach.size(), word.size() - kEach.size() - unit.size());
  if (word.starts_with('-')) word.remove_prefix(1);
  return !word.empty() && word.find_first_not_of("0123456789") == word.npos;
}

// The number in "each 60 month" is the appointment's length in minutes; how many months lie between two occurrences
// stands in an element of its own. Left-over bytes can happen to look like these words, but only the two types that
// have them come with an instance.
RecurrenceType TypeOf(const Fields& document) {
  const auto word = document.Raw("recurrence");
  const bool by_day = document.Raw("instance").has_value();
  if (word && by_day && IsEach(*word, " month")) return RecurrenceType::kMonthlyByDay;
  if (word && by_day && IsEach(*word, " year")) return RecurrenceType::kYearlyByDay;
  return Lookup<RecurrenceType>(kRecurrences, word);
}

bool Yes(const Fields& document, std::string_view name) { return document.Raw(name) == "yes"; }

std::optional<LocalTime> Time(const Fields& document, std::string_view name) {
  return ParseTimestamp(document.Raw(name).value_or(""));
}

Recurrence ReadRecurrence(const Fields& document) {
  return {.type = TypeOf(document),
          .interval = document.Number("interval"),
          .day_of_week_mask = document.Number("dayofweekmask"),
          .day_of_month = document.Number("dayofmonth"),
          .month_of_year = document.Number("monthofyear"),
          .instance = document.Number("instance"),
          .start_date = Time(document, "patternstartdate"),
          .end_date = Time(document, "patternenddate"),
          .occurrences = document.Number("occurrences")};
}

}  // namespace

Appointment ReadAppointment(std::string_view text) {
  const Fields document(text);
  Appointment item;
  item.ambiguous = document.ambiguous();
  item.oid = static_cast<uint32_t>(document.Number("oid").value_or(0));
  item.all_day = Yes(document, "alldayevent");
  item.subject = document.Text("subject");
  item.location = document.Text("location");
  item.categories = document.Text("categories");
  item.body = document.Text("body");
  item.start = Time(document, "starttime");
  item.end = Time(document, "endtime");
  if (Yes(document, "isrecurring")) item.recurrence = ReadRecurrence(document);
  item.busy_status = Lookup<BusyStatus>(kBusy, document.Raw("busystatus"));
  item.sensitivity = Lookup<Sensitivity>(kSensitivities, document.Raw("sensitivity"));
  item.meeting_status = Lookup<MeetingStatus>(kMeetings, document.Raw("meetingstatus"));
  item.reminder_set = Yes(document, "reminderset");
  item.reminder_minutes = document.Number("minutesbeforereminder");
  item.reminder_sound = document.Text("remindersound");
  return item;
}

std::string_view Word(RecurrenceType type) {
  if (type == RecurrenceType::kMonthlyByDay) return "monthly_by_day";
  if (type == RecurrenceType::kYearlyByDay) return "yearly_by_day";
  return WordOf<RecurrenceType>(kRecurrences, type);
}
std::string_view Word(BusyStatus status) { return WordOf<BusyStatus>(kBusy, status); }
std::string_view Word(Sensitivity sensitivity) { return WordOf<Sensitivity>(kSensitivities, sensitivity); }
std::string_view Word(MeetingStatus status) { return WordOf<MeetingStatus>(kMeetings, status); }

std::vector<std::string> SplitCategories(const std::string& categories) {
  std::vector<std::string> out;
  for (size_t at = 0; at <= categories.size();) {
    const size_t end = std::min(categories.find_first_of(",;", at), categories.size());
    const std::string_view part = std::string_view(categories).substr(at, end - at);
    const size_t first = part.find_first_not_of(" \t\r\n");
    if (first != part.npos) out.emplace_back(part.substr(first, part.find_last_not_of(" \t\r\n") - first + 1));
    at = end + 1;
  }
  return out;
}

}  // namespace brelix
