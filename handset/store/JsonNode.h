// Reading a description strictly: every misfit is a DescriptionError with the JSON pointer of its place.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace handset {

class JsonNode {
 public:
  explicit JsonNode(const nlohmann::json& json, std::string pointer = {})
      : m_json(json), m_pointer(std::move(pointer)) {}

  const nlohmann::json& GetJson() const { return m_json; }

  [[noreturn]] void Misfit(const std::string& expected, const std::string& found) const;
  [[noreturn]] void Misfit(const std::string& expected) const;

  // An object with no other members than these.
  void NeedObject(std::span<const std::string_view> members) const;
  void NeedObject(std::initializer_list<std::string_view> members) const {
    NeedObject(std::span(members.begin(), members.size()));
  }
  std::optional<JsonNode> Find(std::string_view member) const;
  JsonNode Need(std::string_view member) const;

  template <typename Visit>
  void ForEach(Visit visit) const {
    if (!m_json.is_array()) Misfit("a list");
    for (std::size_t i = 0; i < m_json.size(); ++i) visit(JsonNode(m_json[i], m_pointer + "/" + std::to_string(i)));
  }

  bool Bool() const;
  std::int64_t Integer(std::int64_t least, std::int64_t most) const;
  template <typename T>
  T Number() const {
    return static_cast<T>(Integer(0, std::numeric_limits<T>::max()));
  }
  // A number, or its hexadecimal form as a string ("0x80004005").
  std::uint32_t Code() const;
  // A UTF-8 string, or {"utf16": "four hexadecimal digits a unit"}.
  std::u16string Text() const;
  std::string String() const;

 private:
  const nlohmann::json& m_json;
  std::string m_pointer;
};

// The JSON that Text reads back.
nlohmann::json TextToJson(std::u16string_view text);

}  // namespace handset
