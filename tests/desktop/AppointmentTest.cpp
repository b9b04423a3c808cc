#include <gtest/gtest.h>

#include "desktop/Failure.h"
#include "desktop/agenda/AppointmentJson.h"

namespace brelix {
namespace {

using nlohmann::json;

const std::string kXml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

json Read(const std::string& document) { return json::parse(ToJson(ReadAppointment(kXml + document)).dump()); }

const std::string kFull = R"(<agendaentry>
  <oid>4294967295</oid>
  <alldayevent>no</alldayevent>
  <subject>Tea < </subject> & more</subject>
  <location>)"
                          "\xED\xA0\xBD\xED\xB8\x80"
                          R"(</location>
  <categories> Work, ;Out of town</categories>
  <body>one
  <starttime>20010101T000000Z</body>
  <starttime>20090714T090000Z</starttime>
  <endtime>20090714T100000Z</endtime>
  <isrecurring>yes</isrecurring>
  <recurrence>each 60 month</recurrence>
  <dayofweekmask>62</dayofweekmask>
  <instance>5</instance>
  <interval>2</interval>
  <patternstartdate>20090701T000000Z</patternstartdate>
  <patternenddate>20101231T000000Z</patternenddate>
  <occurrences>9</occurrences>
  <busystatus>outofoffice</busystatus>
  <sensitivity>confidential</sensitivity>
  <meetingstatus>accepted</meetingstatus>
  <reminderset>yes</reminderset>
  <minutesbeforereminder>15</minutesbeforereminder>
  <remindersound>\Windows\Alarm1.wav</remindersound>
</agendaentry>)";

TEST(Appointment, IsReadWhole) {
  const json expected = json::parse(R"({"oid": 4294967295, "subject": "Tea < </subject> & more", "location": "😀",
      "categories": ["Work", "Out of town"], "body": "one\n  <starttime>20010101T000000Z", "all_day": false,
      "start": "2009-07-14T09:00:00", "end": "2009-07-14T10:00:00",
      "recurrence": {"type": "monthly_by_day", "interval": 2, "day_of_week_mask": 62, "day_of_month": null,
                     "month_of_year": null, "instance": 5, "start_date": "2009-07-01", "end_date": "2010-12-31",
                     "occurrences": 9},
      "busy_status": "outofoffice", "sensitivity": "confidential", "meeting_status": "accepted",
      "reminder_set": true, "reminder_minutes": 15, "reminder_sound": "\\Windows\\Alarm1.wav"})");
  EXPECT_EQ(Read(kFull), expected);
  EXPECT_EQ(RecurrenceText(*ReadAppointment(kXml + kFull).recurrence),
            "every 2 months on the last Mon, Tue, Wed, Thu, Fri until 2010-12-31");
}

TEST(Appointment, OfNothingButWhatIsAlwaysThere) {
  const json item = Read(
      "<agendaentry>\n  <oid>7</oid>\n  <alldayevent>yes</alldayevent>\n  <starttime>20090231T250000Z</starttime>\n"
      "  <endtime>20090713T000000Z</endtime>\n  <isrecurring>no</isrecurring>\n  <busystatus>free</busystatus>\n"
      "  <sensitivity>normal</sensitivity>\n  <meetingstatus>none</meetingstatus>\n  <reminderset>no</reminderset>\n"
      "  <minutesbeforereminder>0</minutesbeforereminder>\n</agendaentry>");
  EXPECT_EQ(item["oid"], 7);
  EXPECT_EQ(item["all_day"], true);
  EXPECT_EQ(item["end"], "2009-07-13T00:00:00");
  for (const char* member : {"subject", "location", "body", "start", "recurrence", "reminder_sound"})
    EXPECT_TRUE(item.at(member).is_null()) << member;
  EXPECT_EQ(item["categories"], json::array());
  EXPECT_THROW(ReadAppointment("<contactentry></contactentry>"), Failure);
}

TEST(Appointment, TextsThatLookLikeElementsAreToldOrLeftWhole) {
  const auto read = [](const std::string& subject, const std::string& location = "") {
    return Read("<agendaentry>\n  <oid>7</oid>\n  <alldayevent>no</alldayevent>\n  <subject>" + subject +
                "</subject>\n" + location +
                "  <starttime>20090713T090000Z</starttime>\n  <endtime>20090713T100000Z</endtime>\n"
                "  <isrecurring>no</isrecurring>\n  <busystatus>free</busystatus>\n"
                "  <sensitivity>normal</sensitivity>\n  <meetingstatus>none</meetingstatus>\n"
                "  <reminderset>no</reminderset>\n  <minutesbeforereminder>0</minutesbeforereminder>\n</agendaentry>");
  };
  const json whole = read("Tea</subject><location>nowhere</location>");
  EXPECT_EQ(whole["subject"], "Tea</subject><location>nowhere</location>");
  EXPECT_FALSE(whole.contains("ambiguous"));
  const json one = read("Tea</subject>\n  <location>nowhere");
  EXPECT_EQ(one["subject"], "Tea</subject>\n  <location>nowhere");
  EXPECT_FALSE(one.contains("ambiguous"));
  // With a location behind it, it is one long subject or one long location.
  EXPECT_EQ(read("Tea</subject>\n  <location>nowhere", "  <location>here</location>\n").value("ambiguous", false),
            true);
}

// Where the phone has a value without a word, its agent leaves what an earlier reply had there.
TEST(Appointment, WordsOfUnmappedValuesAreUnknown) {
  struct Row {
    std::string recurrence, rest, busy, sensitivity, meeting;
  };
  const Row rows[] = {
      {"e>\n  <recurren", "", "s>\n  <busysta", "y>busy</busysta", "</meetingstatus>\n"},
      {"each 480 month", "  <interval>1</interval>\n", "free", "normal", "none"},
      {std::string(14, '\0'), "", std::string(14, '\0'), std::string(15, '\0'), std::string(17, '\0')},
      {"</recurrence>\n", "", "</busystatus>\n", "</sensitivity>\n", "<reminderset>yes<"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.recurrence);
    const bool known = row.busy == "free";
    const json item = Read(
        "<agendaentry>\n  <oid>7</oid>\n  <alldayevent>no</alldayevent>\n  <starttime>20090713T090000Z"
        "</starttime>\n  <endtime>20090713T100000Z</endtime>\n  <isrecurring>yes</isrecurring>\n  <recurrence>" +
        row.recurrence + "</recurrence>\n" + row.rest +
        "  <patternstartdate>20090713T000000Z</patternstartdate>\n"
        "  <busystatus>" +
        row.busy + "</busystatus>\n  <sensitivity>" + row.sensitivity +
        "</sensitivity>\n"
        "  <meetingstatus>" +
        row.meeting +
        "</meetingstatus>\n  <reminderset>no</reminderset>\n"
        "  <minutesbeforereminder>5</minutesbeforereminder>\n</agendaentry>");
    EXPECT_EQ(item["recurrence"]["type"], "unknown");
    EXPECT_EQ(item["recurrence"]["start_date"], "2009-07-13");
    EXPECT_EQ(item["busy_status"], known ? "free" : "unknown");
    EXPECT_EQ(item["sensitivity"], known ? "normal" : "unknown");
    EXPECT_EQ(item["meeting_status"], known ? "none" : "unknown");
    EXPECT_EQ(item["reminder_set"], false);
    EXPECT_FALSE(item.contains("ambiguous"));
    EXPECT_EQ(item["reminder_minutes"], 5);
  }
}

}  // namespace
}  // namespace brelix
