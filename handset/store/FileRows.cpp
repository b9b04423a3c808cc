#include "handset/store/FileRows.h"

#include "handset/store/RowValues.h"

namespace handset {

using SQLite::Database;
using SQLite::Statement;

void InsertFiles(Database& database, const std::vector<PhoneFile>& files) {
  Statement statement(database, "INSERT INTO file_attributes (folder, name, path, attributes) VALUES (?, ?, ?, ?)");
  for (const PhoneFile& file : files) {
    if (!file.attributes) continue;
    const std::u16string folded = Fold(file.path);
    const std::size_t split = folded.rfind(u'\\');
    Execute(statement, folded.substr(0, split), folded.substr(split + 1), file.path, *file.attributes);
  }
}

std::vector<PhoneFile> SelectFiles(const Database& database) {
  Statement rows(database, "SELECT path, attributes FROM file_attributes ORDER BY folder, name");
  std::vector<PhoneFile> files;
  while (rows.executeStep()) {
    files.push_back({.path = Text(rows.getColumn(0)), .attributes = Number<std::uint32_t>(rows.getColumn(1))});
  }
  return files;
}

FileAttributes SelectFileAttributes(const Database& database, std::u16string_view folder, std::u16string_view name) {
  Statement rows(database, name.empty() ? "SELECT name, attributes FROM file_attributes WHERE folder = ?"
                                        : "SELECT name, attributes FROM file_attributes WHERE folder = ? AND name = ?");
  Bind(rows, 1, folder);
  if (!name.empty()) Bind(rows, 2, name);
  FileAttributes attributes;
  while (rows.executeStep()) attributes[Text(rows.getColumn(0))] = Number<std::uint32_t>(rows.getColumn(1));
  return attributes;
}

}  // namespace handset
