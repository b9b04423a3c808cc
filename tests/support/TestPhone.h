// A phone for one test: made from a description in a temporary folder, current for the thread, with virtual time,
// silent message boxes and threads that run inside the wait for them. At its end nothing may still be held.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <initializer_list>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

#include "handset/Clock.h"
#include "handset/Faults.h"
#include "handset/Handset.h"
#include "handset/Ledger.h"
#include "handset/MessageBoxes.h"

namespace test {

class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "brelix-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make " + name);
    m_path = name;
  }
  ~TemporaryFolder() { std::filesystem::remove_all(m_path); }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  const std::filesystem::path& Path() const { return m_path; }

 private:
  std::filesystem::path m_path;
};

inline std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

class TestPhone {
 public:
  explicit TestPhone(const nlohmann::json& description = nlohmann::json::object()) {
    handset::Handset::Init(Folder(), description);
    m_phone = handset::Handset::Open(Folder());
    m_current.emplace(*m_phone);
    m_phone->SetThreads(handset::Threads::kInline);
    m_phone->GetClock().UseVirtualTime();
    m_phone->GetMessageBoxes().SetSilent(true);
  }

  ~TestPhone() {
    m_phone->GetFaults().Clear();
    EXPECT_TRUE(m_phone->GetLedger().EmptyExcept(m_expectedHeld)) << m_phone->GetLedger().Text();
  }

  TestPhone(const TestPhone&) = delete;
  TestPhone& operator=(const TestPhone&) = delete;

  handset::Handset* operator->() { return m_phone.get(); }
  handset::Handset& operator*() { return *m_phone; }
  std::filesystem::path Folder() const { return m_folder.Path() / "phone"; }

  // Kinds that the test leaves with the agent on purpose.
  void ExpectHeld(std::initializer_list<handset::Held> kinds) { m_expectedHeld = kinds; }

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
  std::vector<handset::Held> m_expectedHeld;
};

}  // namespace test
