// The phone's file system: paths such as "\Storage Card\a.txt" in a folder of the host, and never anything outside it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "handset/net/UniqueFd.h"
#include "handset/store/FileTime.h"

namespace handset {

// A file or folder as it was when it was looked at.
struct FileEntry {
  std::u16string name;
  bool isFolder = false;
  std::uint64_t size = 0;  // bytes, 0 for a folder
  FileTime accessed = 0;
  FileTime written = 0;
};

// What others may do with a file while it is open. Held on the host, so that it holds between processes too.
enum class Sharing : bool { kNone, kAll };

// Only folders and regular files exist: links, which are never followed, and special files are as if they were not
// there, and so are names that the phone cannot have. Names are found in any case, as written first. All functions
// throw Failure with the platform's code.
class FileRoot {
 public:
  explicit FileRoot(const std::filesystem::path& folder);

  // A file, opened or made with the flags of open(2). With O_EXCL the caller has seen to it that no name there differs
  // in case only, and brings folder and file to the disk. 2 when it is not there, 3 when its folder is not, 5 when it
  // is a folder or the host refuses, 32 when others have it open in a way that does not go together, 123 for a name
  // that cannot be.
  UniqueFd Open(std::u16string_view path, int flags, Sharing sharing) const;

  // What the last part of the path, a name or a pattern, matches, by name; may be nothing. 3 when the folder is not
  // there, 123 for a name that cannot be.
  std::vector<FileEntry> Find(std::u16string_view path) const;

  // With the folders on the way; one that is there stays as it is. 5 when a file is in the way.
  void MakeFolder(std::u16string_view path) const;
  // Of a file or folder.
  void SetWritten(std::u16string_view path, FileTime time) const;

 private:
  UniqueFd OpenFolder(const std::vector<std::u16string>& names) const;

  UniqueFd m_root;
};

}  // namespace handset
