#include "desktop/files/PartFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "desktop/EntryFailure.h"
#include "desktop/files/LocalName.h"

namespace brelix {
namespace {

namespace fs = std::filesystem;

constexpr int kForEveryFile[] = {ENOSPC, EDQUOT, EROFS, EIO, ENOMEM, EMFILE, ENFILE};

// FNV-1a: a name of the same length for every file, however long its own is.
uint64_t HashOf(std::string_view text) {
  uint64_t hash = 0xCBF29CE484222325;
  for (const char c : text) hash = (hash ^ static_cast<uint8_t>(c)) * 0x100000001B3;
  return hash;
}

fs::path PartOf(const fs::path& target) {
  return target.parent_path() / fmt::format("{}{:016x}", kPartPrefix, HashOf(target.filename().string()));
}

}  // namespace

void FailLocally(const fs::path& path, const char* what) {
  const std::string text = fmt::format("{}: {}: {}", path.string(), what, std::strerror(errno));
  const bool every = std::find(std::begin(kForEveryFile), std::end(kForEveryFile), errno) != std::end(kForEveryFile);
  if (every) throw Failure(Exit::kLocalFile, text);
  throw EntryFailure(Exit::kLocalFile, text);
}

PartFile::PartFile(const fs::path& target, bool resume) : target_(target), part_(PartOf(target)) {
  struct stat now {};
  if (lstat(target_.c_str(), &now) == 0 && !S_ISREG(now.st_mode) && !S_ISLNK(now.st_mode)) {
    errno = S_ISDIR(now.st_mode) ? EISDIR : EEXIST;
    Fail("is no file that could be replaced");
  }
  fd_ = open(part_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
  if (fd_ < 0) Fail("cannot be made");
  try {
    if (flock(fd_, LOCK_EX | LOCK_NB) != 0) Fail("is being pulled by somebody else");
    if (!resume && ftruncate(fd_, 0) != 0) Fail("cannot be written");
    if (fstat(fd_, &now) != 0) Fail("cannot be read");
    length_ = static_cast<uint64_t>(now.st_size);
  } catch (...) {
    close(fd_);
    throw;
  }
}

PartFile::~PartFile() {
  close(fd_);
  if (!done_) unlink(part_.c_str());
}

void PartFile::Fail(const char* what) const { FailLocally(target_, what); }

// How many of the next bytes the part has already.
size_t PartFile::Compare(ByteView next) {
  std::array<uint8_t, 16384> had;
  size_t same = 0;
  while (same < next.size() && size_ + same < length_) {
    const size_t ask = std::min(had.size(), next.size() - same);
    const ssize_t count = pread(fd_, had.data(), ask, static_cast<off_t>(size_ + same));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) Fail("cannot be read");
    if (count == 0) break;
    const auto differs = std::mismatch(had.begin(), had.begin() + count, next.begin() + same).first - had.begin();
    same += static_cast<size_t>(differs);
    if (differs < count) break;
  }
  return same;
}

void PartFile::Write(ByteView next) {
  const size_t same = Compare(next);
  found_here_ += same;
  size_ += same;
  for (next = next.subspan(same); !next.empty();) {
    // From the first byte that differs on, the part is of another file.
    if (length_ > size_ && ftruncate(fd_, static_cast<off_t>(size_)) != 0) Fail("cannot be written");
    const ssize_t count = pwrite(fd_, next.data(), next.size(), static_cast<off_t>(size_));
    if (count < 0 && errno != EINTR) Fail("cannot be written");
    if (count <= 0) continue;
    size_ += static_cast<uint64_t>(count);
    length_ = size_;
    next = next.subspan(static_cast<size_t>(count));
  }
}

void PartFile::Finish(std::optional<int64_t> modified) {
  if (length_ > size_ && ftruncate(fd_, static_cast<off_t>(size_)) != 0) Fail("cannot be written");
  const timespec time{modified.value_or(0), 0};
  const timespec times[2] = {time, time};
  if (modified && futimens(fd_, times) != 0) Fail("its time cannot be set");
  if (fsync(fd_) != 0) Fail("cannot be brought to the disk");
  if (rename(part_.c_str(), target_.c_str()) != 0) Fail("cannot be put in place");
  done_ = true;
}

void PartFile::Keep() {
  done_ = length_ > 0;
  fsync(fd_);
}

}  // namespace brelix
