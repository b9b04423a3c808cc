// brelix diff: two phones, served or as folders.
#include <filesystem>

#include "tests/e2e/ServedPhone.h"

namespace test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

json Described() {
  json phone;
  phone["lines"] = {{{"name", "Cellular Line"}, {"serialNumber", "990000500100427"}}};
  phone["contacts"] = {{{"FirstName", "Ada"}, {"JobTitle", "Engineer"}, {"Picture", "/9j/4AAQ"}},
                       {{"FirstName", "Ben"}, {"Body", "one\ntwo"}}};
  phone["appointments"] = {{{"Subject", "Dentist"}, {"Start", "2009-07-14T09:30:00"}, {"Duration", 45}}};
  phone["calls"] = {{{"start", "2009-07-12T13:45:01Z"}, {"direction", "incoming"}, {"number", "+15550101"}},
                    {{"start", "2009-07-12T13:45:01Z"}, {"direction", "incoming"}, {"number", "+15550101"}}};
  const json message = {{"sender", {{"name", "Ben"}, {"address", "+15550101"}}},
                        {"subject", "On my way"},
                        {"delivered", "2009-07-12T13:45:01Z"}};
  phone["accounts"] = {{{"name", "SMS"}, {"folders", {{{"name", "Inbox"}, {"messages", {message}}}}}}};
  phone["registry"] = {{{"key", "HKLM\\A"}, {"values", {{{"name", "n"}, {"type", "dword"}, {"data", 1}}}}}};
  return phone;
}

// Each line without what is told behind the item.
json FieldsOf(const std::vector<json>& lines, const std::string& domain, const std::string& change) {
  for (const json& line : lines)
    if (line.at("domain") == domain && line.at("change") == change) return line.at("fields");
  return nullptr;
}

TEST(Diff, of_a_phone_and_its_copy_says_nothing_and_changes_neither) {
  const PhoneFolder phone(Described());
  const std::string copy = phone.Path() + " it's";
  fs::create_directory(fs::path(phone.Path()) / "files" / "Docs");
  fs::copy(phone.Path(), copy, fs::copy_options::recursive);
  const auto time = fs::last_write_time(fs::path(phone.Path()) / "files" / "Docs");
  fs::last_write_time(fs::path(copy) / "files" / "Docs", time);
  const Server served(phone, "unix:" + phone.SocketPath());
  for (const std::string& second : {copy, served.Address()}) {
    const std::string& first = second == copy ? phone.Path() : copy;
    const Outcome outcome = Brelix({"diff", first, second, "--contents"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "");
  }
  EXPECT_FALSE(fs::exists(fs::path(copy) / "files" / "brelrapi.txt"));
}

TEST(Diff, tells_field_by_field) {
  const PhoneFolder phone(Described());
  json other = Described();
  other["contacts"][0]["JobTitle"] = "Manager";
  other["contacts"][0]["Picture"] = "/9j/4AAR";
  other["contacts"][1].erase("Body");
  other["appointments"][0]["Duration"] = 60;
  other["calls"].erase(1);
  other["calls"].push_back({{"start", "2009-07-13T08:00:00Z"}, {"direction", "missed"}});
  other["accounts"][0]["folders"].push_back({{"name", "Drafts"}});
  other["registry"][0]["values"][0]["data"] = 2;
  const PhoneFolder later(other);
  const Outcome outcome = Brelix({"diff", phone.Path(), later.Path(), "--json", "--without", "files"});
  EXPECT_EQ(outcome.code, 5) << outcome.err;
  const auto lines = JsonLines(outcome.out);
  EXPECT_EQ(lines.size(), 7u) << outcome.out;
  const json contact = FieldsOf(lines, "contacts", "changed");
  ASSERT_EQ(contact.size(), 2u) << outcome.out;
  EXPECT_EQ(contact[0], (json{{"field", "JobTitle"}, {"before", "Engineer"}, {"after", "Manager"}}));
  EXPECT_EQ(contact[1].at("field"), "Picture");
  EXPECT_EQ(FieldsOf(lines, "agenda", "changed"),
            json::parse(R"([{"field": "end", "before": "2009-07-14T10:15:00", "after": "2009-07-14T10:30:00"}])"));
  EXPECT_FALSE(FieldsOf(lines, "calls", "added").is_null());
  EXPECT_FALSE(FieldsOf(lines, "calls", "gone").is_null());
  EXPECT_EQ(FieldsOf(lines, "messages", "added"), json::array());
  EXPECT_EQ(FieldsOf(lines, "registry", "changed")[0].at("after"), "dword 0x00000002 (2)");
  const Outcome shown = Brelix({"diff", phone.Path(), later.Path(), "--only", "contacts", "--only", "registry"});
  EXPECT_NE(shown.out.find(" Ben\n    Body: \"one␊two\" -> none\n"), std::string::npos) << shown.out;
  EXPECT_NE(shown.out.find("~ registry HKLM\\A\n    n: \"dword 0x00000001 (1)\" -> \"dword 0x00000002 (2)\"\n"),
            std::string::npos)
      << shown.out;
}

TEST(Diff, compares_the_bytes_of_files_when_told) {
  const PhoneFolder phone(json::object());
  const PhoneFolder other(json::object());
  for (const auto& [folder, text] : {std::pair{phone.Path(), "one"}, std::pair{other.Path(), "two"}}) {
    const fs::path file = fs::path(folder) / "files" / "a.txt";
    std::ofstream(file) << text;
    fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(24));
  }
  fs::last_write_time(fs::path(other.Path()) / "files" / "a.txt",
                      fs::last_write_time(fs::path(phone.Path()) / "files" / "a.txt"));
  EXPECT_EQ(Brelix({"diff", phone.Path(), other.Path()}).code, 0);
  const Outcome outcome = Brelix({"diff", phone.Path(), other.Path(), "--contents"});
  EXPECT_EQ(outcome.code, 5);
  EXPECT_NE(outcome.out.find("sha256"), std::string::npos) << outcome.out;
}

