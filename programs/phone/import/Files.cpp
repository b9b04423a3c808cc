#include "programs/phone/import/Files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

#include "handset/Text.h"
#include "handset/net/UniqueFd.h"
#include "handset/store/FileNames.h"
#include "handset/store/JsonNode.h"

namespace brelix_phone {
namespace {

namespace fs = std::filesystem;
using handset::UniqueFd;

constexpr std::size_t kPiece = 1 << 18;

// Names of files are any bytes; a terminal gets text only.
std::string Shown(const fs::path& path) {
  const bool isText = handset::FromUtf8(path.string(), handset::Surrogates::kRefuse).has_value();
  std::string shown;
  for (const char c : path.string()) {
    const auto byte = static_cast<unsigned char>(c);
    const bool isPlain = byte >= 0x20 && byte != 0x7F && (byte < 0x80 || isText);
    shown += isPlain ? std::string(1, c) : fmt::format("\\x{:02X}", byte);
  }
  return shown;
}

[[noreturn]] void FailWith(const fs::path& path, const char* what) {
  throw std::runtime_error(fmt::format("{}: {}: {}", Shown(path), what, std::strerror(errno)));
}

void Tell(const fs::path& path, const char* what) {
  fmt::print(stderr, "brelix-phone: {}: {}; not copied\n", Shown(path), what);
}

// Why a phone cannot have it; nothing when it can.
std::optional<const char*> Obstacle(const struct stat& status, std::u16string_view phonePath) {
  if (S_ISLNK(status.st_mode)) return "a link";
  if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) return "neither a file nor a folder";
  if (!handset::IsPhonePath(phonePath)) return "a name that a phone does not allow, or a path that is too long for it";
  return std::nullopt;
}

UniqueFd OpenSource(const fs::path& source) {
  // A link that was put there since does not lead away.
  UniqueFd fd(open(source.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!fd) FailWith(source, "cannot be read");
  return fd;
}

struct stat StatusOf(const UniqueFd& fd, const fs::path& path) {
  struct stat status {};
  if (fstat(fd.Get(), &status) != 0) FailWith(path, "cannot be read");
  return status;
}

void CopyContent(const UniqueFd& from, const fs::path& source, const UniqueFd& to, const fs::path& target) {
  std::vector<char> piece(kPiece);
  for (;;) {
    const ssize_t count = read(from.Get(), piece.data(), piece.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) FailWith(source, "cannot be read");
    if (count == 0) return;
    for (ssize_t done = 0; done < count;) {
      const ssize_t written = write(to.Get(), piece.data() + done, static_cast<std::size_t>(count - done));
      if (written < 0 && errno != EINTR) FailWith(target, "cannot be written");
      done += std::max<ssize_t>(written, 0);
    }
  }
}

void KeepTimes(const UniqueFd& copy, const struct stat& status, const fs::path& target) {
  const timespec times[] = {status.st_atim, status.st_mtim};
  if (futimens(copy.Get(), times) != 0) FailWith(target, "its time cannot be set");
}

void CopyFile(const fs::path& source, const fs::path& target) {
  const UniqueFd from = OpenSource(source);
  const UniqueFd to(open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
  if (!to) FailWith(target, "cannot be made");
  const struct stat status = StatusOf(from, source);
  CopyContent(from, source, to, target);
  KeepTimes(to, status, target);
}

}  // namespace

FileImport::FileImport(const fs::path& folder) {
  LookThrough({.source = folder, .relative = {}, .phonePath = {}, .isFolder = true, .isReadOnly = false});
}

void FileImport::LookThrough(const Found& folder) {
  std::error_code error;
  std::vector<fs::path> names;
  for (fs::directory_iterator at(folder.source, error); !error && at != fs::directory_iterator(); at.increment(error)) {
    names.push_back(at->path().filename());
  }
  if (error) throw std::runtime_error(fmt::format("{}: cannot be read: {}", folder.source.string(), error.message()));
  std::ranges::sort(names);
  std::set<std::u16string> folded;
  for (const fs::path& name : names) {
    const fs::path source = folder.source / name;
    struct stat status {};
    if (lstat(source.c_str(), &status) != 0) FailWith(source, "cannot be read");
    const auto phoneName = handset::FromUtf8(name.string(), handset::Surrogates::kAccept);
    Found found{.source = source,
                .relative = folder.relative / name,
                .phonePath = folder.phonePath + u"\\" + phoneName.value_or(u""),
                .isFolder = S_ISDIR(status.st_mode),
                .isReadOnly = (status.st_mode & S_IWUSR) == 0};
    if (const auto obstacle = Obstacle(status, found.phonePath)) {
      Tell(source, *obstacle);
    } else if (!folded.insert(handset::Fold(*phoneName)).second) {
      Tell(source, "differs only in case from another name there");
    } else {
      m_found.push_back(found);
      if (found.isFolder) LookThrough(found);
    }
  }
}

void FileImport::Describe(nlohmann::json& description) const {
  std::set<std::u16string> described;
  const nlohmann::json files = description.value("files", nlohmann::json::array());
  for (const nlohmann::json& file : files) {
    if (file.is_object() && file.contains("path")) {
      described.insert(handset::Fold(handset::JsonNode(file["path"], "/files").Text()));
    }
  }
  for (const Found& found : m_found) {
    if (!found.isReadOnly || described.contains(handset::Fold(found.phonePath))) continue;
    description["files"].push_back(
        {{"path", handset::TextToJson(found.phonePath)}, {"attributes", found.isFolder ? "R" : "AR"}});
  }
}

// A folder gets its times when everything is in it: from the last to the first.
void FileImport::CopyTo(const fs::path& files) const {
  if (m_found.empty()) return;
  for (const Found& found : m_found) {
    const fs::path target = files / found.relative;
    if (!found.isFolder) {
      CopyFile(found.source, target);
    } else if (mkdir(target.c_str(), 0755) != 0) {
      FailWith(target, "cannot be made");
    }
  }
  for (auto found = m_found.rbegin(); found != m_found.rend(); ++found) {
    if (!found->isFolder) continue;
    const UniqueFd copy(open((files / found->relative).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    KeepTimes(copy, StatusOf(OpenSource(found->source), found->source), found->relative);
  }
}

}  // namespace brelix_phone
