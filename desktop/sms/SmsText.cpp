#include "desktop/sms/SmsText.h"

#include <algorithm>

namespace brelix {
namespace {

// The default alphabet in the order of its codes 00 to 7F, without the escape at 1B, and the extension table.
constexpr std::u32string_view kDefault =
    U"@\u00A3$\u00A5\u00E8\u00E9\u00F9\u00EC\u00F2\u00C7\n\u00D8\u00F8\r\u00C5\u00E5"
    U"\u0394_\u03A6\u0393\u039B\u03A9\u03A0\u03A8\u03A3\u0398\u039E\u00C6\u00E6\u00DF\u00C9"
    U" !\"#\u00A4%&'()*+,-./0123456789:;<=>?"
    U"\u00A1ABCDEFGHIJKLMNOPQRSTUVWXYZ\u00C4\u00D6\u00D1\u00DC\u00A7"
    U"\u00BFabcdefghijklmnopqrstuvwxyz\u00E4\u00F6\u00F1\u00FC\u00E0";
static_assert(kDefault.size() == 127);
constexpr std::u32string_view kExtension = U"\f^{}\\[~]|\u20AC";

struct Capacity {
  size_t alone, as_part;
};
constexpr Capacity kGsm7 = {160, 153};
constexpr Capacity kUcs2 = {70, 67};

struct Character {
  char32_t code;
  std::string_view bytes;
};

std::vector<Character> Characters(std::string_view utf8) {
  std::vector<Character> all;
  while (!utf8.empty()) {
    const auto lead = static_cast<unsigned char>(utf8[0]);
    const size_t size = std::min<size_t>(lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4, utf8.size());
    char32_t code = size == 1 ? lead : lead & (0x7F >> size);
    for (size_t i = 1; i < size; i++) code = code << 6 | (static_cast<unsigned char>(utf8[i]) & 0x3F);
    all.push_back({code, utf8.substr(0, size)});
    utf8.remove_prefix(size);
  }
  return all;
}

size_t Utf16Units(const Character& c) { return c.code > 0xFFFF ? 2 : 1; }

// 0: the alphabet does not have it.
size_t Septets(const Character& c) {
  if (kDefault.find(c.code) != kDefault.npos) return 1;
  return kExtension.find(c.code) != kExtension.npos ? 2 : 0;
}

}  // namespace

const char* AlphabetName(SmsText::Alphabet alphabet) {
  return alphabet == SmsText::Alphabet::kGsm7 ? "GSM 7-bit" : "UCS-2";
}

SmsText DivideSms(std::string_view utf8) {
  const std::vector<Character> characters = Characters(utf8);
  SmsText text;
  const bool gsm7 = std::all_of(characters.begin(), characters.end(), Septets);
  text.alphabet = gsm7 ? SmsText::Alphabet::kGsm7 : SmsText::Alphabet::kUcs2;
  const auto size = gsm7 ? Septets : Utf16Units;
  for (const Character& c : characters) {
    text.utf16_units += Utf16Units(c);
    text.length += size(c);
  }

  const Capacity capacity = gsm7 ? kGsm7 : kUcs2;
  const size_t room = text.length <= capacity.alone ? capacity.alone : capacity.as_part;
  size_t used = 0;
  text.parts.emplace_back();
  for (const Character& c : characters) {
    if (used + size(c) > room) {
      text.parts.emplace_back();
      used = 0;
    }
    text.parts.back() += c.bytes;
    used += size(c);
  }
  text.capacity = room * text.parts.size();
  return text;
}

}  // namespace brelix
