// Failures that lie with this computer's files.
#pragma once

#include <cstring>
#include <filesystem>
#include <fmt/format.h>

#include "desktop/Failure.h"

namespace brelix::backup {

[[noreturn]] inline void Fail(const std::filesystem::path& path, std::string_view what) {
  throw Failure(Exit::kLocalFile, fmt::format("{}: {}", path.string(), what));
}

// With the reason of errno's kind.
[[noreturn]] inline void FailAs(const std::filesystem::path& path, std::string_view what, int error) {
  Fail(path, fmt::format("{}: {}", what, std::strerror(error)));
}

}  // namespace brelix::backup
