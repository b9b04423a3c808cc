// Appointments of a served phone: from an iCalendar file to the phone and back, and what a phone has that no file has.
#include <sstream>

#include "tests/e2e/ServedPhone.h"

namespace test {
namespace {

using nlohmann::json;

// One event of every kind a phone's pattern can say, in local times.
const char* const kDays = R"(BEGIN:VCALENDAR
VERSION:2.0
BEGIN:VEVENT
SUMMARY:Once\, with everything
DTSTART:20090714T090000
DTEND:20090714T103000
LOCATION:Room 5
DESCRIPTION:two\nlines & <tags>
CATEGORIES:Work,Out of town
CLASS:CONFIDENTIAL
X-MICROSOFT-CDO-BUSYSTATUS:OOF
STATUS:CANCELLED
BEGIN:VALARM
ACTION:DISPLAY
TRIGGER:-PT15M
END:VALARM
END:VEVENT
BEGIN:VEVENT
SUMMARY:Every third day 😀
DTSTART:20090714T090000
DTEND:20090714T100000
RRULE:FREQ=DAILY;INTERVAL=3;COUNT=5
END:VEVENT
BEGIN:VEVENT
SUMMARY:Every second week
DTSTART:20090713T090000
DTEND:20090713T100000
RRULE:FREQ=WEEKLY;INTERVAL=2;BYDAY=MO,FR;UNTIL=20091231T235959
END:VEVENT
BEGIN:VEVENT
SUMMARY:Last day of the month
DTSTART;VALUE=DATE:20090731
DTEND;VALUE=DATE:20090801
RRULE:FREQ=MONTHLY;BYMONTHDAY=-1
END:VEVENT
BEGIN:VEVENT
SUMMARY:Last weekday
DTSTART:20090731T170000
DTEND:20090731T180000
RRULE:FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYSETPOS=-1
END:VEVENT
BEGIN:VEVENT
SUMMARY:Birthday
DTSTART;VALUE=DATE:19750409
DTEND;VALUE=DATE:19750410
RRULE:FREQ=YEARLY
TRANSP:TRANSPARENT
END:VEVENT
BEGIN:VEVENT
SUMMARY:Clocks go forward
DTSTART:20090329T020000
DTEND:20090329T030000
RRULE:FREQ=YEARLY;BYMONTH=3;BYDAY=-1SU
END:VEVENT
END:VCALENDAR
)";

// Prints every event of a file with its first dates.
const char* const kReader = R"(
import sys, icalendar
from dateutil.rrule import rrulestr
from datetime import datetime
for event in icalendar.Calendar.from_ical(open(sys.argv[1], "rb").read()).walk("VEVENT"):
    start, end = event.decoded("DTSTART"), event.decoded("DTEND")
    begin = datetime(start.year, start.month, start.day, getattr(start, "hour", 0), getattr(start, "minute", 0))
    days = [begin]
    if "RRULE" in event:
        days = [day for day, _ in zip(rrulestr(event["RRULE"].to_ical().decode(), dtstart=begin), range(20))]
    print(event["SUMMARY"], type(start).__name__, end - start, *days)
)";

std::string Expanded(const std::string& file) {
  const Outcome read = Run({"/usr/bin/python3", "-c", kReader, file});
  EXPECT_EQ(read.code, 0) << read.err;
  return read.out;
}

std::string Rapi(const std::string& phone) { return "exec:" BRELIX_PHONE_COMMAND " rapi " + phone + " --check-leaks"; }

// What a phone says of its appointments, without its own numbers for them.
std::vector<json> Listed(const std::string& phone) {
  const Outcome listed = Brelix({"-d", Rapi(phone), "--json", "agenda", "list"});
  EXPECT_EQ(listed.code, 0) << listed.err;
  EXPECT_EQ(listed.err, "");
  std::vector<json> items;
  std::istringstream in(listed.out);
  for (std::string line; std::getline(in, line);) {
    items.push_back(json::parse(line, nullptr, false));
    items.back().erase("oid");
  }
  return items;
}

