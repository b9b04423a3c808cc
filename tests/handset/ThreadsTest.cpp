#include <gtest/gtest.h>
#include <thread>

#include "platform/Kernel.h"
#include "tests/support/TestPhone.h"

namespace {

using handset::Threads;
using test::BarePhone;

struct Shared {
  ce::LONG flag = 0;
  int plain = 0;
  handset::Handset* phone = nullptr;
  std::thread::id thread;
};

ce::DWORD Body(void* parameter) {
  auto* shared = static_cast<Shared*>(parameter);
  shared->phone = &handset::Handset::Current();
  shared->thread = std::this_thread::get_id();
  shared->plain = 42;
  ce::InterlockedExchange(&shared->flag, 1);
  return 0;
}

TEST(Threads, a_suspended_thread_runs_once_resumed_and_belongs_to_its_creators_phone) {
  for (const Threads mode : {Threads::kReal, Threads::kInline}) {
    BarePhone phone;
    phone->SetThreads(mode);
    Shared shared;
    const ce::HANDLE thread = ce::CreateThread(nullptr, 0, Body, &shared, ce::CREATE_SUSPENDED, nullptr);
    ASSERT_NE(thread, ce::kNoHandle);
    EXPECT_EQ(ce::WaitForSingleObject(thread, 1), ce::WAIT_TIMEOUT);
    EXPECT_EQ(shared.plain, 0);
    EXPECT_EQ(ce::ResumeThread(thread), 1U);
    EXPECT_EQ(ce::ResumeThread(thread), 0U);
    EXPECT_EQ(ce::WaitForSingleObject(thread, ce::INFINITE), ce::WAIT_OBJECT_0);
    EXPECT_EQ(ce::WaitForSingleObject(thread, 0), ce::WAIT_OBJECT_0);
    EXPECT_EQ(shared.plain, 42);
    EXPECT_EQ(shared.phone, &*phone);
    EXPECT_EQ(shared.thread == std::this_thread::get_id(), mode == Threads::kInline);
    EXPECT_EQ(ce::CloseHandle(thread), 1);
    EXPECT_EQ(ce::CloseHandle(thread), 0);
    EXPECT_EQ(ce::GetLastError(), static_cast<ce::DWORD>(ce::ERROR_INVALID_HANDLE));
    EXPECT_EQ(ce::WaitForSingleObject(thread, 0), ce::WAIT_FAILED);
    EXPECT_EQ(ce::ResumeThread(thread), ce::kResumeFailed);
  }
}

TEST(Threads, one_that_never_ran_can_be_closed_and_never_runs) {
  for (const Threads mode : {Threads::kReal, Threads::kInline}) {
    BarePhone phone;
    phone->SetThreads(mode);
    Shared shared;
    EXPECT_EQ(ce::CloseHandle(ce::CreateThread(nullptr, 0, Body, &shared, ce::CREATE_SUSPENDED, nullptr)), 1);
    EXPECT_EQ(shared.plain, 0);
  }
}

// The flag alone says that the rest is there; a checker of data races judges it.
TEST(Threads, what_a_thread_did_before_an_interlocked_exchange_is_seen_after_reading_it) {
  BarePhone phone;
  phone->SetThreads(Threads::kReal);
  Shared shared;
  const ce::HANDLE thread = ce::CreateThread(nullptr, 0, Body, &shared, 0, nullptr);
  while (ce::InterlockedExchangeAdd(&shared.flag, 0) == 0) ce::Sleep(100);
  EXPECT_EQ(shared.plain, 42);
  EXPECT_EQ(ce::CloseHandle(thread), 1) << "a thread may outlive its handle";
}

TEST(Threads, the_last_error_is_each_threads_own) {
  BarePhone phone;
  ce::CloseHandle(ce::HANDLE{1});
  EXPECT_EQ(ce::GetLastError(), static_cast<ce::DWORD>(ce::ERROR_INVALID_HANDLE));
  ce::DWORD other = 99;
  std::thread([&] { other = ce::GetLastError(); }).join();
  EXPECT_EQ(other, 0U);
}

TEST(Time, stands_where_it_was_set_and_moves_by_what_is_slept) {
  BarePhone phone(nlohmann::json{{"clock", {{"localTime", "2008-02-29T23:59:59.900"}, {"utcOffsetMinutes", 60}}}});
  ce::SYSTEMTIME now;
  ce::GetLocalTime(&now);
  EXPECT_EQ(now.wYear, 2008);
  EXPECT_EQ(now.wMonth, 2);
  EXPECT_EQ(now.wDay, 29);
  EXPECT_EQ(now.wDayOfWeek, 5);
  EXPECT_EQ(now.wHour, 23);
  EXPECT_EQ(now.wMinute, 59);
  EXPECT_EQ(now.wSecond, 59);
  EXPECT_EQ(now.wMilliseconds, 900);
  const auto begun = std::chrono::steady_clock::now();
  ce::Sleep(60'000);
  ce::Sleep(100);
  EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(30));
  ce::GetLocalTime(&now);
  EXPECT_EQ(now.wMonth, 3);
  EXPECT_EQ(now.wDay, 1);
  EXPECT_EQ(now.wDayOfWeek, 6);
  EXPECT_EQ(now.wMinute, 1);
  EXPECT_EQ(now.wSecond, 0);
  EXPECT_EQ(now.wMilliseconds, 0);
  EXPECT_EQ(phone->GetClock().GetSlept(), std::chrono::milliseconds(60'100));
  EXPECT_EQ(phone->GetClock().GetUtcOffset(), std::chrono::minutes(60));
}

TEST(Time, runs_with_the_host_shifted_by_the_offset) {
  handset::Clock clock({{}, std::chrono::minutes(90)});
  const auto utc = std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now()).time_since_epoch();
  const auto ahead = clock.Now().time_since_epoch() - utc;
  EXPECT_GE(ahead, std::chrono::minutes(90));
  EXPECT_LT(ahead, std::chrono::minutes(91));
  const auto begun = std::chrono::steady_clock::now();
  clock.Sleep(std::chrono::milliseconds(30));
  EXPECT_GE(std::chrono::steady_clock::now() - begun, std::chrono::milliseconds(30)) << "real time is slept for real";
}

TEST(Device, tells_what_the_description_says_or_fails) {
  BarePhone phone(nlohmann::json{{"os", {{"major", 6}, {"minor", 1}, {"build", 77}}},
                                 {"memory", {{"load", 12}, {"totalPhysical", 34}, {"availablePhysical", 56}}},
                                 {"power", {{"acLine", 1}, {"batteryFlag", 9}, {"batteryPercent", 255}}}});
  ce::OSVERSIONINFOW version{};
  EXPECT_EQ(ce::GetVersionExW(&version), 0) << "the size field is needed";
  version.dwOSVersionInfoSize = sizeof(version);
  ASSERT_NE(ce::GetVersionExW(&version), 0);
  EXPECT_EQ(version.dwMajorVersion, 6U);
  EXPECT_EQ(version.dwBuildNumber, 77U);
  ce::MEMORYSTATUS memory{};
  ce::GlobalMemoryStatus(&memory);
  EXPECT_EQ(memory.dwMemoryLoad, 12U);
  EXPECT_EQ(memory.dwTotalPhys, 34U);
  EXPECT_EQ(memory.dwAvailPhys, 56U);
  ce::SYSTEM_POWER_STATUS_EX2 power{};
  EXPECT_EQ(ce::GetSystemPowerStatusEx2(&power, sizeof(power), 1), sizeof(power));
  EXPECT_EQ(power.BatteryFlag, 9);
  EXPECT_EQ(power.BatteryLifePercent, 255);
  BarePhone silent(nlohmann::json{{"os", {{"queryFails", true}}}, {"power", {{"queryFails", true}}}});
  EXPECT_EQ(ce::GetVersionExW(&version), 0);
  EXPECT_EQ(ce::GetSystemPowerStatusEx2(&power, sizeof(power), 1), 0U);
}

}  // namespace
