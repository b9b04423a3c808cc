// brelix backup and verify as users run them, on phones that brelix-phone makes and serves.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/file.h>
#include <sys/stat.h>

#include "tests/backup/BackupRun.h"
#include "tests/backup/KilledAt.h"

namespace test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;

// Names that people would not expect, sizes around a chunk of the wire, attributes, odd values of the registry.
json OddStorage() {
  json phone = json::parse(R"({
    "registry": [
      {"key": "HKCU\\%u0041 \"quoted\" / slash", "values": [
        {"name": "", "type": "sz", "data": "unnamed"},
        {"name": "no terminator", "type": "sz", "data": {"hex": "4100"}},
        {"name": "half a unit", "type": "sz", "data": {"hex": "410042"}},
        {"name": "NUL within", "type": "sz", "data": {"hex": "4100000042000000"}},
        {"name": "nothing", "type": "binary", "data": {"hex": ""}},
        {"name": "short number", "type": "dword", "data": {"hex": "010203"}},
        {"name": "unknown type", "type": 4294967295, "data": {"hex": "0A"}},
        {"name": "texts", "type": "multi_sz", "data": ["a", "b"]},
        {"name": {"utf16": "D83D"}, "type": "sz", "data": {"utf16": "DE000041"}},
        {"name": "back\\slash", "type": "dword", "data": 1}]},
      {"key": {"utf16": "0048004B004C004D005CD83D"}, "values": []}],
    "files": [
      {"path": "\\%u0041", "text": "a"}, {"path": "\\a%+", "text": "a"}, {"path": "\\+%a", "text": "a"},
      {"path": "\\.brelix-part-0000000000000000", "text": "a"}, {"path": "\\...", "text": "a"},
      {"path": "\\-rf $HOME; `'", "text": "a"}, {"path": "\\%2e%2e%2fetc", "text": "a"},
      {"path": {"utf16": "005CD83D"}, "text": "half"}, {"path": {"utf16": "005CD83DDE00"}, "text": "whole"},
      {"path": "\\manifest.json", "text": "{}"}, {"path": "\\phone.db", "text": "a"},
      {"path": "\\folder", "folder": true}, {"path": "\\folder b", "text": "a"}, {"path": "\\folder!", "text": "a"},
      {"path": "\\folder\\inner\\x", "text": ""}, {"path": "\\folder\\hidden", "folder": true, "attributes": "HS"},
      {"path": "\\all", "text": "a", "attributes": "AHSR"}, {"path": "\\none", "text": "a", "attributes": ""},
      {"path": "\\chunk", "text": "c", "size": 16364}, {"path": "\\chunks", "text": "cd", "size": 32728},
      {"path": "\\chunk and one", "text": "cde", "size": 16365}, {"path": "\\zeros", "size": 100000}]})");
  for (json& file : phone["files"]) file["modified"] = "1980-01-01T00:00:02Z";
  const auto bytes = [](size_t count) { return json{{"hex", std::string(2 * count, '4')}}; };
  json& values = phone["registry"][0]["values"];
  values.push_back({{"name", "as much as goes"}, {"type", "binary"}, {"data", bytes(8192)}});
  values.push_back({{"name", "too much"}, {"type", "binary"}, {"data", bytes(8193)}});
  values.push_back({{"name", "a text of as much"}, {"type", "sz"}, {"data", bytes(8192)}});
  const std::string longest(85, 'x');
  phone["files"].push_back({{"path", "\\" + longest + longest + longest}, {"text", "255 bytes"}});
  return phone;
}

TEST(Backup, is_a_phone_whose_backup_is_the_same) {
  const BackupPlace place;
  const std::string phone = place.MakePhone("phone", OddStorage());
  const Outcome made = place.Backup(phone, "one");
  // What cannot come is named: a value of more than 8192 bytes, one whose name holds a backslash.
  EXPECT_EQ(made.code, 11) << made.err;
  EXPECT_THAT(made.err, HasSubstr("more than the 8192 bytes"));
  EXPECT_THAT(made.err, HasSubstr("a backslash would end"));
  ASSERT_EQ(place.Backup(place.Path("one"), "two").code, 0);
  ASSERT_EQ(place.Backup(place.Path("two"), "three").code, 0);
  EXPECT_EQ(place.ComparedManifest("two"), place.ComparedManifest("three"));
  // But for what was lost on the way, the first one is the same, too.
  EXPECT_EQ(place.ComparedManifest("one")["database_sha256"], place.ComparedManifest("two")["database_sha256"]);
  EXPECT_EQ(place.ComparedManifest("one")["files"], place.ComparedManifest("two")["files"]);
  EXPECT_EQ(test::Run({BRELIX_COMMAND, "verify", place.Path("one")}).code, 11);
  EXPECT_EQ(test::Run({BRELIX_COMMAND, "verify", place.Path("two")}).code, 0);
  // Nothing is anywhere else.
  EXPECT_EQ(place.Names(), (std::set<std::string>{"one", "phone", "phone.json", "three", "two"}));
}

