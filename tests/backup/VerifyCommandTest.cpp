// brelix verify on damaged and partial backups, and beside phones that do not give everything.
#include <SQLiteCpp/SQLiteCpp.h>
#include <chrono>
#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

#include "tests/backup/BackupRun.h"

namespace test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

json WithFault(const char* call, const char* result, const json& times) {
  json phone = SmallPhone();
  phone["faults"] = {{{"call", call}, {"result", result}, {"times", times}}};
  return phone;
}

Outcome Verify(const std::string& backup, const std::string& address = "", std::vector<std::string> more = {}) {
  std::vector<std::string> words = {BRELIX_COMMAND, "--json", "verify", backup};
  if (!address.empty()) words.insert(words.end(), {"-d", address});
  words.insert(words.end(), more.begin(), more.end());
  return test::Run(std::move(words));
}

std::vector<std::string> Differences(const Outcome& seen) {
  std::vector<std::string> texts;
  const json report = json::parse(seen.out);
  for (const json& row : report["differences"]) texts.push_back(row["text"]);
  return texts;
}

void WriteOver(const std::string& file, const std::string& text) { std::ofstream(file, std::ios::trunc) << text; }

TEST(VerifyCommand, a_partial_backup_is_told_as_one) {
  const BackupPlace place;
  json description = WithFault("IPOutlookItemCollection::Item", "0x80004005", 1);
  // Two reasons, one contact.
  description["contacts"][1] = json::parse(R"({"oid": 9, "FirstName": "\u0100da", "LastName": "\u0200o"})");
  const std::string phone = place.MakePhone("phone", description);
  const Outcome made = place.Backup(phone, "copy", {"--only", "contacts,files"});
  EXPECT_EQ(made.code, 11);
  EXPECT_THAT(made.out, HasSubstr("1, 2 lost"));
  EXPECT_THAT(made.err, HasSubstr("2 items did not come"));
  const Outcome seen = Verify(place.Path("copy"));
  EXPECT_EQ(seen.code, 11) << seen.err;
  EXPECT_EQ(json::parse(seen.out)["lost"], (json{{"contacts", 2}}));
  EXPECT_EQ(Differences(seen), std::vector<std::string>{});
  // Its members may come in another order.
  const std::string file = place.Path("copy") + "/manifest.json";
  WriteOver(file, ReadJson(file).dump());
  EXPECT_THAT(test::Run({BRELIX_COMMAND, "verify", place.Path("copy")}).out,
              HasSubstr("Lost when it was taken contacts 2"));
  // Something worse.
  WriteOver(place.Path("copy") + "/files/a.txt", "eno");
  EXPECT_EQ(Verify(place.Path("copy")).code, 5);
}

TEST(VerifyCommand, what_the_phone_does_not_give_is_no_difference) {
  const BackupPlace place;
  ASSERT_EQ(place.Backup(place.MakePhone("phone", SmallPhone()), "copy").code, 0);
  const auto verify = [&](const char* name, const json& description) {
    return Verify(place.Path("copy"), place.Address(place.MakePhone(name, description)));
  };
  // The first contact cannot be read, the second is another.
  json description = WithFault("IPOutlookItemCollection::Item", "0x80004005", 1);
  const Outcome one = verify("one", description);
  EXPECT_EQ(one.code, 11) << one.err;
  EXPECT_THAT(one.err, HasSubstr("not read from the phone: contact at position 1"));
  EXPECT_EQ(Differences(one), std::vector<std::string>{});
  EXPECT_EQ(json::parse(one.out)["not_read"].size(), 1U);
  description["contacts"][1]["FirstName"] = "Eve";
  const Outcome two = verify("two", description);
  EXPECT_EQ(two.code, 5);
  EXPECT_EQ(Differences(two), std::vector<std::string>{"contacts: contact 0000000009 is another on the phone"});
  // No contacts at all; a file that cannot be read, one that has gone with its folder.
  description = WithFault("IPOutlookItemCollection::get_Count", "0x80004005", "always");
  description["faults"].push_back({{"call", "ReadFile"}, {"result", 30}, {"times", 1}});
  description["files"].erase(2);
  description["files"].erase(1);
  const Outcome three = verify("three", description);
  EXPECT_EQ(three.code, 5);
  EXPECT_EQ(Differences(three), std::vector<std::string>{"files/Folder/b.txt: is in the backup only"});
  EXPECT_EQ(json::parse(three.out)["not_read"].size(), 3U);
  EXPECT_THAT(three.err, HasSubstr("not read from the phone: contacts, to their end: module"));
  EXPECT_THAT(three.err, HasSubstr("not read from the phone: \\a.txt: "));
}

