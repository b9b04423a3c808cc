#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <sqlite3.h>

#include "handset/Errors.h"
#include "handset/Handset.h"
#include "platform/Bluetooth.h"
#include "tests/support/TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;
using handset::Handset;
using handset::StoreError;

// Everything below a folder, files with their bytes.
std::map<std::string, std::string> Snapshot(const fs::path& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    files[entry.path().string()] = entry.is_directory() ? "" : test::ReadFile(entry.path());
  }
  return files;
}

void Execute(const fs::path& file, const char* sql) {
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
  sqlite3_close(database);
}

// Opens, expects one line with this text, and that nothing in the folder changed.
void ExpectRefused(const fs::path& folder, const std::string& text) {
  const auto before = Snapshot(folder.parent_path());
  try {
    Handset::Open(folder);
    ADD_FAILURE() << "opened; expected: " << text;
  } catch (const StoreError& error) {
    const std::string message = error.what();
    EXPECT_NE(message.find("phone.db"), std::string::npos) << message;
    EXPECT_NE(message.find(text), std::string::npos) << message;
    EXPECT_EQ(message.find('\n'), std::string::npos) << message;
  }
  EXPECT_EQ(Snapshot(folder.parent_path()), before);
}

class Store : public testing::Test {
 protected:
  void SetUp() override { Handset::Init(m_phone, nlohmann::json::object()); }

  test::TemporaryFolder m_folder;
  const fs::path m_phone = m_folder.Path() / "phone";
  const fs::path m_file = m_phone / "phone.db";
};

TEST_F(Store, refuses_a_database_it_must_not_use_and_leaves_it_alone) {
  Execute(m_file, "PRAGMA user_version = 4");
  ExpectRefused(m_phone, "newer program");
  Execute(m_file, "PRAGMA user_version = 3; PRAGMA application_id = 5");
  ExpectRefused(m_phone, "not a phone's database");
  Execute(m_file, "PRAGMA application_id = 0x70686F6E; INSERT INTO fault VALUES (1, 'NoSuchCall', NULL, 0, 1)");
  ExpectRefused(m_phone, "NoSuchCall");
  Execute(m_file, "DROP TABLE fault");
  ExpectRefused(m_phone, "no such table");
}

// A phone of the first version as it stood on the disk.
constexpr const char* kFirstVersion = R"sql(
  PRAGMA journal_mode = WAL;
  CREATE TABLE device (
    id INTEGER PRIMARY KEY CHECK (id = 1), os_query_fails INTEGER NOT NULL, os_major INTEGER NOT NULL,
    os_minor INTEGER NOT NULL, os_build INTEGER NOT NULL, os_platform INTEGER NOT NULL, memory_load INTEGER NOT NULL,
    memory_total INTEGER NOT NULL, memory_available INTEGER NOT NULL, power_query_fails INTEGER NOT NULL,
    power_ac_line INTEGER NOT NULL, power_battery_flag INTEGER NOT NULL, power_battery_percent INTEGER NOT NULL,
    clock_local_time INTEGER, clock_utc_offset INTEGER) STRICT;
  CREATE TABLE line (
    position INTEGER PRIMARY KEY, name TEXT NOT NULL, manufacturer TEXT, model TEXT, revision TEXT, serial_number TEXT,
    subscriber_number TEXT, radio_off INTEGER NOT NULL, operation_unavailable INTEGER NOT NULL) STRICT;
  CREATE TABLE registry_key (
    id INTEGER PRIMARY KEY, parent INTEGER NOT NULL, name TEXT NOT NULL, folded TEXT NOT NULL,
    UNIQUE (parent, folded)) STRICT;
  CREATE TABLE registry_value (
    id INTEGER PRIMARY KEY, key INTEGER NOT NULL REFERENCES registry_key (id), name TEXT NOT NULL,
    folded TEXT NOT NULL, type INTEGER NOT NULL, data BLOB NOT NULL, UNIQUE (key, folded)) STRICT;
  CREATE TABLE item (oid INTEGER PRIMARY KEY AUTOINCREMENT, folder INTEGER NOT NULL) STRICT;
  CREATE TABLE message_box_answer (
    position INTEGER PRIMARY KEY, caption TEXT, contains TEXT, answer INTEGER NOT NULL) STRICT;
  CREATE TABLE fault (
    position INTEGER PRIMARY KEY, call TEXT NOT NULL, result INTEGER, skip INTEGER NOT NULL,
    times INTEGER NOT NULL) STRICT;
  INSERT INTO device VALUES (1, 0, 5, 2, 1620, 3, 41, 67108864, 39845888, 0, 0, 1, 77, NULL, 60);
  INSERT INTO line VALUES (1, 'Cellular Line', 'Northgate', NULL, '', '', '+15550100', 0, 0);
  INSERT INTO registry_key VALUES (1, 0, 'HKCR', 'hkcr'), (2, 0, 'HKCU', 'hkcu'), (3, 0, 'HKLM', 'hklm'),
    (4, 0, 'HKU', 'hku'), (5, 3, 'Owner', 'owner');
  INSERT INTO registry_value VALUES (1, 5, 'Age', 'age', 4, x'2A000000');
  PRAGMA application_id = 0x70686F6E;
  PRAGMA user_version = 1;
)sql";