TEST(Backup, a_second_one_says_what_changed_and_fetches_only_that) {
  const BackupPlace place;
  json description = SmallPhone();
  const std::string first = place.MakePhone("first", description);
  ASSERT_EQ(place.Backup(first, "copy").code, 0);

  description["contacts"] =
      json::parse(R"([{"oid": 7, "FirstName": "Ada", "LastName": "New"}, {"oid": 12, "FirstName": "Cy"}])");
  // The same size and time: only --full sees it.
  description["files"][0]["text"] = "eno";
  description["files"][1]["text"] = "three";
  const std::string second = place.MakePhone("second", description);
  const Outcome made = place.Backup(second, "copy", {"--json"});
  ASSERT_EQ(made.code, 0) << made.err;
  const json report = json::parse(made.out);
  const auto changes = [&](const char* domain) {
    const json& row = report[domain];
    return std::array{row["count"].get<int>(), row["added"].get<int>(), row["changed"].get<int>(),
                      row["gone"].get<int>()};
  };
  EXPECT_EQ(changes("contacts"), (std::array{2, 1, 1, 1}));
  EXPECT_EQ(changes("files"), (std::array{3, 0, 1, 0}));
  EXPECT_EQ(changes("registry"), (std::array{3 + 2, 0, 0, 0}));
  EXPECT_EQ(ReadFile(place.Path("copy") + "/files/a.txt"), "one");

  ASSERT_EQ(place.Backup(second, "copy", {"--full"}).code, 0);
  EXPECT_EQ(ReadFile(place.Path("copy") + "/files/a.txt"), "eno");
  const json contacts = json::parse(test::Run({BRELIX_PHONE_COMMAND, "describe", place.Path("copy")}).out)["contacts"];
  ASSERT_EQ(contacts.size(), 2U);
  EXPECT_EQ(contacts[0]["oid"], 7);
  EXPECT_EQ(contacts[1]["oid"], 12);
}

TEST(Backup, a_damaged_file_of_the_last_one_is_fetched_again) {
  const BackupPlace place;
  const std::string phone = place.MakePhone("phone", SmallPhone());
  ASSERT_EQ(place.Backup(phone, "copy").code, 0);
  const std::string file = place.Path("copy") + "/files/a.txt";
  const auto time = fs::last_write_time(file);
  std::ofstream(file) << "ONE";
  fs::last_write_time(file, time);
  const Outcome made = place.Backup(phone, "copy");
  EXPECT_EQ(made.code, 0);
  EXPECT_THAT(made.err, HasSubstr("\\a.txt: damaged in the backup of before"));
  EXPECT_EQ(ReadFile(file), "one");
}

TEST(Backup, only_a_backup_of_the_same_phone_is_replaced) {
  const BackupPlace place;
  const std::string phone = place.MakePhone("phone", SmallPhone());
  json another = SmallPhone();
  another["lines"][0]["serialNumber"] = "222";
  const std::string other = place.MakePhone("other", another);
  fs::create_directory(place.Path("things"));
  std::ofstream(place.Path("things") + "/a") << "mine";
  std::ofstream(place.Path("file")) << "mine";
  ASSERT_EQ(place.Backup(phone, "copy").code, 0);

  struct Row {
    const char* target;
    const std::string& from;
    int code;
    const char* says;
  };
  for (const Row& row :
       {Row{"other", phone, 3, "a phone that is no backup"}, Row{"things", phone, 3, "not empty and no backup"},
        Row{"file", phone, 3, "no folder"}, Row{"copy", other, 2, "the backup of another phone"},
        Row{"no/where", phone, 3, "no such folder"}}) {
    const Outcome refused = place.Backup(row.from, row.target);
    EXPECT_EQ(refused.code, row.code) << row.target;
    EXPECT_THAT(refused.err, HasSubstr(row.says));
  }
  EXPECT_EQ(ReadFile(place.Path("things") + "/a"), "mine");
  EXPECT_EQ(ReadFile(place.Path("file")), "mine");
  EXPECT_EQ(test::Run({BRELIX_COMMAND, "verify", place.Path("copy")}).code, 0);

  // An empty folder is as good as none; so is a link to a backup.
  fs::create_directory(place.Path("empty"));
  fs::create_directory_symlink("copy", place.Path("link"));
  EXPECT_EQ(place.Backup(phone, "empty").code, 0);
  EXPECT_EQ(place.Backup(phone, "link").code, 0);
  EXPECT_TRUE(fs::is_symlink(place.Path("link")));
  EXPECT_EQ(place.Names(), (std::set<std::string>{"copy", "empty", "file", "link", "other", "other.json", "phone",
                                                  "phone.json", "things"}));
}

