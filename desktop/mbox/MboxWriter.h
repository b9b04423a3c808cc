// Mail for a file in mbox format (the mboxrd kind: a line of a text that begins with "From ", any number of ">" in
// front of it, gets one more ">").
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "desktop/mbox/Letter.h"

namespace brelix {

using HeaderField = std::pair<std::string_view, std::string_view>;  // name and text

// One message, from its "From " line to the empty line behind it. The text is UTF-8.
std::string WriteLetter(const Letter& letter, std::span<const HeaderField> more, std::string_view text = {});

}  // namespace brelix
