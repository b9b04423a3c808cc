#include "desktop/registry/ValueText.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <utility>

#include "desktop/Text.h"

namespace brelix {

std::string TypeText(uint32_t type) {
  switch (type) {
    case kNone:
      return "none";
    case kText:
      return "sz";
    case kExpandable:
      return "expand_sz";
    case kBinary:
      return "binary";
    case kNumber:
      return "dword";
    case kMultiText:
      return "multi_sz";
    default:
      return fmt::format("hex({:x})", type);
  }
}

std::optional<std::vector<std::u16string>> MultiText(const RegistryValue& value) {
  const Bytes& data = value.data;
  if (value.type != kMultiText || data.size() % 2 != 0 || data.empty()) return std::nullopt;
  std::vector<std::u16string> texts;
  std::u16string text;
  for (size_t at = 0; at < data.size(); at += 2) {
    const auto unit = static_cast<char16_t>(data[at] | data[at + 1] << 8);
    const bool last = at + 2 == data.size();
    if (unit != 0) {
      text += unit;
    } else if (text.empty()) {
      return last ? std::optional(texts) : std::nullopt;
    } else {
      texts.push_back(std::exchange(text, {}));
    }
  }
  return std::nullopt;
}

std::optional<uint32_t> Number(const RegistryValue& value) {
  const Bytes& data = value.data;
  if (value.type != kNumber || data.size() != 4) return std::nullopt;
  return data[0] | data[1] << 8 | data[2] << 16 | uint32_t{data[3]} << 24;
}

std::string DataText(const RegistryValue& value) {
  if (value.IsText()) return CleanUtf8(value.Text());
  if (const auto number = Number(value)) return fmt::format("0x{:08X} ({})", *number, *number);
  if (const auto texts = MultiText(value)) {
    std::vector<std::string> shown;
    for (const std::u16string& text : *texts) shown.push_back(UnitsToUtf8(text));
    return fmt::format("{}", fmt::join(shown, "; "));
  }
  return fmt::format("{:02x}", fmt::join(value.data, " "));
}

}  // namespace brelix
