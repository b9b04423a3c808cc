#include "handset/system/FileRoot.h"

#include <algorithm>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <vector>

#include "handset/Text.h"

namespace handset {

namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr mode_t kNewFileMode = 0644;
constexpr std::string_view kForbidden = "/:*?\"<>|";

// No name may contain one of these on the phone; without them no name can say anything to the host either.
bool IsName(std::string_view name) {
  if (name.empty() || name == "." || name == "..") return false;
  return std::ranges::all_of(name, [](char c) {
    return static_cast<unsigned char>(c) >= 0x20 && kForbidden.find(c) == std::string_view::npos;
  });
}

std::optional<std::vector<std::string>> Split(std::string_view path) {
  if (!path.starts_with('\\')) return std::nullopt;
  std::vector<std::string> names;
  while (!path.empty()) {
    path.remove_prefix(1);
    const std::size_t end = std::min(path.find('\\'), path.size());
    names.emplace_back(path.substr(0, end));
    if (!IsName(names.back())) return std::nullopt;
    path.remove_prefix(end);
  }
  return names;
}

std::u16string FoldedName(std::string_view name) {
  const auto text = FromUtf8(name, Surrogates::kAccept);
  return text ? Fold(*text) : std::u16string(name.begin(), name.end());
}

// The name as it is written in the folder, or as it was asked for when nothing there has it in any case.
std::string NameInFolder(int folder, const std::string& name) {
  struct stat status {};
  if (fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) return name;
  UniqueFd copy(openat(folder, ".", kFolderFlags));
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(copy ? fdopendir(copy.Get()) : nullptr, closedir);
  if (!entries) return name;
  copy.Release();
  const std::u16string folded = FoldedName(name);
  std::string found = name;
  while (const dirent* entry = readdir(entries.get())) {
    if (FoldedName(entry->d_name) == folded) found = entry->d_name;
  }
  return found;
}

}  // namespace

FileRoot::FileRoot(const std::filesystem::path& folder) : m_root(open(folder.c_str(), kFolderFlags)) {}

std::optional<UniqueFd> FileRoot::Open(std::string_view path, int flags) const {
  const auto names = Split(path);
  if (!names || !m_root) return std::nullopt;
  UniqueFd folder(fcntl(m_root.Get(), F_DUPFD_CLOEXEC, 0));
  for (std::size_t i = 0; i + 1 < names->size() && folder; ++i) {
    const std::string name = NameInFolder(folder.Get(), (*names)[i]);
    folder = UniqueFd(openat(folder.Get(), name.c_str(), kFolderFlags));
  }
  if (!folder) return std::nullopt;
  const std::string name = NameInFolder(folder.Get(), names->back());
  // Without O_NONBLOCK a pipe that someone put there would hold the phone up.
  UniqueFd file(
      openat(folder.Get(), name.c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, kNewFileMode));
  struct stat status {};
  if (!file || fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  if ((flags & O_CREAT) != 0) fsync(folder.Get());
  return file;
}

}  // namespace handset
