// The digest of a file, which need not fit into memory.
#pragma once

#include <filesystem>
#include <string>

#include "desktop/Waiting.h"

namespace brelix::backup {

// SHA-256, 64 hexadecimal digits. Throws a local-file failure; links and special files are not read. An interrupt ends
// it between two pieces.
std::string DigestOfFile(const std::filesystem::path& file, CancelFd cancel = -1);

}  // namespace brelix::backup
