#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "handset/Errors.h"
#include "handset/Handset.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestPhone.h"

namespace {

using handset::DescriptionError;
using handset::Handset;
using nlohmann::json;

// Everything a description can say, odd values included.
const json& OddPhone() {
  static const json kPhone = json::parse(R"({
    "lines": [
      {"name": {"utf16": "D8000041"}, "manufacturer": null, "model": "", "revision": "r\u0000x",
       "serialNumber": "\u20ac\ud83d\ude00", "subscriberNumber": "+1", "radioOff": true, "operationUnavailable": false},
      {"name": "Cellular Line", "manufacturer": "", "model": "", "revision": "", "serialNumber": "",
       "subscriberNumber": "", "radioOff": false, "operationUnavailable": true}],
    "os": {"major": 4294967295, "minor": 0, "build": 1, "platform": 9, "queryFails": true},
    "memory": {"load": 300, "totalPhysical": 4294967295, "availablePhysical": 0},
    "power": {"acLine": 255, "batteryFlag": 9, "batteryPercent": 101, "queryFails": true},
    "clock": {"localTime": "2009-07-12T13:45:01.250", "utcOffsetMinutes": -210},
    "registry": [
      {"key": "HKLM\\Software\\\u00c9t\u00e9", "values": [
        {"name": "", "type": "sz", "data": "unnamed"},
        {"name": "cut", "type": "sz", "data": {"hex": "410042"}},
        {"name": "more", "type": "multi_sz", "data": ["a", {"utf16": "DC00"}]},
        {"name": "none of them", "type": "multi_sz", "data": []},
        {"name": "hole", "type": "multi_sz", "data": ["", "x"]},
        {"name": "short", "type": "dword", "data": {"hex": "01"}},
        {"name": "big", "type": "dword", "data": 4294967295},
        {"name": "empty", "type": "none", "data": {"hex": ""}},
        {"name": "odd", "type": 21, "data": {"hex": "00FF"}}]},
      {"key": "HKU\\leaf", "values": []}],
    "contacts": [
      {"oid": 2, "Body": null},
      {"oid": 4294967294, "Birthday": "1850-02-28", "Anniversary": 1e300, "FirstName": {"utf16": "DC00D800"},
       "FileAs": "", "ManagerName": "", "GovernmentIDNumber": "\u00e9\u0000\ud83d\ude00", "Picture": "AP+A",
       "getPropsAnswers": 5, "emptyPictureOpens": true}],
    "appointments": [
      {"oid": 1, "Subject": {"utf16": "D83D"}, "Location": "", "Categories": "a, b", "Body": "<&", "Start": "1899-12-29T06:00:00",
       "End": "2009-07-12T13:45:01", "Duration": -2147483648, "AllDayEvent": true, "BusyStatus": 9, "Sensitivity": 4,
       "MeetingStatus": 2, "ReminderSet": true, "ReminderSoundFile": "x.wav", "ReminderMinutesBeforeStart": -5,
       "ReminderOptions": 31, "Recipients": ["a@x.example", ""],
       "Recurrence": {"RecurrenceType": 4, "PatternStartDate": "4501-01-01", "StartTime": 0.123456789, "EndTime": 3000000.5,
         "PatternEndDate": null, "NoEndDate": false, "Occurrences": null, "Interval": null, "DayOfWeekMask": null,
         "DayOfMonth": 31, "MonthOfYear": 13, "Instance": 5, "Duration": 7}}],
    "messageBoxes": [{"caption": "Question", "contains": "radio", "answer": "yes"}, {"answer": "no"}],
    "faults": [
      {"call": "RegOpenKeyExW", "result": "0x00000005", "skip": 2, "times": 3},
      {"call": "IPOutlookApp::Logon", "skip": 0, "times": "always"}],
    "calls": [
      {"start": {"fileTime": 9223372036854775807}, "end": {"fileTime": 1}, "direction": 7, "flags": 4294967295,
       "callerId": 9},
      {"start": "2009-07-12T13:45:01Z", "end": "9999-12-31T23:59:59.999Z", "direction": "outgoing",
       "flags": ["outgoing", "roaming"], "callerId": "blocked", "number": {"utf16": "DC00"}, "name": "",
       "phoneType": "m", "note": "n"}],
    "accounts": [
      {"name": "twice", "folders": [
        {"name": "top", "reportedCount": null, "folders": [{"messages": []}], "messages": [
          {"subject": "s", "delivered": "1601-01-01T00:00:00Z", "hasEntryId": false,
           "sender": {"name": "", "address": "\"a\" <b>"}},
          {"recipients": [{"name": "r", "address": "x", "addressFirst": true}, {}]}]},
        {"name": "top", "reportedCount": 70000, "messages": []}]},
      {"name": "twice", "folders": []}, {"folders": []}],
    "sms": {"nextId": 4294967295, "delivery": [
      {"to": "+1", "refused": "0x82000107"},
      {"steps": [{"queries": 2, "state": "sent"}, {"queries": 0, "status": [1, 2]},
                 {"queries": 1, "result": "0x80004005"}]}]},
    "outbox": [{"id": 7, "sent": "1601-01-01T00:00:00Z", "to": "", "text": {"utf16": "D800"}, "serviceCentre": "",
                "options": 2, "class": 1, "replace": 0, "encoding": 2, "queries": 3}],
    "bluetooth": {"provider": "bluez", "mode": 77, "takenChannels": [1, 30], "takesNoDelay": true,
                  "records": [{"handle": 1, "hex": ""}, {"handle": 4294967294, "hex": "3500"}]},
    "files": []
  })");
  return kPhone;
}

