// A file on its way here, which may stop half way. Until it is whole it has another name in the same folder, always the
// same one for the same file, so that a later attempt finds what an earlier one left.
//
// The wire cannot begin in the middle of a file. Going on with a part therefore means that the bytes come again from
// the start and are compared with the part; where they differ, and behind its end, they are written. What is put in
// place is in any case what the phone sent this time.
#pragma once

#include <filesystem>
#include <optional>

#include "desktop/FrameCodec.h"

namespace brelix {

class PartFile {
 public:
  // Throws local-file failures, as all the others do: an EntryFailure where only this name is at fault, a Failure where
  // the next file would fail as well (a full disk). Without `resume` an earlier part is forgotten.
  PartFile(const std::filesystem::path& target, bool resume);
  // Removes the part unless it was kept or finished.
  ~PartFile();
  PartFile(const PartFile&) = delete;
  PartFile& operator=(const PartFile&) = delete;

  void Write(ByteView next);
  uint64_t size() const { return size_; }
  // How many of these bytes an earlier attempt had brought already.
  uint64_t found_here() const { return found_here_; }
  // Sets the time of the last change, brings it to the disk and puts it in place of the target.
  void Finish(std::optional<int64_t> modified);
  // Leaves the part for a later attempt.
  void Keep();

 private:
  [[noreturn]] void Fail(const char* what) const;
  size_t Compare(ByteView next);

  std::filesystem::path target_, part_;
  int fd_ = -1;
  uint64_t size_ = 0;    // bytes that came
  uint64_t length_ = 0;  // bytes that the part has
  uint64_t found_here_ = 0;
  bool done_ = false;
};

// A failure over a local file, from errno.
[[noreturn]] void FailLocally(const std::filesystem::path& path, const char* what);

}  // namespace brelix
