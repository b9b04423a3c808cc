#include <gtest/gtest.h>
#include <thread>

#include "platform/CallLog.h"
#include "platform/Mapi.h"
#include "platform/PocketOutlook.h"
#include "tests/support/TestPhone.h"

namespace {

using test::BarePhone;

ce::HRESULT CreateApp(const ce::IID& iid, ce::IPOutlookApp** app) {
  return ce::CoCreateInstance(ce::CLSID_Application, nullptr, ce::CLSCTX_INPROC_SERVER, iid,
                              reinterpret_cast<void**>(app));
}

TEST(Com, counts_starts_for_each_thread_and_knows_one_class) {
  BarePhone phone;
  ce::IPOutlookApp* app = nullptr;
  EXPECT_EQ(CreateApp(ce::IID_IPOutlookApp, &app), ce::Hresult(0x800401F0)) << "before COM was started";
  EXPECT_EQ(ce::CoInitializeEx(nullptr, ce::COINIT_MULTITHREADED), ce::S_OK);
  EXPECT_EQ(ce::CoInitializeEx(nullptr, ce::COINIT_MULTITHREADED), ce::S_FALSE);
  EXPECT_EQ(ce::CoInitializeEx(nullptr, 2), ce::Hresult(0x80010106));
  std::thread([&] {
    const handset::CurrentPhone current(*phone);
    EXPECT_EQ(ce::CoInitializeEx(nullptr, 0), ce::S_OK) << "another thread";
    ce::CoUninitialize();
    ce::CoUninitialize();
  }).join();
  EXPECT_EQ(phone->GetLedger().Count(handset::Held::kComStart), 2U);
  EXPECT_EQ(
      ce::CoCreateInstance(ce::IID_IPOutlookApp, nullptr, 1, ce::IID_IPOutlookApp, reinterpret_cast<void**>(&app)),
      ce::Hresult(0x80040154));
  EXPECT_EQ(CreateApp(ce::CLSID_Application, &app), ce::E_NOINTERFACE);
  ce::CoUninitialize();
  ce::CoUninitialize();
}

TEST(Outlook, hands_out_folders_and_collections_with_one_reference_each) {
  BarePhone phone;
  ASSERT_EQ(ce::CoInitializeEx(nullptr, 0), ce::S_OK);
  ce::IPOutlookApp* app = nullptr;
  ASSERT_EQ(CreateApp(ce::IID_IPOutlookApp, &app), ce::S_OK);
  ce::IFolder* folder = nullptr;
  EXPECT_NE(app->GetDefaultFolder(ce::olFolderContacts, &folder), ce::S_OK) << "nobody logged on";
  EXPECT_EQ(app->Logon(0), ce::S_OK);
  EXPECT_EQ(app->GetDefaultFolder(11, &folder), ce::E_INVALIDARG);
  for (const ce::INT number : {ce::olFolderCalendar, ce::olFolderContacts}) {
    ASSERT_EQ(app->GetDefaultFolder(number, &folder), ce::S_OK);
    ce::IPOutlookItemCollection* items = nullptr;
    ASSERT_EQ(folder->get_Items(&items), ce::S_OK);
    ce::INT count = -1;
    EXPECT_EQ(items->get_Count(&count), ce::S_OK);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(items->Item(1, nullptr), ce::E_POINTER);
    EXPECT_EQ(items->AddRef(), 2U);
    EXPECT_EQ(phone->GetLedger().Count(handset::Held::kComReference), 4U);
    EXPECT_EQ(items->Release(), 1U);
    EXPECT_EQ(items->Release(), 0U);
    EXPECT_EQ(folder->Release(), 0U);
  }
  EXPECT_EQ(phone->GetLedger().Count(handset::Held::kPoomLogon), 1U);
  EXPECT_EQ(app->Logoff(), ce::S_OK);
  EXPECT_EQ(app->Logoff(), ce::E_FAIL);
  EXPECT_EQ(app->Release(), 0U);
  ce::CoUninitialize();
}

TEST(Outlook, an_object_that_somebody_else_holds_lives_on_until_it_is_released_once_more) {
  BarePhone phone;
  ASSERT_EQ(ce::CoInitializeEx(nullptr, 0), ce::S_OK);
  for (const bool released_again : {true, false}) {
    ce::IPOutlookApp* app = nullptr;
    ASSERT_EQ(CreateApp(ce::IID_IPOutlookApp, &app), ce::S_OK);
    phone.FailCall("IPOutlookApp::Release", 3);
    EXPECT_EQ(app->Release(), 3U);
    EXPECT_EQ(phone->GetLedger().Count(handset::Held::kComReference), 0U);
    EXPECT_EQ(app->Logon(0), ce::S_OK) << "still alive";
    EXPECT_EQ(app->Logoff(), ce::S_OK);
    if (released_again) {
      EXPECT_EQ(app->Release(), 0U);
    }
  }
  ce::CoUninitialize();
}

TEST(Mapi, needs_its_start_and_gives_a_session) {
  BarePhone phone;
  ce::IMAPISession* session = nullptr;
  EXPECT_EQ(ce::MAPILogonEx(0, nullptr, nullptr, 0, &session), ce::Hresult(0x80040605));
  EXPECT_EQ(ce::MAPIInitialize(nullptr), ce::S_OK);
  ASSERT_EQ(ce::MAPILogonEx(0, nullptr, nullptr, 0, &session), ce::S_OK);
  EXPECT_EQ(session->GetStatusTable(0, nullptr), ce::Hresult(0x80040102));
  EXPECT_EQ(phone->GetLedger().List().size(), 3U) << phone->GetLedger().Text();
  EXPECT_EQ(session->Logoff(0, 0, 0), ce::S_OK);
  EXPECT_EQ(session->Release(), 0U);
  ce::MAPIUninitialize();
}

TEST(CallLog, opens_and_closes_once) {
  BarePhone phone;
  ce::HANDLE log{};
  ASSERT_EQ(ce::PhoneOpenCallLog(&log), ce::S_OK);
  EXPECT_EQ(phone->GetLedger().Count(handset::Held::kCallLog), 1U);
  EXPECT_EQ(ce::PhoneCloseCallLog(log), ce::S_OK);
  EXPECT_NE(ce::PhoneCloseCallLog(log), ce::S_OK);
}

}  // namespace
