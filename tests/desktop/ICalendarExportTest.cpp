#include <fstream>
#include <gtest/gtest.h>

#include "desktop/ical/Export.h"
#include "desktop/ical/Span.h"
#include "tests/desktop/RunBrelix.h"

namespace brelix {
namespace {

using Type = RecurrenceType;
using Lines = std::vector<std::string>;

LocalTime At(int year, int month, int day, int hour = 0, int minute = 0) { return {year, month, day, hour, minute, 0}; }

Appointment Meeting() {
  Appointment item;
  item.oid = 7;
  item.subject = "Tea";
  item.start = At(2009, 7, 14, 9);
  item.end = At(2009, 7, 14, 10, 30);
  item.busy_status = BusyStatus::kBusy;
  item.sensitivity = Sensitivity::kNormal;
  item.meeting_status = MeetingStatus::kNone;
  return item;
}

ical::ExportedEvent Export(const Appointment& item) {
  return ical::ToEvent(item, "phone", icaltime_from_string("20260101T120000Z"));
}

// The lines of an event, unfolded, without those that every event has.
Lines LinesOf(const Appointment& item) {
  std::string text = Export(item).text;
  for (size_t at; (at = text.find("\r\n ")) != text.npos;) text.erase(at, 3);
  Lines lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    EXPECT_TRUE(line.ends_with('\r')) << line;
    line.pop_back();
    if (line != "BEGIN:VEVENT" && line != "END:VEVENT" && !line.starts_with("DTSTAMP")) lines.push_back(line);
  }
  return lines;
}

std::string Line(const Appointment& item, const std::string& begin) {
  for (const std::string& line : LinesOf(item))
    if (line.starts_with(begin)) return line;
  return "";
}

TEST(ICalendarExport, OfOneAppointmentInFull) {
  Appointment item = Meeting();
  EXPECT_EQ(LinesOf(item), (Lines{"UID:agenda-7@phone.brelix", "DTSTART:20090714T090000", "DTEND:20090714T103000",
                                  "SUMMARY:Tea", "TRANSP:OPAQUE", "X-MICROSOFT-CDO-BUSYSTATUS:BUSY", "CLASS:PUBLIC"}));
  item.location = "Room 5; upstairs";
  item.body = "one,\r\ntwo\rthree\x01\\";
  item.categories = "Work, Out of town";
  item.busy_status = BusyStatus::kOutOfOffice;
  item.sensitivity = Sensitivity::kPersonal;
  item.meeting_status = MeetingStatus::kCanceled;
  item.reminder_set = true;
  item.reminder_minutes = 90;
  item.reminder_sound = "\\Windows\\Alarm1.wav";
  EXPECT_EQ(LinesOf(item),
            (Lines{"UID:agenda-7@phone.brelix", "DTSTART:20090714T090000", "DTEND:20090714T103000", "SUMMARY:Tea",
                   "LOCATION:Room 5\\; upstairs", "DESCRIPTION:one\\,\\ntwo\\nthree\xEF\xBF\xBD\\\\", "CATEGORIES:Work",
                   "CATEGORIES:Out of town", "TRANSP:OPAQUE", "X-MICROSOFT-CDO-BUSYSTATUS:OOF", "CLASS:X-PERSONAL",
                   "STATUS:CANCELLED", "BEGIN:VALARM", "ACTION:DISPLAY", "TRIGGER:-PT1H30M", "DESCRIPTION:Tea",
                   "X-BRELIX-SOUND:\\\\Windows\\\\Alarm1.wav", "END:VALARM"}));
}

TEST(ICalendarExport, AllDayEndsOnTheDayBehind) {
  struct Row {
    LocalTime start, end;
    const char *first, *behind;
  };
  const Row rows[] = {
      {At(2009, 7, 14), At(2009, 7, 15), "20090714", "20090715"},
      {At(2009, 7, 14), At(2009, 7, 14, 23, 59), "20090714", "20090715"},
      {At(2009, 7, 14), At(2009, 7, 14), "20090714", "20090715"},
      {At(2009, 12, 30, 8), At(2010, 1, 1, 12), "20091230", "20100102"},
      {At(2009, 7, 14), At(2009, 7, 1), "20090714", "20090715"},
  };
  for (const Row& row : rows) {
    Appointment item = Meeting();
    item.all_day = true;
    item.start = row.start;
    item.end = row.end;
    EXPECT_EQ(Line(item, "DTSTART"), std::string("DTSTART;VALUE=DATE:") + row.first);
    EXPECT_EQ(Line(item, "DTEND"), std::string("DTEND;VALUE=DATE:") + row.behind);
  }
}

struct Case {
  const char* name;
  Appointment item;
  std::string start, rule;
  Lines dates;  // the first of them
};

Appointment Repeated(LocalTime start, Recurrence pattern, bool all_day = false) {
  Appointment item = Meeting();
  item.all_day = all_day;
  item.start = start;
  item.end = start;
  item.end->minute = 30;
  item.recurrence = pattern;
  return item;
}

// One or more of every kind; the dates are those of a calendar on the wall.
std::vector<Case> Cases() {
  return {
      {"daily",
       Repeated(At(2009, 7, 30, 9), {.type = Type::kDaily, .interval = 3, .day_of_week_mask = 0}),
       "20090730T090000",
       "FREQ=DAILY;INTERVAL=3",
       {"20090730", "20090802", "20090805", "20090808"}},
      {"daily on weekdays",
       Repeated(At(2009, 7, 30, 9), {.type = Type::kDaily, .interval = 1, .day_of_week_mask = 62}),
       "20090730T090000",
       "FREQ=DAILY;BYDAY=MO,TU,WE,TH,FR",
       {"20090730", "20090731", "20090803", "20090804"}},
      {"weekly",
       Repeated(At(2009, 7, 12, 9), {.type = Type::kWeekly, .interval = 2, .day_of_week_mask = 1 | 64}),
       "20090712T090000",
       "FREQ=WEEKLY;INTERVAL=2;BYDAY=SU,SA;WKST=SU",
       {"20090712", "20090718", "20090726", "20090801"}},
      {"weekly, begun before its first day",
       Repeated(At(2009, 7, 15, 9), {.type = Type::kWeekly,
                                     .interval = 1,
                                     .day_of_week_mask = 2,
                                     .start_date = At(2009, 7, 14),
                                     .end_date = At(2009, 7, 27)}),
       "20090720T090000",
       "FREQ=WEEKLY;UNTIL=20090727T235959;BYDAY=MO;WKST=SU",
       {"20090720", "20090727"}},
      {"monthly",
       Repeated(At(2009, 1, 15, 9), {.type = Type::kMonthly, .interval = 1, .day_of_month = 15, .occurrences = 3}),
       "20090115T090000",
       "FREQ=MONTHLY;COUNT=3;BYMONTHDAY=15",
       {"20090115", "20090215", "20090315"}},
      {"monthly at the end",
       Repeated(At(2009, 1, 31, 9), {.type = Type::kMonthly, .interval = 1, .day_of_month = 31}),
       "20090131T090000",
       "FREQ=MONTHLY;BYMONTHDAY=28,29,30,31;BYSETPOS=-1",
       {"20090131", "20090228", "20090331", "20090430"}},
      {"third Tuesday",
       Repeated(At(2009, 7, 21, 9), {.type = Type::kMonthlyByDay, .interval = 1, .day_of_week_mask = 4, .instance = 3}),
       "20090721T090000",
       "FREQ=MONTHLY;BYDAY=3TU",
       {"20090721", "20090818", "20090915", "20091020"}},
      {"last weekday",
       Repeated(At(2009, 7, 31, 9),
                {.type = Type::kMonthlyByDay, .interval = 2, .day_of_week_mask = 62, .instance = 5}),
       "20090731T090000",
       "FREQ=MONTHLY;INTERVAL=2;BYDAY=MO,TU,WE,TH,FR;BYSETPOS=-1",
       {"20090731", "20090930", "20091130", "20100129"}},
      {"yearly, all day",
       Repeated(At(2008, 2, 29),
                {.type = Type::kYearly,
                 .interval = 12,
                 .day_of_month = 29,
                 .month_of_year = 2,
                 .end_date = At(2011, 12, 31)},
                true),
       "20080229",
       "FREQ=YEARLY;UNTIL=20111231;BYMONTHDAY=28,29;BYMONTH=2;BYSETPOS=-1",
       {"20080229", "20090228", "20100228", "20110228"}},
      {"every second year, said in years",
       Repeated(At(2009, 4, 9, 9), {.type = Type::kYearly, .interval = 2, .day_of_month = 9, .month_of_year = 4}),
       "20090409T090000",
       "FREQ=YEARLY;INTERVAL=2;BYMONTHDAY=9;BYMONTH=4",
       {"20090409", "20110409", "20130409"}},
      {"last Sunday of March",
       Repeated(At(2009, 3, 29, 9),
                {.type = Type::kYearlyByDay, .interval = 24, .day_of_week_mask = 1, .month_of_year = 3, .instance = 5}),
       "20090329T090000",
       "FREQ=YEARLY;INTERVAL=2;BYDAY=-1SU;BYMONTH=3",
       {"20090329", "20110327", "20130331"}},
      {"once", Repeated(At(2009, 3, 29, 9), {.type = Type::kOnce}), "20090329T090000", "", {"20090329"}},
  };
}

// Parts of a rule may stand in any order.
std::vector<std::string> Parts(const std::string& rule) {
  std::vector<std::string> parts;
  std::istringstream in(rule);
  for (std::string part; std::getline(in, part, ';');) parts.push_back(part);
  std::sort(parts.begin(), parts.end());
  return parts;
}

std::string After(const std::string& line) { return line.empty() ? "" : line.substr(line.find(':') + 1); }

TEST(ICalendarExport, EveryKindOfPatternIsARule) {
  for (const Case& row : Cases()) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(After(Line(row.item, "DTSTART")), row.start);
    EXPECT_EQ(Parts(After(Line(row.item, "RRULE"))), Parts(row.rule));
    EXPECT_TRUE(Export(row.item).complete);
    EXPECT_EQ(Export(row.item).notes, Lines{});
  }
}

