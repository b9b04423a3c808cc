// The phone's documents about files: one part of a folder's listing, and the details of one file.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brelix {

struct FileEntry {
  // As it stands on the wire. Never to be used as a path, not even as a part of one, before IsName (PhonePath.h) said
  // that it is a single name. Empty for a name that begins with a character which the wire drops.
  std::string name;
  std::optional<int64_t> modified;  // seconds since 1970, UTC
  std::string attributes;           // of the letters D, A, H, S, R those that are set
  // The phone tells the low 32 bits as a signed number. From 2 GiB up it comes out negative, which is mended here; that
  // a size of 4 GiB or more comes out too small cannot be seen. Nothing for folders and for what is no such number.
  std::optional<uint32_t> size;

  bool IsFolder() const { return attributes.find('D') != std::string::npos; }
  friend bool operator==(const FileEntry&, const FileEntry&) = default;
};

// Both throw a protocol failure for a document that is something else. A name ends at the first closing tag that an
// entry's next element follows, for names are not escaped.
std::vector<FileEntry> ParseFolderPart(std::string_view document);
FileEntry ParseFileInfo(std::string_view document);

}  // namespace brelix
