// The tables of the Bluetooth radio. All functions throw SQLite::Exception.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include "handset/store/Description.h"

namespace handset {

void InsertBluetooth(SQLite::Database& database, const Bluetooth& bluetooth);
Bluetooth SelectBluetooth(const SQLite::Database& database);

void UpdateRadioMode(SQLite::Database& database, std::uint32_t mode);
// Returns the record's handle.
std::uint32_t AddServiceRecord(SQLite::Database& database, const Bytes& record);
// False when there is none.
bool DeleteServiceRecord(SQLite::Database& database, std::uint32_t handle);

}  // namespace handset
