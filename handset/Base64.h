// Base64 with padding and without line breaks.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "handset/Text.h"

namespace handset {

std::string ToBase64(std::span<const std::uint8_t> bytes);
// Nothing for anything that ToBase64 does not write.
std::optional<Bytes> FromBase64(std::string_view text);

}  // namespace handset
