#include "handset/store/StoreRows.h"

#include <map>

#include "handset/store/CallRows.h"
#include "handset/store/FileRows.h"
#include "handset/store/MailRows.h"
#include "handset/store/PimRows.h"
#include "handset/store/RadioRows.h"
#include "handset/store/RegistryDescription.h"
#include "handset/store/RowValues.h"
#include "handset/store/SmsRows.h"

namespace handset {

namespace {

using SQLite::Database;
using SQLite::Statement;

Statement Device(const Database& database, const char* sql) {
  Statement statement(database, sql);
  if (!statement.executeStep()) throw SQLite::Exception("the device row is missing");
  return statement;
}

void InsertDevice(Database& database, const Description& d) {
  std::optional<std::int64_t> time;
  std::optional<std::int64_t> offset;
  if (d.clock.localTime) time = d.clock.localTime->time_since_epoch().count();
  if (d.clock.utcOffset) offset = d.clock.utcOffset->count();
  Insert(database, "INSERT INTO device VALUES (1, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)", d.os.queryFails,
         d.os.major, d.os.minor, d.os.build, d.os.platform, d.memory.load, d.memory.totalPhysical,
         d.memory.availablePhysical, d.power.queryFails, d.power.acLine, d.power.batteryFlag, d.power.batteryPercent,
         time, offset);
}

void InsertLines(Database& database, const std::vector<Line>& lines) {
  for (const Line& line : lines) {
    Insert(database,
           "INSERT INTO line (name, manufacturer, model, revision, serial_number, subscriber_number, radio_off, "
           "operation_unavailable) VALUES (?, ?, ?, ?, ?, ?, ?, ?)",
           line.name, line.manufacturer, line.model, line.revision, line.serialNumber, line.subscriberNumber,
           line.radioOff, line.operationUnavailable);
  }
}

void InsertRegistry(Database& database, const std::vector<RegistryKey>& keys) {
  for (const RegistryRoot& root : kRegistryRoots) {
    const std::u16string name(root.name.begin(), root.name.end());
    Insert(database, "INSERT INTO registry_key VALUES (?, 0, ?, ?)", root.id, name, Fold(name));
  }
  for (const RegistryKey& key : keys) {
    const std::int64_t id = PutKey(database, key.path);
    for (const RegistryValue& value : key.values) PutValue(database, id, value);
  }
}

// Keys that another key's path or values do not imply; a key is always made after its parent.
std::vector<RegistryKey> SelectRegistry(const Database& database) {
  Statement rows(database,
                 "SELECT id, parent, name, NOT EXISTS (SELECT 1 FROM registry_key AS child WHERE child.parent = "
                 "registry_key.id) FROM registry_key ORDER BY id");
  std::map<std::int64_t, std::u16string> paths;
  std::vector<RegistryKey> keys;
  while (rows.executeStep()) {
    const auto id = rows.getColumn(0).getInt64();
    const auto parent = rows.getColumn(1).getInt64();
    const std::u16string name = Text(rows.getColumn(2));
    paths[id] = parent == 0 ? name : paths[parent] + u"\\" + name;
    RegistryKey key{paths[id], SelectValues(database, id)};
    const bool isLeaf = parent != 0 && Flag(rows.getColumn(3));
    if (isLeaf || !key.values.empty()) keys.push_back(std::move(key));
  }
  return keys;
}

}  // namespace

void InsertDescription(Database& database, const Description& description) {
  InsertDevice(database, description);
  InsertLines(database, description.lines);
  InsertRegistry(database, description.registry);
  InsertItems(database, description.contacts, description.appointments);
  for (const BoxAnswer& box : description.messageBoxes) {
    Insert(database, "INSERT INTO message_box_answer (caption, contains, answer) VALUES (?, ?, ?)", box.caption,
           box.contains, box.answer);
  }
  for (const FaultRule& rule : description.faults) {
    Insert(database, "INSERT INTO fault (call, result, skip, times) VALUES (?, ?, ?, ?)", rule.call, rule.result,
           rule.skip, rule.times);
  }
  InsertCalls(database, description.calls);
  InsertAccounts(database, description.accounts);
  InsertSms(database, description.sms, description.outbox);
  InsertBluetooth(database, description.bluetooth);
  InsertFiles(database, description.files);
}

void ReplaceDevice(Database& database, const std::vector<Line>& lines, const Os& os, const Memory& memory,
                   const Power& power) {
  Insert(database,
         "UPDATE device SET (os_query_fails, os_major, os_minor, os_build, os_platform, memory_load, memory_total, "
         "memory_available, power_query_fails, power_ac_line, power_battery_flag, power_battery_percent) = "
         "(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
         os.queryFails, os.major, os.minor, os.build, os.platform, memory.load, memory.totalPhysical,
         memory.availablePhysical, power.queryFails, power.acLine, power.batteryFlag, power.batteryPercent);
  database.exec("DELETE FROM line");
  InsertLines(database, lines);
}

Description SelectDescription(const Database& database) {
  return {.lines = SelectLines(database),
          .os = SelectOs(database),
          .memory = SelectMemory(database),
          .power = SelectPower(database),
          .clock = SelectClock(database),
          .registry = SelectRegistry(database),
          .contacts = SelectContacts(database),
          .appointments = SelectAppointments(database),
          .messageBoxes = SelectMessageBoxes(database),
          .faults = SelectFaults(database),
          .calls = SelectCalls(database),
          .accounts = SelectAccounts(database),
          .sms = SelectSms(database),
          .outbox = SelectOutbox(database),
          .bluetooth = SelectBluetooth(database),
          .files = SelectFiles(database)};
}

std::vector<Line> SelectLines(const Database& database) {
  Statement rows(database,
                 "SELECT name, manufacturer, model, revision, serial_number, subscriber_number, radio_off, "
                 "operation_unavailable FROM line ORDER BY position");
  std::vector<Line> lines;
  while (rows.executeStep()) {
    lines.push_back({Text(rows.getColumn(0)), OptionalText(rows.getColumn(1)), OptionalText(rows.getColumn(2)),
                     OptionalText(rows.getColumn(3)), OptionalText(rows.getColumn(4)), OptionalText(rows.getColumn(5)),
                     Flag(rows.getColumn(6)), Flag(rows.getColumn(7))});
  }
  return lines;
}

Os SelectOs(const Database& database) {
  using N = std::uint32_t;
  Statement row = Device(database, "SELECT os_major, os_minor, os_build, os_platform, os_query_fails FROM device");
  return {Number<N>(row.getColumn(0)), Number<N>(row.getColumn(1)), Number<N>(row.getColumn(2)),
          Number<N>(row.getColumn(3)), Flag(row.getColumn(4))};
}

Memory SelectMemory(const Database& database) {
  using N = std::uint32_t;
  Statement row = Device(database, "SELECT memory_load, memory_total, memory_available FROM device");
  return {Number<N>(row.getColumn(0)), Number<N>(row.getColumn(1)), Number<N>(row.getColumn(2))};
}

Power SelectPower(const Database& database) {
  using N = std::uint8_t;
  Statement row = Device(
      database, "SELECT power_ac_line, power_battery_flag, power_battery_percent, power_query_fails FROM device");
  return {Number<N>(row.getColumn(0)), Number<N>(row.getColumn(1)), Number<N>(row.getColumn(2)),
          Flag(row.getColumn(3))};
}

ClockSetting SelectClock(const Database& database) {
  Statement row = Device(database, "SELECT clock_local_time, clock_utc_offset FROM device");
  ClockSetting clock;
  if (const auto time = OptionalInteger(row.getColumn(0)))
    clock.localTime = LocalTime(std::chrono::milliseconds(*time));
  if (const auto offset = OptionalInteger(row.getColumn(1))) clock.utcOffset = std::chrono::minutes(*offset);
  return clock;
}

std::vector<BoxAnswer> SelectMessageBoxes(const Database& database) {
  Statement rows(database, "SELECT caption, contains, answer FROM message_box_answer ORDER BY position");
  std::vector<BoxAnswer> boxes;
  while (rows.executeStep()) {
    boxes.push_back({OptionalText(rows.getColumn(0)), OptionalText(rows.getColumn(1)), rows.getColumn(2).getInt()});
  }
  return boxes;
}

std::vector<FaultRule> SelectFaults(const Database& database) {
  Statement rows(database, "SELECT call, result, skip, times FROM fault ORDER BY position");
  std::vector<FaultRule> faults;
  while (rows.executeStep()) {
    FaultRule rule{rows.getColumn(0).getString(),
                   {},
                   Number<std::uint32_t>(rows.getColumn(2)),
                   Number<std::uint32_t>(rows.getColumn(3))};
    if (const auto result = OptionalInteger(rows.getColumn(1))) rule.result = static_cast<std::uint32_t>(*result);
    faults.push_back(std::move(rule));
  }
  return faults;
}

std::int64_t PutKey(Database& database, std::u16string_view path) {
  const auto names = SplitKeyPath(path);
  std::int64_t key = 0;
  for (const std::u16string_view name : names) {
    if (const auto found = SelectKey(database, key, name)) {
      key = *found;
      continue;
    }
    Insert(database, "INSERT INTO registry_key (parent, name, folded) VALUES (?, ?, ?)", key, name, Fold(name));
    key = database.getLastInsertRowid();
  }
  return key;
}

bool PutValue(Database& database, std::int64_t key, const RegistryValue& value) {
  Statement insert(database,
                   "INSERT OR IGNORE INTO registry_value (key, name, folded, type, data) VALUES (?, ?, ?, ?, ?)");
  Execute(insert, key, value.name, Fold(value.name), value.type, value.data);
  return database.getChanges() > 0;
}

std::vector<RegistryValue> SelectValues(const Database& database, std::int64_t key) {
  Statement rows(database, "SELECT name, type, data FROM registry_value WHERE key = ? ORDER BY id");
  Bind(rows, 1, key);
  std::vector<RegistryValue> values;
  while (rows.executeStep()) {
    values.push_back({Text(rows.getColumn(0)), Number<std::uint32_t>(rows.getColumn(1)), Blob(rows.getColumn(2))});
  }
  return values;
}

std::optional<std::int64_t> SelectKey(const Database& database, std::int64_t parent, std::u16string_view name) {
  Statement row(database, "SELECT id FROM registry_key WHERE parent = ? AND folded = ?");
  Bind(row, 1, parent);
  Bind(row, 2, Fold(name));
  if (!row.executeStep()) return std::nullopt;
  return row.getColumn(0).getInt64();
}

std::vector<std::u16string> SelectSubkeys(const Database& database, std::int64_t key) {
  Statement rows(database, "SELECT name FROM registry_key WHERE parent = ? ORDER BY id");
  Bind(rows, 1, key);
  std::vector<std::u16string> names;
  while (rows.executeStep()) names.push_back(Text(rows.getColumn(0)));
  return names;
}

std::vector<RegistryValueHead> SelectValueHeads(const Database& database, std::int64_t key) {
  Statement rows(database, "SELECT name, type FROM registry_value WHERE key = ? ORDER BY id");
  Bind(rows, 1, key);
  std::vector<RegistryValueHead> heads;
  while (rows.executeStep()) heads.push_back({Text(rows.getColumn(0)), Number<std::uint32_t>(rows.getColumn(1))});
  return heads;
}

std::optional<RegistryValue> SelectValue(const Database& database, std::int64_t key, std::u16string_view name) {
  Statement row(database, "SELECT name, type, data FROM registry_value WHERE key = ? AND folded = ?");
  Bind(row, 1, key);
  Bind(row, 2, Fold(name));
  if (!row.executeStep()) return std::nullopt;
  return RegistryValue{Text(row.getColumn(0)), Number<std::uint32_t>(row.getColumn(1)), Blob(row.getColumn(2))};
}

}  // namespace handset
