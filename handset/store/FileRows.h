// The attributes of files that have others than usual.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include "handset/store/Description.h"

namespace handset {

void InsertFiles(SQLite::Database& database, const std::vector<PhoneFile>& files);
std::vector<PhoneFile> SelectFiles(const SQLite::Database& database);
// Of one name in a folder, or of all names when it is empty; both folded.
FileAttributes SelectFileAttributes(const SQLite::Database& database, std::u16string_view folder,
                                    std::u16string_view name);

}  // namespace handset
