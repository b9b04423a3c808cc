#include <gtest/gtest.h>
#include <memory>

#include "handset/Errors.h"
#include "handset/LibraryLoader.h"
#include "platform/Kernel.h"
#include "tests/support/TestPhone.h"

namespace {

using handset::LoadedLibrary;
using test::BarePhone;

TEST(Loader, calls_the_entry_of_the_file_header_on_attach_and_detach) {
  BarePhone phone;
  ce::DWORD seen = 0;
  {
    const LoadedLibrary library(PROBE_FILE);
    EXPECT_EQ(library.GetProcAddress("DllMain"), nullptr) << "the entry is found although it is no export";
    const auto watch = reinterpret_cast<void (*)(ce::DWORD*)>(library.GetProcAddress("ProbeWatch"));
    ASSERT_NE(watch, nullptr);
    watch(&seen);
    EXPECT_EQ(seen, 0U);
  }
  EXPECT_EQ(seen, 100 + ce::DLL_PROCESS_DETACH);
}

TEST(Loader, refuses_what_is_no_library_and_what_refuses_to_attach) {
  BarePhone full(nlohmann::json{{"memory", {{"load", 100}}}});
  EXPECT_THROW(LoadedLibrary(PROBE_FILE), handset::LoadError);
  EXPECT_THROW(LoadedLibrary("/nowhere/at/all.so"), handset::LoadError);
  EXPECT_THROW(LoadedLibrary(PROBE_FILE, LoadedLibrary::From::kProcess), handset::LoadError) << "not linked here";
}

TEST(AgentHeap, is_the_phones_for_the_library_and_for_nobody_else) {
  BarePhone phone;
  const LoadedLibrary library(PROBE_FILE);
  const auto allocate = reinterpret_cast<int* (*)()>(library.GetProcAddress("ProbeNew"));
  const auto release = reinterpret_cast<void (*)(int*)>(library.GetProcAddress("ProbeDelete"));
  const auto own = std::make_unique<int>(1);
  EXPECT_EQ(phone->GetLedger().Count(handset::Held::kHeapBlock), 0U);
  int* block = allocate();
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(*block, 7);
  EXPECT_EQ(phone->GetLedger().Count(handset::Held::kHeapBlock), 1U);
  phone->GetFaults().Add({.call = "LocalAlloc"});
  EXPECT_EQ(allocate(), nullptr);
  release(block);
  release(nullptr);
}

TEST(Heap, a_block_may_outlive_its_phone_or_have_none) {
  void* fromNobody = ce::LocalAlloc(0, 16);
  void* fromPhone = nullptr;
  {
    BarePhone phone;
    phone.ExpectHeld({handset::Held::kHeapBlock});
    fromPhone = ce::LocalAlloc(0, 16);
    EXPECT_EQ(ce::LocalFree(fromNobody), nullptr);
    EXPECT_EQ(phone->GetLedger().Count(handset::Held::kHeapBlock), 1U);
  }
  EXPECT_EQ(ce::LocalFree(fromPhone), nullptr);
  EXPECT_EQ(ce::LocalFree(nullptr), nullptr);
}

}  // namespace