TEST_F(Store, a_phone_of_the_first_version_is_brought_up_to_date_with_all_it_has) {
  for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(m_file.string() + suffix);
  Execute(m_file, kFirstVersion);
  const nlohmann::json described = Handset::Open(m_phone)->Describe();
  EXPECT_EQ(described["power"]["batteryPercent"], 77);
  EXPECT_EQ(described["lines"][0]["model"], nullptr);
  EXPECT_EQ(described["registry"][0]["values"][0]["data"], 42);
  EXPECT_EQ(Handset::Open(m_phone)->Describe(), described) << "opened as the new version";
  EXPECT_EQ(described["bluetooth"]["mode"], "connectable");
  {
    const auto phone = Handset::Open(m_phone);
    const handset::CurrentPhone current(*phone);
    EXPECT_EQ(ce::BthSetMode(ce::BTH_DISCOVERABLE), 0);
  }
  EXPECT_EQ(Handset::Open(m_phone)->Describe()["bluetooth"]["mode"], "discoverable");
  Execute(m_file, "PRAGMA user_version = 0");
  ExpectRefused(m_phone, "unknown version 0");
}

TEST_F(Store, refuses_a_damaged_or_missing_file_and_leaves_it_alone) {
  const auto size = fs::file_size(m_file);
  {
    std::fstream file(m_file, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(4096);
    file << std::string(size - 4096, '\x5A');
  }
  ExpectRefused(m_phone, "restore a copy");
  fs::resize_file(m_file, 100);
  ExpectRefused(m_phone, "restore a copy");
  std::ofstream(m_file, std::ios::trunc) << "This is no database, but a text that somebody wrote over it.";
  ExpectRefused(m_phone, "restore a copy");
  fs::remove(m_file);
  ExpectRefused(m_phone, "no phone here");
  fs::remove_all(m_phone);
  ExpectRefused(m_phone, "no phone here");
}

TEST_F(Store, init_takes_an_empty_folder_and_nothing_else) {
  const auto before = Snapshot(m_folder.Path());
  EXPECT_THROW(Handset::Init(m_phone, nlohmann::json::object()), StoreError);
  EXPECT_THROW(Handset::Init(m_file, nlohmann::json::object()), StoreError);
  EXPECT_THROW(Handset::Init(m_folder.Path() / "no" / "parent", nlohmann::json::object()), StoreError);
  EXPECT_EQ(Snapshot(m_folder.Path()), before);
  fs::create_directory(m_folder.Path() / "empty");
  Handset::Init(m_folder.Path() / "empty/", nlohmann::json::object());
  EXPECT_NE(Handset::Open(m_folder.Path() / "empty"), nullptr);
}

TEST_F(Store, a_phone_can_be_opened_twice_and_again_while_its_log_is_there) {
  const auto first = Handset::Open(m_phone);
  Execute(m_file, "PRAGMA journal_mode");
  const auto second = Handset::Open(m_phone);
  EXPECT_EQ(first->Describe(), second->Describe());
}

}  // namespace
