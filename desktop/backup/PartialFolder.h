// The hidden folder beside a backup's target in which the backup grows, ".NAME.partial": locked, and with a record of
// how far it is. Whatever is in it while a record is there is the run's; a folder that is somebody else's is left
// alone.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <filesystem>
#include <memory>
#include <string>

namespace brelix::backup {

class PartialFolder {
 public:
  // Makes and locks it. Throws a local-file failure when somebody else makes a backup there, when it cannot be written,
  // or when it holds what no backup put there. With `restart` a record that cannot be read is thrown away.
  PartialFolder(const std::filesystem::path& target, bool restart);
  // Nothing is left where nothing was begun.
  ~PartialFolder();
  PartialFolder(const PartialFolder&) = delete;
  PartialFolder& operator=(const PartialFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path phone() const { return path_ / "phone"; }  // what becomes the backup
  std::filesystem::path old() const { return path_ / "old"; }      // the old one, where the file system cannot exchange
  int descriptor() const { return lock_; }

  // The record. It is on the disk when a call returns.
  SQLite::Database& progress() { return *progress_; }
  std::string Get(const char* fact);
  void Set(const char* fact, const std::string& value);

  // From here on what is left in here is worth nothing, and goes, whenever this is interrupted; the record begins anew.
  void Discard();
  // Removes all of it: there is nothing but the record.
  void Remove();

 private:
  void Lock(const std::filesystem::path& target);
  void CheckContents();
  void OpenRecord();
  void RemoveRecord();

  std::filesystem::path path_;
  int lock_ = -1;
  std::unique_ptr<SQLite::Database> progress_;
};

}  // namespace brelix::backup
