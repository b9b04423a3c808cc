#include "desktop/NewFile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

#include "desktop/Failure.h"

namespace brelix {
namespace {

namespace fs = std::filesystem;
constexpr size_t kWriteFrom = 1u << 16;  // smaller pieces are gathered
constexpr int kMostNames = 100;

void SyncFolder(const fs::path& folder) {
  const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  fsync(fd);  // some file systems cannot; the rename stands all the same
  close(fd);
}

}  // namespace

NewFile::NewFile(fs::path path) : path_(std::move(path)), target_(path_) {
  if (path_ == "-") {
    fd_ = dup(STDOUT_FILENO);
    if (fd_ < 0) Fail("standard output cannot be written");
    return;
  }
  if (!path_.has_filename()) {
    errno = path_.empty() ? ENOENT : EISDIR;
    Fail("cannot be written");
  }
  std::error_code error;
  if (fs::is_symlink(fs::symlink_status(path_, error))) target_ = fs::weakly_canonical(path_, error);
  const fs::file_status status = fs::status(target_, error);
  if (fs::is_directory(status)) {
    errno = EISDIR;
    Fail("cannot be written");
  }
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    fd_ = open(target_.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (fd_ < 0) Fail("cannot be written");
    return;
  }
  OpenTemporary();
}

void NewFile::OpenTemporary() {
  const fs::path folder = target_.has_parent_path() ? target_.parent_path() : fs::path(".");
  // A long name is cut, so that the temporary one is not too long where the final one is not.
  const std::string stem = target_.filename().string().substr(0, 200);
  std::random_device random;
  for (int i = 0; i < kMostNames; i++) {
    temporary_ = folder / fmt::format(".{}.{:08x}.part", stem, random());
    fd_ = open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (fd_ >= 0) break;
    if (errno != EEXIST) break;
  }
  if (fd_ < 0) {
    temporary_.clear();
    Fail("cannot be made");
  }
  // Who could read the file of before can read the new one.
  struct stat before {};
  if (stat(target_.c_str(), &before) == 0) fchmod(fd_, before.st_mode & 0777);
}

NewFile::~NewFile() {
  if (fd_ >= 0) close(fd_);
  if (!temporary_.empty()) unlink(temporary_.c_str());
}

void NewFile::Fail(const char* what) const {
  throw Failure(Exit::kLocalFile, fmt::format("{}: {}: {}", path_.string(), what, std::strerror(errno)));
}

void NewFile::Flush() {
  std::string_view rest = pending_;
  while (!rest.empty()) {
    const ssize_t count = write(fd_, rest.data(), rest.size());
    if (count < 0 && errno != EINTR) Fail("cannot be written");
    if (count > 0) rest.remove_prefix(static_cast<size_t>(count));
  }
  pending_.clear();
}

void NewFile::Write(std::string_view text) {
  pending_ += text;
  if (pending_.size() >= kWriteFrom) Flush();
}

void NewFile::Commit() {
  Flush();
  if (!temporary_.empty()) {
    if (modified_) {
      const auto seconds = std::chrono::floor<std::chrono::seconds>(*modified_);
      const timespec time{seconds.time_since_epoch().count(), (*modified_ - seconds).count()};
      const timespec times[2] = {time, time};
      if (futimens(fd_, times) != 0) Fail("its time cannot be set");
    }
    if (fsync(fd_) != 0) Fail("cannot be brought to the disk");
  }
  const int fd = fd_;
  fd_ = -1;
  if (close(fd) != 0) Fail("cannot be written");
  if (temporary_.empty()) return;
  if (rename(temporary_.c_str(), target_.c_str()) != 0) Fail("cannot be put in place");
  temporary_.clear();
  SyncFolder(target_.has_parent_path() ? target_.parent_path() : fs::path("."));
}

}  // namespace brelix
