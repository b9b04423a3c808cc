#include "handset/store/JsonNode.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <vector>

#include "handset/Errors.h"
#include "handset/Text.h"
#include "handset/store/NearMatch.h"

namespace handset {

namespace {

// Short enough for one line, and a string that is no UTF-8 does no harm.
std::string Shown(const nlohmann::json& json) {
  constexpr std::size_t kMost = 60;
  std::string text = json.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
  if (text.size() > kMost) text.replace(kMost, std::string::npos, "...");
  return text;
}

std::string PointerPart(std::string_view member) {
  std::string part = "/";
  for (const char c : member) {
    if (c == '~') {
      part += "~0";
    } else if (c == '/') {
      part += "~1";
    } else {
      part += c;
    }
  }
  return part;
}

}  // namespace

void JsonNode::Misfit(const std::string& expected, const std::string& found) const {
  throw DescriptionError(m_pointer, expected, found);
}

void JsonNode::Misfit(const std::string& expected) const { Misfit(expected, Shown(m_json)); }

void JsonNode::NeedObject(std::span<const std::string_view> members) const {
  if (!m_json.is_object()) Misfit("an object");
  for (const auto& [name, value] : m_json.items()) {
    if (std::ranges::find(members, name) != members.end()) continue;
    JsonNode(value, m_pointer + PointerPart(name))
        .Misfit(fmt::format("one of {}", fmt::join(members, ", ")), Shown(name) + NearMatches(name, members));
  }
}

std::optional<JsonNode> JsonNode::Find(std::string_view member) const {
  const auto at = m_json.find(member);
  if (at == m_json.end()) return std::nullopt;
  return JsonNode(*at, m_pointer + PointerPart(member));
}

JsonNode JsonNode::Need(std::string_view member) const {
  const auto found = Find(member);
  if (!found) Misfit(fmt::format("\"{}\"", member));
  return *found;
}

bool JsonNode::Bool() const {
  if (!m_json.is_boolean()) Misfit("true or false");
  return m_json.get<bool>();
}

std::int64_t JsonNode::Integer(std::int64_t least, std::int64_t most) const {
  const bool fits = m_json.is_number_unsigned()
                        ? m_json.get<std::uint64_t>() <= static_cast<std::uint64_t>(std::max<std::int64_t>(most, 0))
                        : m_json.is_number_integer();
  if (!fits || m_json.get<std::int64_t>() < least || m_json.get<std::int64_t>() > most) {
    Misfit(fmt::format("a whole number from {} to {}", least, most));
  }
  return m_json.get<std::int64_t>();
}

std::uint32_t JsonNode::Code() const {
  if (!m_json.is_string()) return Number<std::uint32_t>();
  const std::string text = String();
  std::uint32_t code = 0;
  const char* end = text.data() + text.size();
  const bool prefixed = text.starts_with("0x") && text.size() > 2;
  const auto [stop, error] = std::from_chars(text.data() + (prefixed ? 2 : 0), end, code, 16);
  if (!prefixed || error != std::errc{} || stop != end) Misfit("a code such as \"0x80004005\"");
  return code;
}

std::u16string JsonNode::Text() const {
  constexpr const char* kExpected = "a text, or {\"utf16\": four hexadecimal digits a unit}";
  std::optional<std::u16string> text;
  if (m_json.is_object()) {
    NeedObject({"utf16"});
    text = FromHexUnits(Need("utf16").String());
  } else if (m_json.is_string()) {
    text = FromUtf8(m_json.get_ref<const std::string&>(), Surrogates::kRefuse);
  }
  if (!text) Misfit(kExpected);
  return std::move(*text);
}

std::string JsonNode::String() const {
  if (!m_json.is_string()) Misfit("a string");
  return m_json.get<std::string>();
}

nlohmann::json TextToJson(std::u16string_view text) {
  if (IsWellFormed(text)) return ToWtf8(text);
  return {{"utf16", ToHexUnits(text)}};
}

}  // namespace handset
