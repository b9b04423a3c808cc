// A place for phones and backups of them, made by the programs as users run them.
#pragma once

#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

namespace test {

inline nlohmann::json ReadJson(const std::string& path) { return nlohmann::json::parse(ReadFile(path)); }

// Two contacts, a value, two files and a folder; what a phone tells of itself.
inline nlohmann::json SmallPhone() {
  return nlohmann::json::parse(R"({
    "lines": [{"name": "Cellular Line", "manufacturer": "Maker", "model": "M1", "serialNumber": "111"}],
    "contacts": [{"oid": 7, "FirstName": "Ada"}, {"oid": 9, "FirstName": "Bo"}],
    "registry": [{"key": "HKLM\\Software\\A", "values": [{"name": "n", "type": "dword", "data": 1}]}],
    "files": [{"path": "\\a.txt", "text": "one", "modified": "2009-07-12T13:45:01Z"},
              {"path": "\\Folder\\b.txt", "text": "two", "modified": "2009-07-12T13:45:02Z"},
              {"path": "\\Folder", "folder": true, "modified": "2009-07-12T13:45:03Z"}]})");
}

class BackupPlace {
 public:
  std::string Path(const std::string& name) const { return (m_folder.Path() / name).string(); }

  std::string MakePhone(const std::string& name, const nlohmann::json& description) const {
    const std::string file = Path(name + ".json");
    std::ofstream(file) << description;
    const Outcome made = Run({BRELIX_PHONE_COMMAND, "init", Path(name), "--from", file});
    if (made.code != 0) throw std::runtime_error(made.err);
    return Path(name);
  }

  // Of a phone that is served for one command, without its log.
  static std::string Address(const std::string& phone) {
    return "exec:" BRELIX_PHONE_COMMAND " rapi --no-log " + phone;
  }
  std::vector<std::string> BackupWords(const std::string& phone, const std::string& target,
                                       const std::vector<std::string>& more = {}) const {
    std::vector<std::string> words = {BRELIX_COMMAND, "-d", Address(phone), "backup", Path(target)};
    words.insert(words.end(), more.begin(), more.end());
    return words;
  }
  Outcome Backup(const std::string& phone, const std::string& target, const std::vector<std::string>& more = {}) const {
    return Run(BackupWords(phone, target, more));
  }

  // Without the one member that says when it was taken.
  nlohmann::json ComparedManifest(const std::string& backup) const {
    nlohmann::json manifest = ReadJson(Path(backup) + "/manifest.json");
    manifest.erase("taken");
    return manifest;
  }

  std::set<std::string> Names() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path()))
      names.insert(entry.path().filename().string());
    return names;
  }

 private:
  TemporaryFolder m_folder;
};

}  // namespace test
