// What a new backup takes the place of, and what it leaves alone.
#include <SQLiteCpp/SQLiteCpp.h>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include "tests/backup/BackupRun.h"
#include "tests/backup/KilledAt.h"

namespace test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;

json Phone() {
  return json::parse(R"({
    "lines": [{"name": "Cellular Line", "manufacturer": "Maker", "model": "M1", "serialNumber": "111"}],
    "contacts": [{"oid": 7, "FirstName": "Ada"}, {"oid": 9, "FirstName": "Bo"}],
    "files": [{"path": "\\a.txt", "text": "one", "modified": "2009-07-12T13:45:01Z"}]})");
}

json WithSerialNumber(const json& number, const std::string& model = "M1") {
  json phone = Phone();
  phone["lines"][0]["serialNumber"] = number;
  phone["lines"][0]["model"] = model;
  return phone;
}

// Of the same phone, on a day on which it gives no contact.
json WithoutContacts(const char* call) {
  json phone = Phone();
  phone["faults"] = {{{"call", call}, {"result", "0x80004005"}, {"times", "always"}}};
  return phone;
}

class Replace : public testing::Test {
 protected:
  std::string Manifest(const std::string& name) const { return ReadFile(place.Path(name) + "/manifest.json"); }
  int Verify(const std::string& name) const { return test::Run({BRELIX_COMMAND, "verify", place.Path(name)}).code; }
  void PutThesis(const std::string& folder) const {
    fs::create_directory(place.Path(folder));
    std::ofstream(place.Path(folder) + "/thesis.txt") << "precious";
  }
  std::string Thesis(const std::string& folder) const { return ReadFile(place.Path(folder) + "/thesis.txt"); }

  const BackupPlace place;
};

TEST_F(Replace, only_a_phone_that_says_so_is_the_same) {
  const std::string named = place.MakePhone("named", Phone());
  const std::string other = place.MakePhone("other", WithSerialNumber("222"));
  const std::string nameless = place.MakePhone("nameless", WithSerialNumber(nullptr));
  const std::string other_model = place.MakePhone("other_model", WithSerialNumber(nullptr, "M2"));
  const std::string silent = place.MakePhone("silent", {{"lines", json::array()}});
  ASSERT_EQ(place.Backup(named, "of_named").code, 0);
  ASSERT_EQ(place.Backup(nameless, "of_nameless").code, 0);
  ASSERT_EQ(place.Backup(silent, "of_silent").code, 0);

  struct Row {
    const char* target;
    const std::string& phone;
    int code, code_as_same;
  };
  for (const Row& row :
       {Row{"of_named", other, 2, 2}, Row{"of_named", other_model, 2, 2}, Row{"of_nameless", other_model, 2, 2},
        Row{"of_named", nameless, 2, 0}, Row{"of_named", silent, 2, 0}, Row{"of_nameless", named, 2, 0},
        Row{"of_silent", silent, 0, 0}, Row{"of_silent", nameless, 2, 0}}) {
    SCOPED_TRACE(std::string(row.target) + " by " + row.phone);
    fs::remove_all(place.Path("copy"));
    fs::copy(place.Path(row.target), place.Path("copy"), fs::copy_options::recursive);
    const std::string before = Manifest("copy");
    const Outcome plain = place.Backup(row.phone, "copy");
    EXPECT_EQ(plain.code, row.code);
    if (row.code != 0) {
      EXPECT_EQ(Manifest("copy"), before);
    }
    EXPECT_EQ(plain.err.find("--same-phone") != std::string::npos, row.code != row.code_as_same);
    EXPECT_EQ(place.Backup(row.phone, "copy", {"--same-phone"}).code, row.code_as_same);
    EXPECT_FALSE(fs::exists(place.Path(".copy.partial")));
  }
  // What was known stays known.
  ASSERT_EQ(place.Backup(silent, "of_named", {"--same-phone"}).code, 0);
  const json phone = place.ComparedManifest("of_named")["phone"];
  EXPECT_EQ(phone["serial_number"], "111");
  EXPECT_EQ(phone["model"], "M1");
}