TEST(VerifyCommand, a_phone_that_may_be_another_is_told) {
  const BackupPlace place;
  ASSERT_EQ(place.Backup(place.MakePhone("phone", SmallPhone()), "copy").code, 0);
  json description = SmallPhone();
  description["lines"][0]["serialNumber"] = nullptr;
  const Outcome seen = Verify(place.Path("copy"), place.Address(place.MakePhone("silent", description)));
  EXPECT_THAT(seen.err, HasSubstr("this one is Maker M1 without a serial number, and may be another phone"));
  EXPECT_NE(seen.code, 0);
}

TEST(VerifyCommand, the_phone_makes_nothing_forgotten) {
  const BackupPlace place;
  ASSERT_EQ(place.Backup(place.MakePhone("phone", SmallPhone()), "copy").code, 0);
  WriteOver(place.Path("copy") + "/files/a.txt", "eno");
  const Outcome seen = Verify(place.Path("copy"), "unix:" + place.Path("nobody"));
  EXPECT_EQ(seen.code, 4);
  EXPECT_THAT(seen.err, HasSubstr("files/a.txt: has other content than the manifest says"));
}

TEST(VerifyCommand, damage_is_a_fault_of_what_is_damaged) {
  const BackupPlace place;
  ASSERT_EQ(place.Backup(place.MakePhone("phone", SmallPhone()), "copy").code, 0);
  const std::string copy = place.Path("copy");
  SQLite::Database(copy + "/phone.db", SQLite::OPEN_READWRITE)
      .exec("UPDATE contact SET FirstName = CAST(x'FF' AS TEXT) WHERE FirstName = 'Ada'");
  // Neither hides that a file has another time.
  WriteOver(copy + "/notes.txt", "mine");
  const std::string file = copy + "/files/a.txt";
  fs::last_write_time(file, fs::last_write_time(file) + std::chrono::hours(1));
  for (const std::string& address : {std::string(), place.Address(place.Path("phone"))}) {
    const Outcome seen = Verify(copy, address);
    EXPECT_EQ(seen.code, 5) << seen.err;
    EXPECT_EQ(Differences(seen),
              (std::vector<std::string>{"notes.txt: does not belong to a backup",
                                        "contacts: cannot be read: a text in the database is not UTF-8",
                                        "files: times or attributes are not those of the manifest"}));
  }
}

TEST(VerifyCommand, a_manifest_that_is_none_is_one_clear_line) {
  const BackupPlace place;
  const std::string phone = place.MakePhone("phone", SmallPhone());
  ASSERT_EQ(place.Backup(phone, "copy").code, 0);
  const std::string file = place.Path("copy") + "/manifest.json";
  const json whole = ReadJson(file);
  struct Row {
    const char* at;
    json value;
    int code;
    const char* says;
  };
  for (const Row& row :
       {Row{"/files/0/path", "abc", 3, "\"abc\" is no path of a file in files/"},
        Row{"/files/0/path", "files/../../etc", 3, "is no path of a file"},
        Row{"/files/0/size", -1, 3, "\"size\" is no number"}, Row{"/files/0", 7, 3, "is no object"},
        Row{"/domains/1/count", -4, 3, "\"count\" is no number"}, Row{"/domains/1/lost", {"a"}, 3, "is no object"},
        Row{"/taken/id", 7, 3, "\"id\" is no text"}, Row{"/phone", {{"model", nullptr}}, 3, "must be string"},
        Row{"/format", 1.7, 3, "there is no format 1.7"}, Row{"/format", "1", 3, "no format \"1\""}}) {
    json changed = whole;
    changed[json::json_pointer(row.at)] = row.value;
    WriteOver(file, changed.dump());
    const Outcome seen = Verify(place.Path("copy"), place.Address(phone));
    EXPECT_EQ(seen.code, row.code) << row.at;
    EXPECT_THAT(seen.err, HasSubstr(row.says));
    EXPECT_THAT(seen.err, Not(HasSubstr("json.exception")));
  }
  // The format of a newer program is seen before what only that one knows.
  WriteOver(file, R"({"format": 2, "files": [["a", 1]], "domains": {"contacts": 5}})");
  EXPECT_EQ(Verify(place.Path("copy")).code, 2);
  WriteOver(file, whole.dump().substr(0, 100));
  EXPECT_THAT(Verify(place.Path("copy")).err, AllOf(HasSubstr("parse error"), Not(HasSubstr("json.exception"))));
  fs::remove(file);
  fs::create_directory(file);
  EXPECT_THAT(Verify(place.Path("copy")).err, HasSubstr("it is no file"));
  EXPECT_EQ(Verify(place.Path("copy")).code, 3);
}

