// Texts of the phone are any 16-bit units. Inside the handset and in its database they are UTF-8 in which a lone
// surrogate stands as three bytes of its own (WTF-8), so that nothing is lost.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace handset {

using Bytes = std::vector<std::uint8_t>;

std::string ToWtf8(std::u16string_view text);
// Nothing when the bytes are no UTF-8; lone surrogates are taken only when asked for.
enum class Surrogates : bool { kRefuse, kAccept };
std::optional<std::u16string> FromUtf8(std::string_view text, Surrogates surrogates);
// For texts that ToWtf8 made. Throws std::runtime_error for others.
std::u16string FromWtf8(std::string_view text);

// Whether every surrogate has its partner.
bool IsWellFormed(std::u16string_view text);
// UTF-8 for people: a lone surrogate becomes the replacement character.
std::string ForPeople(std::u16string_view text);

// Names that differ only in case have the same folded form.
std::u16string Fold(std::u16string_view text);

std::string ToHex(std::span<const std::uint8_t> bytes);
std::optional<Bytes> FromHex(std::string_view hex);
// Four digits a unit.
std::string ToHexUnits(std::u16string_view text);
std::optional<std::u16string> FromHexUnits(std::string_view hex);

}  // namespace handset
