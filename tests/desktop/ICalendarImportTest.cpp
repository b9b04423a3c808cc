#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <sstream>

#include "desktop/agenda/AppointmentJson.h"
#include "desktop/ical/Export.h"
#include "desktop/ical/Import.h"
#include "desktop/ical/Rule.h"

namespace brelix {
namespace {

using Type = RecurrenceType;
using Lines = std::vector<std::string>;

// The phone of these tests is two hours ahead of UTC.
LocalTime TwoHoursAhead(const LocalTime& utc) {
  icaltimetype time = ical::ToIcal(utc, false);
  icaltime_adjust(&time, 0, 2, 0, 0);
  return ical::FromIcal(time);
}

ical::ImportedCalendar Read(const std::string& text) {
  std::istringstream in(text);
  return ical::ReadCalendar(in, "days.ics", TwoHoursAhead);
}

std::string Calendar(const std::string& inside) {
  return "BEGIN:VCALENDAR\nVERSION:2.0\n" + inside + "END:VCALENDAR\n";
}
std::string Event(const std::string& lines) { return Calendar("BEGIN:VEVENT\nSUMMARY:Tea\n" + lines + "END:VEVENT\n"); }

// Everything a phone keeps comes back the same from a file, and says nothing on the way.
TEST(ICalendarImport, ReadsWhatTheExportWrites) {
  const Recurrence patterns[] = {
      {.type = Type::kDaily, .interval = 3},
      {.type = Type::kWeekly, .interval = 2, .day_of_week_mask = 42},
      {.type = Type::kMonthly, .interval = 1, .day_of_month = 31},
      {.type = Type::kMonthlyByDay, .interval = 1, .day_of_week_mask = 62, .instance = 5},
      {.type = Type::kYearly, .interval = 12, .day_of_month = 29, .month_of_year = 2},
      {.type = Type::kYearlyByDay, .interval = 24, .day_of_week_mask = 1, .month_of_year = 3, .instance = 2},
  };
  for (const Recurrence& pattern : patterns) {
    for (const bool all_day : {false, true}) {
      Appointment item;
      item.all_day = all_day;
      item.subject = "Tea, \u00E9; \\n";
      item.location = "Room\t5";
      item.categories = "Work, Out of town";
      item.body = "two\nlines";
      item.recurrence = pattern;
      item.recurrence->start_date = {2008, 2, 29, 0, 0, 0};
      item.recurrence->end_date = {2016, 3, 1, 0, 0, 0};
      item.start = {2008, 2, 29, all_day ? 0 : 9, 0, 0};
      item.end = {2008, all_day ? 3 : 2, all_day ? 1 : 29, all_day ? 0 : 10, 0, 0};
      item.busy_status = BusyStatus::kOutOfOffice;
      item.sensitivity = Sensitivity::kConfidential;
      item.meeting_status = MeetingStatus::kAccepted;
      item.reminder_set = true;
      item.reminder_minutes = 15;
      item.reminder_sound = "\\Windows\\Alarm1.wav";
      const auto now = icaltime_from_string("20260101T120000Z");
      const auto there = Read(ical::CalendarBegin() + ical::ToEvent(item, "x", now).text + ical::CalendarEnd());
      ASSERT_EQ(there.notes, Lines{});
      ASSERT_EQ(there.appointments.size(), 1u);
      auto expected = ToJson(item);
      auto found = ToJson(there.appointments[0]);
      // The export begins with the first date of the pattern; the number of dates is counted anew.
      for (const char* member : {"start", "end"}) expected.erase(member), found.erase(member);
      for (const char* member : {"start_date", "occurrences"})
        expected["recurrence"].erase(member), found["recurrence"].erase(member);
      EXPECT_EQ(found, expected);
      EXPECT_EQ(ical::ToEvent(there.appointments[0], "x", now).text, ical::ToEvent(item, "x", now).text);
    }
  }
}

RC_GTEST_PROP(ICalendarImport, APatternSurvivesAsARule, ()) {
  const auto number = [](int from, int to) { return int64_t{*rc::gen::inRange(from, to + 1)}; };
  Recurrence pattern;
  pattern.type = *rc::gen::element(Type::kDaily, Type::kWeekly, Type::kMonthly, Type::kMonthlyByDay, Type::kYearly,
                                   Type::kYearlyByDay);
  const bool yearly = pattern.type == Type::kYearly || pattern.type == Type::kYearlyByDay;
  const bool by_day = pattern.type == Type::kMonthlyByDay || pattern.type == Type::kYearlyByDay;
  pattern.interval = yearly ? 12 * number(1, 83) : number(1, 999);
  if (yearly) pattern.month_of_year = number(1, 12);
  if (by_day) pattern.instance = number(1, 5);
  if (by_day || pattern.type == Type::kWeekly) pattern.day_of_week_mask = number(1, 127);
  if (pattern.type == Type::kMonthly || pattern.type == Type::kYearly) pattern.day_of_month = number(1, 31);
  const icaltimetype start = icaltime_from_string("20090714T090000");
  std::string why_not;
  const auto rule = ical::RuleOf(pattern, start, why_not);
  RC_ASSERT(rule.has_value());
  const auto again = ical::PatternOf(icalrecurrencetype_from_string(rule->c_str()), start, why_not);
  RC_ASSERT(again.has_value());
  Appointment before, after;
  before.recurrence = pattern;
  after.recurrence = *again;
  RC_ASSERT(ToJson(after).dump() == ToJson(before).dump());
}

TEST(ICalendarImport, KeepsLocalTimesAndConvertsUtc) {
  const std::string berlin = "BEGIN:VTIMEZONE\nTZID:Europe/Berlin\nEND:VTIMEZONE\n";
  struct Row {
    std::string lines, start, end, end_date;
    int notes;
  };
  const Row rows[] = {
      {"DTSTART:20090714T090000\nDTEND:20090714T100000\n", "2009-07-14T09:00:00", "2009-07-14T10:00:00", "", 0},
      {"DTSTART:20090714T230000Z\nDURATION:PT90M\n", "2009-07-15T01:00:00", "2009-07-15T02:30:00", "", 1},
      {"DTSTART;TZID=Europe/Berlin:20090714T090000\n", "2009-07-14T09:00:00", "2009-07-14T09:00:00", "", 1},
      {"DTSTART;VALUE=DATE:20090714\n", "2009-07-14T00:00:00", "2009-07-15T00:00:00", "", 0},
      {"DTSTART;VALUE=DATE:20091230\nDTEND;VALUE=DATE:20100102\n", "2009-12-30T00:00:00", "2010-01-02T00:00:00", "", 0},
      // 22:30 UTC is half past midnight there, before the event would begin on that day.
      {"DTSTART;TZID=Europe/Berlin:20090714T090000\nRRULE:FREQ=DAILY;UNTIL=20090718T223000Z\n", "2009-07-14T09:00:00",
       "2009-07-14T09:00:00", "2009-07-18", 1},
      {"DTSTART;TZID=Europe/Berlin:20090714T000000\nRRULE:FREQ=DAILY;UNTIL=20090718T223000Z\n", "2009-07-14T00:00:00",
       "2009-07-14T00:00:00", "2009-07-19", 1},
      {"DTSTART:20090714T090000\nRRULE:FREQ=DAILY;UNTIL=20090718\n", "2009-07-14T09:00:00", "2009-07-14T09:00:00",
       "2009-07-18", 0},
      {"DTSTART:20090714T090000\nRRULE:FREQ=WEEKLY;COUNT=3\n", "2009-07-14T09:00:00", "2009-07-14T09:00:00",
       "2009-07-28", 0},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.lines);
    const auto there = Read(Calendar(berlin + "BEGIN:VEVENT\n" + row.lines + "END:VEVENT\n"));
    ASSERT_EQ(there.appointments.size(), 1u);
    const auto item = ToJson(there.appointments[0]);
    EXPECT_EQ(item["start"], row.start);
    EXPECT_EQ(item["end"], row.end);
    if (!row.end_date.empty()) {
      EXPECT_EQ(item["recurrence"]["end_date"], row.end_date);
    }
    EXPECT_EQ(static_cast<int>(there.notes.size()), row.notes);
  }
}

TEST(ICalendarImport, TellsWhatAPhoneCannotKeep) {
  const std::string start = "DTSTART:20090714T090000\n";
  struct Row {
    std::string lines, type, note;
  };
  const Row rows[] = {
      {start + "RRULE:FREQ=HOURLY\n", "", "cannot say its frequency"},
      {start + "RRULE:FREQ=MONTHLY;BYMONTHDAY=1,15\n", "", "cannot say the combination of its BY parts"},
      {start + "RRULE:FREQ=MONTHLY;BYDAY=MO;BYSETPOS=1,2\n", "", "the combination of its BY parts"},
      {start + "RRULE:FREQ=YEARLY;BYDAY=20MO\n", "", "the combination of its BY parts"},
      {start + "RRULE:FREQ=YEARLY;BYWEEKNO=20\n", "", "BYWEEKNO"},
      {start + "RRULE:FREQ=DAILY;INTERVAL=1000\n", "", "INTERVAL"},
      {start + "RRULE:FREQ=MONTHLY;BYDAY=5TU\n", "monthly_by_day", "2009-07-28 instead of 2009-09-29"},
      {start + "RRULE:FREQ=WEEKLY;INTERVAL=2;BYDAY=SU,TU\n", "weekly",
       "dates differ: 2009-07-26 instead of 2009-07-19"},
      {start + "RRULE:FREQ=WEEKLY;BYDAY=FR\n", "weekly", "begins on 2009-07-17"},
      {start + "RRULE:FREQ=DAILY\nRRULE:FREQ=WEEKLY\n", "daily", "second RRULE"},
      {start + "RRULE:FREQ=DAILY\nEXDATE:20090715T090000\n", "daily", "EXDATE is left out"},
      {start + "RDATE:20090720T090000\n", "", "RDATE is left out"},
      {start + "RRULE:FREQ=SOMETIMES\n", "", "cannot be read"},
      {start + "DTEND:20090713T090000\n", "", "end lies before its start"},
      {start + "CATEGORIES:Work\\, urgent,Home\n", "", "its category \"Work, urgent\" becomes several"},
      {start + "CLASS:SECRET\n", "", "CLASS:SECRET becomes private"},
      {start + "ATTENDEE:mailto:a@example.com\nATTENDEE:mailto:b@example.com\nX-A:1\nURL:http://example.com\n", "",
       "left out: ATTENDEE (2 times), URL, X-A"},
      {start + "BEGIN:VALARM\nACTION:DISPLAY\nTRIGGER;RELATED=END:-PT5M\nEND:VALARM\nBEGIN:VALARM\nACTION:EMAIL\n"
               "TRIGGER:-PT5M\nEND:VALARM\n",
       "", "2 of its alarms left out"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.lines);
    const auto there = Read(Event(row.lines));
    ASSERT_EQ(there.appointments.size(), 1u);
    const auto item = ToJson(there.appointments[0]);
    EXPECT_EQ(item["recurrence"].is_null() ? "" : item["recurrence"]["type"], row.type);
    ASSERT_EQ(there.notes.size(), 1u);
    EXPECT_TRUE(there.notes[0].starts_with("days.ics:3: \"Tea\": ")) << there.notes[0];
    EXPECT_NE(there.notes[0].find(row.note), std::string::npos) << there.notes[0];
  }
  for (const char* lines : {"DTSTART:yesterday\n", "DTSTART:20090231T090000\n", "",
                            "DTSTART:20090714T090000\nRECURRENCE-ID:20090715T090000\n"}) {
    const auto there = Read(Event(lines));
    EXPECT_TRUE(there.appointments.empty()) << lines;
    ASSERT_EQ(there.notes.size(), 1u) << lines;
    EXPECT_NE(there.notes[0].find("left out"), std::string::npos) << there.notes[0];
  }
  EXPECT_EQ(Read(Calendar("BEGIN:VTODO\nSUMMARY:x\nEND:VTODO\n")).notes,
            Lines{"days.ics:3: VTODO left out: it is no event"});
}

TEST(ICalendarImport, ABrokenFileIsOneErrorWithItsLine) {
  struct Row {
    std::string text, error;
  };
  const std::string tea = "BEGIN:VEVENT\nSUMMARY:Tea\n";
  const Row rows[] = {
      {"", "days.ics:1: the file is empty"},
      {"hello\n", "days.ics:1: an iCalendar file begins with BEGIN:VCALENDAR; this one does not"},
      {"\nBEGIN:VCARD\n", "days.ics:2: an iCalendar file begins with BEGIN:VCALENDAR, not with BEGIN:VCARD"},
      {std::string("BEGIN:VCALENDAR\n\0\0", 18), "days.ics:2: a zero byte: this is no text file"},
      {Calendar("X-A:\xFF\n"), "days.ics:3: this is not UTF-8 text"},
      {"BEGIN:VCALENDAR\nVERSION:1.0\n", "days.ics:2: this is a vCalendar 1.0 file; export it as iCalendar 2.0"},
      {Calendar(tea + "no colon\nEND:VEVENT\n"), "days.ics:5: \"no colon\" is neither a property nor the rest of one"},
      {Calendar(tea), "days.ics:5: END:VCALENDAR where the VEVENT of line 3 should end"},
      {"BEGIN:VCALENDAR\n" + tea + "DTST", "days.ics:4: \"DTST\" is neither a property nor the rest of one"},
      {"BEGIN:VCALENDAR\n" + tea, "days.ics:3: the file ends in the middle of the VEVENT of line 2"},
      {Calendar("") + "more", "days.ics:4: \"more\" stands outside the calendar"},
      {Calendar(tea + "DESCRIPTION:" + std::string(5 << 20, 'x') + "\nEND:VEVENT\n"),
       "days.ics:5: a line of more than 4 MiB"},
  };
  for (const Row& row : rows) {
    try {
      Read(row.text);
      ADD_FAILURE() << row.error;
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.what(), row.error);
      EXPECT_EQ(failure.code(), Exit::kLocalFile);
    }
  }
  // Lines end either way, are folded anywhere, even inside a character, and a byte order mark may stand before them.
  const auto there = Read(
      "\xEF\xBB\xBF"
      "begin:vcalendar\r\nBEGIN:VEVENT\nSUMMARY:Caf\xC3\r\n \xA9\n\tx\r\n\r\n"
      "DTSTART:20090714T090000\r\nEND:VEVENT\r\nEND:VCALENDAR");
  ASSERT_EQ(there.appointments.size(), 1u);
  EXPECT_EQ(there.appointments[0].subject, "Caf\u00E9x");
}

}  // namespace
}  // namespace brelix
