#include <array>
#include <cstring>
#include <gtest/gtest.h>

#include "platform/Registry.h"
#include "tests/support/TestPhone.h"

namespace {

using nlohmann::json;

const json& Described() {
  static const json kKeys = json::parse(R"({"registry": [
    {"key": "HKLM\\System\\Caf\u00e9", "values": [
      {"name": "Folder", "type": "sz", "data": "ab"},
      {"name": "", "type": "dword", "data": 258},
      {"name": "none", "type": "none", "data": {"hex": ""}}]}]})");
  return kKeys;
}

TEST(Registry, finds_keys_in_any_case_from_the_root_or_a_key) {
  test::BarePhone phone(Described());
  const struct {
    ce::LPCWSTR path;
    ce::LONG result;
  } kCases[] = {{u"System\\Café", 0}, {u"\\SYSTEM\\cAFÉ", 0}, {u"\\", 0},         {u"", 0},
                {nullptr, 0},         {u"System\\", 0},       {u"\\\\System", 2}, {u"System\\\\Café", 2},
                {u"System\\Caf", 2},  {u"NoKey", 2}};
  for (const auto& test : kCases) {
    ce::HKEY key{};
    EXPECT_EQ(ce::RegOpenKeyExW(ce::HKEY_LOCAL_MACHINE, test.path, 0, 0, &key), test.result);
    if (test.result != 0) continue;
    EXPECT_EQ(phone->GetLedger().Count(handset::Held::kRegistryKey), 1U);
    EXPECT_EQ(ce::RegCloseKey(key), 0);
  }
  ce::HKEY system{};
  ce::HKEY below{};
  ASSERT_EQ(ce::RegOpenKeyExW(ce::HKEY_LOCAL_MACHINE, u"System", 0, 0, &system), 0);
  EXPECT_EQ(ce::RegOpenKeyExW(system, u"\\café", 0, 0, &below), 0);
  EXPECT_NE(phone->GetLedger().Text().find("HKLM\\System\\Café"), std::string::npos) << phone->GetLedger().Text();
  EXPECT_EQ(ce::RegCloseKey(below), 0);
  EXPECT_EQ(ce::RegCloseKey(below), ce::ERROR_INVALID_HANDLE);
  EXPECT_EQ(ce::RegOpenKeyExW(below, u"x", 0, 0, &below), ce::ERROR_INVALID_HANDLE);
  EXPECT_EQ(ce::RegCloseKey(system), 0);
  EXPECT_EQ(ce::RegCloseKey(ce::HKEY_LOCAL_MACHINE), 0);
}

