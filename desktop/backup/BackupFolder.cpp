#include "desktop/backup/BackupFolder.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <linux/fs.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brelix::backup {

namespace {

namespace fs = std::filesystem;

constexpr const char* kPhone = "phone";  // in the partial folder: what becomes the backup
constexpr const char* kProgress = "progress.db";
constexpr const char* kOld = "old";  // the old backup, where the file system cannot exchange
constexpr int kProgressVersion = 1;

constexpr const char* kProgressSchema = R"(
  CREATE TABLE IF NOT EXISTS fact (name TEXT PRIMARY KEY, value TEXT NOT NULL);
  CREATE TABLE IF NOT EXISTS complete (domain TEXT PRIMARY KEY);
  CREATE TABLE IF NOT EXISTS lost (id INTEGER PRIMARY KEY, domain TEXT NOT NULL, item TEXT NOT NULL, why TEXT NOT NULL);
  CREATE INDEX IF NOT EXISTS lost_by_domain ON lost (domain, id);
)";

[[noreturn]] void Fail(const fs::path& path, std::string_view what) {
  throw Failure(Exit::kLocalFile, fmt::format("{}: {}", path.string(), what));
}

[[noreturn]] void FailAs(const fs::path& path, std::string_view what, int error) {
  Fail(path, fmt::format("{}: {}", what, std::strerror(error)));
}

void SyncFolder(const fs::path& folder) {
  const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const bool good = fd >= 0 && fsync(fd) == 0;
  const int error = errno;
  if (fd >= 0) close(fd);
  if (!good) FailAs(folder, "cannot be brought to the disk", error);
}

std::string Now() { return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(std::time(nullptr))); }

// Not a secret: only another one each time.
std::string NewId() {
  uint64_t number = 0;
  const int fd = open("/dev/urandom", O_RDONLY | O_CLOEXEC);
  const bool read_it = fd >= 0 && read(fd, &number, sizeof number) == sizeof number;
  if (fd >= 0) close(fd);
  if (!read_it) number = static_cast<uint64_t>(std::time(nullptr)) << 20 | static_cast<uint64_t>(getpid());
  return fmt::format("{:016x}", number);
}

// Where a link leads, since what is there is what is replaced.
fs::path Resolved(const fs::path& path) {
  fs::path named = fs::absolute(path).lexically_normal();
  if (!named.has_filename()) named = named.parent_path();
  if (fs::is_symlink(fs::symlink_status(named))) {
    if (!fs::exists(named)) Fail(named, "a link that leads nowhere");
    return fs::canonical(named);
  }
  return named;
}

}  // namespace

BackupFolder::BackupFolder(const fs::path& target, bool restart) {
  try {
    target_ = Resolved(target);
    if (!target_.has_filename()) Fail(target, "no folder that a backup could be");
    partial_ = target_.parent_path() / fmt::format(".{}.partial", target_.filename().string());
    CheckTarget();
    Lock();
    Recover();
    CheckTarget();
    if (restart) {
      for (const char* name : {kProgress, "progress.db-wal", "progress.db-shm", kPhone})
        fs::remove_all(partial_ / name);
    }
    OpenProgress();
    OpenBefore();
  } catch (const fs::filesystem_error& error) {
    FailAs(error.path1(), "cannot be used", error.code().value());
  }
}

BackupFolder::~BackupFolder() {
  phone_.reset();
  progress_.reset();
  // Nothing was begun: nothing is left.
  if (!begun_) {
    std::error_code ignored;
    if (!fs::exists(partial_ / kPhone, ignored)) fs::remove_all(partial_, ignored);
  }
  if (lock_ >= 0) close(lock_);
}

