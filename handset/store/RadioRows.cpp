#include "handset/store/RadioRows.h"

#include "handset/store/RowValues.h"

namespace handset {

namespace {

using SQLite::Database;
using SQLite::Statement;
using N = std::uint32_t;

// A phone of an older version has no row, which is the same as one of defaults.
void NeedRow(Database& database) {
  const Bluetooth defaults;
  Insert(database, "INSERT OR IGNORE INTO bluetooth VALUES (1, ?, ?, ?)", static_cast<int>(defaults.provider),
         defaults.mode, defaults.takesNoDelay);
}

}  // namespace

void InsertBluetooth(Database& database, const Bluetooth& bluetooth) {
  Insert(database, "INSERT INTO bluetooth VALUES (1, ?, ?, ?)", static_cast<int>(bluetooth.provider), bluetooth.mode,
         bluetooth.takesNoDelay);
  for (const N channel : bluetooth.takenChannels) {
    Insert(database, "INSERT INTO bluetooth_taken_channel VALUES (?)", channel);
  }
  for (const ServiceRecord& record : bluetooth.records) {
    Insert(database, "INSERT INTO bluetooth_record VALUES (?, ?)", record.handle, record.bytes);
  }
}

Bluetooth SelectBluetooth(const Database& database) {
  Bluetooth bluetooth;
  Statement row(database, "SELECT provider, mode, takes_no_delay FROM bluetooth");
  if (row.executeStep()) {
    bluetooth.provider = static_cast<RadioProvider>(row.getColumn(0).getInt());
    bluetooth.mode = Number<N>(row.getColumn(1));
    bluetooth.takesNoDelay = Flag(row.getColumn(2));
  }
  Statement channels(database, "SELECT channel FROM bluetooth_taken_channel ORDER BY channel");
  while (channels.executeStep()) bluetooth.takenChannels.push_back(Number<N>(channels.getColumn(0)));
  Statement records(database, "SELECT handle, bytes FROM bluetooth_record ORDER BY handle");
  while (records.executeStep()) {
    bluetooth.records.push_back({Number<N>(records.getColumn(0)), Blob(records.getColumn(1))});
  }
  return bluetooth;
}

void UpdateRadioMode(Database& database, N mode) {
  SQLite::Transaction transaction(database);
  NeedRow(database);
  Insert(database, "UPDATE bluetooth SET mode = ?", mode);
  transaction.commit();
}

N AddServiceRecord(Database& database, const Bytes& record) {
  Insert(database, "INSERT INTO bluetooth_record SELECT COALESCE(MAX(handle), 65536) + 1, ? FROM bluetooth_record",
         record);
  return Number<N>(database.execAndGet("SELECT MAX(handle) FROM bluetooth_record"));
}

bool DeleteServiceRecord(Database& database, N handle) {
  Insert(database, "DELETE FROM bluetooth_record WHERE handle = ?", handle);
  return database.getChanges() != 0;
}

}  // namespace handset
