// brelix-phone init with a folder and with a registry file: what comes over, what is told, and what makes no phone.
#include <fcntl.h>
#include <sys/stat.h>

#include "handset/Text.h"
#include "tests/e2e/ServedPhone.h"

namespace test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kVersion5 = "Windows Registry Editor Version 5.00\r\n\r\n";

struct Imported {
  TemporaryFolder folder;
  std::string Path(const std::string& name) const { return (folder.Path() / name).string(); }

  Outcome InitRegistry(const std::string& text, const std::string& description = "{}") const {
    std::ofstream(Path("in.reg"), std::ios::binary) << text;
    std::ofstream(Path("in.json")) << description;
    fs::remove_all(Path("phone"));
    return BrelixPhone({"init", Path("phone"), "--from", Path("in.json"), "--registry", Path("in.reg")});
  }
  nlohmann::json Describe() const { return nlohmann::json::parse(BrelixPhone({"describe", Path("phone")}).out); }
};

TEST(ImportFiles, a_folder_comes_over_with_its_times) {
  const Imported made;
  fs::create_directories(made.Path("src/Docs/empty"));
  std::ofstream(made.Path("src/Docs/a.txt")) << std::string(600000, 'a');
  std::ofstream(made.Path("src/Docs/locked")) << "r";
  ASSERT_EQ(chmod(made.Path("src/Docs/locked").c_str(), 0444), 0);
  for (const char* name : {"src/Docs/a.txt", "src/Docs"}) {
    const timespec times[] = {{1000000000, 0}, {1247406301, 500000000}};
    ASSERT_EQ(utimensat(AT_FDCWD, made.Path(name).c_str(), times, 0), 0);
  }
  const Outcome init = BrelixPhone({"init", made.Path("phone"), "--files", made.Path("src")});
  ASSERT_EQ(init.code, 0) << init.err;
  EXPECT_EQ(test::Run({"/usr/bin/diff", "-r", made.Path("src"), made.Path("phone/files")}).code, 0);
  for (const char* name : {"Docs/a.txt", "Docs"}) {
    struct stat status {};
    ASSERT_EQ(stat(made.Path("phone/files/" + std::string(name)).c_str(), &status), 0);
    EXPECT_EQ(status.st_mtim.tv_sec, 1247406301) << name;
    EXPECT_EQ(status.st_mtim.tv_nsec, 500000000) << name;
  }
  EXPECT_EQ(made.Describe()["files"].dump(), R"([{"attributes":"AR","path":"\\Docs\\locked"}])");
}

TEST(ImportFiles, what_a_phone_cannot_have_is_told_and_left_out) {
  const Imported made;
  fs::create_directories(made.Path("src/sub"));
  fs::create_directories(made.Path("outside"));
  std::ofstream(made.Path("outside/secret")) << "s";
  fs::create_directory_symlink(made.Path("outside"), made.Path("src/sub/way"));
  fs::create_symlink(made.Path("outside/secret"), made.Path("src/link"));
  ASSERT_EQ(mkfifo(made.Path("src/pipe").c_str(), 0600), 0);
  for (const char* name : {"Case", "case", "a:b", "bad\xFF", "bell\a", "good"}) {
    std::ofstream(made.Path("src/") + name) << "x";
  }
  const Outcome init = BrelixPhone({"init", made.Path("phone"), "--files", made.Path("src")});
  EXPECT_EQ(init.code, 0);
  for (const char* told : {"sub/way: a link", "src/link: a link", "src/pipe: neither", "a:b: a name",
                           "bad\\xFF: a name", "bell\\x07: a name", "case: differs only in case"}) {
    EXPECT_NE(init.err.find(told), std::string::npos) << told << " in " << init.err;
  }
  EXPECT_EQ(std::count(init.err.begin(), init.err.end(), '\n'), 8) << init.err;
  EXPECT_EQ(std::distance(fs::recursive_directory_iterator(made.Path("phone/files")), {}), 3);
}

TEST(ImportFiles, a_folder_that_cannot_be_read_makes_nothing) {
  const Imported made;
  const Outcome init = BrelixPhone({"init", made.Path("phone"), "--files", made.Path("none")});
  EXPECT_EQ(init.code, 1);
  EXPECT_NE(init.err.find("none"), std::string::npos) << init.err;
  EXPECT_FALSE(fs::exists(made.Path("phone")));
}

