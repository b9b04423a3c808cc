// phone.db: everything a phone remembers, in one SQLite file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "handset/store/Description.h"

namespace SQLite {
class Database;
}

namespace handset {

// May be used from any thread. A change is on the disk when the call that made it returns. Errors of the database are
// StoreErrors.
class Store {
 public:
  // Makes a new database. The caller brings the file to the disk and lets nobody see it before.
  static void Create(const std::filesystem::path& file, const Description& description);
  // Refuses a file that is no phone, damaged, or of a newer program, without writing to it.
  explicit Store(const std::filesystem::path& file);
  ~Store();

  Description GetDescription() const;

  std::vector<Line> GetLines() const;
  // The line with this number, counted from 0.
  std::optional<Line> GetLine(std::uint32_t number) const;
  Os GetOs() const;
  Memory GetMemory() const;
  Power GetPower() const;

  // The key at a path below a key, in any case; an empty path is the key itself.
  std::optional<std::int64_t> FindKey(std::int64_t key, std::u16string_view path) const;
  std::optional<RegistryValue> FindValue(std::int64_t key, std::u16string_view name) const;
  // For people.
  std::string GetKeyPath(std::int64_t key) const;

  // How many items a Pocket Outlook folder has.
  std::int32_t CountItems(std::int32_t folder) const;

 private:
  std::filesystem::path m_file;
  mutable std::mutex m_mutex;
  std::unique_ptr<SQLite::Database> m_database;
};

}  // namespace handset
