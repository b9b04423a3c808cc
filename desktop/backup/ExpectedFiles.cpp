#include "desktop/backup/ExpectedFiles.h"

namespace brelix::backup {

namespace {

void BindBytes(SQLite::Statement& statement, int at, const std::string& bytes) {
  statement.bind(at, bytes.data(), static_cast<int>(bytes.size()));
}

}  // namespace

ExpectedFiles::ExpectedFiles() : database_("", SQLite::OPEN_READWRITE) {
  database_.exec("CREATE TABLE file (path BLOB PRIMARY KEY, size INTEGER, sha256 TEXT, seen INTEGER DEFAULT 0)");
}

void ExpectedFiles::Add(const FileEntryOnDisk& file) {
  SQLite::Statement row(database_, "INSERT OR REPLACE INTO file (path, size, sha256) VALUES (?, ?, ?)");
  BindBytes(row, 1, file.path);
  row.bind(2, static_cast<int64_t>(file.size));
  row.bind(3, file.sha256);
  row.exec();
}

std::optional<FileEntryOnDisk> ExpectedFiles::See(const std::string& path) {
  SQLite::Statement row(database_, "UPDATE file SET seen = 1 WHERE path = ? RETURNING size, sha256");
  BindBytes(row, 1, path);
  if (!row.executeStep()) return std::nullopt;
  return FileEntryOnDisk{path, static_cast<uint64_t>(row.getColumn(0).getInt64()), row.getColumn(1).getString()};
}

void ExpectedFiles::ForEachUnseen(const std::function<void(const std::string&)>& visit) {
  SQLite::Statement rows(database_, "SELECT path FROM file WHERE seen = 0 ORDER BY path");
  while (rows.executeStep()) visit(rows.getColumn(0).getString());
}

std::vector<FileEntryOnDisk> ExpectedFiles::Sample(size_t most) {
  SQLite::Statement rows(database_,
                         "SELECT path, size, sha256 FROM (SELECT *, row_number() OVER (ORDER BY path) - 1 AS place, "
                         "count(*) OVER () AS total FROM file) WHERE place * ?1 / total <> (place - 1) * ?1 / total OR "
                         "place = 0");
  rows.bind(1, static_cast<int64_t>(most));
  std::vector<FileEntryOnDisk> chosen;
  while (rows.executeStep() && chosen.size() < most)
    chosen.push_back({rows.getColumn(0).getString(), static_cast<uint64_t>(rows.getColumn(1).getInt64()),
                      rows.getColumn(2).getString()});
  return chosen;
}

}  // namespace brelix::backup
