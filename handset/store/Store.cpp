#include "handset/store/Store.h"

#include <algorithm>
#include <fmt/format.h>

#include "handset/Errors.h"
#include "handset/Schema.h"
#include "handset/store/FileRows.h"
#include "handset/store/RegistryDescription.h"
#include "handset/store/StoreRows.h"

namespace handset {

namespace {

using SQLite::Database;

// "phon" in the file's header, so that another program's database is told from a phone's.
constexpr int kApplicationId = 0x70686F6E;
constexpr int kUnfinishedId = 0x70617274;  // "part"
constexpr int kVersion = 3;
constexpr int kOldestVersion = 1;
constexpr int kBusyMilliseconds = 5000;

[[noreturn]] void Refuse(const std::filesystem::path& file, std::string_view what, std::string_view advice) {
  std::string text = fmt::format("{}: {}; {}", file.string(), what, advice);
  std::ranges::replace(text, '\n', ' ');
  throw StoreError(text);
}

constexpr std::string_view kRestore = "restore a copy or make a new phone";

// A file that nobody has open is read without the files that SQLite would put beside it.
std::string ReadOnlyUri(const std::filesystem::path& file) {
  std::string uri = "file:";
  for (const char c : std::filesystem::absolute(file).string()) {
    if (c == '?' || c == '#' || c == '%') {
      uri += fmt::format("%{:02X}", static_cast<unsigned>(c));
    } else {
      uri += c;
    }
  }
  const bool inUse = std::filesystem::exists(file.string() + "-wal");
  return uri + (inUse ? "?mode=ro" : "?mode=ro&immutable=1");
}

std::unique_ptr<Database> OpenChecked(const std::filesystem::path& file) {
  if (!std::filesystem::is_regular_file(file)) Refuse(file, "there is no phone here", "make one with init");
  auto opened =
      std::make_unique<Database>(ReadOnlyUri(file), SQLite::OPEN_READONLY | SQLite::OPEN_URI, kBusyMilliseconds);
  const Database& database = *opened;
  const auto pragma = [&](const char* name) -> std::string {
    SQLite::Statement row(database, std::string("PRAGMA ") + name);
    return row.executeStep() ? row.getColumn(0).getString() : std::string();
  };
  if (pragma("application_id") == std::to_string(kUnfinishedId)) {
    Refuse(file, "a backup that was not finished", "finish it with brelix backup");
  }
  if (pragma("application_id") != std::to_string(kApplicationId)) Refuse(file, "not a phone's database", kRestore);
  const int version = std::stoi(pragma("user_version"));
  if (version > kVersion) {
    Refuse(file, fmt::format("made by a newer program (version {}, this one knows {})", version, kVersion),
           "use the newer program");
  }
  if (version < kOldestVersion) Refuse(file, fmt::format("unknown version {}", version), kRestore);
  if (const std::string result = pragma("quick_check(1)"); result != "ok") Refuse(file, "damaged: " + result, kRestore);
  for (const FaultRule& rule : SelectFaults(database)) CallOf(rule);
  return opened;
}

// Runs work on the database and turns its errors into the store's.
template <typename Work>
auto OnDatabase(const std::filesystem::path& file, Work work) {
  try {
    return work();
  } catch (const StoreError&) {
    throw;
  } catch (const std::exception& error) {
    Refuse(file, fmt::format("cannot be used: {}", error.what()), kRestore);
  }
}

}  // namespace

void Store::Create(const std::filesystem::path& file, const Description& description, Made made) {
  OnDatabase(file, [&] {
    Database database(file.string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
    // Nobody sees the file before it is complete, and then the caller brings it to the disk as a whole.
    database.exec("PRAGMA journal_mode = WAL; PRAGMA synchronous = OFF");
    SQLite::Transaction transaction(database);
    database.exec(kSchema);
    database.exec(fmt::format("PRAGMA application_id = {}", made == Made::kFinished ? kApplicationId : kUnfinishedId));
    database.exec(fmt::format("PRAGMA user_version = {}", kVersion));
    InsertDescription(database, description);
    transaction.commit();
  });
}

Store::Store(const std::filesystem::path& file) : m_file(file) {
  OnDatabase(file, [&] {
    OpenChecked(file);
    m_database = std::make_unique<Database>(file.string(), SQLite::OPEN_READWRITE, kBusyMilliseconds);
    m_database->exec("PRAGMA synchronous = FULL; PRAGMA foreign_keys = ON");
    Migrate();
  });
}

// The schema makes the tables that are missing. What an older version's tables lack has its default.
void Store::Migrate() {
  const auto isOld = [this] { return m_database->execAndGet("PRAGMA user_version").getInt() < kVersion; };
  if (!isOld()) return;
  SQLite::Transaction transaction(*m_database, SQLite::TransactionBehavior::IMMEDIATE);
  // Another program may have done it in the meantime.
  if (!isOld()) return;
  m_database->exec(kSchema);
  m_database->exec(fmt::format("PRAGMA user_version = {}", kVersion));
  transaction.commit();
}

Store::~Store() {
  try {
    FinishItemChange();
  } catch (const std::exception& error) {
    fmt::print(stderr, "{}\n", error.what());
  }
}

Description Store::GetDescription() const {
  const std::lock_guard lock(m_mutex);
  return OnDatabase(m_file, [&] { return SelectDescription(*m_database); });
}

void Store::Rethrow(const std::exception& error) const {
  if (const auto* known = dynamic_cast<const StoreError*>(&error)) throw *known;
  Refuse(m_file, fmt::format("cannot be used: {}", error.what()), kRestore);
}

ClockSetting Store::GetClock() const { return Use(SelectClock); }

std::vector<BoxAnswer> Store::GetMessageBoxes() const { return Use(SelectMessageBoxes); }

std::vector<FaultRule> Store::GetFaults() const { return Use(SelectFaults); }

std::vector<Line> Store::GetLines() const {
  const std::lock_guard lock(m_mutex);
  return OnDatabase(m_file, [&] { return SelectLines(*m_database); });
}

std::optional<Line> Store::GetLine(std::uint32_t number) const {
  std::vector<Line> lines = GetLines();
  if (number >= lines.size()) return std::nullopt;
  return std::move(lines[number]);
}

Os Store::GetOs() const {
  const std::lock_guard lock(m_mutex);
  return OnDatabase(m_file, [&] { return SelectOs(*m_database); });
}

Memory Store::GetMemory() const {
  const std::lock_guard lock(m_mutex);
  return OnDatabase(m_file, [&] { return SelectMemory(*m_database); });
}

Power Store::GetPower() const {
  const std::lock_guard lock(m_mutex);
  return OnDatabase(m_file, [&] { return SelectPower(*m_database); });
}

std::optional<std::int64_t> Store::FindKey(std::int64_t key, std::u16string_view path) const {
  const std::lock_guard lock(m_mutex);
  return OnDatabase(m_file, [&]() -> std::optional<std::int64_t> {
    std::int64_t at = key;
    for (const std::u16string_view name : SplitKeyPath(path)) {
      const auto found = SelectKey(*m_database, at, name);
      if (!found) return std::nullopt;
      at = *found;
    }
    return at;
  });
}

std::optional<RegistryValue> Store::FindValue(std::int64_t key, std::u16string_view name) const {
  const std::lock_guard lock(m_mutex);
  return OnDatabase(m_file, [&] { return SelectValue(*m_database, key, name); });
}

std::vector<std::u16string> Store::GetSubkeys(std::int64_t key) const {
  const std::lock_guard lock(m_mutex);
  return OnDatabase(m_file, [&] { return SelectSubkeys(*m_database, key); });
}

std::vector<RegistryValueHead> Store::GetValueHeads(std::int64_t key) const {
  const std::lock_guard lock(m_mutex);
  return OnDatabase(m_file, [&] { return SelectValueHeads(*m_database, key); });
}

FileAttributes Store::GetFileAttributes(std::u16string_view folder, std::u16string_view name) const {
  return Use([&](Database& database) { return SelectFileAttributes(database, folder, name); });
}

std::string Store::GetKeyPath(std::int64_t key) const {
  const std::lock_guard lock(m_mutex);
  return OnDatabase(m_file, [&] {
    SQLite::Statement row(
        *m_database,
        "WITH RECURSIVE up(id, path) AS (SELECT parent, name FROM registry_key WHERE id = ? UNION ALL "
        "SELECT k.parent, k.name || '\\' || up.path FROM registry_key AS k JOIN up ON k.id = up.id) "
        "SELECT path FROM up WHERE id = 0");
    row.bind(1, key);
    return row.executeStep() ? row.getColumn(0).getString() : std::string();
  });
}

std::unique_ptr<Database> OpenDatabaseForReading(const std::filesystem::path& file) {
  return OnDatabase(file, [&] { return OpenChecked(file); });
}

void MarkDatabaseFinished(Database& database) {
  database.exec(fmt::format("PRAGMA application_id = {}", kApplicationId));
}

}  // namespace handset
