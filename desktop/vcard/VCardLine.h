// One line of a vCard, unfolded: name, parameters and value. Versions 2.1, 3.0 and 4.0 differ in how values are
// encoded.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "desktop/FrameCodec.h"

namespace brelix {

enum class VCardVersion { k21, k30, k40 };

struct VCardLine {
  size_t number = 0;               // the file's line on which it begins
  std::string name;                // in capitals, without a group
  std::vector<std::string> types;  // in capitals: what TYPE lists, and in 2.1 every parameter without a name
  std::string encoding, charset;   // in capitals, empty unless given
  std::string value;               // as it stands in the file

  bool Has(std::string_view type) const;
  bool IsBase64() const { return encoding == "B" || encoding == "BASE64"; }
  bool IsQuotedPrintable() const { return encoding == "QUOTED-PRINTABLE"; }
};

// Of the letters of ASCII.
std::string Capitals(std::string_view text);

// Nothing for a text that is no such line.
std::optional<VCardLine> ParseVCardLine(std::string_view text, size_t number);

// The value as UTF-8, out of its encoding and charset. A value that says nothing of its charset and is no UTF-8 is
// taken for Windows-1252, as old phones and mail programs wrote. Nothing for an encoding or a charset that is not
// known.
std::optional<std::string> DecodedValue(const VCardLine& line);

// The parts of a decoded value between separators that are not escaped, each unescaped.
std::vector<std::string> SplitValue(std::string_view value, char separator, VCardVersion version);
// The whole value, unescaped. New lines become those of the phone, CR and LF.
std::string Unescaped(std::string_view value, VCardVersion version);
// What Unescaped and SplitValue read back in 3.0 and 4.0.
std::string Escaped(std::string_view text);
// For values that are no text and have their commas and semicolons as they are.
std::string EscapedUri(std::string_view text);

// The line in pieces of at most 75 bytes, none of which ends inside a character, with the last line's end.
std::string Folded(std::string_view line);

}  // namespace brelix
