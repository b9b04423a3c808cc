// The registry as a .reg text, the form in which registries are exchanged: CR LF lines, in UTF-16 with a byte order
// mark, as registry editors write it, or in UTF-8 without one.
#pragma once

#include <string>

#include "desktop/registry/PhoneRegistry.h"

namespace brelix {

enum class RegEncoding { kUtf16, kUtf8 };

// What precedes all keys.
std::string RegHeader(RegEncoding encoding);

// A key and its values. What the form cannot hold is left out and added to the problems: a name with a line's end or,
// in UTF-8, with half a surrogate pair.
std::string RegText(const KeyContents& key, RegEncoding encoding, Problems& problems);

}  // namespace brelix