TEST(Registry, tells_size_type_and_data_of_a_value) {
  test::BarePhone phone(Described());
  ce::HKEY key{};
  ASSERT_EQ(ce::RegOpenKeyExW(ce::HKEY_LOCAL_MACHINE, u"System\\Café", 0, 0, &key), 0);
  ce::DWORD type = 99;
  ce::DWORD size = 0;
  EXPECT_EQ(ce::RegQueryValueExW(key, u"FOLDER", nullptr, &type, nullptr, &size), 0);
  EXPECT_EQ(type, ce::REG_SZ);
  EXPECT_EQ(size, 6U);
  ce::BYTE data[8];
  std::memset(data, 0xEE, sizeof(data));
  size = 5;
  EXPECT_EQ(ce::RegQueryValueExW(key, u"Folder", nullptr, nullptr, data, &size), ce::ERROR_MORE_DATA);
  EXPECT_EQ(size, 6U);
  EXPECT_EQ(data[0], 0xEE) << "too small a room stays as it was";
  EXPECT_EQ(ce::RegQueryValueExW(key, u"Folder", nullptr, nullptr, data, &size), 0);
  const ce::BYTE expected[8] = {'a', 0, 'b', 0, 0, 0, 0xEE, 0xEE};
  EXPECT_EQ(std::memcmp(data, expected, sizeof(data)), 0);
  ce::DWORD number = 0;
  size = sizeof(number);
  EXPECT_EQ(ce::RegQueryValueExW(key, nullptr, nullptr, &type, reinterpret_cast<ce::BYTE*>(&number), &size), 0);
  EXPECT_EQ(number, 258U);
  size = 0;
  EXPECT_EQ(ce::RegQueryValueExW(key, u"none", nullptr, nullptr, data, &size), 0);
  EXPECT_EQ(ce::RegQueryValueExW(key, u"absent", nullptr, nullptr, nullptr, nullptr), ce::ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(ce::RegCloseKey(key), 0);
  EXPECT_EQ(ce::RegQueryValueExW(key, u"Folder", nullptr, nullptr, nullptr, nullptr), ce::ERROR_INVALID_HANDLE);
}

TEST(Registry, counts_subkeys_and_values_to_their_end) {
  const std::string longest(255, 'k');
  test::BarePhone phone(json{{"registry",
                              {{{"key", "HKLM\\Many\\b"}},
                               {{"key", "HKLM\\Many\\A"}},
                               {{"key", "HKLM\\Many\\" + longest}},
                               {{"key", "HKLM\\Many"},
                                {"values",
                                 {{{"name", longest}, {"type", "dword"}, {"data", 1}},
                                  {{"name", ""}, {"type", 99}, {"data", {{"hex", ""}}}}}}}}}});
  ce::HKEY key{};
  ASSERT_EQ(ce::RegOpenKeyExW(ce::HKEY_LOCAL_MACHINE, u"Many", 0, 0, &key), 0);
  std::array<char16_t, 256> name{};
  const auto subkey = [&](ce::HKEY of, ce::DWORD index, ce::DWORD room) {
    ce::DWORD size = room;
    const ce::LONG result = ce::RegEnumKeyExW(of, index, name.data(), &size, nullptr, nullptr, nullptr, nullptr);
    EXPECT_TRUE(result != 0 || size == std::u16string_view(name.data()).size());
    return result;
  };
  ASSERT_EQ(subkey(key, 0, 2), 0);
  EXPECT_EQ(std::u16string(name.data()), u"b");
  EXPECT_EQ(subkey(key, 0, 1), ce::ERROR_MORE_DATA) << "no room for the terminator";
  EXPECT_EQ(subkey(key, 2, 256), 0);
  EXPECT_EQ(subkey(key, 2, 255), ce::ERROR_MORE_DATA);
  EXPECT_EQ(subkey(key, 3, 256), ce::ERROR_NO_MORE_ITEMS);
  EXPECT_EQ(subkey(key, 0xFFFFFFFF, 256), ce::ERROR_NO_MORE_ITEMS);
  EXPECT_EQ(subkey(ce::HKEY_LOCAL_MACHINE, 0, 256), 0);
  EXPECT_EQ(std::u16string(name.data()), u"Many");
  EXPECT_EQ(subkey(ce::HKEY_CURRENT_USER, 0, 256), ce::ERROR_NO_MORE_ITEMS);

  ce::DWORD type = 0;
  const auto value = [&](ce::DWORD index, ce::DWORD room) {
    return ce::RegEnumValueW(key, index, name.data(), &room, nullptr, &type, nullptr, nullptr);
  };
  EXPECT_EQ(value(0, 256), 0);
  EXPECT_EQ(type, ce::REG_DWORD);
  EXPECT_EQ(value(0, 255), ce::ERROR_MORE_DATA);
  EXPECT_EQ(value(1, 1), 0);
  EXPECT_EQ(type, 99U);
  EXPECT_EQ(value(2, 256), ce::ERROR_NO_MORE_ITEMS);
  EXPECT_EQ(ce::RegCloseKey(key), 0);
  EXPECT_EQ(subkey(key, 0, 256), ce::ERROR_INVALID_HANDLE);
}

}  // namespace