TEST_F(Replace, an_interrupted_backup_is_gone_on_with_by_the_very_same_phone_only) {
  const std::string silent = place.MakePhone("silent", {{"lines", json::array()}});
  const std::string named = place.MakePhone("named", Phone());
  const size_t steps = RunKilledAt(place.BackupWords(silent, "copy")).names.size();
  fs::remove_all(place.Path("copy"));
  ASSERT_EQ(RunKilledAt(place.BackupWords(silent, "copy"), steps / 2).exit_code, -1);
  for (const std::vector<std::string>& more : {std::vector<std::string>{}, {"--same-phone"}}) {
    const Outcome refused = place.Backup(named, "copy", more);
    EXPECT_EQ(refused.code, 2);
    EXPECT_THAT(refused.err, HasSubstr("--restart throws it away"));
  }
  EXPECT_EQ(place.Backup(silent, "copy").code, 0);
}

TEST_F(Replace, what_comes_there_meanwhile_stays) {
  const std::string phone = place.MakePhone("phone", Phone());
  const auto words = place.BackupWords(phone, "copy");
  const auto placing = [&](const Steps& steps) {
    const auto last = std::find(steps.names.rbegin(), steps.names.rend(), "rename");
    return static_cast<size_t>(steps.names.rend() - last) - 1;
  };

  // In the middle: the backup waits until the place is free.
  const Steps first = RunKilledAt(words);
  fs::remove_all(place.Path("copy"));
  ASSERT_EQ(RunStoppedAt(words, placing(first) / 2, [&] { PutThesis("copy"); }).exit_code, 3);
  EXPECT_EQ(Thesis("copy"), "precious");
  const Outcome refused = place.Backup(phone, "copy");
  EXPECT_EQ(refused.code, 3);
  EXPECT_EQ(Thesis("copy"), "precious");
  fs::rename(place.Path("copy"), place.Path("mine"));
  EXPECT_EQ(place.Backup(phone, "copy").code, 0);

  // In the last moment: instead of the old backup, which somebody has moved away, and in it.
  const Steps second = RunKilledAt(words);
  ASSERT_EQ(RunStoppedAt(words, placing(second),
                         [&] {
                           fs::rename(place.Path("copy"), place.Path("moved"));
                           PutThesis("copy");
                         })
                .exit_code,
            0);
  EXPECT_EQ(Thesis("copy.before"), "precious");
  EXPECT_EQ(Verify("moved"), 0);
  ASSERT_EQ(RunStoppedAt(words, placing(second), [&] { PutThesis("copy"); }).exit_code, 0);
  EXPECT_EQ(Thesis("copy.before.2"), "precious");
  EXPECT_EQ(Verify("copy"), 0);
  EXPECT_FALSE(fs::exists(place.Path(".copy.partial")));
}

TEST_F(Replace, another_backup_that_comes_there_meanwhile_stays) {
  const std::string phone = place.MakePhone("phone", Phone());
  const auto words = place.BackupWords(phone, "copy");
  ASSERT_EQ(place.Backup(phone, "another").code, 0);
  const std::string another = Manifest("another");
  const size_t steps = RunKilledAt(words).names.size();
  ASSERT_EQ(RunStoppedAt(words, steps / 2,
                         [&] {
                           fs::remove_all(place.Path("copy"));
                           fs::rename(place.Path("another"), place.Path("copy"));
                         })
                .exit_code,
            3);
  EXPECT_EQ(Manifest("copy"), another);
  // What was made is whole and waits; it can be thrown away as well.
  const Outcome waits = place.Backup(phone, "copy");
  EXPECT_EQ(waits.code, 3);
  EXPECT_THAT(waits.err, HasSubstr("waits in"));
  EXPECT_EQ(place.Backup(phone, "copy", {"--restart"}).code, 0);
  EXPECT_EQ(Verify("copy"), 0);
}

