// How the platform's texts become wire text: the pieces that the engine's codecs and the reply writer share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
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

// How many bytes that makes.
constexpr std::uint32_t Utf8Size(std::u16string_view text) {
  std::uint32_t size = 0;
  EncodeUtf8(text, [&size](std::uint8_t) { ++size; });
  return size;
}

// Makes units of the bytes that byteAt(place) gives, up to a byte 0 where a character would begin or until dest is full
// but for the terminator, which is always written. Returns the bytes consumed. Continuation bytes are not checked.
template <class ByteAt>
constexpr std::uint32_t DecodeUtf8(ByteAt byteAt, std::span<char16_t> dest) {
  std::uint32_t read = 0;
  std::size_t written = 0;
  while (written + 1 < dest.size() && byteAt(read) != 0) {
    const std::uint32_t first = byteAt(read);
    std::uint32_t unit = 0;
    if (first < 0x80) {
      unit = first;
      read += 1;
    } else if (first >= 0xC0 && first <= 0xDF) {
      unit = ((first - 0xC0U) << 6) + (byteAt(read + 1) - 0x80U);
      read += 2;
    } else if (first >= 0xE0 && first <= 0xEF) {
      unit = ((first & 0x0FU) << 12) + ((byteAt(read + 1) - 0x80U) << 6) + (byteAt(read + 2) - 0x80U);
      read += 3;
    } else {
      // Kept(stray-byte-fills-with-question-marks): a byte that begins no character is never got past; "?" fills the
      // destination up to its bound.
      unit = u'?';
    }
    dest[written++] = static_cast<char16_t>(unit);
  }
  dest[written] = 0;
  return read;
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