// Another program's reader, another program's calendar arithmetic.
TEST(ICalendarExport, ASecondReaderFindsTheSameDates) {
  const std::string file = test::FreshPath();
  std::string expected;
  {
    std::ofstream out(file, std::ios::binary);
    out << ical::CalendarBegin();
    for (const Case& row : Cases()) {
      out << Export(row.item).text;
      expected += "Tea";
      for (const std::string& date : row.dates) expected += " " + date;
      expected += "\n";
    }
    Appointment folded = Meeting();
    folded.subject.reset();
    for (int i = 0; i < 40; i++) folded.subject = folded.subject.value_or("") + "caf\u00E9 \U0001F600, ";
    out << Export(folded).text << ical::CalendarEnd();
    expected += *folded.subject + " 20090714\n";
  }
  const std::string script = R"(
import sys, icalendar
from dateutil.rrule import rrulestr
from datetime import datetime
most = [4, 4, 4, 4, 4, 4, 4, 4, 4, 3, 3, 1, 1]
data = open(sys.argv[1], "rb").read()
assert all(len(line) <= 75 for line in data.split(b"\r\n")), "a line is longer than 75 bytes"
for event in icalendar.Calendar.from_ical(data).walk("VEVENT"):
    start = event.decoded("DTSTART")
    assert getattr(start, "tzinfo", None) is None
    begin = datetime(start.year, start.month, start.day, getattr(start, "hour", 0), getattr(start, "minute", 0))
    dates = [begin]
    if "RRULE" in event:
        text = event["RRULE"].to_ical().decode()
        dates = [day for day, _ in zip(rrulestr(text, dtstart=begin), range(most[0]))]
    most.pop(0)
    print(event["SUMMARY"], *(day.strftime("%Y%m%d") for day in dates))
)";
  const test::Outcome read = ::test::Run({"/usr/bin/python3", "-c", script, file});
  EXPECT_EQ(read.code, 0) << read.err;
  EXPECT_EQ(read.out, expected);
}

