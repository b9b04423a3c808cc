// How the platform's texts become wire text: the pieces that the engine's codecs and the reply writer share.
#pragma once

#include <cstdint>
#include <string_view>

namespace codecs {

inline constexpr std::string_view kXmlDeclaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";

// Gives the UTF-8 bytes of a text to put(byte), one after the other.
// Kept(low-byte-zero-empties-text): a text whose first unit has a low byte of 0 (U+0100, U+4E00, ...) becomes empty, as
// if it ended there. Desktops see such texts empty; do not test the whole unit.
// Kept(surrogates-one-by-one): each half of a surrogate pair becomes three bytes of its own, so a character outside the
// basic plane takes six bytes instead of four.
template <class Put>
constexpr void EncodeUtf8(std::u16string_view text, Put put) {
  if (text.empty() || (text.front() & 0xFF) == 0) {
    return;
  }
  for (const std::uint32_t c : text) {
    if (c < 0x80) {
      put(static_cast<std::uint8_t>(c));
    } else if (c < 0x800) {
      put(static_cast<std::uint8_t>(0xC0 + (c >> 6)));
      put(static_cast<std::uint8_t>(0x80 + (c & 0x3F)));
    } else {
      put(static_cast<std::uint8_t>(0xE0 + (c >> 12)));
      put(static_cast<std::uint8_t>(0x80 + ((c >> 6) & 0x3F)));
      put(static_cast<std::uint8_t>(0x80 + (c & 0x3F)));
    }
  }
}

constexpr bool IsXmlSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// Where a token of a document stands.
struct Token {
  std::int32_t begin;
  std::int32_t end;
};

// The next token from pos on, never at or beyond limit: a tag, the white space in front of it left out, or the text up
// to the next tag. A tag's first byte belongs to it whatever it is.
constexpr Token FindToken(const char* source, std::int32_t pos, std::int32_t limit, bool tag) {
  while (tag && pos < limit && IsXmlSpace(source[pos])) {
    ++pos;
  }
  Token token{pos, pos};
  if (tag && pos < limit) {
    do {
      ++token.end;
    } while (token.end < limit && source[token.end] != '>');
    token.end += token.end < limit ? 1 : 0;
  }
  while (!tag && token.end < limit && source[token.end] != '<') {
    ++token.end;
  }
  return token;
}

}  // namespace codecs
