// The phone's file system: paths such as "\Storage Card\a.txt" in a folder of the host, and never anything outside it.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "handset/net/UniqueFd.h"

namespace handset {

class FileRoot {
 public:
  explicit FileRoot(const std::filesystem::path& folder);

  // A regular file, opened or made with the flags of open(2). Nothing when the path is not absolute, names no file,
  // leaves the root, or meets a link: links are never followed. Names that exist are found in any case.
  std::optional<UniqueFd> Open(std::string_view path, int flags) const;

 private:
  UniqueFd m_root;
};

}  // namespace handset
