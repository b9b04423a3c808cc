// The call history's table. All functions throw SQLite::Exception.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include "handset/store/Description.h"

namespace handset {

void InsertCalls(SQLite::Database& database, const std::vector<CallEntry>& calls);
// In the order in which they were inserted.
std::vector<CallEntry> SelectCalls(const SQLite::Database& database);

// The newest call first; of those that began at the same time, the one that was inserted first.
std::vector<std::int64_t> SelectCallIds(const SQLite::Database& database);
std::optional<CallEntry> SelectCall(const SQLite::Database& database, std::int64_t id);

}  // namespace handset
