#include <fmt/format.h>
#include <map>
#include <nlohmann/json.hpp>

#include "handset/Text.h"
#include "handset/store/JsonNode.h"
#include "programs/phone/import/Import.h"
#include "programs/phone/import/RegistryText.h"

namespace brelix_phone {
namespace {

using nlohmann::json;

json ValueToJson(const handset::RegistryValue& value) {
  return {
      {"name", handset::TextToJson(value.name)}, {"type", value.type}, {"data", {{"hex", handset::ToHex(value.data)}}}};
}

// Under which a key or value of the description is found: without regard to case, and to the root's spelling.
std::u16string Place(const json& owner, const char* member) {
  if (!owner.is_object() || !owner.contains(member)) return {};
  std::u16string text = handset::JsonNode(owner[member], "/registry").Text();
  for (const handset::RegistryRoot& root : handset::kRegistryRoots) {
    const std::u16string longName(root.longName.begin(), root.longName.end());
    const std::u16string_view rest = std::u16string_view(text).substr(std::min(longName.size(), text.size()));
    if (text.starts_with(longName) && (rest.empty() || rest[0] == u'\\')) {
      text.replace(0, longName.size(), std::u16string(root.name.begin(), root.name.end()));
    }
  }
  return handset::Fold(text);
}

void Merge(json& values, const handset::RegistryKey& key) {
  std::map<std::u16string, std::size_t> places;
  for (std::size_t i = 0; i < values.size(); ++i) places[Place(values[i], "name")] = i;
  for (const handset::RegistryValue& value : key.values) {
    const auto there = places.find(handset::Fold(value.name));
    if (there != places.end()) {
      values[there->second] = ValueToJson(value);
    } else {
      values.push_back(ValueToJson(value));
    }
  }
}

}  // namespace

void ImportRegistry(const std::filesystem::path& file, json& description) {
  const std::vector<handset::RegistryKey> keys = ReadRegistryText(file);
  json& list = description["registry"];
  if (list.is_null()) list = json::array();
  if (!list.is_array()) return;  // the description's reader says what is wrong
  std::map<std::u16string, std::size_t> places;
  for (std::size_t i = 0; i < list.size(); ++i) places[Place(list[i], "key")] = i;
  for (const handset::RegistryKey& key : keys) {
    const auto [at, isNew] = places.emplace(handset::Fold(key.path), list.size());
    if (isNew) list.push_back({{"key", handset::TextToJson(key.path)}, {"values", json::array()}});
    json& values = list[at->second]["values"];
    if (values.is_null() || values.is_array()) Merge(values, key);
  }
}

}  // namespace brelix_phone
