#include "platform/Files.h"

#include <cerrno>
#include <fcntl.h>
#include <string>

#include "handset/Enter.h"
#include "handset/Text.h"
#include "handset/store/FileNames.h"
#include "handset/system/FileHandle.h"
#include "handset/system/SystemTime.h"

using handset::Call;
using handset::Enter;
using handset::Failure;
using handset::FileEntry;
using handset::FileHandle;
using handset::Held;
using handset::Phone;
using handset::ThisPhone;

namespace {

// What a search found, as it was when it began.
struct FileListing : handset::HandleObject {
  explicit FileListing(std::vector<ce::WIN32_FIND_DATAW> found)
      : HandleObject(Held::kFileListing), matches(std::move(found)) {}

  const std::vector<ce::WIN32_FIND_DATAW> matches;
  std::size_t next = 1;
};

ce::WIN32_FIND_DATAW FindData(const FileEntry& entry, ce::DWORD attributes) {
  ce::WIN32_FIND_DATAW data{};
  data.dwFileAttributes = attributes;
  data.ftCreationTime = data.ftLastWriteTime = handset::ToRecord(entry.written);
  data.ftLastAccessTime = handset::ToRecord(entry.accessed);
  data.nFileSizeHigh = static_cast<ce::DWORD>(entry.size >> 32);
  data.nFileSizeLow = static_cast<ce::DWORD>(entry.size);
  entry.name.copy(data.cFileName, ce::MAX_PATH - 1);
  return data;
}

std::u16string FoldedFolder(const handset::PhonePath& path) {
  std::u16string folded;
  for (const std::u16string& name : path.folders) folded.append(u"\\").append(handset::Fold(name));
  return folded;
}

std::vector<ce::WIN32_FIND_DATAW> Search(const Phone& phone, std::u16string_view path) {
  const std::vector<FileEntry> entries = phone.files.Find(path);
  const handset::PhonePath cut = handset::CutPath(path);
  const handset::FileAttributes known = phone.store.GetFileAttributes(
      FoldedFolder(cut), handset::HasWildcards(cut.last) ? std::u16string() : handset::Fold(cut.last));
  std::vector<ce::WIN32_FIND_DATAW> matches;
  matches.reserve(entries.size());
  for (const FileEntry& entry : entries) {
    const auto attributes = known.empty() ? known.end() : known.find(handset::Fold(entry.name));
    const ce::DWORD usual = entry.isFolder ? 0 : ce::FILE_ATTRIBUTE_ARCHIVE;
    const ce::DWORD own = attributes != known.end() ? attributes->second : usual;
    matches.push_back(FindData(entry, own | (entry.isFolder ? ce::FILE_ATTRIBUTE_DIRECTORY : 0)));
  }
  return matches;
}

std::u16string_view PathOf(ce::LPCWSTR path) { return path != nullptr ? path : std::u16string_view(); }

ce::DWORD ReadUpTo(int fd, void* buffer, ce::DWORD size) {
  auto* bytes = static_cast<std::uint8_t*>(buffer);
  ce::DWORD have = 0;
  while (have < size) {
    const ssize_t count = read(fd, bytes + have, size - have);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw Failure{ce::ERROR_READ_FAULT};
    if (count == 0) break;
    have += static_cast<ce::DWORD>(count);
  }
  return have;
}

}  // namespace

namespace ce {

HANDLE FindFirstFileExW(LPCWSTR path, INT infoLevel, void* data, INT searchOp, void* filter, DWORD flags) {
  Phone& phone = ThisPhone();
  return Enter<Call::FindFirstFileExW>(phone, [&] {
    if (infoLevel != FindExInfoStandard || searchOp != FindExSearchNameMatch || filter != nullptr || flags != 0 ||
        data == nullptr) {
      throw Failure{ERROR_INVALID_PARAMETER};
    }
    const auto listing = std::make_shared<FileListing>(Search(phone, PathOf(path)));
    if (listing->matches.empty()) throw Failure{ERROR_NO_MORE_FILES};
    *static_cast<WIN32_FIND_DATAW*>(data) = listing->matches.front();
    return HANDLE{phone.handles.Add(listing, handset::ForPeople(PathOf(path)))};
  });
}

BOOL FindNextFileW(HANDLE find, WIN32_FIND_DATAW* data) {
  Phone& phone = ThisPhone();
  return Enter<Call::FindNextFileW>(phone, [&]() -> BOOL {
    const auto listing = phone.handles.Find<FileListing>(static_cast<std::uintptr_t>(find));
    if (!listing) throw Failure{ERROR_INVALID_HANDLE};
    if (listing->next == listing->matches.size()) throw Failure{ERROR_NO_MORE_FILES};
    *data = listing->matches[listing->next++];
    return 1;
  });
}

BOOL FindClose(HANDLE find) {
  Phone& phone = ThisPhone();
  const auto id = static_cast<std::uintptr_t>(find);
  const auto close = [&]() -> BOOL {
    if (!phone.handles.Take<FileListing>(id)) throw Failure{ERROR_INVALID_HANDLE};
    return 1;
  };
  return Enter<Call::FindClose>(phone, close, [&] { phone.handles.Refuse(id); });
}

HANDLE CreateFileW(LPCWSTR path, DWORD access, DWORD share, SECURITY_ATTRIBUTES*, DWORD disposition, DWORD, HANDLE) {
  Phone& phone = ThisPhone();
  return Enter<Call::CreateFileW>(phone, [&] {
    if (access != GENERIC_READ || share != 0 || disposition != OPEN_EXISTING) throw Failure{ERROR_INVALID_PARAMETER};
    handset::UniqueFd file = phone.files.Open(PathOf(path), O_RDONLY, handset::Sharing::kNone);
    return HANDLE{phone.handles.Add(std::make_shared<FileHandle>(std::move(file)), handset::ForPeople(PathOf(path)))};
  });
}

BOOL ReadFile(HANDLE file, void* buffer, DWORD size, DWORD* count, OVERLAPPED*) {
  Phone& phone = ThisPhone();
  return Enter<Call::ReadFile>(phone, [&]() -> BOOL {
    const auto open = phone.handles.Find<FileHandle>(static_cast<std::uintptr_t>(file));
    if (!open) throw Failure{ERROR_INVALID_HANDLE};
    *count = ReadUpTo(open->fd.Get(), buffer, size);
    return 1;
  });
}

}  // namespace ce
