// Construction: its order, its failures, the question about the radio, and that no failure leaves anything behind.
#include <gtest/gtest.h>

#include "agent/engine/ErrorRecord.h"
#include "tests/support/EngineRun.h"
#include "tests/support/TestPhone.h"

namespace test {
namespace {

using handset::Held;

nlohmann::json PhoneWithRadio() {
  nlohmann::json phone = {{"lines", {{{"name", "Modem"}}, {{"name", "Cellular Line"}, {"serialNumber", "S"}}}}};
  phone["registry"] = {{{"key", "HKLM\\System\\StorageManager\\Profiles\\SDMMC"},
                        {"values", {{{"name", "Folder"}, {"type", "sz"}, {"data", "Storage Card"}}}}}};
  return phone;
}

nlohmann::json PhoneWithRadioOff() { return {{"lines", {{{"name", "Cellular Line"}, {"radioOff", true}}}}}; }

struct Outcome {
  bool constructed;
  std::u16string record;  // the function's name, empty when there is none
  std::uint32_t code = 0;
};

Outcome ConstructOnce(CBrelixAgent* agent) {
  Script script;
  auto engine = std::make_unique<CAgentEngine>(agent, new CScriptedConnection(script));
  Outcome outcome{engine->Construct(), {}, 0};
  engine.reset();
  if (const CApiError* error = LastApiError()) {
    outcome.record = error->GetFunctionName();
    outcome.code = error->GetCode();
  }
  DropLastApiError();
  return outcome;
}

// Each call of start-up that must not fail, the code it is made to fail with, and the record that this leaves. The
// calls of start-up and of the end that are not here are forgiven.
struct RecordCase {
  const char* call;
  std::uint32_t code;
  std::uint32_t skip;
  std::u16string record;
};

const RecordCase kRecords[] = {
    {"CoCreateInstance", 0x80040154, 0, u"CoCreateInstance"},
    {"IPOutlookApp::Logon", 0x80004005, 0, u"IPOutlookApp->Logon"},
    {"lineInitializeEx", 0x80000044, 0, u"lineInitializeEx"},
    {"lineNegotiateAPIVersion", 0x8000000C, 0, u"lineNegotiateAPIVersion"},
    {"lineNegotiateAPIVersion", 0x8000000C, 1, u"lineNegotiateAPIVersion"},
    {"lineGetDevCaps", 0x80000044, 0, u"getcount lineGetDevCaps"},
    {"lineGetDevCaps", 0x80000044, 3, u"getdata lineGetDevCaps"},
    {"lineOpen", 0x80000042, 0, u"lineOpen"},
    {"lineNegotiateExtVersion", 0x8000000D, 0, u"lineNegotiateExtVersion"},
    {"lineGetGeneralInfo", 0x80000044, 0, u"getcount lineGetGeneralInfo"},
    {"lineGetGeneralInfo", 0x80000049, 1, u"getdata lineGetGeneralInfo"},
    {"PhoneOpenCallLog", 1, 0, u"PhoneOpenCallLog"},
    {"IPOutlookApp::GetDefaultFolder", 0x80070057, 0, u"GetDefaultFolder"},
    {"IPOutlookApp::GetDefaultFolder", 0x80070057, 1, u"GetDefaultFolder"},
    {"MAPIInitialize", 0x8004010F, 0, u"MAPIInitialize"},
    {"MAPILogonEx", 0x80040111, 0, u"MAPILogonEx"},
    {"CreateThread", 8, 0, u"CreateThread"},
};

TEST(StartUp, a_step_that_fails_leaves_its_record) {
  for (const RecordCase& row : kRecords) {
    SCOPED_TRACE(row.call);
    TestPhone phone(PhoneWithRadio());
    phone.ExpectHeld(Held::kLineApp);
    phone.FailCall(row.call, row.code, row.skip);
    const Outcome outcome = ConstructOnce(nullptr);
    EXPECT_FALSE(outcome.constructed);
    EXPECT_EQ(outcome.record, row.record);
    EXPECT_EQ(outcome.code, row.code);
  }
}

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

// The calls from the first of start-up to the last of the end, in their order; memory aside.
const std::vector<std::string> kOrder = {
    "CoCreateInstance", "IPOutlookApp::Logon",
    // the system module: two lines, the second of which is the cellular one, and the storage card
    "lineInitializeEx", "lineNegotiateAPIVersion", "lineGetDevCaps", "lineGetDevCaps", "lineNegotiateAPIVersion",
    "lineGetDevCaps", "lineGetDevCaps", "lineOpen", "lineNegotiateExtVersion", "lineGetGeneralInfo",
    "lineGetGeneralInfo", "lineClose", "lineShutdown", "RegOpenKeyExW", "RegQueryValueExW", "RegCloseKey",
    // call log, agenda, contacts, messaging
    "PhoneOpenCallLog", "IPOutlookApp::GetDefaultFolder", "IPOutlookApp::GetDefaultFolder", "MAPIInitialize",
    "MAPILogonEx", "CreateThread",
    // and the end: messaging, contacts, agenda, call log, Outlook, connection, thread
    "IMAPISession::Logoff", "IMAPISession::Release", "IFolder::Release", "IFolder::Release", "PhoneCloseCallLog",
    "IPOutlookApp::Logoff", "IPOutlookApp::Release", "CloseHandle"};

TEST(StartUp, whichever_call_fails_nothing_leaks_and_the_next_start_works) {
  std::vector<std::string> order;
  for (std::uint64_t n = 1;; ++n) {
    SCOPED_TRACE(n);
    TestPhone phone(PhoneWithRadio());
    phone.ExpectHeld(Held::kLineApp);
    phone->GetFaults().FailNth(n);
    const Outcome outcome = ConstructOnce(nullptr);
    if (!phone->GetFaults().Fired()) {
      EXPECT_TRUE(outcome.constructed);
      break;
    }
    const std::string call(handset::InfoOf(*phone->GetFaults().FiredCall()).name);
    if (call != "LocalAlloc") order.push_back(call);
    SCOPED_TRACE(call);
    ExpectOnlyLineHandlesHeld(phone, call);
    phone->GetFaults().Clear();
    EXPECT_TRUE(ConstructOnce(nullptr).constructed);
  }
  EXPECT_EQ(order, kOrder);
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
  phone.ExpectHeld(Held::kLine);
  phone.FailCall("lineNegotiateExtVersion", 0x8000000D);
  // Shutting the application down would close its lines; when that fails, the line shows.
  phone.FailCall("lineShutdown");
  EXPECT_EQ(ConstructOnce(nullptr).record, u"lineNegotiateExtVersion");
  EXPECT_EQ(phone->GetLedger().Count(Held::kLine), 1u);
}

TEST(StartUp, the_thread_handle_is_closed_by_the_destructor) {
  TestPhone phone(PhoneWithRadio());
  Script script;
  auto engine = std::make_unique<CAgentEngine>(nullptr, new CScriptedConnection(script));
  ASSERT_TRUE(engine->Construct());
  EXPECT_EQ(phone->GetLedger().Count(Held::kThread), 1u);
  engine.reset();
  EXPECT_EQ(phone->GetLedger().Count(Held::kThread), 0u);
}

}  // namespace
}  // namespace test
