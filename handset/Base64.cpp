#include "handset/Base64.h"

#include <algorithm>

namespace handset {

namespace {

constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t kGroup = 4;

}  // namespace

std::string ToBase64(std::span<const std::uint8_t> bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * kGroup);
  while (!bytes.empty()) {
    const std::size_t count = std::min<std::size_t>(bytes.size(), 3);
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i) group = group << 8 | (i < count ? bytes[i] : 0U);
    for (std::size_t i = 0; i < kGroup; ++i) text += i <= count ? kDigits[group >> (18 - 6 * i) & 0x3F] : '=';
    bytes = bytes.subspan(count);
  }
  return text;
}

std::optional<Bytes> FromBase64(std::string_view text) {
  if (text.size() % kGroup != 0) return std::nullopt;
  std::string_view digits = text;
  while (digits.ends_with('=') && text.size() - digits.size() < 2) digits.remove_suffix(1);
  Bytes bytes;
  bytes.reserve(text.size() / kGroup * 3);
  std::uint32_t bits = 0;
  unsigned count = 0;
  for (const char c : digits) {
    const std::size_t digit = kDigits.find(c);
    if (digit == std::string_view::npos) return std::nullopt;
    bits = bits << 6 | static_cast<std::uint32_t>(digit);
    count += 6;
    if (count < 8) continue;
    count -= 8;
    bytes.push_back(static_cast<std::uint8_t>(bits >> count));
  }
  // What is left over is padding, of which a writer makes zeros.
  if ((bits & ((1U << count) - 1)) != 0) return std::nullopt;
  return bytes;
}

}  // namespace handset
