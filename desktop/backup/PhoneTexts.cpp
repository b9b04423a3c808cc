#include "desktop/backup/PhoneTexts.h"

#include "desktop/Text.h"
#include "handset/store/RowValues.h"

namespace brelix::backup {

std::u16string PhoneText(std::string_view wire) {
  if (auto units = WireUnits(wire)) return *std::move(units);
  return TextOfUtf8(CleanUtf8(wire));
}

std::u16string TextOfUtf8(std::string_view utf8) {
  return handset::FromUtf8(utf8, handset::Surrogates::kAccept).value_or(u"\uFFFD");
}

nlohmann::json ToJson(const std::string& bytes) {
  if (IsUtf8(bytes)) return bytes;
  return {{"hex", handset::ToHex({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()})}};
}

std::optional<std::string> BytesOf(const nlohmann::json& json) {
  if (json.is_string()) return json.get<std::string>();
  if (!json.is_object() || !json.contains("hex") || !json["hex"].is_string()) return std::nullopt;
  const auto bytes = handset::FromHex(json["hex"].get<std::string>());
  if (!bytes) return std::nullopt;
  return std::string(bytes->begin(), bytes->end());
}

}  // namespace brelix::backup
