#include "desktop/backup/BackupFolder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <linux/fs.h>
#include <sys/stat.h>
#include <unistd.h>

#include "desktop/backup/Descriptor.h"
#include "desktop/backup/FailAt.h"

namespace brelix::backup {

namespace {

namespace fs = std::filesystem;

constexpr int kProgressVersion = 1;
// Facts of the record: the new backup's id once it is whole, that of the one in whose place it comes, and the name
// that the latter gets where it is kept.
constexpr const char* kPlaced = "placed";
constexpr const char* kReplaces = "replaces";
constexpr const char* kKeepAs = "keep_as";

void SyncFolder(const fs::path& folder) {
  const Descriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (opened.get() < 0 || fsync(opened.get()) != 0) FailAs(folder, "cannot be brought to the disk", errno);
}

std::string Now() { return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(std::time(nullptr))); }

// Not a secret: only another one each time.
std::string NewId() {
  uint64_t number = 0;
  const Descriptor random(open("/dev/urandom", O_RDONLY | O_CLOEXEC));
  if (read(random.get(), &number, sizeof number) != sizeof number)
    number = static_cast<uint64_t>(std::time(nullptr)) << 20 | static_cast<uint64_t>(getpid());
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

// Nothing, or nothing in it.
bool IsFree(const fs::path& path) { return !fs::exists(fs::symlink_status(path)) || fs::is_empty(path); }

// Empty for what is no backup, or no whole one.
std::string IdOf(const fs::path& folder) {
  if (!HasManifest(folder)) return "";
  try {
    return ReadManifest(folder).id;
  } catch (const Failure&) {
    return "";
  }
}

// Nothing can be put in the place of such a folder, nor beside it on the same file system.
bool IsMountPoint(const fs::path& folder) {
  struct statx mine {
  }, parent{};
  if (statx(AT_FDCWD, folder.c_str(), 0, STATX_TYPE, &mine) != 0) return false;
  if (statx(AT_FDCWD, folder.parent_path().c_str(), 0, STATX_TYPE, &parent) != 0) return false;
  return (mine.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0 || mine.stx_dev_major != parent.stx_dev_major ||
         mine.stx_dev_minor != parent.stx_dev_minor;
}

// What is in the folder of a backup and is no part of one.
std::vector<fs::path> OthersIn(const fs::path& backup) {
  constexpr std::array<std::string_view, 7> kParts = {"manifest.json", "phone.db", "phone.db-journal", "phone.db-wal",
                                                      "phone.db-shm",  "files",    "bluetooth"};
  std::vector<fs::path> others;
  for (const auto& entry : fs::directory_iterator(backup))
    if (std::ranges::find(kParts, entry.path().filename().string()) == kParts.end()) others.push_back(entry.path());
  return others;
}

// "myphone.before", "myphone.before.2": the first of them that is free.
fs::path FreeNameBeside(const fs::path& target) {
  fs::path name = target;
  name += ".before";
  for (int number = 2; fs::exists(fs::symlink_status(name)); number++) {
    name = target;
    name += fmt::format(".before.{}", number);
  }
  return name;
}

// The backup at `target` is of `before`.
void CheckPhone(const fs::path& target, const PhoneIdentity& before, const PhoneIdentity& now, bool same_phone) {
  const bool can_be = CanBeSame(before, now);
  if (IsSame(before, now) || (can_be && same_phone)) return;
  throw Failure(Exit::kUsage,
                can_be ? fmt::format("{}: the backup of {}; this one is {}, which may be another phone. If it is the "
                                     "same, say so with --same-phone, or else choose another name",
                                     target.string(), before.ForPeople(), now.ForPeople())
                       : fmt::format("{}: the backup of another phone ({}); this one is {}. Choose another name",
                                     target.string(), before.ForPeople(), now.ForPeople()));
}

}  // namespace

BackupFolder::BackupFolder(const fs::path& target, bool restart, Notice notice) : notice_(std::move(notice)) {
  try {
    target_ = Resolved(target);
    if (!target_.has_filename()) Fail(target, "no folder that a backup could be");
    CheckTarget();
    partial_.emplace(target_, restart);
    Recover(restart);
    CheckTarget();
    OpenBefore();
  } catch (const fs::filesystem_error& error) {
    FailAs(error.path1(), "cannot be used", error.code().value());
  }
}

// A run that was killed in its last step, or of which nothing is wanted.
void BackupFolder::Recover(bool restart) {
  if (!partial_->Get("discarded").empty()) return partial_->Discard();
  // Where the file system cannot exchange, the old backup is set aside for a moment.
  if (fs::exists(partial_->old()) && IsFree(target_)) fs::rename(partial_->old(), target_);
  const std::string placed = partial_->Get(kPlaced);
  if (!placed.empty() && IdOf(target_) == placed) return Settle();
  if (fs::exists(partial_->old())) PutAside(partial_->old());
  // Its record was thrown away.
  if (Begun().empty() && HasManifest(partial_->phone())) PutAside(partial_->phone());
  if (restart || Begun().empty() || !fs::exists(partial_->phone())) return partial_->Discard();
  if (placed.empty()) return;
  Place();
  Settle();
}

// Only a backup may be replaced.
void BackupFolder::CheckTarget() {
  const fs::file_status status = fs::symlink_status(target_);
  if (!fs::exists(status)) {
    if (!fs::is_directory(target_.parent_path())) Fail(target_.parent_path(), "no such folder");
    return;
  }
  if (!fs::is_directory(status)) Fail(target_, "no folder; a backup is one. Choose another name");
  if (IsMountPoint(target_))
    Fail(target_, "the root of a file system, which nothing can take the place of; name a folder in it");
  if (fs::is_empty(target_) || HasManifest(target_)) return;
  if (fs::exists(target_ / "phone.db"))
    Fail(target_, "a phone that is no backup; it is not overwritten. Choose another name");
  Fail(target_, "not empty and no backup; it is not overwritten. Choose another name");
}

void BackupFolder::OpenBefore() {
  if (!HasManifest(target_)) return;
  try {
    before_.emplace(PhoneFolder::OpenForReading(target_));
  } catch (const Failure&) {
    KeepBefore("it cannot be read (it is damaged, or a newer program's), so nothing is taken from it");
  }
  before_manifest_ = ReadManifest(target_, {.file = [this](const FileEntryOnDisk& file) {
                                    if (before_ && file.path.starts_with("files/"))
                                      before_->RememberDigest(file.path.substr(6), file.sha256);
                                  }});
}

void BackupFolder::KeepBefore(const std::string& why) {
  keeps_before_ = true;
  notice_(fmt::format("{}: the backup that is there is kept under another name: {}", target_.string(), why));
}

bool BackupFolder::Begin(const RunFacts& facts, bool same_phone, CancelFd cancel) {
  if (before_manifest_) CheckPhone(target_, before_manifest_->phone, facts.phone, same_phone);
  const std::string domains = fmt::format("{}", fmt::join(facts.domains, " "));
  const std::string phone = ToJson(facts.phone).dump();
  const bool goes_on = !Begun().empty();
  if (goes_on) {
    const std::string begun = partial_->Get("phone");
    if (begun != phone)
      throw Failure(
          Exit::kUsage,
          fmt::format("{}: an interrupted backup of another phone ({}) is here; this one is {}. Finish it with "
                      "that phone, or --restart throws it away",
                      target_.string(), IdentityOf(nlohmann::json::parse(begun)).ForPeople(), facts.phone.ForPeople()));
    if (partial_->Get("version") != std::to_string(kProgressVersion) || partial_->Get("domains") != domains)
      throw Failure(
          Exit::kUsage,
          fmt::format("{}: an interrupted backup of {} is here; finish it with the same choice of domains, or "
                      "--restart throws it away",
                      target_.string(), partial_->Get("domains")));
    // A manifest that was half written.
    for (const fs::path& other : OthersIn(partial_->phone())) fs::remove_all(other);
  } else {
    // What people keep on their phones is nobody else's business.
    if (mkdir(partial_->phone().c_str(), 0700) != 0) FailAs(partial_->phone(), "cannot be made", errno);
    PhoneFolder::MakeEmpty(partial_->phone());
    SQLite::Transaction transaction(progress());
    partial_->Set("version", std::to_string(kProgressVersion));
    partial_->Set("phone", phone);
    partial_->Set("domains", domains);
    partial_->Set("begun", Now());
    transaction.commit();
  }
  phone_.emplace(PhoneFolder::OpenForWriting(partial_->phone()));
  phone_->SetCancel(cancel);
  if (before_) before_->SetCancel(cancel);
  return goes_on;
}

bool BackupFolder::IsComplete(const Domain& domain) {
  SQLite::Statement row(progress(), "SELECT 1 FROM complete WHERE domain = ?");
  row.bind(1, std::string(domain.name));
  return row.executeStep();
}

void BackupFolder::Clear(const Domain& domain) {
  if (domain.clear != nullptr) {
    SQLite::Transaction transaction(phone_->database());
    phone_->database().exec(domain.clear);
    transaction.commit();
  }
  SQLite::Statement row(progress(), "DELETE FROM lost WHERE domain = ?");
  row.bind(1, std::string(domain.name));
  row.exec();
}

void BackupFolder::SetComplete(const Domain& domain) {
  SQLite::Statement row(progress(), "INSERT OR IGNORE INTO complete VALUES (?)");
  row.bind(1, std::string(domain.name));
  row.exec();
}

void BackupFolder::AddLost(const Domain& domain, const Problem& problem) {
  SQLite::Statement row(progress(), "INSERT INTO lost (domain, item, why) VALUES (?, ?, ?)");
  row.bind(1, std::string(domain.name));
  row.bind(2, problem.path);
  row.bind(3, problem.why);
  row.exec();
}

uint64_t BackupFolder::CountLost(std::string_view domain) {
  SQLite::Statement row(progress(), "SELECT count(DISTINCT item) FROM lost WHERE domain = ?");
  row.bind(1, std::string(domain));
  return row.executeStep() ? static_cast<uint64_t>(row.getColumn(0).getInt64()) : 0;
}

void BackupFolder::ForEachLost(std::string_view domain, const std::function<void(const Problem&)>& visit) {
  SQLite::Statement rows(progress(), "SELECT item, why FROM lost WHERE domain = ? ORDER BY id");
  rows.bind(1, std::string(domain));
  while (rows.executeStep()) visit({rows.getColumn(0).getString(), rows.getColumn(1).getString()});
}

void BackupFolder::Sync() {
  if (syncfs(partial_->descriptor()) != 0)
    FailAs(partial_->path(), "cannot be brought to the disk; check its room", errno);
}

void BackupFolder::Finish(Manifest& manifest) {
  manifest.id = NewId();
  manifest.begun = Begun();
  manifest.finished = Now();
  if (keeps_before_) manifest.before = FreeNameBeside(target_).filename().string();
  WriteManifest(*phone_, manifest, [this](std::string_view domain, const auto& visit) { ForEachLost(domain, visit); });
  phone_->MarkFinished();
  phone_.reset();
  before_.reset();
  Sync();
  // From here on this backup is whole, and only its place is missing.
  SQLite::Transaction transaction(progress());
  partial_->Set(kReplaces, before_manifest_ ? before_manifest_->id : "");
  partial_->Set(kKeepAs, manifest.before);
  partial_->Set(kPlaced, manifest.id);
  transaction.commit();
  Place();
  Settle();
  partial_->Remove();
}

// The target may have changed since it was looked at first, hours ago.
void BackupFolder::Place() {
  const fs::path made = partial_->phone();
  const bool is_old = HasManifest(target_) && IdOf(target_) == partial_->Get(kReplaces);
  if (!is_old && !fs::is_directory(target_.parent_path())) Fail(target_.parent_path(), "no such folder");
  if (!is_old && !IsFree(target_))
    Fail(target_, fmt::format("something else was put here while the backup was made, which is whole and waits in {}; "
                              "move away what is here",
                              made.string()));
  if (IsFree(target_)) {
    if (rename(made.c_str(), target_.c_str()) != 0) FailAs(target_, "cannot be put in place", errno);
  } else if (renameat2(AT_FDCWD, made.c_str(), AT_FDCWD, target_.c_str(), RENAME_EXCHANGE) != 0) {
    if (errno != EINVAL && errno != ENOSYS && errno != ENOTSUP) FailAs(target_, "cannot be put in place", errno);
    fs::rename(target_, partial_->old());
    fs::rename(made, target_);
  }
  SyncFolder(target_.parent_path());
  SyncFolder(partial_->path());
}

// What has come out of the backup's place: the old backup, unless somebody was quicker. Only that is removed, and only
// when it has nothing of somebody's own besides.
void BackupFolder::Settle() {
  for (const fs::path& out : {partial_->phone(), partial_->old()}) {
    if (!fs::exists(out)) continue;
    const std::string id = IdOf(out);
    if (id.empty() || id != partial_->Get(kReplaces) || !OthersIn(out).empty()) {
      const fs::path name = PutAside(out);
      notice_(
          fmt::format("{}: what was here besides the backup of before is now in {}", target_.string(), name.string()));
    } else if (const std::string keep_as = partial_->Get(kKeepAs); !keep_as.empty()) {
      const fs::path name = PutAside(out);
      notice_(fmt::format("{}: the backup of before is now {}", target_.string(), name.string()));
    }
  }
  partial_->Discard();
}

// The name that the record says, or one that is free by now.
fs::path BackupFolder::PutAside(const fs::path& folder) {
  const std::string keep_as = partial_->Get(kKeepAs);
  fs::path name = target_.parent_path() / keep_as;
  if (keep_as.empty() || fs::exists(fs::symlink_status(name))) name = FreeNameBeside(target_);
  // No folder takes the place of one that holds anything.
  if (rename(folder.c_str(), name.c_str()) != 0) FailAs(folder, "cannot be kept under another name", errno);
  SyncFolder(target_.parent_path());
  SyncFolder(partial_->path());
  return name;
}

}  // namespace brelix::backup
