#include "desktop/Text.h"

#include <cstdint>
#include <fmt/format.h>

namespace brelix {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

struct Decoded {
  char32_t character;
  size_t size;  // bytes used
};

bool IsHigh(char32_t c) { return c >= 0xD800 && c < 0xDC00; }
bool IsLow(char32_t c) { return c >= 0xDC00 && c < 0xE000; }

void Append(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | c >> 6);
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | c >> 12);
    out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | c >> 18);
    out += static_cast<char>(0x80 | (c >> 12 & 0x3F));
    out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

// One sequence, surrogates included; an overlong, too large or broken one is a single bad byte.
Decoded DecodeOne(std::string_view text) {
  const auto lead = static_cast<uint8_t>(text[0]);
  if (lead < 0x80) return {lead, 1};
  const size_t size = lead >= 0xC2 && lead < 0xE0   ? 2
                      : lead >= 0xE0 && lead < 0xF0 ? 3
                      : lead >= 0xF0 && lead < 0xF5 ? 4
                                                    : 0;
  if (size == 0 || text.size() < size) return {kReplacement, 1};
  char32_t c = lead & (0x7F >> size);
  for (size_t i = 1; i < size; i++) {
    const auto next = static_cast<uint8_t>(text[i]);
    if ((next & 0xC0) != 0x80) return {kReplacement, 1};
    c = c << 6 | (next & 0x3F);
  }
  const bool overlong = (size == 3 && c < 0x800) || (size == 4 && c < 0x10000);
  if (overlong || c > 0x10FFFF) return {kReplacement, 1};
  return {c, size};
}

// The first character, of two surrogates if need be; a surrogate alone as it is.
char32_t TakeJoined(std::string_view& text) {
  const Decoded one = DecodeOne(text);
  text.remove_prefix(one.size);
  if (!IsHigh(one.character) || text.empty()) return one.character;
  const Decoded two = DecodeOne(text);
  if (!IsLow(two.character)) return one.character;
  text.remove_prefix(two.size);
  return 0x10000 + ((one.character - 0xD800) << 10) + (two.character - 0xDC00);
}

}  // namespace

std::string CleanUtf8(std::string_view wire) {
  std::string out;
  out.reserve(wire.size());
  while (!wire.empty()) {
    const char32_t c = TakeJoined(wire);
    Append(out, IsHigh(c) || IsLow(c) ? kReplacement : c);
  }
  return out;
}

std::string JoinSurrogates(std::string_view wire) {
  std::string out;
  out.reserve(wire.size());
  while (!wire.empty()) Append(out, TakeJoined(wire));
  return out;
}

std::string SplitSurrogates(std::string_view utf8) {
  std::string out;
  out.reserve(utf8.size());
  while (!utf8.empty()) {
    const Decoded one = DecodeOne(utf8);
    utf8.remove_prefix(one.size);
    if (one.character < 0x10000) {
      Append(out, one.character);
    } else {
      Append(out, 0xD800 + ((one.character - 0x10000) >> 10));
      Append(out, 0xDC00 + ((one.character - 0x10000) & 0x3FF));
    }
  }
  return out;
}

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const Decoded one = DecodeOne(text);
    const bool stray = one.size == 1 && static_cast<uint8_t>(text[0]) >= 0x80;
    if (stray || IsHigh(one.character) || IsLow(one.character)) return false;
    text.remove_prefix(one.size);
  }
  return true;
}

std::optional<std::string> ToWireText(std::string_view utf8) {
  if (!IsUtf8(utf8) || utf8.find('\0') != std::string_view::npos) return std::nullopt;
  return SplitSurrogates(utf8);
}

size_t CharacterSize(std::string_view utf8) { return DecodeOne(utf8).size; }

uint16_t FirstUnit(std::string_view utf8) {
  if (utf8.empty()) return 0;
  const char32_t c = DecodeOne(utf8).character;
  return static_cast<uint16_t>(c < 0x10000 ? c : 0xD800 + ((c - 0x10000) >> 10));
}

std::optional<std::u16string> WireUnits(std::string_view wire) {
  std::u16string units;
  units.reserve(wire.size());
  while (!wire.empty()) {
    const Decoded one = DecodeOne(wire);
    const bool broken = one.character == kReplacement && one.size == 1;
    if (broken || one.character >= 0x10000) return std::nullopt;
    wire.remove_prefix(one.size);
    units.push_back(static_cast<char16_t>(one.character));
  }
  return units;
}

std::string UnitsToUtf8(std::u16string_view units) {
  std::string out;
  for (size_t at = 0; at < units.size(); at++) {
    const char32_t unit = units[at];
    const bool pair = IsHigh(unit) && at + 1 < units.size() && IsLow(units[at + 1]);
    if (pair)
      Append(out, 0x10000 + ((unit - 0xD800) << 10) + (units[++at] - 0xDC00));
    else
      Append(out, IsHigh(unit) || IsLow(unit) ? kReplacement : unit);
  }
  return out;
}

std::string Latin1ToUtf8(std::string_view wire) {
  std::string out;
  for (const char c : wire) Append(out, static_cast<uint8_t>(c));
  return out;
}

std::string Printable(std::string_view utf8) {
  std::string out;
  while (!utf8.empty()) {
    const Decoded one = DecodeOne(utf8);
    utf8.remove_prefix(one.size);
    if (one.character < 0x20)
      Append(out, 0x2400 + one.character);
    else if (one.character >= 0x7F && one.character < 0xA0)
      Append(out, one.character == 0x7F ? 0x2421 : kReplacement);
    else
      Append(out, one.character);
  }
  return out;
}

std::string Hex(std::string_view bytes) {
  std::string out;
  for (const char c : bytes) out += fmt::format("{:02x}", static_cast<uint8_t>(c));
  return out;
}

}  // namespace brelix
