// Texts from the phone, made safe to show and to store.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace brelix {

// What may stand between the elements of a document.
inline constexpr std::string_view kBlanks = " \t\r\n";

// Proper UTF-8 from the phone's: a character outside the basic plane arrives as two three-byte surrogates and is
// joined; a lone surrogate or a byte that belongs to no character becomes U+FFFD.
std::string CleanUtf8(std::string_view wire);

// The other way, for texts in requests: a phone reads a character outside the basic plane only as two surrogates.
// Nothing when the text is not proper UTF-8 or holds a NUL, which would end it on the phone.
std::optional<std::string> ToWireText(std::string_view utf8);

// These two for texts that are read, changed in part and written back: a lone surrogate stays as its three bytes, so
// that what nobody touched returns as it was.
std::string JoinSurrogates(std::string_view wire);
std::string SplitSurrogates(std::string_view text);

// True for proper UTF-8, without surrogates.
bool IsUtf8(std::string_view text);

// How many bytes the first character of a text takes; 1 for a byte that belongs to none. The text is not empty.
size_t CharacterSize(std::string_view utf8);

// The first UTF-16 unit of a text, 0 for an empty one.
uint16_t FirstUnit(std::string_view utf8);

// The UTF-16 units that the phone has, surrogates without their other half included; nothing for bytes that no phone
// makes of a text.
std::optional<std::u16string> WireUnits(std::string_view wire);

// Proper UTF-8 from UTF-16 units; half a surrogate pair becomes U+FFFD.
std::string UnitsToUtf8(std::u16string_view units);

// UTF-8 from a text of one byte per character.
std::string Latin1ToUtf8(std::string_view wire);

// The same text with pictures in place of control characters, so that a phone cannot steer the terminal it is shown on.
std::string Printable(std::string_view utf8);

std::string Hex(std::string_view bytes);

}  // namespace brelix