TEST_F(Replace, a_hidden_folder_of_somebody_else_stays) {
  const std::string phone = place.MakePhone("phone", Phone());
  PutThesis(".copy.partial");
  for (const std::vector<std::string>& more : {std::vector<std::string>{}, {"--restart"}}) {
    const Outcome refused = place.Backup(phone, "copy", more);
    EXPECT_EQ(refused.code, 3);
    EXPECT_THAT(refused.err, HasSubstr("thesis.txt: in the way of a backup"));
  }
  EXPECT_EQ(Thesis(".copy.partial"), "precious");
}

TEST_F(Replace, one_that_has_what_did_not_come_now_is_kept) {
  const std::string good = place.MakePhone("good", Phone());
  for (const char* call : {"IPOutlookItemCollection::get_Count", "IPOutlookItemCollection::Item"}) {
    SCOPED_TRACE(call);
    for (const char* name : {"copy", "copy.before"}) fs::remove_all(place.Path(name));
    fs::remove_all(place.Path("bad"));
    const std::string bad = place.MakePhone("bad", WithoutContacts(call));
    ASSERT_EQ(place.Backup(good, "copy").code, 0);
    const std::string before = Manifest("copy");
    const Outcome made = place.Backup(bad, "copy", {"--json"});
    ASSERT_EQ(made.code, 11) << made.err;
    EXPECT_THAT(made.err, HasSubstr("copy.before"));
    const json report = json::parse(made.out);
    EXPECT_EQ(report.value("kept_before", ""), "copy.before");
    EXPECT_TRUE(report["contacts"]["gone"].is_null());
    EXPECT_EQ(report["files"]["gone"], 0);
    EXPECT_EQ(json::parse(Manifest("copy"))["taken"].value("kept_before", ""), "copy.before");
    EXPECT_EQ(Manifest("copy.before"), before);
    EXPECT_EQ(Verify("copy.before"), 0);
    // Once is enough: the one that is replaced now has nothing that this one has not.
    EXPECT_EQ(place.Backup(bad, "copy").code, 11);
    EXPECT_EQ(place.Backup(good, "copy").code, 0);
    EXPECT_FALSE(fs::exists(place.Path("copy.before.2")));
  }
}

TEST_F(Replace, one_that_is_kept_is_whole_whenever_the_run_is_killed) {
  const std::string good = place.MakePhone("good", Phone());
  const std::string bad = place.MakePhone("bad", WithoutContacts("IPOutlookItemCollection::get_Count"));
  ASSERT_EQ(place.Backup(good, "unchanged").code, 0);
  const std::string before = Manifest("unchanged");
  const auto fresh = [&] {
    for (const char* name : {"copy", "copy.before", ".copy.partial"}) fs::remove_all(place.Path(name));
    ASSERT_EQ(test::Run({"/bin/cp", "-a", place.Path("unchanged"), place.Path("copy")}).code, 0);
  };
  fresh();
  const Steps all = RunKilledAt(place.BackupWords(bad, "copy"));
  ASSERT_EQ(all.exit_code, 11);
  const auto kept = std::find(all.names.rbegin(), all.names.rend(), "rename");
  const auto placed = std::find(kept + 1, all.names.rend(), "rename");
  ASSERT_NE(placed, all.names.rend());
  const auto step = [&](auto where) { return static_cast<size_t>(all.names.rend() - where) - 1; };
  for (const size_t at :
       {step(placed), step(placed) + 1, step(kept), step(kept) + 1, step(kept) + 4, all.names.size() - 1}) {
    SCOPED_TRACE(testing::Message() << "killed before step " << at << ", " << all.names[at]);
    fresh();
    ASSERT_EQ(RunKilledAt(place.BackupWords(bad, "copy"), at).exit_code, -1);
    EXPECT_EQ(place.Backup(bad, "copy").code, 11);
    EXPECT_EQ(Manifest("copy.before"), before);
    EXPECT_EQ(Verify("copy.before"), 0);
    EXPECT_FALSE(fs::exists(place.Path("copy.before.2")));
    EXPECT_FALSE(fs::exists(place.Path(".copy.partial")));
  }
}

