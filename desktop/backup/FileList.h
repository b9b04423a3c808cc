// The files of a phone that are to be fetched, and those that are done, in the progress database.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <filesystem>
#include <functional>
#include <optional>

#include "desktop/files/Listing.h"
#include "desktop/files/PhonePath.h"

namespace brelix::backup {

struct ListedFile {
  PhonePath path;
  std::filesystem::path host;  // below files/
  std::optional<uint32_t> size;
  int64_t modified = 0;  // seconds since 1970

  // As the phone listed it.
  FileEntry ToEntry() const;
};

// Where a file's bytes came from.
enum class Source : bool { kPhone, kBefore };

class FileList {
 public:
  explicit FileList(SQLite::Database& progress);

  // A new list; what is done stays known.
  void Begin();
  void Add(const PhonePath& path, const std::filesystem::path& host, const FileEntry& entry);
  void Finish();

  bool Has(const std::filesystem::path& host, bool is_folder) const;
  // As far as the phone tells sizes.
  uint64_t CountBytes() const;
  void ForEachFile(const std::function<void(const ListedFile&)>& visit) const;
  // Folders above the ones in them, or the other way round.
  void ForEachFolder(bool deepest_first, const std::function<void(const ListedFile&)>& visit) const;

  // Whether it was remembered as done, with this size and time.
  std::optional<Source> FindDone(const ListedFile& file) const;
  // Remembers it; several calls are one change that ends with CommitDone.
  void AddDone(const ListedFile& file, Source source);
  void CommitDone();

 private:
  void ForEach(const char* sql, const std::function<void(const ListedFile&)>& visit) const;

  SQLite::Database& progress_;
  std::optional<SQLite::Transaction> transaction_;
};

}  // namespace brelix::backup
