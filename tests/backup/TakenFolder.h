// Phones made of a description, and what a backup's domains take of them over a link.
#pragma once

#include <filesystem>
#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "tests/support/TemporaryFolder.h"

namespace test {

class MadePhone {
 public:
  explicit MadePhone(const std::string& description);
  explicit MadePhone(const nlohmann::json& description);
  std::filesystem::path Path() const { return m_folder.Path() / "phone"; }

 private:
  TemporaryFolder m_folder;
};

// Contacts, agenda, calls and messages of a phone that brelix-phone serves over its standard input and output.
class TakenFolder {
 public:
  // `meanwhile` runs once, as soon as something was taken.
  explicit TakenFolder(const std::filesystem::path& phone, std::function<void()> meanwhile = {});

  std::filesystem::path Path() const { return m_folder.Path() / "phone"; }
  // "contact 7: FirstName is shown as empty ..."
  const std::vector<std::string>& Losses() const { return m_losses; }
  // "contacts 0000000007 {...}", in their order, which is checked to rise.
  std::vector<std::string> Records() const;

 private:
  TemporaryFolder m_folder;
  std::vector<std::string> m_losses;
};

}  // namespace test