TEST(Backup, two_at_once_are_one_too_many) {
  const BackupPlace place;
  const std::string phone = place.MakePhone("phone", SmallPhone());
  const std::string partial = place.Path(".copy.partial");
  fs::create_directory(partial);
  const int held = open(partial.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  ASSERT_EQ(flock(held, LOCK_EX | LOCK_NB), 0);
  const Outcome refused = place.Backup(phone, "copy");
  EXPECT_EQ(refused.code, 3);
  EXPECT_THAT(refused.err, HasSubstr("somebody else is making this backup"));
  close(held);
  EXPECT_EQ(place.Backup(phone, "copy").code, 0);
}

TEST(Backup, domains_can_be_chosen) {
  const BackupPlace place;
  const std::string phone = place.MakePhone("phone", SmallPhone());
  ASSERT_EQ(place.Backup(phone, "copy", {"--only", "contacts,files"}).code, 0);
  std::vector<std::string> names;
  const json manifest = place.ComparedManifest("copy");
  for (const json& domain : manifest["domains"]) names.push_back(domain["name"]);
  EXPECT_EQ(names, (std::vector<std::string>{"contacts", "files"}));
  EXPECT_EQ(place.Backup(phone, "rest", {"--without", "contacts", "--without", "agenda"}).code, 0);
  EXPECT_EQ(place.ComparedManifest("rest")["domains"].size(), 5U);
  EXPECT_EQ(place.Backup(phone, "rest", {"--only", "photos"}).code, 2);
}

// Killed before each step in turn that changes a folder: what is under the backup's name is whole, nothing half-made is
// taken for a phone, and the next run ends as if nothing had happened.
TEST(Backup, killed_at_any_step_the_old_or_the_new_one_is_whole) {
  const BackupPlace place;
  json description = SmallPhone();
  const std::string before = place.MakePhone("before", description);
  description["files"][1]["text"] = "three";
  description["contacts"][1]["FirstName"] = "Cy";
  const std::string after = place.MakePhone("after", description);
  ASSERT_EQ(place.Backup(after, "wanted").code, 0);
  ASSERT_EQ(place.Backup(before, "unchanged").code, 0);
  const json old_one = place.ComparedManifest("unchanged");
  const json new_one = place.ComparedManifest("wanted");

  const auto fresh = [&] {
    fs::remove_all(place.Path("copy"));
    fs::remove_all(place.Path(".copy.partial"));
    ASSERT_EQ(test::Run({"/bin/cp", "-a", place.Path("unchanged"), place.Path("copy")}).code, 0);
  };
  fresh();
  const Steps all = RunKilledAt(place.BackupWords(after, "copy"));
  ASSERT_EQ(all.exit_code, 0);
  ASSERT_GT(all.names.size(), 20U);
  const size_t last = all.names.size() - 1;
  std::set<size_t> points;
  // All of them, in a minute, when this is set.
  const size_t spread = std::getenv("BRELIX_EVERY_STEP") != nullptr ? last : 5;
  for (size_t i = 0; i < spread; ++i) points.insert(i * last / spread);
  // Closely around the step that puts the new one in its place, and behind it.
  const auto rename = std::find(all.names.rbegin(), all.names.rend(), "rename");
  const size_t placed = static_cast<size_t>(all.names.rend() - rename) - 1;
  for (const size_t at : {placed - 2, placed - 1, placed, placed + 1, placed + 3, (placed + last) / 2, last - 1, last})
    points.insert(std::min(at, last));

  for (const size_t at : points) {
    SCOPED_TRACE(testing::Message() << "killed before step " << at << " of " << last << ", " << all.names[at]);
    fresh();
    ASSERT_EQ(RunKilledAt(place.BackupWords(after, "copy"), at).exit_code, -1);
    ASSERT_EQ(test::Run({BRELIX_COMMAND, "verify", place.Path("copy")}).code, 0);
    EXPECT_EQ(place.ComparedManifest("copy"), at > placed ? new_one : old_one);
    // The hidden folder is no phone, at no moment; what is in it is one only when it is whole.
    EXPECT_NE(test::Run({BRELIX_PHONE_COMMAND, "describe", place.Path(".copy.partial")}).code, 0);
    const std::string inner = place.Path(".copy.partial/phone");
    if (at <= placed && test::Run({BRELIX_PHONE_COMMAND, "describe", inner}).code == 0) {
      EXPECT_EQ(place.ComparedManifest(".copy.partial/phone"), new_one);
    }
    const Outcome again = place.Backup(after, "copy");
    EXPECT_EQ(again.code, 0) << again.err;
    EXPECT_EQ(place.ComparedManifest("copy"), new_one);
    EXPECT_FALSE(fs::exists(place.Path(".copy.partial")));
  }
}

TEST(Backup, goes_on_only_with_the_same_phone_and_choice) {
  const BackupPlace place;
  const std::string phone = place.MakePhone("phone", SmallPhone());
  json another = SmallPhone();
  another["lines"][0]["serialNumber"] = "222";
  const std::string other = place.MakePhone("other", another);
  const Steps all = RunKilledAt(place.BackupWords(phone, "copy"));
  fs::remove_all(place.Path("copy"));
  ASSERT_EQ(RunKilledAt(place.BackupWords(phone, "copy"), all.names.size() / 2).exit_code, -1);
  EXPECT_THAT(place.Backup(other, "copy").err, HasSubstr("--restart throws it away"));
  EXPECT_THAT(place.Backup(phone, "copy", {"--only", "files"}).err, HasSubstr("--restart throws it away"));
  EXPECT_EQ(place.Backup(other, "copy", {"--restart"}).code, 0);
  EXPECT_EQ(place.ComparedManifest("copy")["phone"]["serial_number"], "222");
}

TEST(Backup, a_folder_that_cannot_be_written_is_one_clear_line) {
  if (geteuid() == 0) GTEST_SKIP() << "nothing is forbidden to this user";
  const BackupPlace place;
  const std::string phone = place.MakePhone("phone", SmallPhone());
  fs::create_directory(place.Path("closed"));
  fs::permissions(place.Path("closed"), fs::perms::owner_read | fs::perms::owner_exec);
  const Outcome refused = place.Backup(phone, "closed/copy");
  EXPECT_EQ(refused.code, 3);
  EXPECT_THAT(refused.err, HasSubstr("no folder can be made here"));
}

TEST(Verify, names_what_is_not_as_it_was) {
  const BackupPlace place;
  const std::string phone = place.MakePhone("phone", SmallPhone());
  ASSERT_EQ(place.Backup(phone, "copy").code, 0);
  const std::string copy = place.Path("copy");
  EXPECT_EQ(test::Run({BRELIX_COMMAND, "-d", place.Address(phone), "verify", copy}).code, 0);

  fs::remove(copy + "/files/a.txt");
  std::ofstream(copy + "/files/Folder/b.txt") << "TWO";
  std::ofstream(copy + "/files/c.txt") << "new";
  EXPECT_EQ(test::Run({BRELIX_COMMAND, "-d", place.Address(copy), "contacts", "rm", "7"}).code, 0);
  const Outcome seen = test::Run({BRELIX_COMMAND, "--json", "verify", copy});
  EXPECT_EQ(seen.code, 5);
  std::set<std::string> faults;
  const json report = json::parse(seen.out);
  for (const json& row : report["differences"])
    faults.insert(row["what"].get<std::string>() + " " + row["path"].get<std::string>());
  EXPECT_EQ(faults, (std::set<std::string>{"missing files/a.txt", "changed files/Folder/b.txt", "extra files/c.txt",
                                           "changed contacts"}));
  EXPECT_EQ(test::Run({BRELIX_COMMAND, "verify", phone}).code, 3);
}

TEST(Verify, compares_with_the_phone) {
  const BackupPlace place;
  json description = SmallPhone();
  const std::string phone = place.MakePhone("phone", description);
  ASSERT_EQ(place.Backup(phone, "copy").code, 0);
  description["files"][0]["text"] = "eno";
  description["contacts"][0]["FirstName"] = "Eve";
  const std::string changed = place.MakePhone("changed", description);
  const Outcome seen = test::Run({BRELIX_COMMAND, "-d", place.Address(changed), "verify", place.Path("copy")});
  EXPECT_EQ(seen.code, 5);
  EXPECT_THAT(seen.err, HasSubstr("contacts: contact 0000000007 is another on the phone"));
  EXPECT_THAT(seen.err, HasSubstr("files/a.txt: has other content on the phone"));
  description["lines"][0]["serialNumber"] = "222";
  const std::string other = place.MakePhone("other", description);
  EXPECT_EQ(test::Run({BRELIX_COMMAND, "-d", place.Address(other), "verify", place.Path("copy")}).code, 2);
}

}  // namespace
}  // namespace test
