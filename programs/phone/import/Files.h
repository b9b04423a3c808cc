// A folder of this system as a phone's files.
#pragma once

#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace brelix_phone {

class FileImport {
 public:
  FileImport() = default;
  // Looks through the folder. What a phone cannot have (links, special files, names that it forbids, names that differ
  // only in case) is told on standard error and left out. Throws std::runtime_error when a folder cannot be read.
  explicit FileImport(const std::filesystem::path& folder);

  // Adds the attributes of files that may not be written here: they are read-only on the phone. A file that the
  // description has already keeps what it says.
  void Describe(nlohmann::json& description) const;
  // Copies everything, with its times, into a phone's files/; the caller brings it to the disk. Throws
  // std::runtime_error when something cannot be read or written.
  void CopyTo(const std::filesystem::path& files) const;

 private:
  struct Found {
    std::filesystem::path source;
    std::filesystem::path relative;
    std::u16string phonePath;
    bool isFolder;
    bool isReadOnly;
  };
  void LookThrough(const Found& folder);

  std::vector<Found> m_found;  // folders before what is in them
};

}  // namespace brelix_phone
