// Listings and registry lists that are too long for a conversation on paper, and every call on the way failing.
#include <functional>
#include <gtest/gtest.h>
#include <set>

#include "agent/engine/ErrorRecord.h"
#include "tests/support/EngineRun.h"
#include "tests/support/TestPhone.h"

namespace test {
namespace {

using nlohmann::json;

constexpr const char* kModified = "2009-07-12T13:45:01Z";

json PhoneWithFiles(unsigned count, const std::function<std::string(unsigned)>& name) {
  json files = json::array({{{"path", "\\f"}, {"folder", true}}});
  for (unsigned i = 0; i < count; ++i) {
    files.push_back({{"path", "\\f\\" + name(i)}, {"size", i}, {"modified", kModified}});
  }
  return {{"files", files}};
}

std::string Entry(const std::string& name, unsigned size) {
  return "    <name>" + name + "</name>\n    <modified>20090712T134501Z</modified>\n    <attr>A</attr>\n    <size>" +
         std::to_string(size) + "</size>\n";
}

constexpr std::string_view kHead =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<folder>\n  <name>\\f\\</name>\n"
    "  <modified>20090712T134501Z</modified>\n  <attr>A</attr>\n  <content>\n";

// The documents of a whole listing of files 0 to count - 1, as it must be.
std::vector<std::string> Parts(unsigned count, const std::function<std::string(unsigned)>& name) {
  std::vector<std::string> parts;
  for (unsigned next = 0;;) {
    std::string document(kHead);
    document += Entry(name(next), next);
    while (document.size() < 16240 && next + 1 < count) {
      ++next;
      document += Entry(name(next), next);
    }
    const bool complete = document.size() < 16240;
    parts.push_back(document + (complete ? "  </content>\n</folder>\n" : "</folder>\n"));
    if (complete) return parts;
  }
}

Bytes Session(const std::vector<Bytes>& requests) {
  Bytes said = Frame(1, 247, 1);
  for (const Bytes& request : requests) said = said + request;
  const Bytes heard = Answer(said);
  const Bytes handshake = ResultFrame(1, 248, 1, 0);
  EXPECT_EQ(Bytes(heard.begin(), heard.begin() + 20), handshake);
  return {heard.begin() + 20, heard.end()};
}

std::string FiveDigits(unsigned i) {
  const std::string digits = std::to_string(i);
  return std::string(5 - digits.size(), '0') + digits;
}

TEST(FileListing, tells_folders_of_every_size_whole) {
  for (const unsigned count : {1U, 300U, 5000U}) {
    SCOPED_TRACE(count);
    TestPhone phone(PhoneWithFiles(count, FiveDigits));
    const std::vector<std::string> parts = Parts(count, FiveDigits);
    EXPECT_EQ(parts.size() > 1, count > 1);
    std::vector<Bytes> requests{Frame(1, 51, 2, FromText("\\f\\*"))};
    Bytes expected = ResultFrame(1, 52, 2, 0);
    for (std::size_t i = 0; i < parts.size(); ++i) {
      const auto number = static_cast<std::uint16_t>(3 + i);
      requests.push_back(Frame(1, 53, number));
      expected = expected + Frame(1, 54, number, U32(i + 1 < parts.size() ? 0 : 18) + FromText(parts[i]));
    }
    requests.push_back(Frame(1, 55, 0x7000));
    EXPECT_TRUE(Session(requests) == expected + ResultFrame(1, 56, 0x7000, 0));
  }
  TestPhone phone(PhoneWithFiles(0, FiveDigits));
  EXPECT_EQ(ToHex(Session({Frame(1, 51, 2, FromText("\\f\\*")), Frame(1, 53, 3)})),
            ToHex(ResultFrame(1, 52, 2, 18) + ResultFrame(1, 54, 3, 6)));
}

// The document of 48 entries is 16239, 16240 and 16241 bytes long: only the first of them takes one more.
TEST(FileListing, the_limit_of_a_part_is_to_the_byte) {
  for (const std::size_t length : {16239U, 16240U, 16241U}) {
    SCOPED_TRACE(length);
    // An entry has 98 bytes, its name, and one byte more where its size has two digits.
    const auto name = [&](unsigned i) {
      const std::size_t units = i == 0 ? length - kHead.size() - 98 - 9 * 338 - 38 * 339 : 240;
      return FiveDigits(i).substr(3) + std::string(units - 2, 'x');
    };
    TestPhone phone(PhoneWithFiles(60, name));
    const std::vector<std::string> parts = Parts(60, name);
    const Bytes heard =
        Session({Frame(1, 51, 2, FromText("\\f\\*")), Frame(1, 53, 3), Frame(1, 53, 4), Frame(1, 55, 5)});
    EXPECT_TRUE(heard == ResultFrame(1, 52, 2, 0) + Frame(1, 54, 3, U32(0) + FromText(parts[0])) +
                             Frame(1, 54, 4, U32(18) + FromText(parts[1])) + ResultFrame(1, 56, 5, 0));
    const std::string last = Entry(name(length < 16240 ? 48 : 47), length < 16240 ? 48 : 47);
    EXPECT_TRUE(parts[0].ends_with(last + "</folder>\n"));
  }
}

TEST(FileListing, an_open_handle_is_left_to_the_phone) {
  TestPhone phone(PhoneWithFiles(1, FiveDigits));
  phone.ExpectHeld(handset::Held::kFileListing);
  Session({Frame(1, 51, 2, FromText("\\f\\*"))});
  EXPECT_EQ(phone->GetLedger().Count(handset::Held::kFileListing), 1U);
}

// A name of 255 units from U+4E01 on makes 765 bytes and a 0; a value's entry has 4 more in front.
TEST(RegistryLists, end_with_the_last_whole_entry_that_fits) {
  json keys = json::array();
  json values = json::array();
  const auto name = [](unsigned i) {
    std::string text;
    for (int unit = 0; unit < 250; ++unit) text += "\u4e01";
    return FiveDigits(i) + text;
  };
  for (unsigned i = 0; i < 1300; ++i) {
    keys.push_back({{"key", "HKLM\\" + name(i)}});
    values.push_back({{"name", name(i)}, {"type", "none"}, {"data", {{"hex", ""}}}});
  }
  keys.push_back({{"key", "HKCU"}, {"values", values}});
  TestPhone phone(json{{"registry", keys}});
  // The room of a body behind its head and result: 929792 - 10 - 10.
  Bytes expectedKeys = U32(234);
  for (unsigned i = 0; i < 929772 / 756; ++i) expectedKeys = expectedKeys + FromText(name(i)) + Bytes{0};
  Bytes expectedValues = U32(234);
  for (unsigned i = 0; i < 929772 / 760; ++i) expectedValues = expectedValues + U32(0) + FromText(name(i)) + Bytes{0};
  const Bytes heard = Session({Frame(1, 103, 2, FromText("HKLM")), Frame(1, 105, 3, FromText("HKCU"))});
  EXPECT_TRUE(heard == Frame(1, 104, 2, expectedKeys) + Frame(1, 106, 3, expectedValues));
}

TEST(FileFaults, each_failing_call_is_told_and_leaves_nothing_held) {
  json description = PhoneWithFiles(3, FiveDigits);
  description["registry"] = {{{"key", "HKLM\\k\\sub"}, {"values", {{{"name", "v"}, {"type", "sz"}, {"data", "d"}}}}}};
  TestPhone phone(description);
  phone.ExpectHeld(handset::Held::kLineApp);
  std::vector<std::pair<int, std::string>> said{
      {51, "\\f\\*"}, {53, ""},         {93, "\\f\\00001"},    {57, "\\f\\00002"},       {59, ""}, {61, ""},
      {61, ""},       {103, "HKLM\\k"}, {105, "HKLM\\k\\sub"}, {107, "HKLM\\k\\sub\\v"}, {55, ""}, {61, ""}};
  std::vector<Bytes> requests;
  for (const auto& [command, data] : said) {
    requests.push_back(Frame(1, static_cast<std::uint16_t>(command), 9, FromText(data)));
  }
  const Bytes whole = Session(requests);
  std::set<std::string> failed;
  for (std::uint64_t n = 1; n < 200; ++n) {
    phone->GetFaults().FailNth(n);
    Bytes all = Frame(1, 247, 1);
    for (const Bytes& request : requests) all = all + request;
    Script script;
    script.Give(all);
    auto engine = std::make_unique<CAgentEngine>(nullptr, new CScriptedConnection(script));
    const bool constructed = engine->Construct();
    if (constructed && engine->Start()) engine->WaitForExit();
    engine.reset();
    DropLastApiError();
    if (!phone->GetFaults().Fired()) break;
    const std::string name(handset::InfoOf(*phone->GetFaults().FiredCall()).name);
    failed.insert(name);
    EXPECT_TRUE(
        phone->GetLedger().EmptyExcept({handset::Held::kComStart, handset::Held::kLineApp, handset::Held::kLine}))
        << name << ": " << phone->GetLedger().Text();
    const bool isOurs =
        name.starts_with("Find") || name.starts_with("RegEnum") || name == "CreateFileW" || name == "ReadFile";
    EXPECT_TRUE(!isOurs || name == "FindClose" || script.sent != whole) << name << " failed and nobody noticed";
  }
  for (const char* call : {"FindFirstFileExW", "FindNextFileW", "FindClose", "CreateFileW", "ReadFile", "CloseHandle",
                           "FileTimeToSystemTime", "RegEnumKeyExW", "RegEnumValueW"}) {
    EXPECT_TRUE(failed.contains(call)) << call;
  }
}

}  // namespace
}  // namespace test