TEST_F(Replace, one_that_is_damaged_stops_nothing_and_is_kept) {
  const std::string phone = place.MakePhone("phone", Phone());
  const auto with_database = [&](const char* statement) {
    SQLite::Database(place.Path("copy") + "/phone.db", SQLite::OPEN_READWRITE).exec(statement);
  };
  const std::vector<std::function<void()>> damages = {
      [&] { fs::remove(place.Path("copy") + "/phone.db"); },
      [&] { std::ofstream(place.Path("copy") + "/phone.db") << "no database"; },
      [&] { fs::remove_all(place.Path("copy") + "/files"); },
      [&] { with_database("UPDATE contact SET FirstName = CAST(X'FF' AS TEXT)"); },
      [&] { with_database("DROP TABLE contact"); },
  };
  for (size_t i = 0; i < damages.size(); i++) {
    SCOPED_TRACE(i);
    for (const char* name : {"copy", "copy.before"}) fs::remove_all(place.Path(name));
    ASSERT_EQ(place.Backup(phone, "copy").code, 0);
    const std::string before = Manifest("copy");
    damages[i]();
    const Outcome made = place.Backup(phone, "copy");
    EXPECT_EQ(made.code, 0) << made.err;
    EXPECT_THAT(made.err, HasSubstr("is kept under another name"));
    EXPECT_EQ(Manifest("copy.before"), before);
    EXPECT_EQ(Verify("copy"), 0);
    EXPECT_FALSE(fs::exists(place.Path(".copy.partial")));
  }
  // Whose an unreadable manifest is nobody knows.
  std::ofstream(place.Path("copy") + "/manifest.json") << "{";
  EXPECT_EQ(place.Backup(phone, "copy").code, 3);
  EXPECT_FALSE(fs::exists(place.Path(".copy.partial")));
}

// A file system on which no file may have more than 640 KiB is as full as one can be here.
TEST_F(Replace, a_full_disk_is_one_clear_line_and_gone_on_with) {
  json description = Phone();
  for (int i = 0; i < 120; i++)
    description["registry"][0]["values"].push_back(
        {{"name", std::to_string(i)}, {"type", "binary"}, {"data", {{"hex", std::string(16000, '4')}}}});
  description["registry"][0]["key"] = "HKLM\\Software\\Large";
  const std::string phone = place.MakePhone("phone", description);
  std::vector<std::string> words = {"/bin/bash", "-c", "trap '' XFSZ; ulimit -f 640; exec \"$@\"", "bash"};
  for (const std::string& word : place.BackupWords(phone, "copy")) words.push_back(word);
  const Outcome full = test::Run(words);
  EXPECT_EQ(full.code, 3);
  EXPECT_THAT(full.err, HasSubstr("make room or choose another place; the same command again goes on"));
  const Outcome made = place.Backup(phone, "copy");
  EXPECT_EQ(made.code, 0) << made.err;
  EXPECT_THAT(made.err, HasSubstr("going on with the backup"));
}

TEST_F(Replace, the_root_of_a_file_system_is_refused_before_anything_is_taken) {
  const std::string phone = place.MakePhone("phone", Phone());
  const Outcome refused = test::Run({BRELIX_COMMAND, "-d", place.Address(phone), "backup", "/proc"});
  EXPECT_EQ(refused.code, 3);
  EXPECT_THAT(refused.err, HasSubstr("/proc: the root of a file system"));
}

TEST_F(Replace, a_backup_is_for_its_owner_and_options_may_come_before_its_name) {
  const std::string phone = place.MakePhone("phone", Phone());
  for (const char* option : {"--only", "--without"})
    EXPECT_EQ(
        test::Run({BRELIX_COMMAND, "-d", place.Address(phone), "backup", option, "contacts", place.Path("copy")}).code,
        0);
  struct stat status {};
  ASSERT_EQ(stat(place.Path("copy").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0700U);
}

}  // namespace
}  // namespace test
