// phone.db: everything a phone remembers, in one SQLite file.
#pragma once

#include <atomic>
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
class Statement;
class Transaction;
}  // namespace SQLite

namespace handset {

// May be used from any thread. A change is on the disk when the call that made it returns. Errors of the database are
// StoreErrors.
class Store {
 public:
  // Makes a new database. The caller brings the file to the disk and lets nobody see it before. No program takes an
  // unfinished one for a phone's until MarkDatabaseFinished.
  enum class Made : bool { kFinished, kUnfinished };
  static void Create(const std::filesystem::path& file, const Description& description, Made made = Made::kFinished);
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
  // Those that a description gave, by folded names; of one name in the folder, or of all when it is empty.
  FileAttributes GetFileAttributes(std::u16string_view folder, std::u16string_view name) const;
  // For people.
  std::string GetKeyPath(std::int64_t key) const;

  // Without its picture.
  std::optional<Contact> GetContact(std::uint32_t oid) const;
  // Stores a contact, which gets an object id if it has none, and its picture if there is one here. False when the
  // contact is not there any more. Several calls are one change: everybody sees each of them at once, and all of them
  // are on the disk when FinishItemChange returns, or none. Every other use of the store finishes the change first.
  bool PutContact(Contact& contact, const std::optional<Bytes>& picture);
  void FinishItemChange();
  // False when there is none.
  bool DeleteItem(std::uint32_t oid);
  // Another number after an item was added or deleted, by whomever.
  std::uint64_t GetItemGeneration() const;

  // Runs work(SQLite::Database&), alone, for the sources that have tables of their own (CallRows.h and the like).
  template <typename Work>
  auto Use(Work&& work) const -> std::invoke_result_t<Work, SQLite::Database&> {
    const std::lock_guard lock(m_mutex);
    try {
      if (m_itemChange) CommitItemChange();
      return work(*m_database);
    } catch (const std::exception& error) {
      Rethrow(error);
    }
  }

 private:
  // As a StoreError that names the file.
  [[noreturn]] void Rethrow(const std::exception& error) const;
  void Migrate();
  void CommitItemChange() const;

  std::filesystem::path m_file;
  mutable std::mutex m_mutex;
  std::unique_ptr<SQLite::Database> m_database;
  mutable std::unique_ptr<SQLite::Transaction> m_itemChange;
  mutable std::unique_ptr<SQLite::Statement> m_selectContact;
  std::atomic<std::uint64_t> m_itemGeneration{0};
};

// For programs that read or fill a phone's database by its rows. Refuses what Store refuses, and writes nothing. Throws
// StoreError. A database of an older version lacks tables.
std::unique_ptr<SQLite::Database> OpenDatabaseForReading(const std::filesystem::path& file);
void MarkDatabaseFinished(SQLite::Database& database);

}  // namespace handset
