// brelix registry: paths, values by type, .reg texts, and what the wire cannot carry.
#include <atomic>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "desktop/registry/KeyPath.h"
#include "desktop/registry/PhoneRegistry.h"
#include "desktop/registry/RegText.h"
#include "tests/desktop/FileScripts.h"
#include "tests/desktop/HeldBytes.h"
#include "tests/desktop/ModelAgent.h"

namespace brelix::test {
namespace {

using namespace std::string_literals;
using nlohmann::json;

std::string AsksKeys(const std::string& key, const std::string& names, const std::string& code = "00000000") {
  return Asks("1/103 " + Hex(key), "1/104 " + code + " " + Hex(names));
}
std::string AsksValues(const std::string& key, const std::string& list, const std::string& code = "00000000") {
  return Asks("1/105 " + Hex(key), "1/106 " + code + " " + Hex(list));
}
std::string AsksValue(const std::string& path, const std::string& type_and_data, const std::string& code = "00000000") {
  return Asks("1/107 " + Hex(path), "1/108 " + code + " " + Hex(type_and_data));
}
std::string Type(char type) { return "\0\0\0"s + type; }

Outcome Talk(const std::string& script, std::vector<std::string> arguments) {
  std::string script_error;
  Outcome outcome = Served(script, std::move(arguments), script_error);
  EXPECT_EQ(script_error, "") << outcome.err;
  return outcome;
}

TEST(KeyPath, IsTheSameHoweverPeopleWriteIt) {
  for (const char* text :
       {"HKLM\\System\\A", "hklm/System/A", "HKEY_LOCAL_MACHINE\\System\\A\\", "hkey_local_machine/System//A"})
    EXPECT_EQ(KeyPath::Parse(text).Wire(), "HKLM\\System\\A") << text;
  EXPECT_EQ(KeyPath::Parse("HKCR\\Type\\text/html").Wire(), "HKCR\\Type\\text/html") << "a name may hold a slash";
  EXPECT_EQ(KeyPath::Parse("HKCU").LongForm(), "HKEY_CURRENT_USER");
  for (const char* text : {"", "HKU\\x", "HKLMx", "\\HKLM", "System", "HKLM\\\xFF"})
    EXPECT_EQ(RunBrelix({"-d", "tcp:127.0.0.1:1", "registry", "ls", text}).code, 2) << text;
}

// Five values of a key, one of each kind that is shown in its own way.
const std::string kValues = AsksValues("HKCU\\K", Type(1) + "Name\0"s + Type(2) + "Path\0"s + Type(4) + "N\0"s +
                                                      Type(7) + "Many\0"s + Type(3) + "\0"s + Type(11) + "Q\"\0"s) +
                            AsksValue("HKCU\\K\\Name", Type(1) + "Ada \"\\\" \xED\xA0\xBD\xED\xB8\x80\0"s) +
                            AsksValue("HKCU\\K\\Path", Type(2) + "%x%\0"s) +
                            AsksValue("HKCU\\K\\N", Type(4) + "\x2A\1\0\0"s) +
                            AsksValue("HKCU\\K\\Many", Type(7) + "a\0\0\0b\0c\0\0\0\0\0"s) +
                            AsksValue("HKCU\\K\\", Type(3) + "\0\xFF"s) + AsksValue("HKCU\\K\\Q\"", Type(11) + "\1"s);

TEST(Registry, ShowsValuesByTheirType) {
  const Outcome ls = Talk(AsksKeys("HKCU\\K", "Sub\0text/html\0"s) + kValues, {"--json", "registry", "ls", "HKCU/K"});
  EXPECT_EQ(ls.code, 0) << ls.err;
  std::istringstream lines(ls.out);
  json all = json::array();
  for (std::string line; std::getline(lines, line);) all.push_back(json::parse(line));
  EXPECT_EQ(all, json::parse(R"j([
    {"kind": "key", "name": "Sub"}, {"kind": "key", "name": "text/html"},
    {"kind": "value", "name": "Name", "type": "sz", "data": "Ada \"\\\" 😀"},
    {"kind": "value", "name": "Path", "type": "expand_sz", "data": "%x%"},
    {"kind": "value", "name": "N", "type": "dword", "data": 298},
    {"kind": "value", "name": "Many", "type": "multi_sz", "data": ["a", "bc"]},
    {"kind": "value", "name": "", "type": "binary", "data": {"hex": "00ff"}},
    {"kind": "value", "name": "Q\"", "type": "hex(b)", "data": {
    "hex" : "01"}
}])j"));
  const Outcome get = Talk(AsksValue("HKLM\\", Type(4) + "\1\0"s), {"--json", "registry", "get", "HKLM"});
  EXPECT_EQ(json::parse(get.out, nullptr, false)["data"]["hex"], "0100") << "a number of two bytes is none";
}

TEST(Registry, ExportIsARegText) {
  const std::string script = AsksKeys("HKCU\\K", "") + kValues + AsksKeys("HKCU\\K", "B\0A\0"s) +
                             AsksValues("HKCU\\K\\B", "") + AsksKeys("HKCU\\K\\B", "") + AsksValues("HKCU\\K\\A", "") +
                             AsksKeys("HKCU\\K\\A", "");
  const std::string expected =
      "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\K]\r\n"
      "\"Name\"=\"Ada \\\"\\\\\\\" \xF0\x9F\x98\x80\"\r\n\"Path\"=hex(2):25,00,78,00,25,00,00,00\r\n"
      "\"N\"=dword:0000012a\r\n\"Many\"=hex(7):61,00,00,00,62,00,63,00,00,00,00,00\r\n@=hex:00,ff\r\n"
      "\"Q\\\"\"=hex(b):01\r\n\r\n[HKEY_CURRENT_USER\\K\\B]\r\n\r\n[HKEY_CURRENT_USER\\K\\A]\r\n";
  const Outcome narrow = Talk(script, {"registry", "export", "HKCU/K", "--utf8"});
  EXPECT_EQ(narrow.code, 0) << narrow.err;
  EXPECT_EQ(narrow.out, expected);

  const ::test::TemporaryFolder folder;
  const std::string path = (folder.Path() / "user.reg").string();
  EXPECT_EQ(Talk(script, {"registry", "export", "HKCU/K", "-o", path}).code, 0);
  const std::string wide = ReadFile(path);
  ASSERT_EQ(wide.substr(0, 6), "\xFF\xFEW\0i\0"s);
  std::u16string units;
  for (size_t at = 2; at + 1 < wide.size(); at += 2)
    units += static_cast<char16_t>(static_cast<uint8_t>(wide[at]) | static_cast<uint8_t>(wide[at + 1]) << 8);
  EXPECT_EQ(UnitsToUtf8(units), expected);
}

TEST(Registry, RegTextKeepsWhatALineCannotHold) {
  const std::string half = "\xED\xA0\xBD";
  const KeyContents key{KeyPath::Parse("HKLM\\K"),
                        {{"lines", kText, {'a', '\n'}},
                         {"half", kText, {half.begin(), half.end()}},
                         {"two\nlines", kNumber, {1, 0, 0, 0}},
                         {half, kNumber, {1, 0, 0, 0}},
                         {"b", kBinary, Bytes(40, 7)},
                         {"none", kNone, {}}}};
  Problems problems;
  const std::string narrow = RegText(key, RegEncoding::kUtf8, problems);
  EXPECT_EQ(problems.size(), 2u) << "two names";
  EXPECT_NE(narrow.find("\"lines\"=hex(1):61,00,0a,00,00,00\r\n"), narrow.npos) << narrow;
  EXPECT_NE(narrow.find("\"half\"=hex(1):3d,d8,00,00\r\n"), narrow.npos) << narrow;
  EXPECT_NE(narrow.find("\"none\"=hex(0):\r\n"), narrow.npos) << narrow;
  std::istringstream lines(narrow);
  int bytes = 0;
  for (std::string line; std::getline(lines, line);) {
    EXPECT_LE(line.size(), 81u) << line;
    for (size_t at = line.find("07"); at != line.npos; at = line.find("07", at + 1)) bytes++;
    EXPECT_EQ(line.starts_with("\"b\""), line.ends_with(",\\\r")) << line;
  }
  EXPECT_EQ(bytes, 40);
  RegText(key, RegEncoding::kUtf16, problems = {});
  EXPECT_EQ(problems.size(), 1u) << "half a pair is a name in UTF-16";
}

TEST(Registry, NamesWhatTheWireCannotCarry) {
  const std::string stale(8192, 's');
  const std::string script =
      AsksKeys("HKLM", "") +
      AsksValues("HKLM",
                 Type(1) + "big\0"s + Type(1) + "\\Windows\\x\0"s + Type(1) + "gone\0"s + Type(1) + "\0"s + Type(1) +
                     "\0"s + Type(1) + "ZZZZ\0"s + Type(4) + "good\0"s,
                 "000000ea") +
      AsksValue("HKLM\\big", "", "000000ea") + AsksValue("HKLM\\gone", stale, "00000005") +
      AsksValue("HKLM\\", Type(1) + "unnamed\0"s) + AsksValue("HKLM\\good", Type(4) + "\1\0\0\0"s) +
      AsksKeys("HKLM", "\0closed\0a\\b\0open\0open\0"s, "000000ea") + AsksValues("HKLM\\closed", "", "00000005") +
      AsksKeys("HKLM\\closed", "", "00000005") + AsksValues("HKLM\\open", "") + AsksKeys("HKLM\\open", "");
  const Outcome all = Talk(script, {"registry", "export", "HKLM", "--utf8"});
  EXPECT_EQ(all.code, 11);
  for (const char* why :
       {"\"big\": more than the 8192 bytes", "\"\\Windows\\x\": cannot be asked", "the key cannot be opened",
        "of two values", "ZZZZ", "list of values ends early", "list of keys ends early", "cannot tell the name",
        "\"a\\b\", which is not a name", "HKLM\\closed: 0x00000005", "\"open\" twice"})
    EXPECT_NE(all.err.find(why), std::string::npos) << why << "\n" << all.err;
  EXPECT_EQ(std::count(all.err.begin(), all.err.end(), '\n'), 11) << all.err;
  EXPECT_EQ(all.out.find("ss"), std::string::npos) << "stale bytes are nobody's data";
  EXPECT_NE(all.out.find("@=\"unnamed\"\r\n\"good\"=dword:00000001\r\n\r\n[HKEY_LOCAL_MACHINE\\closed]\r\n\r\n"
                         "[HKEY_LOCAL_MACHINE\\open]\r\n"),
            std::string::npos)
      << all.out;
}

TEST(Registry, FailsBeforeAnythingIsWritten) {
  const ::test::TemporaryFolder folder;
  const std::string path = (folder.Path() / "x.reg").string();
  EXPECT_EQ(Talk(AsksKeys("HKCU\\No", "", "00000002"), {"registry", "export", "HKCU/No", "-o", path}).code, 8);
  EXPECT_EQ(Talk(AsksKeys("HKCU", "a\0b"s), {"registry", "export", "HKCU", "-o", path}).code, 12);
  EXPECT_EQ(Talk(AsksValue("HKCU\\n", "\0\1"s), {"registry", "get", "HKCU", "n"}).code, 12);
  EXPECT_EQ(Talk(AsksKeys("HKCU", "", "ffffffff"), {"registry", "ls", "HKCU"}).code, 7);
  EXPECT_EQ(RunBrelix({"-d", "tcp:127.0.0.1:1", "registry", "get", "HKCU", "a\xFF"}).code, 2);
  EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

TEST(Registry, ABrokenListOrAnswerCostsItsKeyOrValueAlone) {
  const std::string script = AsksKeys("HKCU", "") + AsksValues("HKCU", Type(4) + "n\0"s) +
                             AsksValue("HKCU\\n", "\0\1"s) + AsksKeys("HKCU", "bad\0none\0good\0"s) +
                             AsksValues("HKCU\\bad", "\0\0\0"s) + AsksKeys("HKCU\\bad", "unended") +
                             AsksValues("HKCU\\none", "", "ffffffff") + AsksKeys("HKCU\\none", "", "ffffffff") +
                             AsksValues("HKCU\\good", Type(4) + "v\0"s) +
                             AsksValue("HKCU\\good\\v", Type(4) + "\7\0\0\0"s) + AsksKeys("HKCU\\good", "");
  const Outcome all = Talk(script, {"registry", "export", "HKCU", "--utf8"});
  EXPECT_EQ(all.code, 11);
  for (const char* why : {"HKCU, value \"n\": the phone's answer has no type", "HKCU\\bad: the phone's list is broken",
                          "HKCU\\none: the phone's agent does not know this root"})
    EXPECT_NE(all.err.find(why), std::string::npos) << why << "\n" << all.err;
  EXPECT_NE(all.out.find("good]\r\n\"v\"=dword:00000007\r\n"), std::string::npos) << all.out;
}

// 40 keys of 300 values each, asked for ahead: told in the phone's order, and of none of the values twice.
TEST(Registry, KeysOfManyValuesComeInOrder) {
  std::atomic<int> values = 0;
  ModelAgent agent([&](const Frame& request) -> std::string {
    const std::string path(request.data.begin(), request.data.end());
    std::string list;
    if (request.command == 103 && path == "HKLM")
      for (int k = 0; k < 40; k++) list += "k" + std::to_string(k) + '\0';
    if (request.command == 105 && path != "HKLM")
      for (int v = 0; v < 300; v++) list += Type(4) + "v" + std::to_string(v) + '\0';
    if (request.command == 107) values++;
    return ModelAgent::Reply(request, request.command == 107 ? Type(1) + path + '\0' : list);
  });
  {
    Session session(Connect(agent.Address(), Clock::now() + std::chrono::seconds(5), -1), {});
    PhoneRegistry registry(session);
    int key = -1;
    const Problems problems = WalkRegistry(registry, KeyPath::Parse("HKLM"), [&](const KeyContents& contents) {
      if (key++ == -1) return;
      const std::string path = "HKLM\\k" + std::to_string(key - 1);
      EXPECT_EQ(contents.path.Wire(), path);
      ASSERT_EQ(contents.values.size(), 300u);
      for (size_t v = 0; v < 300; v++) EXPECT_EQ(contents.values[v].Text(), path + "\\v" + std::to_string(v));
    });
    EXPECT_EQ(key, 40);
    EXPECT_TRUE(problems.empty());
  }
  EXPECT_EQ(values, 40 * 300);
}

// 60 keys of 20,000 values each, of which nothing can be told before all values of the first have come.
TEST(Registry, WhatIsHeldOfKeysToComeIsBounded) {
  std::string keys, list;
  for (int k = 0; k < 60; k++) keys += "k" + std::to_string(k) + '\0';
  for (int v = 0; v < 20'000; v++) list += Type(4) + "v" + std::to_string(v) + '\0';
  ModelAgent agent([&](const Frame& request) -> std::string {
    const bool root = request.data.size() == 4;
    if (request.command == 103) return ModelAgent::Reply(request, root ? keys : "");
    if (request.command == 105) return ModelAgent::Reply(request, root ? "" : list);
    return ModelAgent::Reply(request, Type(4) + "\1\0\0\0"s);
  });
  Session session(Connect(agent.Address(), Clock::now() + std::chrono::seconds(5), -1), {});
  PhoneRegistry registry(session);
  struct Enough {};
  const size_t before = HeldBytes();
  size_t told = 0, values = 0, held = 0;
  try {
    WalkRegistry(registry, KeyPath::Parse("HKLM"), [&](const KeyContents& contents) {
      values += contents.values.size();
      held = HeldBytes();
      if (++told == 3) throw Enough();
    });
  } catch (const Enough&) {
  }
  EXPECT_EQ(values, 40'000u);
  EXPECT_LT(held - before, size_t{32} << 20);
}

}  // namespace
}  // namespace brelix::test
