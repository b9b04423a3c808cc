// A file that appears whole or not at all: written under a temporary name in the folder it is for, brought to the disk,
// then renamed. Until Commit the file of before, if any, stays as it is; without a Commit nothing is left.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "desktop/FrameCodec.h"

namespace brelix {

class NewFile {
 public:
  // "-" is standard output, and what is no regular file (a device, a pipe) is written as it is. A link stays a link:
  // the file it leads to is replaced. Throws local-file failures, as all the others do.
  explicit NewFile(std::filesystem::path path);
  ~NewFile();
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  void Write(std::string_view text);
  void Write(ByteView bytes) { Write({reinterpret_cast<const char*>(bytes.data()), bytes.size()}); }
  // The time that the finished file shows as that of its last change.
  void SetModified(std::chrono::sys_time<std::chrono::nanoseconds> time) { modified_ = time; }
  void Commit();

  // As given.
  const std::filesystem::path& path() const { return path_; }

 private:
  [[noreturn]] void Fail(const char* what) const;
  void OpenTemporary();
  void Flush();

  std::filesystem::path path_;
  std::filesystem::path target_;     // where it ends
  std::filesystem::path temporary_;  // empty where there is none
  int fd_ = -1;
  std::string pending_;
  std::optional<std::chrono::sys_time<std::chrono::nanoseconds>> modified_;
};

}  // namespace brelix
