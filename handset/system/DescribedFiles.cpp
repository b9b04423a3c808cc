#include "handset/system/DescribedFiles.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <map>
#include <set>
#include <unistd.h>

#include "handset/Enter.h"
#include "handset/Errors.h"

namespace handset {

namespace {

void WriteAll(int fd, std::span<const std::uint8_t> bytes) {
  for (std::size_t done = 0; done < bytes.size();) {
    const ssize_t count = write(fd, bytes.data() + done, bytes.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw Failure{ce::ERROR_ACCESS_DENIED};
    done += static_cast<std::size_t>(count);
  }
}

// The content as often as the size needs it; without one, bytes 0 that take no room on the host.
void Fill(int fd, const PhoneFile& file) {
  const Bytes content = file.content.value_or(Bytes());
  std::uint64_t left = file.size.value_or(content.size());
  if (content.empty() && ftruncate(fd, static_cast<off_t>(left)) != 0) throw Failure{ce::ERROR_ACCESS_DENIED};
  while (!content.empty() && left > 0) {
    const std::size_t count = std::min<std::uint64_t>(left, content.size());
    WriteAll(fd, std::span(content).first(count));
    left -= count;
  }
}

// The names that are in a folder, folded; each folder is read once.
class NamesThere {
 public:
  explicit NamesThere(const FileRoot& root) : m_root(root) {}

  // False when the name is there already.
  bool Add(const std::u16string& path) {
    const std::u16string folded = Fold(path);
    const std::size_t split = folded.rfind(u'\\');
    const auto [folder, isNew] = m_folders.try_emplace(folded.substr(0, split));
    if (isNew) {
      for (const FileEntry& entry : m_root.Find(folder->first + u"\\*")) folder->second.insert(Fold(entry.name));
    }
    return folder->second.insert(folded.substr(split + 1)).second;
  }

 private:
  const FileRoot& m_root;
  std::map<std::u16string, std::set<std::u16string>> m_folders;
};

void Make(const FileRoot& root, NamesThere& there, const PhoneFile& file) {
  if (file.isFolder) {
    root.MakeFolder(file.path);
    there.Add(file.path);
    return;
  }
  if (!file.content && !file.size) {
    if (root.Find(file.path).empty()) throw Failure{ce::ERROR_FILE_NOT_FOUND};
    return;
  }
  root.MakeFolder(file.path.substr(0, file.path.rfind(u'\\')));
  if (!there.Add(file.path)) throw Failure{ce::ERROR_ACCESS_DENIED};
  const UniqueFd made = root.Open(file.path, O_WRONLY | O_CREAT | O_EXCL, Sharing::kNone);
  Fill(made.Get(), file);
}

// Not every file system has all times of a phone.
void SetWritten(const FileRoot& root, const PhoneFile& file, const std::string& pointer) {
  root.SetWritten(file.path, *file.modified);
  const std::vector<FileEntry> made = root.Find(file.path);
  if (made.empty() || made.front().written != *file.modified) {
    throw DescriptionError(pointer + "/modified", "a time that this file system can keep", "one that it changes");
  }
}

template <typename Work>
void ForEach(const std::vector<PhoneFile>& files, Work work) {
  for (std::size_t i = 0; i < files.size(); ++i) {
    const std::string pointer = fmt::format("/files/{}", i);
    try {
      work(files[i], pointer);
    } catch (const Failure& failure) {
      const bool missing = failure.code == ce::ERROR_FILE_NOT_FOUND || failure.code == ce::ERROR_PATH_NOT_FOUND;
      throw DescriptionError(pointer,
                             missing ? "a file that is there, or \"text\", \"hex\", \"size\" or \"folder\""
                                     : "a file that is not there already and can be made",
                             missing ? "none" : fmt::format("error {}", failure.code));
    }
  }
}

}  // namespace

// A folder's time is set when everything is in it.
void MakeFiles(const FileRoot& root, const std::vector<PhoneFile>& files) {
  NamesThere there(root);
  ForEach(files, [&](const PhoneFile& file, const std::string&) { Make(root, there, file); });
  ForEach(files, [&](const PhoneFile& file, const std::string& pointer) {
    if (file.modified) SetWritten(root, file, pointer);
  });
}

}  // namespace handset
