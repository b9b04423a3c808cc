#include "desktop/backup/PartialFolder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "desktop/backup/FailAt.h"

namespace brelix::backup {

namespace {

namespace fs = std::filesystem;

constexpr const char* kRecord = "progress.db";
// The database comes last, as it goes last: without it, what else is there would be nobody's.
constexpr std::array<const char*, 4> kRecordFiles = {"progress.db-journal", "progress.db-wal", "progress.db-shm",
                                                     kRecord};
constexpr std::array<const char*, 2> kFolders = {"phone", "old"};

constexpr const char* kSchema = R"(
  CREATE TABLE IF NOT EXISTS fact (name TEXT PRIMARY KEY, value TEXT NOT NULL);
  CREATE TABLE IF NOT EXISTS complete (domain TEXT PRIMARY KEY);
  CREATE TABLE IF NOT EXISTS lost (id INTEGER PRIMARY KEY, domain TEXT NOT NULL, item TEXT NOT NULL, why TEXT NOT NULL);
  CREATE INDEX IF NOT EXISTS lost_by_domain ON lost (domain, id);
)";

bool IsOurs(const std::string& name) {
  const auto is = [&](const char* one) { return name == one; };
  return std::ranges::any_of(kRecordFiles, is) || std::ranges::any_of(kFolders, is);
}

}  // namespace

PartialFolder::PartialFolder(const fs::path& target, bool restart)
    : path_(target.parent_path() / fmt::format(".{}.partial", target.filename().string())) {
  Lock(target);
  try {
    CheckContents();
    try {
      OpenRecord();
    } catch (const SQLite::Exception& error) {
      if (!restart)
        Fail(path_ / kRecord, fmt::format("the record of an interrupted backup cannot be read or written: {}; "
                                          "make room where there is none, or --restart throws it away",
                                          error.what()));
      RemoveRecord();
      OpenRecord();
    }
  } catch (...) {
    // An empty one is of this call, or as good as that.
    rmdir(path_.c_str());
    close(lock_);
    throw;
  }
}

PartialFolder::~PartialFolder() {
  std::error_code ignored;
  if (!fs::exists(phone(), ignored) && !fs::exists(old(), ignored)) {
    RemoveRecord();
    rmdir(path_.c_str());
  }
  progress_.reset();
  close(lock_);
}

// The lock is that of the hidden folder itself, which goes when a backup is in its place: who waits for it may have
// that of a folder that is no longer there.
void PartialFolder::Lock(const fs::path& target) {
  for (int attempt = 0; attempt < 10; attempt++) {
    if (mkdir(path_.c_str(), 0700) != 0 && errno != EEXIST)
      FailAs(path_.parent_path(), "no folder can be made here", errno);
    lock_ = open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (lock_ < 0 && errno == ENOENT) continue;
    if (lock_ < 0) FailAs(path_, "in the way of a backup", errno);
    if (flock(lock_, LOCK_EX | LOCK_NB) != 0) {
      close(lock_);
      Fail(target, "somebody else is making this backup at the moment; wait for its end");
    }
    struct stat mine {
    }, there{};
    if (fstat(lock_, &mine) == 0 && lstat(path_.c_str(), &there) == 0 && mine.st_ino == there.st_ino) return;
    close(lock_);
  }
  Fail(path_, "comes and goes; is another program at work here?");
}

void PartialFolder::CheckContents() {
  const bool has_record = fs::exists(path_ / kRecord);
  for (const auto& found : fs::directory_iterator(path_)) {
    if (!has_record || !IsOurs(found.path().filename().string()))
      Fail(found.path(), "in the way of a backup, and not of one; move it away, or choose another name for the backup");
  }
}

void PartialFolder::OpenRecord() {
  progress_ = std::make_unique<SQLite::Database>((path_ / kRecord).string(),
                                                 SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE, 5000);
  progress_->exec("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL");
  progress_->exec(kSchema);
}

void PartialFolder::RemoveRecord() {
  progress_.reset();
  std::error_code ignored;
  for (const char* name : kRecordFiles) fs::remove(path_ / name, ignored);
}

std::string PartialFolder::Get(const char* fact) {
  SQLite::Statement row(*progress_, "SELECT value FROM fact WHERE name = ?");
  row.bind(1, fact);
  return row.executeStep() ? row.getColumn(0).getString() : "";
}

void PartialFolder::Set(const char* fact, const std::string& value) {
  SQLite::Statement row(*progress_, "INSERT OR REPLACE INTO fact VALUES (?, ?)");
  row.bind(1, fact);
  row.bind(2, value);
  row.exec();
}

void PartialFolder::Discard() {
  Set("discarded", "yes");
  for (const char* name : kFolders) fs::remove_all(path_ / name);
  RemoveRecord();
  OpenRecord();
}

void PartialFolder::Remove() {
  RemoveRecord();
  rmdir(path_.c_str());
}

}  // namespace brelix::backup