TEST(Agenda, comes_back_from_a_phone_as_it_went_in) {
  const TemporaryFolder folder;
  const auto path = [&](const char* name) { return (folder.Path() / name).string(); };
  std::ofstream(path("days.ics")) << kDays;
  std::string from = path("days.ics");
  for (const char* name : {"first", "second"}) {
    const Outcome made = BrelixPhone({"init", path(name), "--agenda", from});
    ASSERT_EQ(made.code, 0) << made.err;
    EXPECT_EQ(made.err, "brelix-phone: made " + path(name) + "\n");
    from = path(name) + ".ics";
    const Outcome saved = Brelix({"-d", Rapi(path(name)), "agenda", "export", "--ical", from});
    ASSERT_EQ(saved.code, 0) << saved.err;
    EXPECT_EQ(saved.err, "");
    EXPECT_EQ(Expanded(from), Expanded(path("days.ics")));
  }
  const std::vector<json> items = Listed(path("first"));
  ASSERT_EQ(items.size(), 7u);
  EXPECT_EQ(items, Listed(path("second")));
  EXPECT_EQ(items[0]["body"], "two\nlines & <tags>");
  EXPECT_EQ(items[0]["categories"], json({"Work", "Out of town"}));
  EXPECT_EQ(items[0]["busy_status"], "outofoffice");
  EXPECT_EQ(items[0]["sensitivity"], "confidential");
  EXPECT_EQ(items[0]["meeting_status"], "canceled");
  EXPECT_EQ(items[0]["reminder_minutes"], 15);
  EXPECT_EQ(items[1]["subject"], "Every third day \U0001F600");
  EXPECT_EQ(items[1]["recurrence"]["end_date"], "2009-07-26");
  EXPECT_EQ(items[1]["recurrence"]["occurrences"], 5);
}

TEST(Agenda, utc_becomes_the_phones_time_and_a_broken_file_makes_no_phone) {
  const TemporaryFolder folder;
  const auto path = [&](const char* name) { return (folder.Path() / name).string(); };
  std::ofstream(path("phone.json")) << R"({"clock": {"utcOffsetMinutes": 120}, "appointments": [
    {"Subject": "Mine", "Start": "2009-07-14T09:00:00"}]})";
  std::ofstream(path("utc.ics"))
      << "BEGIN:VCALENDAR\nBEGIN:VEVENT\nDTSTART:20090714T230000Z\nEND:VEVENT\nEND:VCALENDAR\n";
  const Outcome made = BrelixPhone({"init", path("phone"), "--from", path("phone.json"), "--agenda", path("utc.ics")});
  EXPECT_EQ(made.code, 0) << made.err;
  const std::vector<json> items = Listed(path("phone"));
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[0]["subject"], "Mine");
  EXPECT_EQ(items[1]["start"], "2009-07-15T01:00:00");

  std::ofstream(path("cut.ics")) << "BEGIN:VCALENDAR\nBEGIN:VEVENT\nDTSTART:20090714T230000Z\n";
  const Outcome cut = BrelixPhone({"init", path("none"), "--agenda", path("cut.ics")});
  EXPECT_EQ(cut.code, 1);
  EXPECT_EQ(cut.err, "brelix-phone: " + path("cut.ics") + ":3: the file ends in the middle of the VEVENT of line 2\n");
  EXPECT_FALSE(std::filesystem::exists(path("none")));
}

TEST(Agenda, values_without_a_word_are_unknown_and_one_bad_item_stops_nothing) {
  const PhoneFolder phone({{"appointments",
                            {{{"Subject", "Whole"}, {"Start", "2009-07-14T09:00:00"}, {"Duration", 480}},
                             {{"Subject", "Unreadable"}, {"Start", "2009-07-15"}},
                             {{"Subject", "Odd"},
                              {"Start", "2009-07-16T09:00:00"},
                              {"Duration", 480},
                              {"BusyStatus", 9},
                              {"Sensitivity", -1},
                              {"MeetingStatus", 2},
                              {"Recurrence", {{"RecurrenceType", 4}}}}}},
                           {"faults", {{{"call", "IAppointment::get_Body"}, {"skip", 1}, {"times", 1}}}}});
  Server server(phone, "unix:" + phone.SocketPath());
  const Outcome listed = Brelix({"-d", server.Address(), "--json", "agenda", "list"});
  EXPECT_EQ(listed.code, 11) << listed.err;
  EXPECT_NE(listed.err.find("appointment 2 cannot be read: 0x80004005"), std::string::npos) << listed.err;
  EXPECT_NE(listed.out.find("Whole"), std::string::npos);
  const json odd = json::parse(listed.out.substr(listed.out.find('\n') + 1), nullptr, false);
  ASSERT_TRUE(odd.is_object()) << listed.out;
  EXPECT_EQ(odd["subject"], "Odd");
  EXPECT_EQ(odd["recurrence"]["type"], "unknown");
  for (const char* member : {"busy_status", "sensitivity", "meeting_status"}) EXPECT_EQ(odd[member], "unknown");
  EXPECT_EQ(server.End(SIGTERM).code, 0);
}

}  // namespace
}  // namespace test
