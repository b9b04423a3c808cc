// A phone opened for one command: it is the thread's current phone, and the agent's library is attached to it.
#pragma once

#include <cstdio>
#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <optional>

#include "handset/Handset.h"
#include "handset/Ledger.h"
#include "handset/LibraryLoader.h"

namespace brelix_phone {

class OpenPhone {
 public:
  explicit OpenPhone(const std::filesystem::path& folder)
      : m_phone(handset::Handset::Open(folder)), m_current(*m_phone) {
    m_library.emplace("libBrelixEngine.so", handset::LoadedLibrary::From::kProcess);
  }

  handset::Handset& operator*() { return *m_phone; }
  handset::Handset* operator->() { return m_phone.get(); }
  const handset::LoadedLibrary& GetLibrary() const { return *m_library; }

  // Detaches the library; then tells on standard error what the agent did not give back. True when that is nothing.
  bool CloseAndCheckLeaks() {
    m_library.reset();
    for (const std::string& line : m_phone->GetLedger().List()) {
      fmt::print(stderr, "brelix-phone: still held: {}\n", line);
    }
    return m_phone->GetLedger().Empty();
  }

 private:
  std::unique_ptr<handset::Handset> m_phone;
  handset::CurrentPhone m_current;
  std::optional<handset::LoadedLibrary> m_library;
};

}  // namespace brelix_phone
