// A manifest's list of files, on the disk, since it may be long.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "desktop/backup/Manifest.h"

namespace brelix::backup {

class ExpectedFiles {
 public:
  ExpectedFiles();

  void Add(const FileEntryOnDisk& file);
  // What the manifest says of a file that is there; nothing for one that is not in it.
  std::optional<FileEntryOnDisk> See(const std::string& path);
  void ForEachUnseen(const std::function<void(const std::string&)>& visit);
  // So many of them, spread over all.
  std::vector<FileEntryOnDisk> Sample(size_t most);

 private:
  SQLite::Database database_;
};

}  // namespace brelix::backup