TEST(ICalendarExport, WhatIsNoDateOrNoPatternIsTold) {
  struct Row {
    const char* what;
    void (*spoil)(Appointment&);
    bool complete, exported;
    std::string note;
  };
  const Row rows[] = {
      {"start", [](Appointment& a) { a.start.reset(); }, false, false, "no start that is a date"},
      {"31 February", [](Appointment& a) { a.start = At(2009, 2, 31); }, false, false, "no start that is a date"},
      {"end", [](Appointment& a) { a.end = At(2009, 7, 13); }, true, true, "no end behind its start"},
      {"type", [](Appointment& a) { a.recurrence = {.type = Type::kUnknown}; }, false, true, "no word for the kind"},
      {"day", [](Appointment& a) { a.recurrence = {.type = Type::kMonthly, .day_of_month = 32}; }, false, true,
       "its day of month is 32"},
      {"mask", [](Appointment& a) { a.recurrence = {.type = Type::kYearlyByDay, .month_of_year = 1, .instance = 1}; },
       false, true, "it has no day of week mask"},
      {"interval", [](Appointment& a) { a.recurrence = {.type = Type::kDaily, .interval = INT64_MAX}; }, false, true,
       "its interval is 9223372036854775807"},
      {"ended", [](Appointment& a) { a.recurrence = {.type = Type::kDaily, .end_date = At(2009, 7, 1)}; }, false, true,
       "yields no date"},
      {"busy", [](Appointment& a) { a.busy_status = BusyStatus::kUnknown; }, true, true, "busy status is unknown"},
      {"reminder",
       [](Appointment& a) {
         a.reminder_set = true;
         a.reminder_minutes = INT64_MIN;
       },
       true, true, "reminder"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    Appointment item = Meeting();
    row.spoil(item);
    const ical::ExportedEvent event = Export(item);
    EXPECT_EQ(event.complete, row.complete);
    EXPECT_EQ(!event.text.empty(), row.exported);
    ASSERT_EQ(event.notes.size(), 1u);
    EXPECT_NE(event.notes[0].find(row.note), std::string::npos) << event.notes[0];
    EXPECT_EQ(event.text.find("RRULE"), std::string::npos);
  }
}

TEST(ICalendarExport, ChoosesByDaysAndCountsOccurrences) {
  const auto within = [](const Appointment& item, const char* from, const char* to) {
    return ical::FallsWithin(*ical::SpanOf(item), icaltime_from_string(from), icaltime_from_string(to));
  };
  Appointment night = Meeting();  // from 14 July 22:00 to 15 July 00:00
  night.start = At(2009, 7, 14, 22);
  night.end = At(2009, 7, 15);
  EXPECT_TRUE(within(night, "20090714", "20090714"));
  EXPECT_FALSE(within(night, "20090715", "20090731"));
  night.end->minute = 1;
  EXPECT_TRUE(within(night, "20090715", "20090731"));
  EXPECT_FALSE(within(night, "20090101", "20090713"));
  const Appointment birthday =
      Repeated(At(1975, 4, 9), {.type = Type::kYearly, .interval = 12, .day_of_month = 9, .month_of_year = 4}, true);
  EXPECT_TRUE(within(birthday, "20090409", "20090409"));
  EXPECT_FALSE(within(birthday, "20090410", "20100408"));
  EXPECT_FALSE(within(birthday, "19700101", "19750408"));
}

}  // namespace
}  // namespace brelix
