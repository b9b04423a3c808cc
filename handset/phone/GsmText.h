// How a text travels as short messages: in the 7-bit alphabet of GSM when it can, else in 16-bit units.
#pragma once

#include <cstdint>
#include <string_view>

namespace handset {

struct GsmText {
  bool sevenBit;
  std::uint32_t units;  // septets, characters of the extension table counting twice; or 16-bit units
  std::uint32_t parts;  // short messages
};

// encoding: 0 the phone chooses, 1 GSM (characters outside the alphabet are replaced, each by one septet), 2 16-bit
// units. A part of several has less room, and no character or surrogate pair is split over two.
GsmText MeasureText(std::u16string_view text, std::uint32_t encoding);

}  // namespace handset
