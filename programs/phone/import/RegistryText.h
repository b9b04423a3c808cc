// Registry files in text, as the registry editors write them: UTF-16 or UTF-8, version 5 or 4.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "handset/store/Description.h"

namespace brelix_phone {

// The keys in the file's order, each once, the root's short name first; of a value that is there twice the last. Throws
// std::runtime_error with "FILE:LINE: what is wrong": also for what would delete keys or values.
std::vector<handset::RegistryKey> ReadRegistryText(const std::filesystem::path& file);

}  // namespace brelix_phone
