// Phones for one test: made from a description in a temporary folder, current for the thread, with virtual time,
// silent message boxes and threads that run inside the wait for them. At their end nothing may still be held.
#pragma once

#include <gtest/gtest.h>
#include <initializer_list>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <vector>

#include "handset/Faults.h"
#include "handset/Handset.h"
#include "handset/Ledger.h"
#include "handset/system/Clock.h"
#include "handset/system/MessageBoxes.h"
#include "platform/Com.h"
#include "tests/support/TemporaryFolder.h"

namespace test {

class BarePhone {
 public:
  enum class Time { kVirtual, kReal };

  explicit BarePhone(const nlohmann::json& description = nlohmann::json::object(), Time time = Time::kVirtual) {
    handset::Handset::Init(Folder(), description);
    m_phone = handset::Handset::Open(Folder());
    m_current.emplace(*m_phone);
    m_phone->SetThreads(handset::Threads::kInline);
    if (time == Time::kVirtual) m_phone->GetClock().UseVirtualTime();
    m_phone->GetMessageBoxes().SetSilent(true);
  }

  ~BarePhone() {
    m_phone->GetFaults().Clear();
    const handset::Ledger& ledger = m_phone->GetLedger();
    EXPECT_TRUE(m_expectedHeld ? ledger.EmptyExcept({*m_expectedHeld}) : ledger.Empty()) << ledger.Text();
  }

  BarePhone(const BarePhone&) = delete;
  BarePhone& operator=(const BarePhone&) = delete;

  handset::Handset* operator->() { return m_phone.get(); }
  handset::Handset& operator*() { return *m_phone; }
  std::filesystem::path Folder() const { return m_folder.Path() / "phone"; }

  // What the test leaves with the agent on purpose.
  void ExpectHeld(handset::Held kind) { m_expectedHeld = kind; }

  // Makes a call fail: with its usual code or the given one, after skip calls, times over.
  void FailCall(const char* call, std::optional<std::uint32_t> result = {}, std::uint32_t skip = 0,
                std::uint32_t times = 1) {
    m_phone->GetFaults().Add({.call = call, .result = result, .skip = skip, .times = times});
  }

  // Caption and text of the boxes shown so far, as "caption|text".
  std::vector<std::u16string> Boxes() const {
    std::vector<std::u16string> shown;
    for (const handset::ShownBox& box : m_phone->GetMessageBoxes().GetLog()) {
      shown.push_back(box.caption + u"|" + box.text);
    }
    return shown;
  }

 private:
  TemporaryFolder m_folder;
  std::unique_ptr<handset::Handset> m_phone;
  std::optional<handset::CurrentPhone> m_current;
  std::optional<handset::Held> m_expectedHeld;
};

// A phone whose process has the agent's library attached: COM is initialised.
class TestPhone : public BarePhone {
 public:
  explicit TestPhone(const nlohmann::json& description = nlohmann::json::object(), Time time = Time::kVirtual)
      : BarePhone(description, time) {
    EXPECT_EQ(ce::CoInitializeEx(nullptr, ce::COINIT_MULTITHREADED), ce::S_OK);
  }
  ~TestPhone() { ce::CoUninitialize(); }
};

}  // namespace test
