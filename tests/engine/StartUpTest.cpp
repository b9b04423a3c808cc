// Construction: its order, its failures, the question about the radio, and that no failure leaves anything behind.
#include <gtest/gtest.h>
#include <map>

#include "agent/engine/ErrorRecord.h"
#include "tests/support/EngineRun.h"
#include "tests/support/TestPhone.h"

namespace test {
namespace {

using handset::Held;

nlohmann::json PhoneWithRadio() {
  return {{"lines",
           {{{"name", "Modem"}},
            {{"name", "Cellular Line"},
             {"manufacturer", "M"},
             {"model", "O"},
             {"revision", "R"},
             {"serialNumber", "S"},
             {"subscriberNumber", "N"}}}}};
}

nlohmann::json PhoneWithRadioOff() { return {{"lines", {{{"name", "Cellular Line"}, {"radioOff", true}}}}}; }

struct Outcome {
  bool constructed;
  std::u16string record;  // "name code", empty when there is none
};

Outcome ConstructOnce(CBrelixAgent* agent) {
  Script script;
  auto engine = std::make_unique<CAgentEngine>(agent, new CScriptedConnection(script));
  Outcome outcome{engine->Construct(), {}};
  engine.reset();
  if (const CApiError* error = LastApiError()) outcome.record = error->GetFunctionName();
  DropLastApiError();
  return outcome;
}

// Each call of start-up fails once; which record that must leave. Calls that are not here are forgiven.
const std::map<std::string, std::u16string> kRecords = {
    {"CoCreateInstance", u"CoCreateInstance"},
    {"IPOutlookApp::Logon", u"IPOutlookApp->Logon"},
    {"lineInitializeEx", u""},  // its usual code is the radio's being off: without an agent start-up goes on
    {"lineNegotiateAPIVersion", u"lineNegotiateAPIVersion"},
    {"lineGetDevCaps", u""},
    {"lineOpen", u"lineOpen"},
    {"lineNegotiateExtVersion", u"lineNegotiateExtVersion"},
    {"lineGetGeneralInfo", u""},
    {"PhoneOpenCallLog", u"PhoneOpenCallLog"},
    {"IPOutlookApp::GetDefaultFolder", u"GetDefaultFolder"},
    {"MAPIInitialize", u"MAPIInitialize"},
    {"MAPILogonEx", u"MAPILogonEx"},
    {"CreateThread", u"CreateThread"},
};

// What the platform is left with when looking at the lines fails.
void ExpectOnlyLineHandlesHeld(TestPhone& phone, std::string_view call) {
  const bool appLeftOpen = call == "lineNegotiateAPIVersion" || call == "lineGetDevCaps" || call == "LocalAlloc";
  if (appLeftOpen) {
    EXPECT_TRUE(phone->GetLedger().EmptyExcept({Held::kComStart, Held::kLineApp})) << call << "\n"
                                                                                   << phone->GetLedger().Text();
  } else {
    EXPECT_TRUE(phone->GetLedger().EmptyExcept({Held::kComStart})) << call << "\n" << phone->GetLedger().Text();
  }
}

TEST(StartUp, whichever_call_fails_nothing_leaks_and_the_next_start_works) {
  for (std::uint64_t n = 1;; ++n) {
    SCOPED_TRACE(n);
    TestPhone phone(PhoneWithRadio());
    phone.ExpectHeld(Held::kLineApp);
    phone->GetFaults().FailNth(n);
    const Outcome outcome = ConstructOnce(nullptr);
    if (!phone->GetFaults().Fired()) {
      EXPECT_TRUE(outcome.constructed);
      EXPECT_GT(n, 30u);
      break;
    }
    const std::string call(handset::InfoOf(*phone->GetFaults().FiredCall()).name);
    SCOPED_TRACE(call);
    ExpectOnlyLineHandlesHeld(phone, call);
    if (const auto expected = kRecords.find(call); expected != kRecords.end()) {
      EXPECT_EQ(outcome.record, expected->second);
      EXPECT_EQ(outcome.constructed, expected->second.empty());
    }
    phone->GetFaults().Clear();
    EXPECT_TRUE(ConstructOnce(nullptr).constructed);
  }
}

TEST(StartUp, goes_on_without_a_radio_unless_the_user_says_no) {
  const std::u16string question =
      u"Question|Seems like the phone radio is OFF.\n\nContinue with no radio?\n\n(otherwise reply \"No\", turn the "
      u"phone "
      u"radio ON and restart this application)";
  RecordingAgent agent;
  {
    TestPhone phone(PhoneWithRadioOff());
    EXPECT_TRUE(ConstructOnce(nullptr).constructed);
    EXPECT_TRUE(phone.Boxes().empty());
  }
  {
    TestPhone phone(PhoneWithRadioOff());
    phone->GetMessageBoxes().AddAnswer({.caption = {}, .contains = {}, .answer = ce::IDYES});
    EXPECT_TRUE(ConstructOnce(&agent).constructed);
    EXPECT_EQ(phone.Boxes(), std::vector{question});
    EXPECT_EQ(phone->GetMessageBoxes().GetLog().at(0).type, 0x24u);
  }
  {
    TestPhone phone(PhoneWithRadioOff());
    const Outcome outcome = ConstructOnce(&agent);
    EXPECT_FALSE(outcome.constructed);
    EXPECT_EQ(outcome.record, u"getcount lineGetGeneralInfo");
  }
  {
    // Any other failure of the radio query ends the start, unasked.
    TestPhone phone(PhoneWithRadio());
    phone.FailCall("lineGetGeneralInfo", 0x80000044, 1);
    const Outcome outcome = ConstructOnce(&agent);
    EXPECT_FALSE(outcome.constructed);
    EXPECT_EQ(outcome.record, u"getdata lineGetGeneralInfo");
    EXPECT_TRUE(phone.Boxes().empty());
  }
}

TEST(StartUp, Kept_line_app_left_open) {
  TestPhone phone(PhoneWithRadio());
  phone.ExpectHeld(Held::kLineApp);
  phone.FailCall("lineGetDevCaps", 0x80000044, 1);
  EXPECT_EQ(ConstructOnce(nullptr).record, u"getdata lineGetDevCaps");
  EXPECT_EQ(phone->GetLedger().Count(Held::kLineApp), 1u);
}

TEST(StartUp, Kept_line_left_open) {
  TestPhone phone(PhoneWithRadio());
  phone.FailCall("lineNegotiateExtVersion", 0x8000000D);
  // The call that would close the line is not made: were it made, it would fail here and be noticed.
  phone.FailCall("lineClose", 0x8000002B, 0, handset::FaultRule::kAlways);
  EXPECT_EQ(ConstructOnce(nullptr).record, u"lineNegotiateExtVersion");
  EXPECT_TRUE(phone->GetLedger().EmptyExcept({Held::kComStart})) << "shutting the application down closes its lines";
}

TEST(StartUp, without_memory_for_a_radio_text_there_is_no_record_and_no_start) {
  TestPhone phone(PhoneWithRadio());
  // Grow the number of allocations that succeed until the texts are reached: failing any of them fails the start.
  int failures = 0;
  for (std::uint32_t skip = 0; skip < 40; ++skip) {
    phone->GetFaults().Clear();
    phone.FailCall("LocalAlloc", {}, skip);
    const Outcome outcome = ConstructOnce(nullptr);
    if (outcome.constructed) break;
    failures += outcome.record.empty() ? 1 : 0;
  }
  EXPECT_GE(failures, 5);
  phone.ExpectHeld(Held::kLineApp);
}

}  // namespace
}  // namespace test
