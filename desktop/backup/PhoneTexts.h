// Texts of the wire as a phone's folder has them, and as JSON.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace brelix::backup {

// The UTF-16 units of a text as it stands on the wire, half surrogate pairs included; what no phone makes of a text
// becomes U+FFFD.
std::u16string PhoneText(std::string_view wire);

// The units of proper UTF-8; U+FFFD for what is none.
std::u16string TextOfUtf8(std::string_view utf8);

// A name of this computer's files as JSON, and back: a string, or {"hex": ...} for bytes that are no UTF-8.
nlohmann::json ToJson(const std::string& bytes);
// Nothing for what is neither.
std::optional<std::string> BytesOf(const nlohmann::json& json);

}  // namespace brelix::backup
