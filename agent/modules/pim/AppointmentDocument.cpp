// CAppointmentRecord, written as an agendaentry document.
#include <iterator>
#include <string_view>

#include "agent/engine/DocumentLines.h"
#include "agent/engine/WireFormat.h"
#include "agent/modules/pim/AppointmentRecord.h"
#include "agent/modules/pim/RecurrenceTypes.h"

namespace {

using document::Element;

struct Word {
  ce::LONG value;
  std::string_view word;
  std::string_view afterNumber = {};  // with one, a number stands between the two
};

constexpr Word kRecurrences[] = {
    {ce::olRecursOnce, "once"},
    {ce::olRecursDaily, "daily"},
    {ce::olRecursWeekly, "weekly"},
    {ce::olRecursMonthly, "monthly"},
    {ce::olRecursMonthNth, "each ", " month"},
    {ce::olRecursYearly, "yearly"},
    {ce::olRecursYearNth, "each ", " year"},
};
constexpr Word kBusyStatuses[] = {{0, "free"}, {1, "tentative"}, {2, "busy"}, {3, "outofoffice"}};
constexpr Word kSensitivities[] = {{0, "normal"}, {1, "personal"}, {2, "private"}, {3, "confidential"}};
constexpr Word kMeetingStatuses[] = {{0, "none"}, {1, "meeting"}, {3, "accepted"}, {7, "canceled"}};

// Kept(unmapped-word-leaves-bytes): in place of a word that a value does not have, as many bytes as the line's opening
// has are left as the send buffer held them.
template <std::size_t kCount>
void WordElement(CReplyWriter& reply, std::string_view name, const Word (&words)[kCount], ce::LONG value,
                 ce::LONG number = 0) {
  Element(reply, name, [&] {
    for (const Word& row : words) {
      if (row.value == value) {
        reply.Text(row.word);
        if (!row.afterNumber.empty()) {
          reply.Dec(number);
          reply.Text(row.afterNumber);
        }
        return;
      }
    }
    constexpr std::size_t kBlanksAndBrackets = 4;
    reply.Skip(static_cast<std::uint32_t>(name.size() + kBlanksAndBrackets));
  });
}

void FlagElement(CReplyWriter& reply, std::string_view name, bool flag) {
  const std::string_view word = flag ? std::string_view("yes") : std::string_view("no");
  Element(reply, name, [&] { reply.Text(word); });
}

void NumberElement(CReplyWriter& reply, std::string_view name, ce::LONG number) {
  Element(reply, name, [&] { reply.Dec(number); });
}

void CountElement(CReplyWriter& reply, std::string_view name, ce::LONG count) {
  Element(reply, name, [&] { reply.Unsigned(static_cast<std::uint32_t>(count)); });
}

void TextElement(CReplyWriter& reply, std::string_view name, const ce::WCHAR* text) {
  if (text != nullptr) {
    Element(reply, name, [&] { reply.Utf8(text); });
  }
}

}  // namespace

// Kept(appointment-local-time-with-z): all times are the phone's local ones, although the Z says UTC.
void CAppointmentRecord::Write(CReplyWriter& reply) const {
  reply.U32(wire::kResultOk);
  reply.XmlHeader();
  reply.Text("<agendaentry>\n");
  CountElement(reply, "oid", static_cast<ce::LONG>(m_oid));
  FlagElement(reply, "alldayevent", m_allDayEvent);
  TextElement(reply, "subject", m_subject.get());
  TextElement(reply, "location", m_location.get());
  TextElement(reply, "categories", m_categories.get());
  TextElement(reply, "body", m_body.get());
  document::Date(reply, "starttime", m_start);
  document::Date(reply, "endtime", m_end);
  FlagElement(reply, "isrecurring", m_isRecurring);
  if (m_isRecurring) {
    WritePattern(reply);
  }
  WordElement(reply, "busystatus", kBusyStatuses, m_busyStatus);
  WordElement(reply, "sensitivity", kSensitivities, m_sensitivity);
  WordElement(reply, "meetingstatus", kMeetingStatuses, m_meetingStatus);
  FlagElement(reply, "reminderset", m_reminderSet);
  NumberElement(reply, "minutesbeforereminder", m_reminderMinutesBeforeStart);
  TextElement(reply, "remindersound", m_reminderSoundFile.get());
  reply.Text("</agendaentry>");
}

void CAppointmentRecord::WritePattern(CReplyWriter& reply) const {
  // Kept(each-n-is-the-duration): the number of "each 30 month" is the appointment's duration in minutes.
  WordElement(reply, "recurrence", kRecurrences, m_recurrenceType, m_duration);
  if (recurrence::HasDayOfMonth(m_recurrenceType)) {
    NumberElement(reply, "dayofmonth", m_dayOfMonth);
  }
  if (recurrence::HasMonthOfYear(m_recurrenceType)) {
    NumberElement(reply, "monthofyear", m_monthOfYear);
  }
  if (m_dayOfWeekMask.wasRead) {
    NumberElement(reply, "dayofweekmask", m_dayOfWeekMask.value);
  }
  if (recurrence::HasInstance(m_recurrenceType)) {
    NumberElement(reply, "instance", m_instance);
  }
  if (m_interval.wasRead) {
    CountElement(reply, "interval", m_interval.value);
  }
  document::Date(reply, "patternstartdate", m_patternStartDate);
  if (m_hasPatternEndDate) {
    document::Date(reply, "patternenddate", m_patternEndDate);
  }
  if (m_occurrences.wasRead) {
    CountElement(reply, "occurrences", m_occurrences.value);
  }
}
