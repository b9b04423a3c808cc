#include "desktop/backup/FileList.h"

namespace brelix::backup {

namespace {

// Paths are bytes: those of the wire, and those of the host.
constexpr const char* kSchema = R"(
  CREATE TABLE IF NOT EXISTS listed (id INTEGER PRIMARY KEY, wire BLOB NOT NULL, host BLOB NOT NULL, folder INTEGER NOT NULL,
                                     size INTEGER, modified INTEGER NOT NULL, UNIQUE (host, folder));
  CREATE TABLE IF NOT EXISTS done (host BLOB PRIMARY KEY, size INTEGER, modified INTEGER NOT NULL, source INTEGER NOT NULL);
)";
constexpr const char* kSelect = "SELECT wire, host, size, modified FROM listed WHERE ";

void BindBytes(SQLite::Statement& statement, int at, const std::string& bytes) {
  statement.bind(at, bytes.data(), static_cast<int>(bytes.size()));
}

void BindSize(SQLite::Statement& statement, int at, std::optional<uint32_t> size) {
  if (size)
    statement.bind(at, static_cast<int64_t>(*size));
  else
    statement.bind(at);
}

}  // namespace

FileEntry ListedFile::ToEntry() const { return {path.LastName(), modified, "", size}; }

FileList::FileList(SQLite::Database& progress) : progress_(progress) { progress_.exec(kSchema); }

void FileList::Begin() {
  transaction_.emplace(progress_);
  progress_.exec("DELETE FROM listed");
}

void FileList::Add(const PhonePath& path, const std::filesystem::path& host, const FileEntry& entry) {
  SQLite::Statement row(progress_,
                        "INSERT OR IGNORE INTO listed (wire, host, folder, size, modified) VALUES (?, ?, ?, ?, ?)");
  BindBytes(row, 1, path.Wire());
  BindBytes(row, 2, host.string());
  row.bind(3, entry.IsFolder() ? 1 : 0);
  BindSize(row, 4, entry.size);
  row.bind(5, entry.modified.value_or(0));
  row.exec();
}

void FileList::Finish() {
  transaction_->commit();
  transaction_.reset();
}

bool FileList::Has(const std::filesystem::path& host, bool is_folder) const {
  SQLite::Statement row(progress_, "SELECT 1 FROM listed WHERE host = ? AND folder = ?");
  BindBytes(row, 1, host.string());
  row.bind(2, is_folder ? 1 : 0);
  return row.executeStep();
}

uint64_t FileList::CountBytes() const {
  SQLite::Statement row(progress_, "SELECT coalesce(sum(size), 0) FROM listed WHERE folder = 0");
  return row.executeStep() ? static_cast<uint64_t>(row.getColumn(0).getInt64()) : 0;
}

void FileList::ForEach(const char* sql, const std::function<void(const ListedFile&)>& visit) const {
  SQLite::Statement rows(progress_, std::string(kSelect) + sql);
  while (rows.executeStep()) {
    ListedFile file{PhonePath::OfWire(rows.getColumn(0).getString()),
                    rows.getColumn(1).getString(),
                    {},
                    rows.getColumn(3).getInt64()};
    if (!rows.getColumn(2).isNull()) file.size = static_cast<uint32_t>(rows.getColumn(2).getInt64());
    visit(file);
  }
}

void FileList::ForEachFile(const std::function<void(const ListedFile&)>& visit) const {
  ForEach("folder = 0 ORDER BY id", visit);
}

void FileList::ForEachFolder(bool deepest_first, const std::function<void(const ListedFile&)>& visit) const {
  ForEach(deepest_first ? "folder = 1 ORDER BY id DESC" : "folder = 1 ORDER BY id", visit);
}

std::optional<Source> FileList::FindDone(const ListedFile& file) const {
  SQLite::Statement row(progress_, "SELECT source FROM done WHERE host = ? AND size IS ? AND modified = ?");
  BindBytes(row, 1, file.host.string());
  BindSize(row, 2, file.size);
  row.bind(3, file.modified);
  if (!row.executeStep()) return std::nullopt;
  return row.getColumn(0).getInt() == 0 ? Source::kPhone : Source::kBefore;
}

void FileList::AddDone(const ListedFile& file, Source source) {
  if (!transaction_) transaction_.emplace(progress_);
  SQLite::Statement row(progress_, "INSERT OR REPLACE INTO done VALUES (?, ?, ?, ?)");
  BindBytes(row, 1, file.host.string());
  BindSize(row, 2, file.size);
  row.bind(3, file.modified);
  row.bind(4, source == Source::kPhone ? 0 : 1);
  row.exec();
}

void FileList::CommitDone() {
  if (!transaction_) return;
  transaction_->commit();
  transaction_.reset();
}

}  // namespace brelix::backup
