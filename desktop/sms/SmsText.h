// What a text becomes as short messages: which alphabet it needs, how long it is, where it is divided.
//
// A message has 140 octets. In the GSM 7-bit default alphabet and its extension table (3GPP TS 23.038, 6.2.1) that is
// 160 septets, a character of the extension table taking two; in UCS-2 70 UTF-16 units. Where a text takes more than
// one message, each gives up 6 octets to tell which part it is (TS 23.040, 9.2.3.24.1), which leaves 153 septets or 67
// units.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace brelix {

struct SmsText {
  enum class Alphabet { kGsm7, kUcs2 };
  Alphabet alphabet = Alphabet::kGsm7;
  size_t utf16_units = 0;          // what the phone is given: 2 bytes each
  size_t length = 0;               // septets or units
  size_t capacity = 0;             // of all parts together, in the same measure
  std::vector<std::string> parts;  // UTF-8; neither a pair of surrogates nor an escaped septet is divided
};

// What the phone's service, which chooses for itself, is expected to make of the text. An empty text is one empty part.
// The text is proper UTF-8.
SmsText DivideSms(std::string_view utf8);

const char* AlphabetName(SmsText::Alphabet alphabet);

}  // namespace brelix
