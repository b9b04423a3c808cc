// Whether a backup is what its manifest says, and what its phone says.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "desktop/Session.h"
#include "desktop/backup/Manifest.h"

namespace brelix::backup {

struct Fault {
  const char* what;  // "missing", "extra", "changed": in the folder; "phone": beside the phone
  std::string path;  // of a file, or the name of a domain
  std::string text;  // one line
};

struct Verdict {
  Manifest manifest;
  uint64_t files = 0;  // that were checked
  std::vector<Fault> faults;
  std::optional<size_t> sampled;          // things compared with the phone
  std::vector<std::string> not_compared;  // domains that are too large for a sample of everything
  Problems not_read;                      // what the phone does not give now and gave when the backup was taken
};

// Reads everything in the folder, until an interrupt. What cannot be read in it is a fault. Throws a local-file failure
// for what is no backup at all.
Verdict VerifyFolder(const std::filesystem::path& folder, CancelFd cancel = -1);

// Reads a sample from the phone and compares: its facts, all of each domain that is small, and so many files. What the
// phone cannot give is no difference. Throws a usage failure when it is another phone; what was found before a failure
// is in the verdict.
void VerifyAgainst(Session& session, const std::filesystem::path& folder, size_t sample, Verdict& verdict);

}  // namespace brelix::backup
