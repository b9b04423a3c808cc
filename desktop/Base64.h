// Pictures travel as base64 text.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "desktop/FrameCodec.h"

namespace brelix {

// One line, padded.
std::string ToBase64(ByteView bytes);

// White space counts for nothing. Nothing at all for a text that is cut, holds other characters or goes on behind its
// padding.
std::optional<Bytes> FromBase64(std::string_view text);

}  // namespace brelix
