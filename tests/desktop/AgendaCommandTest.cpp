#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/desktop/RunBrelix.h"
#include "tests/desktop/ScriptedPhone.h"

namespace brelix::test {
namespace {

using nlohmann::json;

std::string Document(const std::string& oid, const std::string& subject, const std::string& day,
                     const std::string& busy = "busy") {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<agendaentry>\n  <oid>" + oid +
         "</oid>\n"
         "  <alldayevent>no</alldayevent>\n  <subject>" +
         subject + "</subject>\n  <starttime>" + day + "T090000Z</starttime>\n  <endtime>" + day +
         "T100000Z</endtime>\n  <isrecurring>no</isrecurring>\n"
         "  <busystatus>" +
         busy +
         "</busystatus>\n  <sensitivity>normal</sensitivity>\n"
         "  <meetingstatus>none</meetingstatus>\n  <reminderset>no</reminderset>\n"
         "  <minutesbeforereminder>0</minutesbeforereminder>\n</agendaentry>";
}

const std::map<std::string, std::string> kDocuments = {
    {"tea", Document("41", "Tea\033[2J", "20090714")},
    {"walk", Document("43", "Walk", "20090720", "</busystatus>\n")},
    {"broken", "<agendaentry>"},
};

std::string Asks(const std::string& request, const std::string& answer) {
  return "expect " + request + "\nreply " + answer + "\n";
}
const std::string kOpened = Asks("4/1", "4/2 00000000");
const std::string kClosed = Asks("4/3", "4/4 00000000");
const std::string kTea = Asks("4/9 00000001", "4/10 00000000 $tea");
// Four items, of which the second cannot be read and the third is no appointment.
const std::string kFour = Asks("4/5", "4/6 00000000 00000004") + kTea + Asks("4/9 00000002", "4/10 80004005") +
                          Asks("4/9 00000003", "4/10 00000000 $broken") + Asks("4/9 00000004", "4/10 00000000 $walk");

Outcome Serve(const std::string& script, std::vector<std::string> arguments) {
  ScriptedPhone phone(script, kDocuments);
  arguments.insert(arguments.begin(), {"-d", phone.Address()});
  const Outcome outcome = RunBrelix(arguments);
  EXPECT_EQ(phone.Finish(), "");
  return outcome;
}

bool Has(const std::string& text, const std::string& part) { return text.find(part) != text.npos; }

TEST(AgendaCommand, ListsAllThatCanBeRead) {
  const std::string script = kBegin + kOpened + kFour + kClosed + kEnd;
  const Outcome lines = Serve(script, {"--json", "agenda", "list"});
  EXPECT_EQ(lines.code, 11) << lines.err;
  EXPECT_TRUE(Has(lines.err, "appointment 2 cannot be read: 0x80004005")) << lines.err;
  EXPECT_TRUE(Has(lines.err, "appointment 3 cannot be read: the phone's")) << lines.err;
  std::istringstream in(lines.out);
  std::vector<json> objects;
  for (std::string line; std::getline(in, line);) objects.push_back(json::parse(line, nullptr, false));
  ASSERT_EQ(objects.size(), 2u) << lines.out;
  EXPECT_EQ(objects[0]["index"], 1);
  EXPECT_EQ(objects[0]["subject"], "Tea\033[2J");
  EXPECT_EQ(objects[1]["index"], 4);
  EXPECT_EQ(objects[1]["busy_status"], "unknown");

  const Outcome table = Serve(script, {"agenda", "list", "--from", "2009-07-15"});
  EXPECT_EQ(table.code, 11);
  EXPECT_TRUE(Has(table.out, "2009-07-20 09:00")) << table.out;
  EXPECT_FALSE(Has(table.out, "Tea")) << table.out;
}

TEST(AgendaCommand, ShowsOneAppointment) {
  const std::string script = kBegin + kOpened + kTea + kClosed + kEnd;
  const Outcome one = Serve(script, {"agenda", "get", "1"});
  EXPECT_EQ(one.code, 0) << one.err;
  EXPECT_TRUE(Has(one.out, "Tea\u241B[2J")) << one.out;
  EXPECT_EQ(json::parse(Serve(script, {"agenda", "get", "1", "--json"}).out, nullptr, false)["oid"], 41);
  const Outcome gone =
      Serve(kBegin + kOpened + Asks("4/9 00000009", "4/10 80070057") + kClosed + kEnd, {"agenda", "get", "9"});
  EXPECT_EQ(gone.code, 8);
  EXPECT_EQ(gone.err, "brelix: appointment 9: 0x80070057 E_INVALIDARG (invalid argument)\n");
}

TEST(AgendaCommand, OpensAfreshWhatWasLeftOpen) {
  const Outcome list = Serve(kBegin + Asks("4/1", "4/2 ffffffff") + Asks("4/3", "4/4 00000001") + kClosed + kOpened +
                                 Asks("4/5", "4/6 00000000 00000000") + kClosed + kEnd,
                             {"--json", "agenda", "list"});
  EXPECT_EQ(list.code, 0) << list.err;
  EXPECT_EQ(list.out, "");
}

TEST(AgendaCommand, ExportsToAWholeFileOrLeavesTheOldOne) {
  const ::test::TemporaryFolder folder;
  const std::string file = folder.Path() / "days.ics";
  const std::string serial = Asks("1/7", "1/8 00000000 333538");
  const Outcome partial =
      Serve(kBegin + serial + kOpened + kFour + kClosed + kEnd, {"agenda", "export", "--ical", file});
  EXPECT_EQ(partial.code, 11) << partial.err;
  EXPECT_TRUE(Has(partial.err, "appointment 4 \"Walk\": its busy status is unknown")) << partial.err;
  const std::string whole = ReadFile(file);
  EXPECT_TRUE(whole.starts_with("BEGIN:VCALENDAR\r\n") && whole.ends_with("END:VCALENDAR\r\n")) << whole;
  EXPECT_TRUE(Has(whole, "SUMMARY:Tea") && Has(whole, "SUMMARY:Walk")) << whole;
  EXPECT_FALSE(Has(whole, "358")) << "the serial number is nobody's business";

  const Outcome cut =
      Serve(kBegin + serial + kOpened + Asks("4/5", "4/6 00000000 00000002") + kTea + "expect 4/9 00000002",
            {"agenda", "export", "--ical", file});
  EXPECT_EQ(cut.code, 6) << cut.err;
  const Outcome nothing = Serve(kBegin + serial + kOpened + Asks("4/5", "4/6 00000000 00000001") +
                                    Asks("4/9 00000001", "4/10 80004005") + kClosed + kEnd,
                                {"agenda", "export", "--ical", file});
  EXPECT_EQ(nothing.code, 8) << nothing.err;
  EXPECT_EQ(ReadFile(file), whole);
  const auto files = std::distance(std::filesystem::directory_iterator(folder.Path()), {});
  EXPECT_EQ(files, 1) << "a temporary file is left";
}

TEST(AgendaCommand, WrongDaysAreRefusedBeforeAPhoneIsCalled) {
  for (const std::vector<std::string>& days : {std::vector<std::string>{"--from", "2009-02-30"},
                                               {"--to", "tomorrow"},
                                               {"--from", "2009-07-15", "--to", "2009-07-14"}}) {
    std::vector<std::string> arguments = {"-d", "tcp:127.0.0.1:1", "agenda", "list"};
    arguments.insert(arguments.end(), days.begin(), days.end());
    EXPECT_EQ(RunBrelix(arguments).code, 2) << days.back();
  }
}

}  // namespace
}  // namespace brelix::test