TEST(VerifyCommand, a_sample_has_a_sensible_size) {
  const BackupPlace place;
  const std::string phone = place.MakePhone("phone", SmallPhone());
  ASSERT_EQ(place.Backup(phone, "copy").code, 0);
  for (const char* size : {"-1", "18446744073709551615", "many"})
    EXPECT_EQ(Verify(place.Path("copy"), place.Address(phone), {"--sample", size}).code, 2) << size;
  EXPECT_EQ(Verify(place.Path("copy"), place.Address(phone), {"--sample", "0"}).code, 0);
}

TEST(VerifyCommand, leaves_nothing_in_a_full_temporary_folder) {
  const BackupPlace place;
  const std::string phone = place.MakePhone("phone", SmallPhone());
  ASSERT_EQ(place.Backup(phone, "copy").code, 0);
  const std::string place_for_it = place.Path("temporary");
  fs::create_directory(place_for_it);
  // No file of this command can grow beyond a few KiB; the phone's can.
  const std::string address = "exec:ulimit -S -f unlimited; exec " BRELIX_PHONE_COMMAND " rapi --no-log " + phone;
  const Outcome full =
      test::Run({"/bin/sh", "-c", "trap '' XFSZ; ulimit -S -f 8; exec \"$@\"", "sh", "/usr/bin/env",
                 "TMPDIR=" + place_for_it, BRELIX_COMMAND, "-d", address, "verify", place.Path("copy")});
  EXPECT_EQ(full.code, 3);
  EXPECT_THAT(full.err, HasSubstr("make room"));
  EXPECT_TRUE(fs::is_empty(place_for_it));
  const Outcome none = test::Run({"/usr/bin/env", "TMPDIR=" + place.Path("nowhere"), BRELIX_COMMAND, "-d",
                                  place.Address(phone), "verify", place.Path("copy")});
  EXPECT_EQ(none.code, 3);
  EXPECT_THAT(none.err, HasSubstr("set TMPDIR to another place"));
}

bool HasOpen(pid_t process, const fs::path& file) {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(process) + "/fd", error))
    if (fs::read_symlink(entry.path(), error) == file) return true;
  return false;
}

TEST(VerifyCommand, ends_at_an_interrupt_within_a_file) {
  const BackupPlace place;
  ASSERT_EQ(place.Backup(place.MakePhone("phone", SmallPhone()), "copy").code, 0);
  // Minutes to read, and no room taken.
  constexpr uint64_t kSize = uint64_t{64} << 30;
  const fs::path file = fs::canonical(place.Path("copy")) / "files" / "a.txt";
  fs::resize_file(file, kSize);
  json manifest = ReadJson(place.Path("copy") + "/manifest.json");
  for (json& row : manifest["files"])
    if (row["path"] == "files/a.txt") row["size"] = kSize;
  WriteOver(place.Path("copy") + "/manifest.json", manifest.dump());
  Process verify({BRELIX_COMMAND, "verify", place.Path("copy")});
  const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (!HasOpen(verify.pid(), file)) {
    ASSERT_LT(std::chrono::steady_clock::now(), until);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  EXPECT_EQ(verify.End(SIGINT).code, 130);
}

}  // namespace
}  // namespace test
