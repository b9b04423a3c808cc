#include "desktop/Base64.h"

#include <array>

namespace brelix {
namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr uint8_t kNoDigit = 0xFF;
constexpr uint8_t kBlank = 0xFE;

constexpr std::array<uint8_t, 256> kDigits = [] {
  std::array<uint8_t, 256> digits{};
  digits.fill(kNoDigit);
  for (const char blank : {' ', '\t', '\r', '\n'}) digits[static_cast<uint8_t>(blank)] = kBlank;
  for (size_t i = 0; i < kAlphabet.size(); i++) digits[static_cast<uint8_t>(kAlphabet[i])] = static_cast<uint8_t>(i);
  return digits;
}();

}  // namespace

std::string ToBase64(ByteView bytes) {
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  for (size_t at = 0; at < bytes.size(); at += 3) {
    const auto byte = [&](size_t i) -> uint32_t { return at + i < bytes.size() ? bytes[at + i] : 0; };
    const uint32_t group = byte(0) << 16 | byte(1) << 8 | byte(2);
    out += kAlphabet[group >> 18];
    out += kAlphabet[group >> 12 & 63];
    out += at + 1 < bytes.size() ? kAlphabet[group >> 6 & 63] : '=';
    out += at + 2 < bytes.size() ? kAlphabet[group & 63] : '=';
  }
  return out;
}

std::optional<Bytes> FromBase64(std::string_view text) {
  Bytes out;
  out.reserve(text.size() / 4 * 3);
  uint32_t group = 0;
  int digits = 0, pads = 0;
  for (const char c : text) {
    const uint8_t digit = kDigits[static_cast<uint8_t>(c)];
    if (digit == kBlank) continue;
    if (c == '=') {
      if (digits < 2 || ++pads + digits > 4) return std::nullopt;
      continue;
    }
    if (digit == kNoDigit || pads > 0) return std::nullopt;
    group = group << 6 | digit;
    if (++digits < 4) continue;
    for (const int shift : {16, 8, 0}) out.push_back(static_cast<uint8_t>(group >> shift));
    group = 0;
    digits = 0;
  }
  if (digits + pads != 0 && digits + pads != 4) return std::nullopt;
  if (digits >= 2) out.push_back(static_cast<uint8_t>(group >> (6 * digits - 8)));
  if (digits == 3) out.push_back(static_cast<uint8_t>(group >> 2));
  return out;
}

}  // namespace brelix
