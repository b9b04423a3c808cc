// A registry that is exported from a served phone makes the same registry in another phone.
#include "tests/e2e/ServedPhone.h"

namespace test {
namespace {

using nlohmann::json;

json Value(const json& name, const json& type, const json& data) {
  return {{"name", name}, {"type", type}, {"data", data}};
}

// Keys and values of one root, as brelix-phone describes them, without their order.
std::map<std::string, std::map<std::string, json>> Described(const std::string& phone, const std::string& root) {
  const Outcome outcome = BrelixPhone({"describe", phone});
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  std::map<std::string, std::map<std::string, json>> keys;
  const json description = json::parse(outcome.out);
  for (const json& key : description.at("registry")) {
    const std::string path = key.at("key").is_string() ? key.at("key").get<std::string>() : key.at("key").dump();
    if (!path.starts_with(root) && path[0] != '{') continue;
    auto& values = keys[path];
    for (const json& value : key.at("values")) values[value.at("name").dump()] = value;
  }
  return keys;
}

std::string Rapi(const PhoneFolder& phone) {
  return "exec:" + std::string(BRELIX_PHONE_COMMAND) + " rapi " + phone.Path();
}

TEST(Registry, an_export_makes_the_same_registry) {
  std::string long_text(4000, 'x'), bytes;
  for (int i = 0; i < 8192; ++i) bytes += "0123456789abcdef"[i % 16], bytes += "0123456789abcdef"[i / 7 % 16];
  json many = json::array();
  for (int i = 0; i < 300; ++i) many.push_back(Value("v" + std::to_string(i), "dword", i * 7919u));
  json described;
  described["registry"] = {
      {{"key", "HKLM\\Texts"},
       {"values",
        {Value("", "sz", "the unnamed one"), Value("empty", "sz", ""), Value("long", "sz", long_text),
         Value("quotes \"and\" = [x] ;", "sz", "say \"\\\\server\\share\" %PATH%"),
         Value("lines", "sz", "one\r\ntwo\ttab"), Value("path", "expand_sz", "%windir%\\x"),
         Value("\xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x98\x80", "sz", "\xD0\x96 \xF0\x9F\x98\x80"),
         Value("half", "sz", {{"utf16", "0041D8000042"}}), Value({{"utf16", "D83D"}}, "dword", 1)}}},
      {{"key", "HKLM\\Numbers\\text/html [a]\\deep"},
       {"values",
        {Value("least", "dword", 0), Value("most", "dword", 4294967295u), Value("short", "dword", {{"hex", "0102"}}),
         Value("qword", 11, {{"hex", "0102030405060708"}}), Value("resource", 21, {{"hex", "41004200"}})}}},
      {{"key", "HKLM\\Numbers\\many"}, {"values", many}},
      {{"key", "HKLM\\Bytes"},
       {"values",
        {Value("all", "binary", {{"hex", bytes}}), Value("none", "none", {{"hex", ""}}),
         Value("list", "multi_sz", {"a", "\xF0\x9F\x98\x80"}), Value("odd", "multi_sz", {{"hex", "410042"}})}}},
      {{"key", "HKLM\\Empty"}, {"values", json::array()}},
      {{"key", "HKCU\\Other"}, {"values", json::array({Value("not", "sz", "asked for")})}}};
  const PhoneFolder phone(described);
  const auto expected = Described(phone.Path(), "HKLM");
  ASSERT_EQ(expected.size(), 5u);
  const TemporaryFolder folder;
  const std::string file = (folder.Path() / "device.reg").string();
  for (const bool wide : {true, false}) {
    std::vector<std::string> words = {"-d", Rapi(phone), "registry", "export", "HKLM", "-o", file};
    if (!wide) words.push_back("--utf8");
    const Outcome exported = Brelix(words);
    // The name that is half a surrogate pair has no form in UTF-8.
    EXPECT_EQ(exported.code, wide ? 0 : 11) << exported.err;
    const std::string copy = (folder.Path() / (wide ? "wide" : "narrow")).string();
    const Outcome made = BrelixPhone({"init", copy, "--registry", file});
    ASSERT_EQ(made.code, 0) << made.err;
    auto want = expected;
    if (!wide) want.at("HKLM\\Texts").erase(json{{"utf16", "D83D"}}.dump());
    EXPECT_EQ(Described(copy, "HKLM"), want);
  }
}

TEST(Registry, what_does_not_fit_is_named_and_the_rest_exported) {
  const json values = {Value("big", "binary", {{"hex", std::string(2 * 8193, 'a')}}),
                       Value("\\Windows\\x", "sz", "unaskable"), Value("good", "dword", 42)};
  json described;
  described["registry"] = json::array({{{"key", "HKCU\\K"}, {"values", values}}});
  const PhoneFolder phone(described);
  const Outcome all = Brelix({"-d", Rapi(phone), "registry", "export", "hkcu/k", "--utf8"});
  EXPECT_EQ(all.code, 11);
  EXPECT_EQ(std::count(all.err.begin(), all.err.end(), '\n'), 2) << all.err;
  EXPECT_NE(all.out.find("\"good\"=dword:0000002a"), std::string::npos) << all.out;
  EXPECT_EQ(Brelix({"-d", Rapi(phone), "registry", "export", "hkcu/none"}).code, 8);
}

}  // namespace
}  // namespace test