TEST(ImportRegistry, every_form_of_data_and_text) {
  const std::string body =
      "; a comment\r\n[hkey_local_machine\\Soft\\D\xC3\xA9p]\r\n@=\"a\\\\b \\\"c\\\"\"\r\n\"n\"=dword:1F\r\n"
      "\"b\"=hex:01,\\\r\n  02, \\\r\n  ff\r\n\"none\"=hex(0):\r\n\"l\"=hex(7):61,00,00,00,00,00\r\n"
      "\"x\" = hex(ff):aA\r\n[HKCU]\r\n\"same\"=\"1\"\r\n\"SAME\"=\"2\"\r\n[HKEY_USERS\\Empty]\r\n";
  std::string wide("\xFF\xFE", 2);
  const std::u16string units = handset::FromUtf8(kVersion5 + body, handset::Surrogates::kRefuse).value();
  for (const char16_t unit : units) {
    wide += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
  }
  const Imported made;
  for (const std::string& text : {kVersion5 + body, "\xEF\xBB\xBF" + (kVersion5 + body), wide}) {
    const Outcome init = made.InitRegistry(text, R"({"registry": [{"key": "HKCU", "values": [
      {"name": "Same", "type": "dword", "data": 1}, {"name": "kept", "type": "dword", "data": 2}]}]})");
    ASSERT_EQ(init.code, 0) << init.err;
    EXPECT_EQ(made.Describe()["registry"], nlohmann::json::parse(R"([
      {"key": "HKCU", "values": [{"name": "SAME", "type": "sz", "data": "2"}, {"name": "kept", "type": "dword", "data": 2}]},
      {"key": "HKLM\\Soft\\Dép", "values": [
        {"name": "", "type": "sz", "data": "a\\b \"c\""}, {"name": "n", "type": "dword", "data": 31},
        {"name": "b", "type": "binary", "data": {"hex": "0102FF"}}, {"name": "none", "type": "none", "data": {"hex": ""}},
        {"name": "l", "type": "multi_sz", "data": ["a"]}, {"name": "x", "type": 255, "data": {"hex": "AA"}}]},
      {"key": "HKU\\Empty", "values": []}])"));
  }
  ASSERT_EQ(made.InitRegistry("REGEDIT4\n[HKEY_CURRENT_USER]\n\"m\"=hex(2):61,62,00\n").code, 0);
  EXPECT_EQ(made.Describe()["registry"][0]["values"][0]["data"], "ab");
}

TEST(ImportRegistry, a_broken_line_is_told_by_its_number) {
  const Imported made;
  const struct {
    std::string text;
    const char* told;
  } kCases[] = {
      {"", "in.reg:1: an empty file"},
      {"[HKLM]\n", "in.reg:1: expected \"Windows Registry Editor"},
      {kVersion5 + std::string("[HKLM\\a\n"), "in.reg:3: a key without"},
      {kVersion5 + std::string("[HKEY_DYN_DATA\\a]\n"), "in.reg:3: expected a key below"},
      {kVersion5 + std::string("[HKLM\\\\a]\n"), "in.reg:3: key names"},
      {kVersion5 + std::string("[-HKLM\\a]\n"), "in.reg:3: deletes a key"},
      {kVersion5 + std::string("\"a\"=\"b\"\n"), "in.reg:3: a value in front"},
      {kVersion5 + std::string("[HKLM\\a]\n\n\"a\"=-\n"), "in.reg:5: deletes a value"},
      {kVersion5 + std::string("[HKLM\\a]\n\"a\"=\"b\n"), "in.reg:4: a text without"},
      {kVersion5 + std::string("[HKLM\\a]\n\"a\"=\"\\b\"\n"), "in.reg:4: \\ must"},
      {kVersion5 + std::string("[HKLM\\a]\n\"a\"\n"), "in.reg:4: expected ="},
      {kVersion5 + std::string("[HKLM\\a]\n\"a\"=dword:123456789\n"), "in.reg:4: expected up to eight"},
      {kVersion5 + std::string("[HKLM\\a]\n\"a\"=hex:0102\n"), "in.reg:4: expected two"},
      {kVersion5 + std::string("[HKLM\\a]\nfoo\n"), "in.reg:4: expected [a key]"},
      {kVersion5 + std::string("[HKLM\\a]\n\"\xFF\"=\"\"\n"), "in.reg:4: neither UTF-8"},
      {"REGEDIT4\n[HKLM\\a]\n\"a\"=hex(2):e9,00\n", "in.reg:3: a text with bytes beyond 7F"},
  };
  for (const auto& test : kCases) {
    const Outcome init = made.InitRegistry(test.text);
    EXPECT_EQ(init.code, 1) << test.told;
    EXPECT_NE(init.err.find(test.told), std::string::npos) << test.told << " in " << init.err;
    EXPECT_FALSE(fs::exists(made.Path("phone"))) << test.told;
  }
}

}  // namespace
}  // namespace test