TEST(Diff, what_a_phone_cannot_tell_is_not_gone) {
  const PhoneFolder phone(Described());
  json failing = Described();
  failing["faults"] = {{{"call", "IContact::get_JobTitle"}, {"skip", 1}}};
  const PhoneFolder other(failing);
  const Outcome outcome = Brelix({"diff", phone.Path(), other.Path(), "--only", "contacts"});
  EXPECT_EQ(outcome.code, 11) << outcome.out << outcome.err;
  EXPECT_EQ(outcome.out, "");
  EXPECT_NE(outcome.err.find(other.Path() + ": contacts: "), std::string::npos) << outcome.err;
}

// To serve a folder is to write to it, if only beside the database.
TEST(Diff, says_that_a_folder_cannot_be_written_to) {
  const PhoneFolder phone(json::object()), other(json::object());
  const std::string diff = std::string(BRELIX_COMMAND) + " diff " + phone.Path() + " " + other.Path();
  const std::string alone = "mount --bind " + other.Path() + " " + other.Path() + " && mount -o remount,ro,bind " +
                            other.Path() + " || exit 77; ";
  // The superuser may write to any folder, unless its file system is read-only; such a one is made for this alone.
  const bool superuser = geteuid() == 0;
  if (!superuser) fs::permissions(other.Path(), fs::perms::owner_read | fs::perms::owner_exec);
  const Outcome outcome = superuser ? ::test::Run({"/usr/bin/unshare", "-m", "/bin/sh", "-c", alone + diff})
                                    : ::test::Run({"/bin/sh", "-c", diff});
  if (!superuser) fs::permissions(other.Path(), fs::perms::owner_all);
  if (superuser && (outcome.code == 77 || outcome.err.find("unshare") != std::string::npos))
    GTEST_SKIP() << "no file system can be mounted here";
  EXPECT_EQ(outcome.code, 3) << outcome.err;
  EXPECT_NE(outcome.err.find(other.Path() + ": a phone's folder must be writable"), std::string::npos) << outcome.err;
  EXPECT_EQ(outcome.err.find("make a new phone"), std::string::npos) << outcome.err;
}

TEST(Diff, refuses_what_is_no_phone) {
  const PhoneFolder phone(json::object());
  EXPECT_EQ(Brelix({"diff", phone.Path(), phone.Path()}).code, 2);
  const Outcome outcome = Brelix({"diff", phone.Path(), "nowhere"});
  EXPECT_EQ(outcome.code, 4);
  EXPECT_NE(outcome.err.find("phone.db"), std::string::npos) << outcome.err;
  EXPECT_EQ(Brelix({"diff", phone.Path()}).code, 2);
}

}  // namespace
}  // namespace test
