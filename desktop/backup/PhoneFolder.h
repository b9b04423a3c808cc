// A phone's folder on disk: phone.db and files/. A backup is one, with a manifest.json besides.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <sys/stat.h>

#include "desktop/Waiting.h"

namespace brelix::backup {

class PhoneFolder {
 public:
  // For reading. Throws a local-file failure for what is no phone's folder, and a usage failure for a folder that a
  // newer program made. Nothing is written.
  static PhoneFolder OpenForReading(const std::filesystem::path& folder);
  // For writing, of a folder that MakeEmpty made.
  static PhoneFolder OpenForWriting(const std::filesystem::path& folder);
  // Makes phone.db, with nothing in it but the registry's roots, and files/. The database is marked as unfinished: no
  // program takes it for a phone's before MarkFinished.
  static void MakeEmpty(const std::filesystem::path& folder);

  SQLite::Database& database() const { return *database_; }
  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path files() const { return path_ / "files"; }

  // From now on, an interrupt ends the reading of this folder: at the next file or folder in files/, at the next piece
  // of a file, and wherever FailIfInterrupted is called between records.
  void SetCancel(CancelFd cancel) { cancel_ = cancel; }
  CancelFd cancel() const { return cancel_; }
  void FailIfInterrupted() const { brelix::FailIfInterrupted(cancel_); }

  // Calls `visit` for everything below files/, with paths relative to it, by rising keys (Key below); what is in a
  // folder comes after the folder, though not right behind it. What is neither folder nor file is not the phone's.
  struct Entry {
    std::filesystem::path path;
    std::string key;
    struct stat status;
    bool IsFolder() const { return S_ISDIR(status.st_mode); }
  };
  void ForEachEntry(const std::function<void(const Entry&)>& visit) const;
  // The SHA-256 of a file below files/, read once while this object lives.
  std::string DigestOf(const Entry& file) const;
  // What RememberDigest was told.
  std::optional<std::string> KnownDigest(const std::filesystem::path& path) const;
  // A digest that is known already counts as read. `path` is relative to files/.
  void RememberDigest(const std::filesystem::path& path, const std::string& sha256) const;

  // Makes a phone of it: compact, whole in the one file phone.db, and on the disk. Nothing may be open in it but this.
  void MarkFinished();

 private:
  PhoneFolder(std::filesystem::path path, std::unique_ptr<SQLite::Database> database);

  std::filesystem::path path_;
  std::unique_ptr<SQLite::Database> database_;
  std::unique_ptr<SQLite::Database> digests_;  // a temporary one
  CancelFd cancel_ = -1;
};

// Transactions of bounded size for a domain that puts in one thing after the other: what is put in before Done counts
// as one, and is on the disk when enough of them are together, and at the end. Without Finish the last ones are undone.
class Batch {
 public:
  explicit Batch(SQLite::Database& database);
  // `bytes` of large ones count as well.
  void Done(size_t bytes = 0);
  void Finish();

 private:
  SQLite::Database& database_;
  std::unique_ptr<SQLite::Transaction> transaction_;
  size_t count_ = 0;
  size_t bytes_ = 0;
};

}  // namespace brelix::backup
