#include "handset/store/RegistryDescription.h"

#include <algorithm>
#include <cstring>
#include <set>

#include "handset/store/NearMatch.h"
#include "platform/Registry.h"

namespace handset {

namespace {

constexpr std::size_t kLongestName = 255;

struct TypeName {
  std::string_view name;
  std::uint32_t type;
};
constexpr std::array<TypeName, 6> kTypes = {{{"none", ce::REG_NONE},
                                             {"sz", ce::REG_SZ},
                                             {"expand_sz", ce::REG_EXPAND_SZ},
                                             {"binary", ce::REG_BINARY},
                                             {"dword", ce::REG_DWORD},
                                             {"multi_sz", ce::REG_MULTI_SZ}}};

bool IsString(std::uint32_t type) { return type == ce::REG_SZ || type == ce::REG_EXPAND_SZ; }

// With the terminator, as the phone stores it.
void Append(Bytes& bytes, std::u16string_view text) {
  for (std::size_t i = 0; i <= text.size(); ++i) {
    const char16_t unit = i < text.size() ? text[i] : u'\0';
    bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
    bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
  }
}

std::u16string Units(const Bytes& bytes) {
  std::u16string text;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    text.push_back(static_cast<char16_t>(bytes[i] | bytes[i + 1] << 8));
  }
  return text;
}

std::uint32_t ParseType(const JsonNode& node) {
  if (!node.GetJson().is_string()) return node.Number<std::uint32_t>();
  const std::string name = node.String();
  std::vector<std::string_view> names;
  for (const TypeName& known : kTypes) {
    if (known.name == name) return known.type;
    names.push_back(known.name);
  }
  node.Misfit("none, sz, expand_sz, binary, dword, multi_sz or a number",
              "\"" + name + "\"" + NearMatches(name, names));
}

nlohmann::json PrintType(std::uint32_t type) {
  for (const TypeName& known : kTypes) {
    if (known.type == type) return known.name;
  }
  return type;
}

Bytes ParseHex(const JsonNode& node) {
  const auto bytes = FromHex(node.String());
  if (!bytes) node.Misfit("two hexadecimal digits a byte");
  return *bytes;
}

Bytes ParseData(const JsonNode& node, std::uint32_t type) {
  if (node.GetJson().is_object() && node.GetJson().contains("hex")) {
    node.NeedObject({"hex"});
    return ParseHex(node.Need("hex"));
  }
  Bytes bytes;
  if (IsString(type)) {
    Append(bytes, node.Text());
  } else if (type == ce::REG_MULTI_SZ) {
    node.ForEach([&](const JsonNode& text) { Append(bytes, text.Text()); });
    Append(bytes, {});
  } else if (type == ce::REG_DWORD) {
    const auto number = node.Number<std::uint32_t>();
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<std::uint8_t>(number >> shift));
  } else {
    node.Misfit("{\"hex\": two hexadecimal digits a byte}");
  }
  return bytes;
}

// The plain form of the data, if it has one that gives the same bytes back.
std::optional<nlohmann::json> PlainData(const RegistryValue& value) {
  const std::u16string text = Units(value.data);
  const bool wholeUnits = value.data.size() % 2 == 0;
  if (IsString(value.type) && wholeUnits && !text.empty() && text.back() == u'\0') {
    return TextToJson(std::u16string_view(text).substr(0, text.size() - 1));
  }
  if (value.type == ce::REG_DWORD && value.data.size() == 4) {
    return value.data[0] | value.data[1] << 8 | value.data[2] << 16 | std::uint32_t{value.data[3]} << 24;
  }
  if (value.type != ce::REG_MULTI_SZ || !wholeUnits || text.empty() || text.back() != u'\0') return std::nullopt;
  nlohmann::json list = nlohmann::json::array();
  std::u16string_view rest = std::u16string_view(text).substr(0, text.size() - 1);
  if (!rest.empty() && rest.back() != u'\0') return std::nullopt;
  for (; !rest.empty(); rest.remove_prefix(rest.find(u'\0') + 1))
    list.push_back(TextToJson(rest.substr(0, rest.find(u'\0'))));
  return list;
}

RegistryValue ParseValue(const JsonNode& node) {
  node.NeedObject({"name", "type", "data"});
  RegistryValue value;
  value.name = node.Need("name").Text();
  if (value.name.size() > kLongestName) node.Need("name").Misfit("a name of at most 255 units");
  value.type = ParseType(node.Need("type"));
  value.data = ParseData(node.Need("data"), value.type);
  return value;
}

// The path with the root's short name.
std::u16string ParsePath(const JsonNode& node) {
  const std::u16string path = node.Text();
  const auto names = SplitKeyPath(path);
  for (const RegistryRoot& root : kRegistryRoots) {
    const std::string first = ForPeople(names.empty() ? u"" : names[0]);
    if (first != root.name && first != root.longName) continue;
    std::u16string full(root.name.begin(), root.name.end());
    for (std::size_t i = 1; i < names.size(); ++i) {
      if (names[i].empty() || names[i].size() > kLongestName) node.Misfit("key names of 1 to 255 units");
      full.append(u"\\").append(names[i]);
    }
    return full;
  }
  node.Misfit("a path that begins with HKCR, HKCU, HKLM or HKU");
}

}  // namespace

const RegistryRoot* FindRoot(std::uintptr_t handle) {
  const auto at = std::ranges::find(kRegistryRoots, handle, &RegistryRoot::handle);
  return at == kRegistryRoots.end() ? nullptr : &*at;
}

std::vector<std::u16string_view> SplitKeyPath(std::u16string_view path) {
  std::vector<std::u16string_view> names;
  while (!path.empty()) {
    const std::size_t end = std::min(path.find(u'\\'), path.size());
    names.push_back(path.substr(0, end));
    path.remove_prefix(std::min(end + 1, path.size()));
  }
  return names;
}

std::vector<RegistryKey> ParseRegistry(const JsonNode& list) {
  std::vector<RegistryKey> keys;
  std::set<std::u16string> paths;
  list.ForEach([&](const JsonNode& node) {
    node.NeedObject({"key", "values"});
    RegistryKey key{ParsePath(node.Need("key")), {}};
    if (!paths.insert(Fold(key.path)).second) node.Need("key").Misfit("a key that is not there already");
    std::set<std::u16string> names;
    if (const auto values = node.Find("values")) {
      values->ForEach([&](const JsonNode& value) {
        key.values.push_back(ParseValue(value));
        if (!names.insert(Fold(key.values.back().name)).second) value.Misfit("a value that is not there already");
      });
    }
    keys.push_back(std::move(key));
  });
  return keys;
}

nlohmann::json PrintRegistry(const std::vector<RegistryKey>& keys) {
  nlohmann::json list = nlohmann::json::array();
  for (const RegistryKey& key : keys) {
    nlohmann::json values = nlohmann::json::array();
    for (const RegistryValue& value : key.values) {
      const auto plain = PlainData(value);
      values.push_back({{"name", TextToJson(value.name)},
                        {"type", PrintType(value.type)},
                        {"data", plain ? *plain : nlohmann::json{{"hex", ToHex(value.data)}}}});
    }
    list.push_back({{"key", TextToJson(key.path)}, {"values", std::move(values)}});
  }
  return list;
}

}  // namespace handset
