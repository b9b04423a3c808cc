// "Did you mean": the known words that are closest to one that is not known.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace handset {

// " (did you mean A or B?)", or nothing when no known word is close.
std::string NearMatches(std::string_view word, std::span<const std::string_view> known);

}  // namespace handset
