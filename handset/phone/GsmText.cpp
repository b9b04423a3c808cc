#include "handset/phone/GsmText.h"

#include <algorithm>

namespace handset {

namespace {

// GSM 03.38: the default alphabet beside the printable ASCII characters, and what of those it lacks or has twice as
// long, in the extension table.
constexpr std::u16string_view kBeyondAscii =
    u"\n\r\u00A3\u00A5\u00E8\u00E9\u00F9\u00EC\u00F2\u00C7\u00D8\u00F8\u00C5\u00E5\u0394\u03A6\u0393\u039B\u03A9\u03A0"
    u"\u03A8\u03A3\u0398\u039E\u00C6\u00E6\u00DF\u00C9\u00A4\u00A1\u00C4\u00D6\u00D1\u00DC\u00A7\u00BF\u00E4\u00F6"
    u"\u00F1"
    u"\u00FC\u00E0";
constexpr std::u16string_view kExtension = u"\f^{}\\[~]|\u20AC";
constexpr std::u16string_view kNotInAlphabet = u"`";

// Room of a message alone, and of one among several, whose user data begins with a header of six bytes.
constexpr std::uint32_t kSeptetsAlone = 160;
constexpr std::uint32_t kSeptetsOfSeveral = 153;
constexpr std::uint32_t kUnitsAlone = 70;
constexpr std::uint32_t kUnitsOfSeveral = 67;

bool Has(std::u16string_view set, char16_t c) { return set.find(c) != std::u16string_view::npos; }

// 0 when the alphabet does not have the character.
std::uint32_t Septets(char16_t c) {
  if (Has(kExtension, c)) return 2;
  const bool ascii = c >= 0x20 && c <= 0x7E && !Has(kNotInAlphabet, c);
  return ascii || Has(kBeyondAscii, c) ? 1 : 0;
}

bool IsHigh(char16_t c) { return c >= 0xD800 && c <= 0xDBFF; }

// sizeOf(text, at, size): the size of the character at a place, and how many of the text's units it is.
template <typename SizeOf>
GsmText Measure(std::u16string_view text, bool sevenBit, std::uint32_t alone, std::uint32_t ofSeveral, SizeOf sizeOf) {
  std::uint32_t total = 0;
  std::uint32_t parts = 1;
  std::uint32_t inPart = 0;
  for (std::size_t at = 0; at < text.size();) {
    const auto [size, taken] = sizeOf(at);
    total += size;
    if (inPart + size > ofSeveral) {
      ++parts;
      inPart = 0;
    }
    inPart += size;
    at += taken;
  }
  return {sevenBit, total, total <= alone ? 1 : parts};
}

struct Size {
  std::uint32_t size;
  std::size_t taken;
};

}  // namespace

GsmText MeasureText(std::u16string_view text, std::uint32_t encoding) {
  const bool fits = std::ranges::all_of(text, [](char16_t c) { return Septets(c) != 0; });
  const bool sevenBit = encoding == 1 || (encoding == 0 && fits);
  if (sevenBit) {
    return Measure(text, true, kSeptetsAlone, kSeptetsOfSeveral, [&](std::size_t at) {
      return Size{std::max<std::uint32_t>(Septets(text[at]), 1), 1};
    });
  }
  return Measure(text, false, kUnitsAlone, kUnitsOfSeveral, [&](std::size_t at) {
    const std::uint32_t units = IsHigh(text[at]) && at + 1 < text.size() ? 2 : 1;
    return Size{units, units};
  });
}

}  // namespace handset
