#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validator.hpp>

#include "handset/Errors.h"
#include "tests/support/TestPhone.h"

namespace {

using nlohmann::json;
using valijson::adapters::NlohmannJsonAdapter;

json ReadJson(const std::string& name) {
  std::ifstream in(std::string(PROJECT_FOLDER) + "/" + name);
  return json::parse(in);
}

bool FitsSchema(const json& description) {
  const json source = ReadJson("docs/phone.schema.json");
  valijson::Schema schema;
  valijson::SchemaParser().populateSchema(NlohmannJsonAdapter(source), schema);
  valijson::Validator validator(valijson::Validator::kStrongTypes);
  return validator.validate(schema, NlohmannJsonAdapter(description), nullptr);
}

bool IsAccepted(const json& description) {
  const test::TemporaryFolder folder;
  try {
    handset::Handset::Init(folder.Path() / "phone", description);
    return true;
  } catch (const handset::DescriptionError&) {
    return false;
  }
}

TEST(Schema, accepts_the_demo_phone_and_every_printed_description) {
  const json demo = ReadJson("demo/phone.json");
  EXPECT_TRUE(FitsSchema(demo));
  test::BarePhone phone(demo);
  EXPECT_TRUE(FitsSchema(phone->Describe())) << phone->Describe().dump(1);
  test::BarePhone odd(json::parse(R"({
    "lines": [{"name": {"utf16": "D800"}, "model": null}], "clock": {"localTime": "1999-12-31T23:59:59"},
    "registry": [{"key": "HKLM\\a", "values": [{"name": "m", "type": "multi_sz", "data": ["a"]},
      {"name": "d", "type": "dword", "data": 1}, {"name": "x", "type": 77, "data": {"hex": "00"}}]}],
    "contacts": [{"Body": null, "Birthday": 1.5, "Picture": "AP8="}], "appointments": [{"Start": "2009-07-12",
      "Recipients": ["a"], "Recurrence": {"RecurrenceType": 9, "Interval": null, "PatternEndDate": "2010-01-01"}}],
    "messageBoxes": [{"answer": "ok"}], "faults": [{"call": "recv", "result": 5, "times": "always"}],
    "calls": [{"start": {"fileTime": 1}, "direction": 7, "flags": 16, "callerId": 9, "note": "n"}],
    "accounts": [{"folders": [{"reportedCount": null, "folders": [{"name": "in"}], "messages": [
      {"sender": {"address": "a"}, "recipients": [{"addressFirst": true}], "hasEntryId": false}]}]}],
    "sms": {"delivery": [{"refused": 1}, {"steps": [{"status": [1, 2]}, {"result": 5}]}]},
    "outbox": [{"id": 1, "to": "", "text": ""}],
    "bluetooth": {"mode": 9, "takenChannels": [30], "records": [{"handle": 1, "hex": "35"}]}})"));
  EXPECT_TRUE(FitsSchema(odd->Describe())) << odd->Describe().dump(1);
  odd->GetFaults().Clear();
}

TEST(Schema, agrees_with_init_about_what_is_wrong) {
  const char* const kWrong[] = {
      R"({"lime": []})",
      R"({"lines": [{"model": "x"}]})",
      R"({"lines": [{"name": {"utf16": "D80"}}]})",
      R"({"os": {"major": -1}})",
      R"({"power": {"acLine": 256}})",
      R"({"clock": {"localTime": "yesterday"}})",
      R"({"registry": {"HKLM": {}}})",
      R"({"registry": [{"key": "HKLM", "values": [{"name": "a", "type": "szz", "data": "x"}]}]})",
      R"({"contacts": [{"Firstname": "A"}]})",
      R"({"contacts": [{"Body": 5}]})",
      R"({"contacts": [{"Picture": "QUI"}]})",
      R"({"appointments": [{"End": "2009-01-01"}]})",
      R"({"appointments": [{"Start": "today"}]})",
      R"({"appointments": [{"Start": 0, "Recurrence": {"Interval": 1}}]})",
      R"({"messageBoxes": [{"answer": "maybe"}]})",
      R"({"faults": [{"call": "recv", "times": 0}]})",
      R"({"calls": [{"end": "2009-07-12T13:45:01Z"}]})",
      R"({"calls": [{"start": "2009-07-12T13:45:01"}]})",
      R"({"calls": [{"start": "2009-07-12T13:45:01Z", "flags": ["loud"]}]})",
      R"({"accounts": [{"folders": [{"messages": [{"body": "x"}]}]}]})",
      R"({"sms": {"delivery": [{"to": "1"}]}})",
      R"({"sms": {"delivery": [{"steps": [{"state": "sent", "result": 1}]}]}})",
      R"({"outbox": [{"id": 1, "to": ""}]})",
      R"({"bluetooth": {"provider": "other"}})",
      R"({"bluetooth": {"mode": "on"}})",
      R"({"bluetooth": {"takenChannels": [31]}})",
      R"({"bluetooth": {"records": [{"handle": 0, "hex": ""}]}})",
  };
  for (const char* text : kWrong) {
    EXPECT_FALSE(FitsSchema(json::parse(text))) << text;
    EXPECT_FALSE(IsAccepted(json::parse(text))) << text;
  }
  EXPECT_TRUE(FitsSchema(json::object()));
  EXPECT_TRUE(IsAccepted(json::object()));
}

}  // namespace
