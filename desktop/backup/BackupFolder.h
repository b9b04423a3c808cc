// A backup on its way to the disk.
//
// It grows in a hidden folder beside its target, ".NAME.partial", which has the phone's folder and a database about how
// far it is. Until the last step nothing in there is a backup: there is no manifest, and phone.db is marked as
// unfinished. The last step is one rename, which puts the new backup in the place of the old one, so that at each
// moment NAME is the old backup or the new one, whole. What is left of an interrupted run is gone on with by the next.
//
// The old one is then removed, or, where it may have what the new one has not, gets the name NAME.before. Nothing but
// this old one is ever removed: what else has come to be under the backup's name is in the way, and is left alone.
//
// What is recorded as done is on the disk before the record is, so that neither a killed process nor a power cut makes
// less look like more.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "desktop/backup/Manifest.h"
#include "desktop/backup/PartialFolder.h"
#include "desktop/backup/PhoneFolder.h"

namespace brelix::backup {

// What a run is of. One that goes on must be of the same.
struct RunFacts {
  PhoneIdentity phone;
  std::vector<std::string> domains;  // in the order in which they are taken
};

class BackupFolder {
 public:
  using Notice = std::function<void(const std::string&)>;

  // Locks the place. Throws a local-file failure when somebody else makes a backup there, when it cannot be written,
  // or when the target is something that must not be replaced. With `restart` what an earlier run left is thrown away.
  // `notice` is told what the user should know of, then and later.
  BackupFolder(const std::filesystem::path& target, bool restart, Notice notice);
  BackupFolder(const BackupFolder&) = delete;
  BackupFolder& operator=(const BackupFolder&) = delete;

  // Begins, or goes on. Throws a usage failure when what is there is of another phone or of other domains, or, without
  // `same_phone`, may be of another phone. Returns whether an earlier run had begun. `cancel` ends the reading of the
  // folders from here on.
  bool Begin(const RunFacts& facts, bool same_phone, CancelFd cancel);

  PhoneFolder& phone() { return *phone_; }
  // The backup that this one will replace; the folder is missing where it cannot be read.
  const std::optional<Manifest>& before_manifest() const { return before_manifest_; }
  const PhoneFolder* before() const { return before_ ? &*before_ : nullptr; }
  // Keeps it when it is replaced: `why` is what the user is told.
  void KeepBefore(const std::string& why);
  // For what a domain must remember while it is taken.
  SQLite::Database& progress() { return partial_->progress(); }
  std::string Begun() { return partial_->Get("begun"); }

  bool IsComplete(const Domain& domain);
  // Empties what an interrupted attempt left of it.
  void Clear(const Domain& domain);
  void SetComplete(const Domain& domain);
  void AddLost(const Domain& domain, const Problem& problem);
  // Things, of which one may be lost for several reasons.
  uint64_t CountLost(std::string_view domain);
  void ForEachLost(std::string_view domain, const std::function<void(const Problem&)>& visit);

  // Brings everything to the disk: for what is recorded as done next.
  void Sync();
  // Writes the manifest and puts the backup in its place.
  void Finish(Manifest& manifest);

 private:
  void Recover(bool restart);
  void CheckTarget();
  void OpenBefore();
  void Place();
  void Settle();
  std::filesystem::path PutAside(const std::filesystem::path& folder);

  std::filesystem::path target_;
  Notice notice_;
  std::optional<PartialFolder> partial_;
  std::optional<PhoneFolder> phone_, before_;
  std::optional<Manifest> before_manifest_;
  bool keeps_before_ = false;
};

}  // namespace brelix::backup
