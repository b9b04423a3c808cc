// Members of a description that may be left out, and lists, in one line each.
#pragma once

#include <vector>

#include "handset/store/JsonNode.h"

namespace handset {

inline void ReadBool(const JsonNode& node, std::string_view member, bool& value) {
  if (const auto found = node.Find(member)) value = found->Bool();
}

template <typename T>
void ReadNumber(const JsonNode& node, std::string_view member, T& value) {
  if (const auto found = node.Find(member)) value = found->Number<T>();
}

inline void ReadText(const JsonNode& node, std::string_view member, std::optional<std::u16string>& value) {
  if (const auto found = node.Find(member)) value = found->Text();
}

template <typename Item, typename Parse>
void ReadList(const JsonNode& node, std::string_view member, std::vector<Item>& items, Parse parse) {
  const auto list = node.Find(member);
  if (!list) return;
  items.clear();
  list->ForEach([&](const JsonNode& item) { items.push_back(parse(item)); });
}

template <typename Item, typename Print>
nlohmann::json PrintList(const std::vector<Item>& items, Print print) {
  nlohmann::json list = nlohmann::json::array();
  for (const Item& item : items) list.push_back(print(item));
  return list;
}

// A text that is absent is no member.
inline void PrintText(nlohmann::json& out, const char* member, const std::optional<std::u16string>& text) {
  if (text) out[member] = TextToJson(*text);
}

}  // namespace handset
