#include "desktop/backup/AppointmentRow.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <span>

#include "desktop/Failure.h"
#include "desktop/Text.h"
#include "desktop/agenda/AppointmentElements.h"
#include "desktop/backup/RowValues.h"

namespace brelix::backup {
namespace {

struct Word {
  std::string_view word;
  int32_t value;
};
constexpr Word kRecurrences[] = {{"once", -1}, {"daily", 0}, {"weekly", 1}, {"monthly", 2}, {"yearly", 5}};
constexpr int32_t kMonthNth = 3;
constexpr int32_t kYearNth = 6;
constexpr Word kBusy[] = {{"free", 0}, {"tentative", 1}, {"busy", 2}, {"outofoffice", 3}};
constexpr Word kSensitivities[] = {{"normal", 0}, {"personal", 1}, {"private", 2}, {"confidential", 3}};
constexpr Word kMeetings[] = {{"none", 0}, {"meeting", 1}, {"accepted", 3}, {"canceled", 7}};
// No agent has a word for this one, whatever it is of.
constexpr int32_t kNoWord = 4;

constexpr int64_t kLeast = INT32_MIN;
constexpr int64_t kMost = INT32_MAX;
constexpr double kDayMinutes = 24 * 60;

// The elements of one document as values, and what of them no value says.
class Fields {
 public:
  Fields(const RawDocument& document, Losses& losses) : document_(document), losses_(losses) {}

  std::optional<std::string_view> Raw(std::string_view name) const { return document_.Raw(name); }

  bool Flag(std::string_view name) {
    const auto raw = Needed(name);
    if (raw != "yes" && raw != "no") losses_.push_back({std::string(name), "is neither yes nor no"});
    return raw == "yes";
  }
  std::u16string Text(std::string_view name) {
    const auto raw = Raw(name);
    return raw ? NeededText(*raw, name, losses_) : std::u16string();
  }
  double Date(std::string_view name) { return DateOf(Needed(name), name, losses_); }
  int32_t Number(std::string_view name) { return Number(name, Needed(name)); }
  // Agents write these without a sign.
  std::optional<int32_t> Count(std::string_view name) {
    const auto raw = Raw(name);
    if (!raw) return std::nullopt;
    return static_cast<int32_t>(static_cast<uint32_t>(NumberOf(*raw, 0, UINT32_MAX, name, losses_).value_or(0)));
  }
  int32_t Number(std::string_view name, std::string_view raw) {
    return static_cast<int32_t>(NumberOf(raw, kLeast, kMost, name, losses_).value_or(0));
  }
  // In place of a word that is missing, agents leave as many bytes as they wrote in front, blanks and all. No word is
  // as long.
  int32_t Value(std::string_view name, std::span<const Word> words) {
    const std::string_view raw = Needed(name);
    const auto row = std::find_if(words.begin(), words.end(), [&](const Word& word) { return word.word == raw; });
    if (row != words.end()) return row->value;
    if (raw.size() != name.size() + 4)
      losses_.push_back({std::string(name), fmt::format("is \"{}\", which is none of the words for it",
                                                        Printable(CleanUtf8(raw.substr(0, 40))))});
    return kNoWord;
  }

 private:
  std::string_view Needed(std::string_view name) { return Raw(name).value_or(""); }

  const RawDocument& document_;
  Losses& losses_;
};

// The number of "each 60 month", which is the appointment's length in minutes.
std::optional<std::string_view> NumberOfEach(std::string_view word, std::string_view unit) {
  constexpr std::string_view kEach = "each ";
  if (!word.starts_with(kEach) || !word.ends_with(unit) || word.size() <= kEach.size() + unit.size())
    return std::nullopt;
  return word.substr(kEach.size(), word.size() - kEach.size() - unit.size());
}

// Left-over bytes can happen to look like "each 123 month"; only the two types that are so come with an instance.
int32_t Type(Fields& fields, int32_t& duration) {
  const auto word = fields.Raw("recurrence");
  if (word && fields.Raw("instance")) {
    if (const auto minutes = NumberOfEach(*word, " month")) {
      duration = fields.Number("recurrence", *minutes);
      return kMonthNth;
    }
    if (const auto minutes = NumberOfEach(*word, " year")) {
      duration = fields.Number("recurrence", *minutes);
      return kYearNth;
    }
  }
  return fields.Value("recurrence", kRecurrences);
}

double TimeOfDay(double date) { return std::abs(date - std::trunc(date)); }

int32_t MinutesBetween(double start, double end) {
  const double minutes = std::round((end - start) * kDayMinutes);
  return std::abs(minutes) < static_cast<double>(kMost) ? static_cast<int32_t>(minutes) : 0;
}

handset::Recurrence Pattern(Fields& fields, handset::Appointment& item) {
  handset::Recurrence pattern;
  pattern.type = Type(fields, item.duration);
  if (fields.Raw("dayofmonth")) pattern.dayOfMonth = fields.Number("dayofmonth");
  if (fields.Raw("monthofyear")) pattern.monthOfYear = fields.Number("monthofyear");
  if (fields.Raw("instance")) pattern.instance = fields.Number("instance");
  pattern.dayOfWeekMask.reset();
  if (fields.Raw("dayofweekmask")) pattern.dayOfWeekMask = fields.Number("dayofweekmask");
  pattern.interval = fields.Count("interval");
  pattern.patternStartDate = fields.Date("patternstartdate");
  if (fields.Raw("patternenddate")) pattern.patternEndDate = fields.Date("patternenddate");
  pattern.occurrences = fields.Count("occurrences");
  pattern.noEndDate = !pattern.patternEndDate && !pattern.occurrences;
  // Not on the wire, and as a phone has them as a rule.
  pattern.startTime = TimeOfDay(item.start);
  pattern.endTime = TimeOfDay(item.end);
  pattern.duration = item.duration;
  return pattern;
}

}  // namespace

handset::Appointment AppointmentRow(std::string_view text, Losses& losses) {
  const RawDocument document(text, "agendaentry", kAppointmentElements, losses);
  Fields fields(document, losses);
  handset::Appointment item;
  const auto oid = NumberOf(document.Raw("oid").value_or(""), 1, UINT32_MAX, "oid", losses);
  if (!oid) throw Failure(Exit::kProtocol, "the phone's appointment has no object id");
  item.oid = static_cast<uint32_t>(*oid);
  item.allDayEvent = fields.Flag("alldayevent");
  item.subject = fields.Text("subject");
  item.location = fields.Text("location");
  item.categories = fields.Text("categories");
  item.body = fields.Text("body");
  item.start = fields.Date("starttime");
  item.end = fields.Date("endtime");
  item.duration = MinutesBetween(item.start, item.end);
  item.busyStatus = fields.Value("busystatus", kBusy);
  item.sensitivity = fields.Value("sensitivity", kSensitivities);
  item.meetingStatus = fields.Value("meetingstatus", kMeetings);
  item.reminderSet = fields.Flag("reminderset");
  item.reminderMinutesBeforeStart = fields.Number("minutesbeforereminder");
  item.reminderSoundFile = fields.Text("remindersound");
  if (fields.Flag("isrecurring")) item.recurrence = Pattern(fields, item);
  return item;
}

}  // namespace brelix::backup
