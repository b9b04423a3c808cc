// Files and folders of the phone, brought here. Each file appears whole or not at all; what one file or folder cannot
// do leaves the others alone.
#pragma once

#include <filesystem>
#include <functional>

#include "desktop/files/PhoneFiles.h"
#include "desktop/files/Tree.h"

namespace brelix {

struct PullOptions {
  bool resume = false;         // whole files of the same size and time stay, unfinished ones are gone on with
  bool skip_existing = false;  // files that are here stay, whatever they are
};

struct PullCounts {
  uint64_t files = 0, bytes = 0;  // brought
  uint64_t skipped = 0;           // files that stayed as they were
  uint64_t found_here = 0;        // bytes of those brought that an unfinished file had already
};

class Pull {
 public:
  // `advance` is told of bytes that need no more waiting, `notice` of what is worth knowing but no failure.
  struct Watch {
    std::function<void(uint64_t)> advance = [](uint64_t) {};
    std::function<void(const std::string&)> notice = [](const std::string&) {};
  };
  Pull(PhoneFiles& files, PullOptions options, Watch watch)
      : files_(files), options_(options), watch_(std::move(watch)) {}

  // One file. Throws whatever goes wrong.
  void File(const PhonePath& path, const FileEntry& entry, const std::filesystem::path& target);
  // What a folder holds, into the target, which is made unless it is there. Returns what was left out.
  Problems Folder(const Tree& tree, std::optional<int64_t> modified, const std::filesystem::path& target);

  const PullCounts& counts() const { return counts_; }

 private:
  struct Here {
    bool stays = false, same = false;
  };
  Here Look(const FileEntry& entry, const std::filesystem::path& target) const;
  bool Skip(const PhonePath& path, const FileEntry& entry, const std::filesystem::path& target);
  void Fetch(const PhonePath& path, FileEntry entry, const std::filesystem::path& target);
  FileEntry Verified(const PhonePath& path, FileEntry entry, uint64_t count);
  void Node(const TreeNode& node, const std::filesystem::path& target);

  PhoneFiles& files_;
  const PullOptions options_;
  const Watch watch_;
  PullCounts counts_;
};

}  // namespace brelix
