// A backup, from the first question to the phone to the folder in its place.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "desktop/backup/Compare.h"
#include "desktop/backup/Manifest.h"

namespace brelix::backup {

struct BackupOptions {
  std::vector<const Domain*> domains;  // in the order of Domains()
  bool full = false;                   // fetch what looks unchanged, too
  bool restart = false;                // throw away what an interrupted run left
  bool same_phone = false;             // the phone is that of the old backup, although it cannot be told
  std::string tool_version;
  CancelFd cancel = -1;
};

// Told while a backup is made. Those of one domain's taking come between Begin and End.
class BackupWatch : public Watch {
 public:
  // `begun` is the time at which the run that this one goes on with had begun.
  virtual void Started(bool goes_on, const std::string& begun) = 0;
  virtual void Begin(const Domain& domain) = 0;
  virtual void End() = 0;
};

struct DomainOutcome {
  DomainEntry entry;
  // Since the backup of before, where that has the domain too and can be read. What is gone is known only where nothing
  // was lost.
  std::optional<Changes> changes;
  bool GoneIsKnown() const { return entry.lost == 0; }
};

struct BackupOutcome {
  bool went_on = false;  // where an earlier run had stopped
  std::vector<DomainOutcome> domains;
  Manifest manifest;
};

// The session must be open. Failures leave what is done for the next run; the target is untouched.
BackupOutcome MakeBackup(Session& session, const std::filesystem::path& target, const BackupOptions& options,
                         BackupWatch& watch);

// What the phone does not tell, or fails to, is empty.
PhoneIdentity AskIdentity(Session& session);

}  // namespace brelix::backup
