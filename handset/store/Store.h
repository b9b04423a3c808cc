// phone.db: everything a phone remembers, in one SQLite file.
#pragma once

#include <cstdint>
#include <exception>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <type_traits>
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
  // What a phone needs of its description when it is opened.
  ClockSetting GetClock() const;
  std::vector<BoxAnswer> GetMessageBoxes() const;
  std::vector<FaultRule> GetFaults() const;

  std::vector<Line> GetLines() const;
  // The line with this number, counted from 0.
  std::optional<Line> GetLine(std::uint32_t number) const;
  Os GetOs() const;
  Memory GetMemory() const;
  Power GetPower() const;

  // The key at a path below a key, in any case; an empty path is the key itself.
  std::optional<std::int64_t> FindKey(std::int64_t key, std::u16string_view path) const;
  std::optional<RegistryValue> FindValue(std::int64_t key, std::u16string_view name) const;
  // In the order in which they were made.
  std::vector<std::u16string> GetSubkeys(std::int64_t key) const;
  std::vector<RegistryValueHead> GetValueHeads(std::int64_t key) const;
  // For people.
  std::string GetKeyPath(std::int64_t key) const;

  // How many items a Pocket Outlook folder has.
  std::int32_t CountItems(std::int32_t folder) const;

  // Runs work(SQLite::Database&), alone, for the sources that have tables of their own (CallRows.h and the like).
  template <typename Work>
  auto Use(Work&& work) const -> std::invoke_result_t<Work, SQLite::Database&> {
    const std::lock_guard lock(m_mutex);
    try {
      return work(*m_database);
    } catch (const std::exception& error) {
      Rethrow(error);
    }
  }

 private:
  // As a StoreError that names the file.
  [[noreturn]] void Rethrow(const std::exception& error) const;
  void Migrate();

  std::filesystem::path m_file;
  mutable std::mutex m_mutex;
  std::unique_ptr<SQLite::Database> m_database;
};

}  // namespace handset
