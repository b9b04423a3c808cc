// Contacts of a backup, written back.
#include <gtest/gtest.h>
#include <set>
#include <sstream>

#include "tests/e2e/ServedPhone.h"

namespace test {
namespace {

using nlohmann::json;

std::string AddressOf(const PhoneFolder& phone) {
  return std::string("exec:exec ") + BRELIX_PHONE_COMMAND + " rapi " + phone.Path();
}

Outcome On(const PhoneFolder& phone, std::vector<std::string> words) {
  words.insert(words.begin(), {"--json", "-d", AddressOf(phone)});
  return Brelix(std::move(words));
}

// "made 1, changed 0, same 2, failed 0, exit 0"
std::string Told(const Outcome& outcome) {
  std::string text;
  const std::size_t report = outcome.out.rfind("{\n");
  if (report != outcome.out.npos) {
    const json told = json::parse(outcome.out.substr(report));
    for (const char* key : {"made", "changed", "same", "failed"}) {
      text += std::string(key) + " " + told.at(key).dump() + ", ";
    }
  }
  return text + "exit " + std::to_string(outcome.code);
}

// All contacts with their fields, without their object ids.
std::multiset<std::string> ContactsOf(const PhoneFolder& phone) {
  std::multiset<std::string> contacts;
  std::istringstream lines(On(phone, {"contacts", "list"}).out);
  for (std::string line; std::getline(lines, line);) {
    json contact = json::parse(line);
    contact.erase("oid");
    contacts.insert(contact.dump());
  }
  return contacts;
}

json Phone(json contacts) { return {{"contacts", std::move(contacts)}}; }

class Restore : public testing::Test {
 protected:
  std::string Backup() const { return (m_folder.Path() / "backup").string(); }
  // A backup of a phone with these contacts.
  void Save(const json& contacts) {
    m_phone.emplace(Phone(contacts));
    ASSERT_EQ(On(*m_phone, {"backup", Backup(), "--without", "registry"}).code % 11, 0);
  }
  std::string RestoreTo(const PhoneFolder& phone, std::vector<std::string> more = {}) {
    std::vector<std::string> words = {"restore", Backup(), "--contacts"};
    words.insert(words.end(), more.begin(), more.end());
    m_latest = On(phone, std::move(words));
    return Told(m_latest);
  }

