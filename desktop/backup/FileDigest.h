// The digest of a file, which need not fit into memory.
#pragma once

#include <filesystem>
#include <string>

namespace brelix::backup {

// SHA-256, 64 hexadecimal digits. Throws a local-file failure; links and special files are not read.
std::string DigestOfFile(const std::filesystem::path& file);

}  // namespace brelix::backup
