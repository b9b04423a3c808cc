#include "desktop/backup/PhoneFolder.h"

#include <algorithm>
#include <fmt/format.h>
#include <vector>

#include "desktop/Failure.h"
#include "desktop/Text.h"
#include "desktop/backup/FailAt.h"
#include "desktop/backup/FileDigest.h"
#include "desktop/files/LocalName.h"
#include "desktop/files/PhonePath.h"
#include "handset/store/Store.h"

namespace brelix::backup {

namespace {

namespace fs = std::filesystem;

constexpr int kBusyMilliseconds = 5000;
constexpr size_t kBatchItems = 500;
constexpr size_t kBatchBytes = 4U << 20;

fs::path DatabaseOf(const fs::path& folder) { return folder / "phone.db"; }

// The name as proper UTF-8, another one for each. Somebody may have put things here whose names no phone has.
std::string KeyOf(const std::string& name) {
  const std::string wire = SplitSurrogates(name);
  return IsName(wire) ? LocalName(wire) : "%x" + Hex(name);
}

// What a folder has, sorted so that the keys of all that is below it rise. A folder's own key is that of its name; what
// is in it follows where its name and a separator belong.
struct Place {
  std::string order;
  PhoneFolder::Entry entry;
  bool is_inside;
};

std::vector<Place> PlacesIn(const fs::path& top, const PhoneFolder::Entry& folder) {
  std::vector<Place> places;
  for (const auto& found : fs::directory_iterator(top / folder.path)) {
    const fs::path name = found.path().filename();
    PhoneFolder::Entry entry{folder.path / name, folder.key + "\\" + KeyOf(name.string()), {}};
    if (lstat(found.path().c_str(), &entry.status) != 0) continue;
    if (!S_ISDIR(entry.status.st_mode) && !S_ISREG(entry.status.st_mode)) continue;
    places.push_back({entry.key, entry, false});
    if (entry.IsFolder()) places.push_back({entry.key + "\\", std::move(entry), true});
  }
  std::ranges::sort(places, {}, &Place::order);
  return places;
}

void Visit(const fs::path& top, const PhoneFolder::Entry& folder,
           const std::function<void(const PhoneFolder::Entry&)>& visit) {
  for (const Place& place : PlacesIn(top, folder)) {
    if (place.is_inside)
      Visit(top, place.entry, visit);
    else
      visit(place.entry);
  }
}

}  // namespace

PhoneFolder::PhoneFolder(fs::path path, std::unique_ptr<SQLite::Database> database)
    : path_(std::move(path)),
      database_(std::move(database)),
      digests_(std::make_unique<SQLite::Database>("", SQLite::OPEN_READWRITE)) {
  digests_->exec("PRAGMA synchronous = OFF; CREATE TABLE digest (path BLOB PRIMARY KEY, sha256 TEXT) WITHOUT ROWID");
}

void PhoneFolder::ForEachEntry(const std::function<void(const Entry&)>& visit) const {
  try {
    Visit(files(), {}, [&](const Entry& entry) {
      FailIfInterrupted();
      visit(entry);
    });
  } catch (const fs::filesystem_error& error) {
    Fail(error.path1(), error.code().message());
  }
}

std::optional<std::string> PhoneFolder::KnownDigest(const fs::path& path) const {
  SQLite::Statement row(*digests_, "SELECT sha256 FROM digest WHERE path = ?");
  row.bind(1, path.string());
  if (!row.executeStep()) return std::nullopt;
  return row.getColumn(0).getString();
}

std::string PhoneFolder::DigestOf(const Entry& file) const {
  if (const auto known = KnownDigest(file.path)) return *known;
  const std::string digest = DigestOfFile(files() / file.path, cancel_);
  RememberDigest(file.path, digest);
  return digest;
}

void PhoneFolder::RememberDigest(const fs::path& path, const std::string& sha256) const {
  SQLite::Statement insert(*digests_, "INSERT OR REPLACE INTO digest VALUES (?, ?)");
  insert.bind(1, path.string());
  insert.bind(2, sha256);
  insert.exec();
}

PhoneFolder PhoneFolder::OpenForReading(const fs::path& folder) {
  try {
    if (!fs::is_directory(folder / "files")) Fail(folder, "no phone's folder, it has no files/");
    return {folder, handset::OpenDatabaseForReading(DatabaseOf(folder))};
  } catch (const Failure&) {
    throw;
  } catch (const std::exception& error) {
    throw Failure(Exit::kLocalFile, error.what());
  }
}

PhoneFolder PhoneFolder::OpenForWriting(const fs::path& folder) {
  auto database =
      std::make_unique<SQLite::Database>(DatabaseOf(folder).string(), SQLite::OPEN_READWRITE, kBusyMilliseconds);
  database->exec("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL; PRAGMA foreign_keys = ON");
  return {folder, std::move(database)};
}

void PhoneFolder::MakeEmpty(const fs::path& folder) {
  std::error_code error;
  if (!fs::create_directories(folder / "files", error) && error) Fail(folder / "files", error.message());
  handset::Description nothing;
  nothing.lines.clear();
  try {
    handset::Store::Create(DatabaseOf(folder), nothing, handset::Store::Made::kUnfinished);
  } catch (const std::exception&) {
    Fail(folder, "no database can be made here; make room or choose another place");
  }
}

void PhoneFolder::MarkFinished() {
  handset::MarkDatabaseFinished(*database_);
  database_->exec("VACUUM");
  database_->exec("PRAGMA wal_checkpoint(TRUNCATE)");
}

Batch::Batch(SQLite::Database& database)
    : database_(database), transaction_(std::make_unique<SQLite::Transaction>(database)) {}

void Batch::Done(size_t bytes) {
  bytes_ += bytes;
  if (++count_ < kBatchItems && bytes_ < kBatchBytes) return;
  transaction_->commit();
  transaction_ = std::make_unique<SQLite::Transaction>(database_);
  count_ = bytes_ = 0;
}

void Batch::Finish() {
  transaction_->commit();
  transaction_.reset();
}

}  // namespace brelix::backup