TEST(Description, is_printed_back_whole_and_makes_the_same_phone_again) {
  test::TemporaryFolder folder;
  Handset::Init(folder.Path() / "first", OddPhone());
  const json printed = Handset::Open(folder.Path() / "first")->Describe();
  EXPECT_EQ(printed, OddPhone()) << json::diff(OddPhone(), printed).dump(1);
  Handset::Init(folder.Path() / "empty", json::object());
  const json defaults = Handset::Open(folder.Path() / "empty")->Describe();
  Handset::Init(folder.Path() / "again", defaults);
  EXPECT_EQ(Handset::Open(folder.Path() / "again")->Describe(), defaults);
}

TEST(Description, a_misfit_names_its_place_and_makes_nothing) {
  const struct {
    const char* json;
    const char* pointer;
    const char* inText;
  } kCases[] = {
      {R"(5)", "", "an object, found 5"},
      {R"({"lime": []})", "/lime", "did you mean lines?"},
      {R"({"lines": [{"name": "a"}, {}]})", "/lines/1", "\"name\""},
      {R"({"lines": [{"name": {"utf16": "D80"}}]})", "/lines/0/name", "four hexadecimal digits"},
      {R"({"lines": [{"name": "a", "radioOff": 1}]})", "/lines/0/radioOff", "true or false, found 1"},
      {R"({"os": {"major": -1}})", "/os/major", "0 to 4294967295, found -1"},
      {R"({"memory": {"load": 4294967296}})", "/memory/load", "found 4294967296"},
      {R"({"memory": {"load": 18446744073709551615}})", "/memory/load", "found 18446744073709551615"},
      {R"({"power": {"batteryPercent": 256}})", "/power/batteryPercent", "0 to 255"},
      {R"({"power": {"acLine": 1.0}})", "/power/acLine", "whole number"},
      {R"({"clock": {"localTime": "2009-02-29T00:00:00"}})", "/clock/localTime", "found \"2009-02-29T00:00:00\""},
      {R"({"clock": {"localTime": "2009-01-01T24:00:00"}})", "/clock/localTime", ""},
      {R"({"clock": {"localTime": "2009-01-01 00:00:00"}})", "/clock/localTime", ""},
      {R"({"registry": [{"key": "HKEY\\x"}]})", "/registry/0/key", "HKLM"},
      {R"({"registry": [{"key": "HKLM\\a\\\\b"}]})", "/registry/0/key", "1 to 255"},
      {R"({"registry": [{"key": "HKLM\\a"}, {"key": "HKEY_LOCAL_MACHINE\\A"}]})", "/registry/1/key", "already"},
      {R"({"registry": [{"key": "HKLM", "values": [{"name": "a", "type": "szz", "data": ""}]}]})",
       "/registry/0/values/0/type", "did you mean sz?"},
      {R"({"registry": [{"key": "HKLM", "values": [{"name": "a", "type": "binary", "data": "41"}]}]})",
       "/registry/0/values/0/data", "hex"},
      {R"({"registry": [{"key": "HKLM", "values": [{"name": "a", "type": "sz", "data": {"hex": "4"}}]}]})",
       "/registry/0/values/0/data/hex", "two hexadecimal digits"},
      {R"({"contacts": [{"Firstname": "A"}]})", "/contacts/0/Firstname", "did you mean FirstName"},
      {R"({"contacts": [{"FirstName": null}]})", "/contacts/0/FirstName", "a text"},
      {R"({"contacts": [{"Birthday": "1975-02-29"}]})", "/contacts/0/Birthday", "1975-04-09"},
      {R"({"contacts": [{"Picture": "QUI"}]})", "/contacts/0/Picture", "base64"},
      {R"({"contacts": [{"Picture": "QUJ="}]})", "/contacts/0/Picture", "base64"},
      {R"({"contacts": [{}, {"oid": 7}], "appointments": [{"oid": 7, "Start": 1}]})", "/appointments/0/oid",
       "no other"},
      {R"({"appointments": [{"End": "2009-01-01"}]})", "/appointments/0", "\"Start\""},
      {R"({"appointments": [{"Start": 0, "End": 1e9}]})", "/appointments/0/End", "close to the start"},
      {R"({"appointments": [{"Start": 0, "Recurrence": {}}]})", "/appointments/0/Recurrence", "\"RecurrenceType\""},
      {R"({"messageBoxes": [{"answer": "maybe"}]})", "/messageBoxes/0/answer", "\"yes\", \"no\" or \"ok\""},
      {R"({"faults": [{"call": "RegOpenKeyEx"}]})", "/faults/0", "did you mean RegOpenKeyExW"},
      {R"({"faults": [{"call": "Sleep"}]})", "/faults/0", "Sleep cannot fail"},
      {R"({"faults": [{"call": "fopen", "result": 5}]})", "/faults/0", "without a code"},
      {R"({"faults": [{"call": "recv", "result": "0xg"}]})", "/faults/0/result", "0x80004005"},
      {R"({"faults": [{"call": "recv", "times": 0}]})", "/faults/0/times", ""},
      {R"({"calls": [{"number": "1"}]})", "/calls/0", "\"start\""},
      {R"({"calls": [{"start": "2009-01-01T00:00:00"}]})", "/calls/0/start", "2009-07-12T13:45:01Z"},
      {R"({"calls": [{"start": {"fileTime": -1}}]})", "/calls/0/start/fileTime", "found -1"},
      {R"({"calls": [{"start": {"fileTime": 0}, "direction": "mised"}]})", "/calls/0/direction",
       "did you mean missed?"},
      {R"({"calls": [{"start": {"fileTime": 0}, "flags": ["roaming", 2]}]})", "/calls/0/flags/1", "a string"},
      {R"({"accounts": [{"folders": [{"messages": [{"delivered": 5}]}]}]})",
       "/accounts/0/folders/0/messages/0/delivered", "a string"},
      {R"({"accounts": [{"folders": [{"folders": [{"reportedCount": -1}]}]}]})",
       "/accounts/0/folders/0/folders/0/reportedCount", "found -1"},
      {R"({"sms": {"delivery": [{"to": "1"}]}})", "/sms/delivery/0", "either \"refused\" or \"steps\""},
      {R"({"sms": {"delivery": [{"steps": [{"state": "sent", "result": 1}]}]}})", "/sms/delivery/0/steps/0", "one of"},
      {R"({"sms": {"delivery": [{"steps": [{"status": [1]}]}]}})", "/sms/delivery/0/steps/0/status", "two numbers"},
      {R"({"outbox": [{"id": 1, "to": "", "text": ""}, {"id": 1, "to": "", "text": ""}]})", "/outbox/1/id", "already"},
  };
  test::TemporaryFolder folder;
  for (const auto& test : kCases) {
    try {
      Handset::Init(folder.Path() / "phone", json::parse(test.json));
      ADD_FAILURE() << test.json << " was accepted";
      return;
    } catch (const DescriptionError& error) {
      EXPECT_EQ(error.GetPointer(), test.pointer) << error.what();
      EXPECT_NE(std::string(error.what()).find(test.inText), std::string::npos) << error.what();
    }
  }
  EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

TEST(Description, folders_are_not_without_end) {
  json folder = {{"messages", json::array()}};
  for (int depth = 1; depth <= 32; ++depth) folder = {{"folders", {folder}}};
  test::TemporaryFolder place;
  EXPECT_THROW(Handset::Init(place.Path() / "phone", {{"accounts", {{{"folders", {folder}}}}}}), DescriptionError);
  Handset::Init(place.Path() / "phone", {{"accounts", {{{"folders", folder["folders"]}}}}});
}

TEST(Description, items_get_the_object_ids_and_times_that_nobody_gave) {
  test::BarePhone phone(json::parse(R"({
    "contacts": [{"LastName": "First"}, {"oid": 1}, {"LastName": "Third"}],
    "appointments": [
      {"Start": "2009-07-13T09:00:00", "Duration": 45,
       "Recurrence": {"RecurrenceType": 1, "DayOfWeekMask": 2, "Occurrences": 5}},
      {"Start": "2009-07-14", "End": "2009-07-16", "AllDayEvent": true, "Recurrence": {"RecurrenceType": 0}}]})"));
  const json printed = phone->Describe();
  EXPECT_EQ(printed["contacts"], json::parse(R"([{"oid": 1}, {"oid": 2, "LastName": "First"},
                                                 {"oid": 3, "LastName": "Third"}])"));
  const json& weekly = printed["appointments"][0];
  EXPECT_EQ(weekly["oid"], 4);
  EXPECT_EQ(weekly["End"], "2009-07-13T09:45:00");
  EXPECT_EQ(weekly["Recurrence"]["PatternStartDate"], "2009-07-13");
  EXPECT_EQ(weekly["Recurrence"]["StartTime"], "1899-12-30T09:00:00");
  EXPECT_EQ(weekly["Recurrence"]["NoEndDate"], false);
  EXPECT_EQ(printed["appointments"][1]["Duration"], 2880);
  EXPECT_EQ(printed["appointments"][1]["Recurrence"]["NoEndDate"], true);
}

TEST(Description, an_error_in_a_file_names_the_file_and_the_line) {
  test::TemporaryFolder folder;
  const auto file = folder.Path() / "phone.json";
  const auto message = [&](const char* text) -> std::string {
    std::ofstream(file) << text;
    try {
      Handset::InitFromFile(folder.Path() / "phone", file);
    } catch (const DescriptionError& error) {
      return error.what();
    }
    return "no error";
  };
  const std::string syntax = message("{\n \"os\": {,}\n}");
  EXPECT_EQ(syntax.find(file.string()), 0U) << syntax;
  EXPECT_NE(syntax.find("line 2, column 9"), std::string::npos) << syntax;
  const std::string twice = message(R"({"os": {"major": 5}, "memory": {"major": 1}, "os": {}})");
  EXPECT_NE(twice.find("\"os\" twice"), std::string::npos) << twice;
  const std::string misfit = message(R"({"os": []})");
  EXPECT_EQ(misfit, file.string() + ": /os: expected an object, found []");
  std::filesystem::remove(file);
  EXPECT_THROW(Handset::InitFromFile(folder.Path() / "phone", file), DescriptionError);
}

}  // namespace
