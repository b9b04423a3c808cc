#include "handset/system/FileRoot.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <sys/file.h>
#include <sys/stat.h>

#include "handset/Enter.h"
#include "handset/Text.h"
#include "handset/store/FileNames.h"

namespace handset {

namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr mode_t kNewFileMode = 0644;
constexpr mode_t kNewFolderMode = 0755;
constexpr ce::DWORD kTooManyOpenFiles = 4;

using Folder = std::unique_ptr<DIR, int (*)(DIR*)>;

[[noreturn]] void FailAs(int error, ce::DWORD missing) {
  switch (error) {
    case EACCES:
    case EPERM:
    case EROFS:
      throw Failure{ce::ERROR_ACCESS_DENIED};
    case EMFILE:
    case ENFILE:
      throw Failure{kTooManyOpenFiles};
    default:
      throw Failure{missing};
  }
}

// A second descriptor, since reading a folder moves in it.
Folder Read(const UniqueFd& folder) {
  UniqueFd copy(openat(folder.Get(), ".", kFolderFlags));
  Folder entries(copy ? fdopendir(copy.Get()) : nullptr, closedir);
  if (!entries) FailAs(errno, ce::ERROR_PATH_NOT_FOUND);
  copy.Release();
  return entries;
}

// The name of a thing in a folder, if the phone can have it.
std::optional<std::u16string> PhoneName(const char* name) {
  auto text = FromUtf8(name, Surrogates::kAccept);
  if (!text || !IsFileName(*text)) return std::nullopt;
  return text;
}

// The host's name for a thing: as it is written in the folder, or as asked for when nothing there has it in any case.
std::string NameInFolder(const UniqueFd& folder, const std::u16string& asked) {
  std::string name = ToWtf8(asked);
  struct stat status {};
  if (fstatat(folder.Get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) return name;
  const Folder entries = Read(folder);
  const std::u16string folded = Fold(asked);
  std::optional<std::string> found;
  while (const dirent* entry = readdir(entries.get())) {
    const auto candidate = PhoneName(entry->d_name);
    if (!candidate || candidate->size() != asked.size() || Fold(*candidate) != folded) continue;
    if (!found || entry->d_name < *found) found = entry->d_name;
  }
  return found ? *found : name;
}

// The host has times before 1601, the phone has not.
FileTime TimeOf(const timespec& time) {
  const std::chrono::seconds seconds(std::max<std::int64_t>(time.tv_sec, -kUnixStart.count()));
  return ToFileTime(seconds + std::chrono::floor<FileTimeSteps>(std::chrono::nanoseconds(time.tv_nsec)));
}

// Nothing for what is neither a folder nor a regular file.
std::optional<FileEntry> LookAt(const UniqueFd& folder, const char* hostName, std::u16string name) {
  struct stat status {};
  if (fstatat(folder.Get(), hostName, &status, AT_SYMLINK_NOFOLLOW) != 0) return std::nullopt;
  const bool isFolder = S_ISDIR(status.st_mode);
  if (!isFolder && !S_ISREG(status.st_mode)) return std::nullopt;
  return FileEntry{.name = std::move(name),
                   .isFolder = isFolder,
                   .size = isFolder ? 0 : static_cast<std::uint64_t>(status.st_size),
                   .accessed = TimeOf(status.st_atim),
                   .written = TimeOf(status.st_mtim)};
}

std::vector<FileEntry> FindPattern(const UniqueFd& folder, const std::u16string& pattern) {
  struct Match {
    std::u16string folded;
    FileEntry entry;
  };
  const std::u16string foldedPattern = Fold(pattern);
  std::vector<Match> matches;
  const Folder entries = Read(folder);
  while (const dirent* entry = readdir(entries.get())) {
    auto name = PhoneName(entry->d_name);
    if (!name) continue;
    std::u16string folded = Fold(*name);
    if (!MatchesPattern(foldedPattern, folded)) continue;
    if (auto found = LookAt(folder, entry->d_name, std::move(*name)))
      matches.push_back({std::move(folded), std::move(*found)});
  }
  std::ranges::sort(matches, [](const Match& a, const Match& b) {
    return a.folded != b.folded ? a.folded < b.folded : a.entry.name < b.entry.name;
  });
  std::vector<FileEntry> found;
  found.reserve(matches.size());
  for (Match& match : matches) found.push_back(std::move(match.entry));
  return found;
}

void Share(const UniqueFd& file, Sharing sharing) {
  const int lock = sharing == Sharing::kNone ? LOCK_EX : LOCK_SH;
  // A host file system without locks has no sharing violations.
  if (flock(file.Get(), lock | LOCK_NB) != 0 && errno == EWOULDBLOCK) throw Failure{ce::ERROR_SHARING_VIOLATION};
}

}  // namespace

FileRoot::FileRoot(const std::filesystem::path& folder) : m_root(open(folder.c_str(), kFolderFlags)) {}

// One name after the other, from descriptor to descriptor, so that nothing on the way can be exchanged for a link.
UniqueFd FileRoot::OpenFolder(const std::vector<std::u16string>& names) const {
  UniqueFd folder(fcntl(m_root.Get(), F_DUPFD_CLOEXEC, 0));
  if (!folder) FailAs(errno, ce::ERROR_PATH_NOT_FOUND);
  for (const std::u16string& name : names) {
    folder = UniqueFd(openat(folder.Get(), NameInFolder(folder, name).c_str(), kFolderFlags));
    if (!folder) FailAs(errno, ce::ERROR_PATH_NOT_FOUND);
  }
  return folder;
}

UniqueFd FileRoot::Open(std::u16string_view path, int flags, Sharing sharing) const {
  const PhonePath cut = CutPath(path);
  const UniqueFd folder = OpenFolder(cut.folders);
  if (cut.last.empty()) throw Failure{ce::ERROR_ACCESS_DENIED};  // the folder itself
  if (cut.last == u"." || cut.last == u"..") throw Failure{ce::ERROR_PATH_NOT_FOUND};
  if (!IsFileName(cut.last)) throw Failure{ce::ERROR_INVALID_NAME};
  const bool isNew = (flags & O_EXCL) != 0;
  const std::string name = isNew ? ToWtf8(cut.last) : NameInFolder(folder, cut.last);
  struct stat status {};
  if (fstatat(folder.Get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
    if (S_ISDIR(status.st_mode)) throw Failure{ce::ERROR_ACCESS_DENIED};
    if (!S_ISREG(status.st_mode)) throw Failure{ce::ERROR_FILE_NOT_FOUND};
  }
  // Without O_NONBLOCK a pipe that was put there in between would hold the phone up.
  const int safe = flags & ~O_TRUNC;
  UniqueFd file(
      openat(folder.Get(), name.c_str(), safe | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, kNewFileMode));
  if (!file) FailAs(errno, ce::ERROR_FILE_NOT_FOUND);
  if (fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) throw Failure{ce::ERROR_FILE_NOT_FOUND};
  Share(file, sharing);
  if ((flags & O_TRUNC) != 0 && ftruncate(file.Get(), 0) != 0) FailAs(errno, ce::ERROR_ACCESS_DENIED);
  if ((flags & O_CREAT) != 0 && !isNew) fsync(folder.Get());
  return file;
}

void FileRoot::MakeFolder(std::u16string_view path) const {
  UniqueFd folder = OpenFolder({});
  while (!path.empty()) {
    const std::size_t end = std::min(path.find(u'\\', 1), path.size());
    const std::u16string name(path.substr(1, end - 1));
    if (!IsFileName(name)) throw Failure{ce::ERROR_INVALID_NAME};
    const std::string hostName = NameInFolder(folder, name);
    mkdirat(folder.Get(), hostName.c_str(), kNewFolderMode);
    folder = UniqueFd(openat(folder.Get(), hostName.c_str(), kFolderFlags));
    if (!folder) throw Failure{ce::ERROR_ACCESS_DENIED};
    path.remove_prefix(end);
  }
}

void FileRoot::SetWritten(std::u16string_view path, FileTime time) const {
  const PhonePath cut = CutPath(path);
  const UniqueFd folder = OpenFolder(cut.folders);
  const auto since1970 = SinceUnixStart(time);
  const auto seconds = std::chrono::floor<std::chrono::seconds>(since1970);
  const timespec written{.tv_sec = static_cast<time_t>(seconds.count()),
                         .tv_nsec = static_cast<long>(std::chrono::nanoseconds(since1970 - seconds).count())};
  const timespec times[] = {written, written};
  const std::string name = NameInFolder(folder, cut.last);
  if (utimensat(folder.Get(), name.c_str(), times, AT_SYMLINK_NOFOLLOW) != 0) FailAs(errno, ce::ERROR_FILE_NOT_FOUND);
}

std::vector<FileEntry> FileRoot::Find(std::u16string_view path) const {
  PhonePath cut = CutPath(path);
  const UniqueFd folder = OpenFolder(cut.folders);
  if (!IsFilePattern(cut.last)) throw Failure{ce::ERROR_INVALID_NAME};
  if (HasWildcards(cut.last)) return FindPattern(folder, cut.last);
  if (!IsFileName(cut.last)) return {};
  const std::string name = NameInFolder(folder, cut.last);
  const auto written = PhoneName(name.c_str());
  if (!written) return {};
  const auto found = LookAt(folder, name.c_str(), *written);
  return found ? std::vector{*found} : std::vector<FileEntry>{};
}

}  // namespace handset