  TemporaryFolder m_folder;
  std::optional<PhoneFolder> m_phone;
  Outcome m_latest;
};

TEST_F(Restore, ASecondRunWritesNothing) {
  Save({{{"FirstName", "Ada"}, {"LastName", "Example"}, {"Birthday", "1975-04-09"}, {"Picture", "/9j/2Q=="}},
        {{"FirstName", "Filed"}, {"FileAs", ""}},
        {{"FirstName", "Same"}},
        {{"FirstName", "Same"}},
        {{"LastName", {{"utf16", "D834"}}}, {"Body", "𝄞 & more"}},
        json::object()});
  const PhoneFolder empty(json::object());
  EXPECT_EQ(RestoreTo(empty, {"--dry-run"}), "made 6, changed 0, same 0, failed 0, exit 0");
  EXPECT_EQ(ContactsOf(empty).size(), 0);
  EXPECT_EQ(RestoreTo(empty), "made 6, changed 0, same 0, failed 0, exit 0") << m_latest.err;
  EXPECT_EQ(ContactsOf(empty), ContactsOf(*m_phone));
  EXPECT_EQ(RestoreTo(empty, {"--read-only"}), "made 0, changed 0, same 6, failed 0, exit 0") << m_latest.err;
  EXPECT_EQ(RestoreTo(*m_phone, {"--read-only"}), "made 0, changed 0, same 6, failed 0, exit 0") << m_latest.err;
}

TEST_F(Restore, WhatChangedSinceIsAsItWas) {
  Save({{{"FirstName", "Ada"}, {"Picture", "/9j/2Q=="}}, {{"FirstName", "Ben"}}, {{"FirstName", "Carla"}}});
  EXPECT_EQ(On(*m_phone, {"contacts", "photo", "1", "--remove"}).code, 0);
  EXPECT_EQ(On(*m_phone, {"contacts", "set", "2", "--JobTitle", "Boss", "--Birthday", "1970-05-01"}).code, 0);
  EXPECT_EQ(On(*m_phone, {"contacts", "rm", "3"}).code, 0);
  EXPECT_EQ(RestoreTo(*m_phone, {"-n"}), "made 1, changed 2, same 0, failed 0, exit 0");
  const std::string shown = R"({"oid":1,"contact":"Ada","field":"Picture","before":"0 bytes","after":"4 bytes"})"
                            "\n"
                            R"({"oid":2,"contact":"Ben","field":"Birthday","before":"1970-05-01","after":""})"
                            "\n"
                            R"({"oid":2,"contact":"Ben","field":"JobTitle","before":"Boss","after":""})"
                            "\n"
                            R"({"oid":3,"contact":"Carla","field":null,"before":"","after":"a new contact"})"
                            "\n";
  EXPECT_TRUE(m_latest.out.starts_with(shown)) << m_latest.out;
  EXPECT_EQ(RestoreTo(*m_phone), "made 1, changed 2, same 0, failed 0, exit 0") << m_latest.err;
  EXPECT_EQ(RestoreTo(*m_phone, {"--read-only"}), "made 0, changed 0, same 3, failed 0, exit 0");
}

TEST_F(Restore, SomebodyElseStays) {
  Save({{{"oid", 7}, {"FirstName", "Ada"}}});
  const PhoneFolder other(Phone({{{"oid", 7}, {"FirstName", "Ben"}}}));
  EXPECT_EQ(RestoreTo(other), "made 1, changed 0, same 0, failed 0, exit 0");
  EXPECT_EQ(ContactsOf(other).size(), 2);
}

TEST_F(Restore, WhatWouldLoseSomethingIsNotWritten) {
  const std::string longer(300, 'x');
  Save({{{"FirstName", "Long"}, {"Body", longer}}, {{"FirstName", "Ada"}, {"LastName", {{"utf16", "01000041"}}}}});
  const PhoneFolder empty(json::object());
  EXPECT_EQ(RestoreTo(empty), "made 0, changed 0, same 0, failed 2, exit 10");
  EXPECT_NE(m_latest.err.find("contact 1 of the backup (Long): not written: Body takes 300 bytes of 255"),
            std::string::npos)
      << m_latest.err;
  EXPECT_NE(m_latest.err.find("(Ada): not written: LastName could not be read when it was saved"), std::string::npos)
      << m_latest.err;
  EXPECT_EQ(RestoreTo(empty, {"--allow-loss"}), "made 1, changed 0, same 0, failed 1, exit 11");
  EXPECT_EQ(RestoreTo(empty, {"--allow-loss", "--read-only"}), "made 0, changed 0, same 1, failed 1, exit 10");
  // On the phone that they are from, nothing is to be written.
  EXPECT_EQ(RestoreTo(*m_phone, {"--read-only"}), "made 0, changed 0, same 2, failed 0, exit 0") << m_latest.err;
  EXPECT_EQ(RestoreTo(*m_phone, {"--read-only", "--allow-loss"}), "made 0, changed 0, same 2, failed 0, exit 0");
}

// A contact that the phone does not tell is not missing from it.
TEST_F(Restore, NothingIsMadeBesideContactsThatCannotBeRead) {
  const json saved = {{{"FirstName", "Ada"}}, {{"FirstName", "Ben"}}, {{"FirstName", "Carla"}}, {{"FirstName", "Dan"}}};
  Save(saved);
  json failing = Phone(saved);
  failing["contacts"][3]["JobTitle"] = "Boss";
  failing["faults"] = {{{"call", "IPOutlookItemCollection::Item"}, {"result", "0x80004005"}, {"times", 2}}};
  const PhoneFolder phone(failing);
  EXPECT_EQ(RestoreTo(phone), "made 0, changed 1, same 1, failed 2, exit 11");
  EXPECT_NE(m_latest.err.find("2 of the phone's contacts cannot be read"), std::string::npos) << m_latest.err;
  EXPECT_EQ(ContactsOf(phone).size(), 2) << "and two that cannot be read";
  failing["contacts"] = {saved[0]};
  failing["faults"][0]["times"] = 1;
  const PhoneFolder one(failing);
  EXPECT_EQ(RestoreTo(one), "made 0, changed 0, same 0, failed 4, exit 11");
  EXPECT_EQ(ContactsOf(one).size(), 0) << "and one that cannot be read";
}

TEST_F(Restore, AContactWithoutItsPictureIsNotMadeAgain) {
  Save({{{"FirstName", "Twin"}, {"Picture", "/9j/2Q=="}},
        {{"FirstName", "Twin"}, {"Picture", "/9j/4AAQ"}},
        {{"Body", "nobody"}, {"Picture", "/9j/4AAR"}}});
  for (const char* call : {"IStream::Write", "IStream::Commit"}) {
    const PhoneFolder phone(json{{"faults", {{{"call", call}, {"result", "0x80030070"}, {"times", "always"}}}}});
    EXPECT_EQ(RestoreTo(phone), "made 3, changed 0, same 0, failed 3, exit 11") << call;
    EXPECT_EQ(RestoreTo(phone), "made 0, changed 0, same 0, failed 3, exit 11") << call;
    EXPECT_EQ(ContactsOf(phone).size(), 3) << call;
  }
}

// Each run comes a few bytes further than the one before.
TEST_F(Restore, ALinkThatEndsAnywhereLeavesNothingTwice) {
  Save({{{"oid", 70}, {"FirstName", "Twin"}, {"Picture", "/9j/2Q=="}},
        {{"oid", 71}, {"FirstName", "Twin"}, {"Picture", "/9j/4AAQ"}}});
  const PhoneFolder phone(json::object());
  const std::string agent = std::string(BRELIX_PHONE_COMMAND) + " rapi " + phone.Path();
  size_t without_picture = 0;
  int code = -1;
  for (int bytes = 200; code != 0 && bytes < 2000; bytes += 25) {
    const std::string cut = "exec:dd bs=1 count=" + std::to_string(bytes) + " status=none | " + agent;
    code = Brelix({"-d", cut, "restore", Backup(), "--contacts"}).code;
    EXPECT_TRUE(code == 0 || code == 6) << code << " after " << bytes;
    const auto contacts = JsonLines(On(phone, {"contacts", "list"}).out);
    ASSERT_LE(contacts.size(), 2u) << bytes;
    for (const json& contact : contacts) without_picture += contact.at("picture_bytes") == 0 ? 1 : 0;
  }
  EXPECT_GT(without_picture, 0u) << "no run ended between a contact and its picture";
  EXPECT_EQ(RestoreTo(phone, {"--read-only"}), "made 0, changed 0, same 2, failed 0, exit 0");
}

TEST_F(Restore, OnlyWhatThePhoneTookIsCounted) {
  Save({{{"FirstName", "Long"}, {"Body", std::string(300, 'x')}}, {{"FirstName", "Ada"}}, {{"FirstName", "Ben"}}});
  json failing = Phone({{{"oid", 3}, {"FirstName", "Ben"}, {"JobTitle", "Boss"}}});
  failing["faults"] = {{{"call", "IContact::Save"}, {"result", "0x80004005"}, {"times", "always"}}};
  const PhoneFolder phone(failing);
  EXPECT_EQ(RestoreTo(phone), "made 0, changed 0, same 0, failed 3, exit 11") << m_latest.err;
}

TEST_F(Restore, AnInterruptEndsTheCheckOfTheFolder) {
  Save({{{"FirstName", "Ada"}}});
  const PhoneFolder empty(json::object());
  // Sparse, but as long to read as any other.
  constexpr uint64_t kSize = uint64_t{16} << 30;
  const std::filesystem::path large = std::filesystem::path(Backup()) / "files" / "large";
  std::ofstream(large).put('x');
  std::filesystem::resize_file(large, kSize);
  const std::filesystem::path manifest = std::filesystem::path(Backup()) / "manifest.json";
  json told = json::parse(ReadFile(manifest));
  told["files"].push_back({{"path", "files/large"}, {"size", kSize}, {"sha256", std::string(64, '0')}});
  std::ofstream(manifest) << told;
  Process restore({BRELIX_COMMAND, "-d", AddressOf(empty), "restore", Backup(), "--contacts"});
  const std::filesystem::path open_files = "/proc/" + std::to_string(restore.pid()) + "/fd";
  const auto reads = [&] {
    std::error_code gone;
    for (std::filesystem::directory_iterator at(open_files, gone), end; !gone && at != end; at.increment(gone))
      if (std::filesystem::read_symlink(at->path(), gone) == std::filesystem::canonical(large)) return true;
    return false;
  };
  for (int i = 0; i < 1000 && !reads(); i++) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  const Outcome outcome = restore.End(SIGINT);
  EXPECT_EQ(outcome.code, 130) << outcome.err;
}

TEST_F(Restore, OnlyAWholeBackupIsRestored) {
  Save({{{"FirstName", "Ada"}}});
  const PhoneFolder empty(json::object());
  EXPECT_EQ(On(empty, {"restore", Backup()}).code, 2);
  EXPECT_EQ(On(empty, {"restore", empty.Path(), "--contacts"}).code, 3) << "a phone's folder without a manifest";
  const std::string calls = (m_folder.Path() / "calls").string();
  ASSERT_EQ(On(*m_phone, {"backup", calls, "--only", "calls"}).code, 0);
  EXPECT_EQ(On(empty, {"restore", calls, "--contacts"}).code, 3);
  // A contact changed behind the manifest's back.
  ASSERT_EQ(Brelix({"-d", std::string("exec:exec ") + BRELIX_PHONE_COMMAND + " rapi " + Backup(), "contacts", "set",
                    "1", "--JobTitle", "Boss"})
                .code,
            0);
  const Outcome refused = On(empty, {"restore", Backup(), "--contacts"});
  EXPECT_EQ(refused.code, 3);
  EXPECT_NE(refused.err.find("not what its manifest says"), std::string::npos) << refused.err;
}

}  // namespace
}  // namespace test