// The lock is that of the hidden folder itself, which goes when a backup is in its place: who waits for it may have
// that of a folder that is no longer there.
void BackupFolder::Lock() {
  for (int attempt = 0; attempt < 10; attempt++) {
    if (mkdir(partial_.c_str(), 0777) != 0 && errno != EEXIST)
      FailAs(partial_.parent_path(), "no folder can be made here", errno);
    lock_ = open(partial_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (lock_ < 0 && errno == ENOENT) continue;
    if (lock_ < 0) FailAs(partial_, "in the way of a backup", errno);
    if (flock(lock_, LOCK_EX | LOCK_NB) != 0) {
      close(lock_);
      lock_ = -1;
      Fail(target_, "somebody else is making this backup at the moment; wait for its end");
    }
    struct stat mine {
    }, there{};
    if (fstat(lock_, &mine) == 0 && lstat(partial_.c_str(), &there) == 0 && mine.st_ino == there.st_ino) return;
    close(lock_);
    lock_ = -1;
  }
  Fail(partial_, "comes and goes; is another program at work here?");
}

// A run that was killed in its last step.
void BackupFolder::Recover() {
  // Where the file system cannot exchange, the old backup is set aside for a moment.
  if (fs::exists(partial_ / kOld)) {
    if (!fs::exists(target_)) fs::rename(partial_ / kOld, target_);
    fs::remove_all(partial_ / kOld);
  }
  if (!fs::exists(partial_ / kProgress)) {
    // Not begun, or thrown away half.
    fs::remove_all(partial_ / kPhone);
    return;
  }
  OpenProgress();
  const std::string placed = Get("placed");
  progress_.reset();
  if (placed.empty()) return;
  // The new one may be in its place already; what is in here is then the old one.
  if (HasManifest(target_) && ReadManifest(target_).id == placed) {
    fs::remove_all(partial_ / kPhone);
  } else if (HasManifest(partial_ / kPhone) && ReadManifest(partial_ / kPhone).id == placed) {
    Place();
    fs::remove_all(partial_ / kPhone);
  }
  for (const char* name : {"progress.db-wal", "progress.db-shm", kProgress}) fs::remove(partial_ / name);
}

// Only a backup may be replaced.
void BackupFolder::CheckTarget() {
  const fs::file_status status = fs::symlink_status(target_);
  if (!fs::exists(status)) {
    if (!fs::is_directory(target_.parent_path())) Fail(target_.parent_path(), "no such folder");
    return;
  }
  if (!fs::is_directory(status)) Fail(target_, "no folder; a backup is one. Choose another name");
  if (fs::is_empty(target_) || HasManifest(target_)) return;
  if (fs::exists(target_ / "phone.db"))
    Fail(target_, "a phone that is no backup; it is not overwritten. Choose another name");
  Fail(target_, "not empty and no backup; it is not overwritten. Choose another name");
}

void BackupFolder::OpenProgress() {
  if (progress_) return;
  progress_ = std::make_unique<SQLite::Database>((partial_ / kProgress).string(),
                                                 SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE, 5000);
  progress_->exec("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL");
  progress_->exec(kProgressSchema);
}

void BackupFolder::OpenBefore() {
  if (!HasManifest(target_)) return;
  before_.emplace(PhoneFolder::OpenForReading(target_));
  before_manifest_ = ReadManifest(target_, {.file = [this](const FileEntryOnDisk& file) {
                                    if (file.path.starts_with("files/"))
                                      before_->RememberDigest(file.path.substr(6), file.sha256);
                                  }});
}

std::string BackupFolder::Get(const char* name) {
  SQLite::Statement row(*progress_, "SELECT value FROM fact WHERE name = ?");
  row.bind(1, name);
  return row.executeStep() ? row.getColumn(0).getString() : "";
}

void BackupFolder::Set(const char* name, const std::string& value) {
  SQLite::Statement row(*progress_, "INSERT OR REPLACE INTO fact VALUES (?, ?)");
  row.bind(1, name);
  row.bind(2, value);
  row.exec();
}

std::string BackupFolder::Begun() { return Get("begun"); }

bool BackupFolder::Begin(const RunFacts& facts) {
  if (before_manifest_ && !CanBeSame(before_manifest_->phone, facts.phone))
    throw Failure(Exit::kUsage,
                  fmt::format("{}: the backup of another phone ({}); this one is {}. Choose another name",
                              target_.string(), before_manifest_->phone.ForPeople(), facts.phone.ForPeople()));
  const std::string domains = fmt::format("{}", fmt::join(facts.domains, " "));
  const fs::path phone = partial_ / kPhone;
  const bool goes_on = !Get("begun").empty();
  if (goes_on) {
    const PhoneIdentity begun = IdentityOf(nlohmann::json::parse(Get("phone")));
    if (!CanBeSame(begun, facts.phone))
      throw Failure(
          Exit::kUsage,
          fmt::format("{}: an interrupted backup of another phone ({}) is here; this one is {}. Finish it with "
                      "that phone, or --restart throws it away",
                      target_.string(), begun.ForPeople(), facts.phone.ForPeople()));
    if (Get("version") != std::to_string(kProgressVersion) || Get("domains") != domains)
      throw Failure(
          Exit::kUsage,
          fmt::format("{}: an interrupted backup of {} is here; finish it with the same choice of domains, or "
                      "--restart throws it away",
                      target_.string(), Get("domains")));
  } else {
    fs::remove_all(phone);
    if (mkdir(phone.c_str(), 0755) != 0) FailAs(phone, "cannot be made", errno);
    PhoneFolder::MakeEmpty(phone);
    SQLite::Transaction transaction(*progress_);
    Set("version", std::to_string(kProgressVersion));
    Set("phone", ToJson(facts.phone).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
    Set("domains", domains);
    Set("begun", Now());
    transaction.commit();
  }
  begun_ = true;
  phone_.emplace(PhoneFolder::OpenForWriting(phone));
  return goes_on;
}

bool BackupFolder::IsComplete(const Domain& domain) {
  SQLite::Statement row(*progress_, "SELECT 1 FROM complete WHERE domain = ?");
  row.bind(1, std::string(domain.name));
  return row.executeStep();
}

void BackupFolder::Clear(const Domain& domain) {
  if (domain.clear != nullptr) {
    SQLite::Transaction transaction(phone_->database());
    phone_->database().exec(domain.clear);
    transaction.commit();
  }
  SQLite::Statement row(*progress_, "DELETE FROM lost WHERE domain = ?");
  row.bind(1, std::string(domain.name));
  row.exec();
}

void BackupFolder::SetComplete(const Domain& domain) {
  SQLite::Statement row(*progress_, "INSERT OR IGNORE INTO complete VALUES (?)");
  row.bind(1, std::string(domain.name));
  row.exec();
}

void BackupFolder::AddLost(const Domain& domain, const Problem& problem) {
  SQLite::Statement row(*progress_, "INSERT INTO lost (domain, item, why) VALUES (?, ?, ?)");
  row.bind(1, std::string(domain.name));
  row.bind(2, problem.path);
  row.bind(3, problem.why);
  row.exec();
}

uint64_t BackupFolder::CountLost(std::string_view domain) {
  SQLite::Statement row(*progress_, "SELECT count(*) FROM lost WHERE domain = ?");
  row.bind(1, std::string(domain));
  return row.executeStep() ? static_cast<uint64_t>(row.getColumn(0).getInt64()) : 0;
}

void BackupFolder::ForEachLost(std::string_view domain, const std::function<void(const Problem&)>& visit) {
  SQLite::Statement rows(*progress_, "SELECT item, why FROM lost WHERE domain = ? ORDER BY id");
  rows.bind(1, std::string(domain));
  while (rows.executeStep()) visit({rows.getColumn(0).getString(), rows.getColumn(1).getString()});
}

void BackupFolder::Sync() {
  if (syncfs(lock_) != 0) FailAs(partial_, "cannot be brought to the disk; check its room", errno);
}

void BackupFolder::Finish(Manifest& manifest) {
  manifest.id = NewId();
  manifest.begun = Begun();
  manifest.finished = Now();
  WriteManifest(*phone_, manifest, [this](std::string_view domain, const auto& visit) { ForEachLost(domain, visit); });
  phone_->MarkFinished();
  phone_.reset();
  Sync();
  // From here on this backup is whole, and only its place is missing.
  Set("placed", manifest.id);
  before_.reset();
  Place();
  progress_.reset();
  RemovePartial();
}

void BackupFolder::Place() {
  const fs::path made = partial_ / kPhone;
  const bool replaces = fs::exists(target_) && !fs::is_empty(target_);
  if (!replaces) {
    if (rename(made.c_str(), target_.c_str()) != 0) FailAs(target_, "cannot be put in place", errno);
  } else if (renameat2(AT_FDCWD, made.c_str(), AT_FDCWD, target_.c_str(), RENAME_EXCHANGE) != 0) {
    if (errno != EINVAL && errno != ENOSYS && errno != ENOTSUP) FailAs(target_, "cannot be put in place", errno);
    fs::rename(target_, partial_ / kOld);
    fs::rename(made, target_);
  }
  SyncFolder(target_.parent_path());
  SyncFolder(partial_);
}

// The record of the run goes last: without it, what is left counts as nothing.
void BackupFolder::RemovePartial() {
  fs::remove_all(partial_ / kPhone);
  fs::remove_all(partial_ / kOld);
  fs::remove_all(partial_);
  begun_ = false;
}

}  // namespace brelix::backup
