#include "handset/Text.h"

#include <array>
#include <charconv>
#include <clocale>
#include <cwctype>
#include <fmt/format.h>
#include <stdexcept>

namespace handset {

namespace {

constexpr bool IsHigh(char32_t c) { return c >= 0xD800 && c <= 0xDBFF; }
constexpr bool IsLow(char32_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

struct Length {
  std::uint8_t mask;
  std::uint8_t mark;
  std::size_t size;
  char32_t least;  // shorter forms of a smaller character are not UTF-8
};
constexpr std::array<Length, 4> kLengths = {
    {{0x80, 0x00, 1, 0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}}};

// Takes one character off the front of the text.
std::optional<char32_t> Decode(std::string_view& text) {
  const auto first = static_cast<std::uint8_t>(text[0]);
  for (const Length& length : kLengths) {
    if ((first & length.mask) != length.mark) continue;
    if (text.size() < length.size) return std::nullopt;
    char32_t c = first & static_cast<std::uint8_t>(~length.mask);
    for (std::size_t i = 1; i < length.size; ++i) {
      const auto next = static_cast<std::uint8_t>(text[i]);
      if ((next & 0xC0) != 0x80) return std::nullopt;
      c = c << 6 | (next & 0x3F);
    }
    if (c < length.least || c > 0x10FFFF) return std::nullopt;
    text.remove_prefix(length.size);
    return c;
  }
  return std::nullopt;
}

void Encode(char32_t c, std::string& out) {
  std::size_t i = 0;
  while (i + 1 < kLengths.size() && c >= kLengths[i + 1].least) ++i;
  const Length& length = kLengths[i];
  const auto shift = [&](std::size_t byte) { return 6 * (length.size - 1 - byte); };
  out.push_back(static_cast<char>(length.mark | c >> shift(0)));
  for (std::size_t byte = 1; byte < length.size; ++byte) {
    out.push_back(static_cast<char>(0x80 | (c >> shift(byte) & 0x3F)));
  }
}

// Takes one character, or one lone surrogate, off the front of the text.
char32_t Take(std::u16string_view& text) {
  const char32_t first = text[0];
  text.remove_prefix(1);
  if (!IsHigh(first) || text.empty() || !IsLow(text[0])) return first;
  const char32_t second = text[0];
  text.remove_prefix(1);
  return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
}

std::string ToUtf8(std::u16string_view text, bool replace) {
  std::string out;
  while (!text.empty()) {
    const char32_t c = Take(text);
    Encode(replace && (IsHigh(c) || IsLow(c)) ? 0xFFFD : c, out);
  }
  return out;
}

}  // namespace

std::string ToWtf8(std::u16string_view text) { return ToUtf8(text, false); }

std::string ForPeople(std::u16string_view text) { return ToUtf8(text, true); }

std::optional<std::u16string> FromUtf8(std::string_view text, Surrogates surrogates) {
  std::u16string out;
  while (!text.empty()) {
    const std::optional<char32_t> c = Decode(text);
    if (!c) return std::nullopt;
    if ((IsHigh(*c) || IsLow(*c)) && surrogates == Surrogates::kRefuse) return std::nullopt;
    if (*c < 0x10000) {
      out.push_back(static_cast<char16_t>(*c));
    } else {
      out.push_back(static_cast<char16_t>(0xD800 + ((*c - 0x10000) >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + ((*c - 0x10000) & 0x3FF)));
    }
  }
  return out;
}

std::u16string FromWtf8(std::string_view text) {
  std::optional<std::u16string> out = FromUtf8(text, Surrogates::kAccept);
  if (!out) throw std::runtime_error("a text in the database is not UTF-8");
  return std::move(*out);
}

bool IsWellFormed(std::u16string_view text) {
  while (!text.empty()) {
    const char32_t c = Take(text);
    if (IsHigh(c) || IsLow(c)) return false;
  }
  return true;
}

std::u16string Fold(std::u16string_view text) {
  static const locale_t kLocale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  std::u16string folded(text);
  for (char16_t& c : folded) {
    const auto upper = static_cast<char32_t>(kLocale ? towupper_l(static_cast<wint_t>(c), kLocale)
                                                     : std::towupper(static_cast<wint_t>(c)));
    if (upper < 0x10000) c = static_cast<char16_t>(upper);
  }
  return folded;
}

std::string ToHex(std::span<const std::uint8_t> bytes) {
  std::string hex;
  for (const std::uint8_t byte : bytes) fmt::format_to(std::back_inserter(hex), "{:02X}", byte);
  return hex;
}

std::optional<Bytes> FromHex(std::string_view hex) {
  if (hex.size() % 2 != 0) return std::nullopt;
  Bytes bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    std::uint8_t byte = 0;
    const char* end = hex.data() + i + 2;
    const auto [stop, error] = std::from_chars(hex.data() + i, end, byte, 16);
    if (error != std::errc{} || stop != end) return std::nullopt;
    bytes.push_back(byte);
  }
  return bytes;
}

std::string ToHexUnits(std::u16string_view text) {
  std::string hex;
  for (const char16_t unit : text) fmt::format_to(std::back_inserter(hex), "{:04X}", static_cast<unsigned>(unit));
  return hex;
}

std::optional<std::u16string> FromHexUnits(std::string_view hex) {
  const std::optional<Bytes> bytes = FromHex(hex);
  if (!bytes || bytes->size() % 2 != 0) return std::nullopt;
  std::u16string text;
  for (std::size_t i = 0; i < bytes->size(); i += 2) {
    text.push_back(static_cast<char16_t>((*bytes)[i] << 8 | (*bytes)[i + 1]));
  }
  return text;
}

}  // namespace handset
