// The shipped library: its entry, its remote-API export and the log line.
#include <cstring>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "agent/host/RapiEntry.h"
#include "handset/Errors.h"
#include "handset/LibraryLoader.h"
#include "handset/net/RapiStream.h"
#include "platform/Com.h"
#include "platform/Kernel.h"
#include "tests/support/Bytes.h"
#include "tests/support/TestPhone.h"

namespace test {
namespace {

using handset::LoadedLibrary;

ce::HRESULT CallEntry(const LoadedLibrary& library, const Bytes& said) {
  const auto entry = reinterpret_cast<decltype(&BrelXferRAPI)>(library.GetProcAddress("BrelXferRAPI"));
  if (entry == nullptr) throw std::runtime_error("BrelXferRAPI is not exported");
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) throw std::runtime_error("socketpair");
  EXPECT_EQ(write(ends[1], said.data(), said.size()), static_cast<ssize_t>(said.size()));
  shutdown(ends[1], SHUT_WR);
  const ce::HRESULT result = entry(0, nullptr, nullptr, nullptr, handset::NewDescriptorStream(ends[0], ends[0]));
  close(ends[1]);
  return result;
}

TEST(Library, attaches_only_where_com_is_not_initialised_yet) {
  BarePhone phone;
  { const LoadedLibrary library(BRELIX_ENGINE_FILE); }
  EXPECT_TRUE(phone->GetLedger().Empty()) << "detaching undoes it";
  ASSERT_EQ(ce::CoInitializeEx(nullptr, 0), ce::S_OK);
  EXPECT_THROW(LoadedLibrary{BRELIX_ENGINE_FILE}, handset::LoadError);
  ce::CoUninitialize();
  phone.ExpectHeld(handset::Held::kComStart);  // S_FALSE counted, as the platform counts it
}

extern "C" ce::BOOL DllMain(ce::HANDLE instance, ce::DWORD reason, void* reserved);

TEST(Library, threads_come_and_go_without_work_and_other_reasons_fail) {
  BarePhone phone;
  for (const ce::DWORD reason : {ce::DLL_THREAD_ATTACH, ce::DLL_THREAD_DETACH}) {
    EXPECT_EQ(DllMain(ce::kNoHandle, reason, nullptr), 1);
  }
  for (const ce::DWORD reason : {4u, 5u, 6u, 0xFFFFFFFFu}) EXPECT_EQ(DllMain(ce::kNoHandle, reason, nullptr), 0);
}

TEST(Library, the_entry_serves_a_session_and_logs_its_end) {
  BarePhone phone;
  const auto library = std::make_unique<LoadedLibrary>(BRELIX_ENGINE_FILE);
  EXPECT_EQ(CallEntry(*library, {}), 0);
  const auto log = phone.Folder() / "files" / "brelrapi.txt";
  EXPECT_EQ(ReadFile(log), "engine terminated\r\n");
  EXPECT_EQ(CallEntry(*library, Frame(1, 247, 1)), 0);
  EXPECT_EQ(ReadFile(log), "engine terminated\r\nengine terminated\r\n");
  phone.FailCall("fopen");
  EXPECT_EQ(CallEntry(*library, {}), 0);
  phone.FailCall("fputs");
  EXPECT_EQ(CallEntry(*library, {}), 0);
  EXPECT_EQ(ReadFile(log), "engine terminated\r\nengine terminated\r\n");
}

TEST(Library, an_engine_that_cannot_be_constructed_answers_minus_1_and_keeps_nothing) {
  for (const char* call : {"MAPILogonEx", "CoCreateInstance"}) {
    BarePhone phone;
    const auto library = std::make_unique<LoadedLibrary>(BRELIX_ENGINE_FILE);
    phone.FailCall(call, 0x80040111);
    EXPECT_EQ(CallEntry(*library, {}), -1) << call;
    EXPECT_FALSE(std::filesystem::exists(phone.Folder() / "files" / "brelrapi.txt"));
    phone->GetFaults().Clear();
    // The record stays in the library's slot, for who wants to show it.
    const auto show = reinterpret_cast<void (*)(const char16_t*)>(library->GetProcAddress("ShowErrBox"));
    ASSERT_NE(show, nullptr);
    show(u"caption");
    EXPECT_EQ(phone.Boxes(),
              std::vector{u"caption|" + std::u16string(call, call + std::strlen(call)) + u"(): 80040111"});
  }
}

TEST(Library, without_memory_for_connection_or_engine_the_stream_is_released) {
  BarePhone phone;
  const auto library = std::make_unique<LoadedLibrary>(BRELIX_ENGINE_FILE);
  for (const std::uint32_t skip : {0u, 1u}) {
    phone->GetFaults().Clear();
    phone.FailCall("LocalAlloc", {}, skip);
    EXPECT_EQ(CallEntry(*library, {}), -1);
    EXPECT_EQ(phone->GetLedger().Count(handset::Held::kComReference), 0u);
  }
}

}  // namespace
}  // namespace test
