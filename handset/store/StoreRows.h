// The tables of phone.db as records. All functions throw SQLite::Exception.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include "handset/store/Description.h"

namespace handset {

void InsertDescription(SQLite::Database& database, const Description& description);
Description SelectDescription(const SQLite::Database& database);

// Puts these facts in place of those that are there; the clock stays.
void ReplaceDevice(SQLite::Database& database, const std::vector<Line>& lines, const Os& os, const Memory& memory,
                   const Power& power);

std::vector<Line> SelectLines(const SQLite::Database& database);
Os SelectOs(const SQLite::Database& database);
Memory SelectMemory(const SQLite::Database& database);
Power SelectPower(const SQLite::Database& database);
ClockSetting SelectClock(const SQLite::Database& database);
std::vector<BoxAnswer> SelectMessageBoxes(const SQLite::Database& database);
std::vector<FaultRule> SelectFaults(const SQLite::Database& database);

// The key at a path that begins with a root's short name; keys on the way are made.
std::int64_t PutKey(SQLite::Database& database, std::u16string_view path);
// False when the key has a value of this name, in any case.
bool PutValue(SQLite::Database& database, std::int64_t key, const RegistryValue& value);
std::vector<RegistryValue> SelectValues(const SQLite::Database& database, std::int64_t key);
std::optional<std::int64_t> SelectKey(const SQLite::Database& database, std::int64_t parent, std::u16string_view name);
std::vector<std::u16string> SelectSubkeys(const SQLite::Database& database, std::int64_t key);
std::vector<RegistryValueHead> SelectValueHeads(const SQLite::Database& database, std::int64_t key);
std::optional<RegistryValue> SelectValue(const SQLite::Database& database, std::int64_t key, std::u16string_view name);

}  // namespace handset
