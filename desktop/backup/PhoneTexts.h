// Texts of the wire as a phone's folder has them.
#pragma once

#include <string>
#include <string_view>

namespace brelix::backup {

// The UTF-16 units of a text as it stands on the wire, half surrogate pairs included; what no phone makes of a text
// becomes U+FFFD.
std::u16string PhoneText(std::string_view wire);

// The units of proper UTF-8; U+FFFD for what is none.
std::u16string TextOfUtf8(std::string_view utf8);

}  // namespace brelix::backup
