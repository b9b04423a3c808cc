#include <gtest/gtest.h>

#include "handset/Errors.h"
#include "platform/Com.h"
#include "platform/Crt.h"
#include "platform/Kernel.h"
#include "platform/PocketOutlook.h"
#include "platform/Registry.h"
#include "platform/User.h"
#include "platform/Winsock.h"
#include "tests/support/TestPhone.h"

namespace {

using handset::FaultRule;
using handset::Held;
using test::BarePhone;

ce::LONG OpenRoot() {
  ce::HKEY key{};
  const ce::LONG result = ce::RegOpenKeyExW(ce::HKEY_LOCAL_MACHINE, u"", 0, 0, &key);
  if (result == 0 && key != ce::HKEY{}) ce::RegCloseKey(key);
  return result;
}

TEST(Faults, a_rule_skips_then_fails_so_many_times) {
  BarePhone phone;
  phone->GetFaults().Add({.call = "RegOpenKeyExW", .result = 5, .skip = 1, .times = 2});
  phone->GetFaults().Add({.call = "RegOpenKeyExW", .result = 7, .skip = 3});
  for (const ce::LONG expected : {0, 5, 5, 7, 0}) EXPECT_EQ(OpenRoot(), expected);
  phone->GetFaults().Add({.call = "RegOpenKeyExW", .times = FaultRule::kAlways});
  for (int i = 0; i < 5; ++i) EXPECT_EQ(OpenRoot(), 2) << "the call's usual code";
  phone->GetFaults().Clear();
  EXPECT_EQ(OpenRoot(), 0);
  phone->GetFaults().Add({.call = "RegOpenKeyExW", .result = 0});
  ce::HKEY key{};
  EXPECT_EQ(ce::RegOpenKeyExW(ce::HKEY_LOCAL_MACHINE, u"", 0, 0, &key), 0);
  EXPECT_EQ(key, ce::HKEY{}) << "success is answered, nothing is done";
}

TEST(Faults, each_kind_of_call_reports_in_its_own_way) {
  BarePhone phone;
  const auto fail = [&](const char* call, std::optional<std::uint32_t> code) {
    phone->GetFaults().Add({.call = call, .result = code});
  };
  fail("CreateThread", 1234);
  EXPECT_EQ(ce::CreateThread(nullptr, 0, nullptr, nullptr, 0, nullptr), ce::kNoHandle);
  EXPECT_EQ(ce::GetLastError(), 1234U);
  fail("ResumeThread", {});
  EXPECT_EQ(ce::ResumeThread(ce::kNoHandle), ce::kResumeFailed);
  fail("accept", 10050);
  EXPECT_EQ(ce::accept(1, nullptr, nullptr), ce::INVALID_SOCKET);
  EXPECT_EQ(ce::WSAGetLastError(), 10050);
  fail("recv", {});
  EXPECT_EQ(ce::recv(1, nullptr, 0, 0), ce::SOCKET_ERROR);
  EXPECT_EQ(ce::WSAGetLastError(), 10050);
  fail("fopen", {});
  EXPECT_EQ(ce::fopen("\\a", "a"), nullptr);
  fail("MessageBoxW", {});
  EXPECT_EQ(ce::MessageBoxW(ce::kNoWindow, u"t", u"c", ce::MB_OK), 0);
  EXPECT_TRUE(phone->GetMessageBoxes().GetLog().empty());
  fail("CoInitializeEx", 0x80010106);
  EXPECT_EQ(ce::CoInitializeEx(nullptr, 0), ce::Hresult(0x80010106));
  EXPECT_THROW(phone->GetFaults().Add({.call = "CoUninitialize"}), handset::FaultError);
  EXPECT_THROW(phone->GetFaults().Add({.call = "IPOutlookApp::Login"}), handset::FaultError);
}

TEST(Faults, a_refused_return_is_not_held_against_who_offered_it) {
  BarePhone phone;
  ce::HKEY key{};
  ASSERT_EQ(ce::RegOpenKeyExW(ce::HKEY_LOCAL_MACHINE, u"", 0, 0, &key), 0);
  phone->GetFaults().Add({.call = "RegCloseKey"});
  EXPECT_EQ(ce::RegCloseKey(key), 6);
  EXPECT_TRUE(phone->GetLedger().Empty()) << phone->GetLedger().Text();
  EXPECT_EQ(ce::RegQueryValueExW(key, u"x", nullptr, nullptr, nullptr, nullptr), 2) << "the key is still open";
  EXPECT_EQ(ce::RegCloseKey(key), 0);
}

// What a careful program does, giving back whatever it got.
void UseOutlook() {
  if (ce::CoInitializeEx(nullptr, 0) != ce::S_OK) return;
  ce::IPOutlookApp* app = nullptr;
  ce::IFolder* folder = nullptr;
  if (ce::CoCreateInstance(ce::CLSID_Application, nullptr, ce::CLSCTX_INPROC_SERVER, ce::IID_IPOutlookApp,
                           reinterpret_cast<void**>(&app)) == ce::S_OK) {
    if (app->Logon(0) == ce::S_OK) {
      if (app->GetDefaultFolder(ce::olFolderContacts, &folder) == ce::S_OK) folder->Release();
      app->Logoff();
    }
    app->Release();
  }
  ce::CoUninitialize();
}

TEST(Faults, a_sweep_fails_each_call_once_in_turn_and_ends) {
  BarePhone phone;
  std::vector<std::string> failed;
  for (std::uint64_t n = 1;; ++n) {
    phone->GetFaults().FailNth(n);
    UseOutlook();
    EXPECT_TRUE(phone->GetLedger().Empty()) << phone->GetLedger().Text();
    if (!phone->GetFaults().Fired()) break;
    failed.emplace_back(handset::InfoOf(*phone->GetFaults().FiredCall()).name);
  }
  const std::vector<std::string> expected = {
      "CoInitializeEx",   "CoCreateInstance",     "IPOutlookApp::Logon",  "IPOutlookApp::GetDefaultFolder",
      "IFolder::Release", "IPOutlookApp::Logoff", "IPOutlookApp::Release"};
  EXPECT_EQ(failed, expected);
}

}  // namespace
