#include "desktop/backup/FileFetch.h"

#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "desktop/backup/Descriptor.h"
#include "desktop/backup/FileDigest.h"
#include "desktop/files/PartFile.h"

namespace brelix::backup {

namespace {

namespace fs = std::filesystem;

// So much may have to be fetched once more after a power cut.
constexpr size_t kRememberFiles = 2048;
constexpr uint64_t kRememberBytes = 64U << 20;
// A file may grow while it is read, by not so much. No phone of this kind keeps files of 4 GiB, so a file that goes on
// behind its size has no end.
constexpr uint64_t kMostGrowth = 1U << 20;

bool IsThere(const fs::path& path, const ListedFile& file) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_mtim.tv_sec == file.modified &&
         status.st_mtim.tv_nsec == 0 && (!file.size || static_cast<uint32_t>(status.st_size) == *file.size);
}

// False when the file system changes the time.
bool SetTimeOf(int descriptor, int64_t modified) {
  const timespec time{modified, 0};
  const timespec times[2] = {time, time};
  struct stat status {};
  return futimens(descriptor, times) == 0 && fstat(descriptor, &status) == 0 && status.st_mtim.tv_sec == modified &&
         status.st_mtim.tv_nsec == 0;
}

constexpr std::string_view kTimeLost = "its time cannot be kept on this computer's file system";

void WriteAll(int descriptor, ByteView bytes, const fs::path& path) {
  while (!bytes.empty()) {
    const ssize_t count = write(descriptor, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) FailLocally(path, "cannot be written");
    bytes = bytes.subspan(static_cast<size_t>(count));
  }
}

// Nothing may be written to a file that is there: it may be shared with the backup of before.
void MakeWay(const fs::path& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) return;
  if (S_ISDIR(status.st_mode)) {
    fs::remove_all(path);
  } else if (unlink(path.c_str()) != 0) {
    FailLocally(path, "cannot be replaced");
  }
}

void Copy(const fs::path& from, const fs::path& to, int64_t modified) {
  if (link(from.c_str(), to.c_str()) == 0) return;
  fs::copy_file(from, to);
  const Descriptor made(open(to.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  if (made.get() < 0 || !SetTimeOf(made.get(), modified)) FailLocally(to, "its time cannot be set");
}

}  // namespace

void FileFetch::Lose(const ListedFile& file, std::string_view why) {
  const std::string shown = file.path.ForPeople();
  taking_.watch.Lost({shown, why.starts_with(shown) ? std::string(why) : fmt::format("{}: {}", shown, why)});
}

void FileFetch::MakeFolder(const ListedFile& folder) {
  const fs::path path = HostPath(folder);
  if (mkdir(path.c_str(), 0755) == 0) return;
  struct stat status {};
  if (errno == EEXIST && lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) return;
  try {
    if (errno != EEXIST) FailLocally(path, "cannot be made");
    MakeWay(path);
    if (mkdir(path.c_str(), 0755) != 0) FailLocally(path, "cannot be made");
  } catch (const EntryFailure& failure) {
    Lose(folder, failure.what());
  }
}

bool FileFetch::IsDone(const ListedFile& file) {
  const auto source = list_.FindDone(file);
  return source && !(taking_.full && *source == Source::kBefore) && IsThere(HostPath(file), file);
}

// A file of before counts only with the bytes that its manifest says.
bool FileFetch::TakeFromBefore(const ListedFile& file) {
  if (taking_.before == nullptr || taking_.full || !file.size) return false;
  const fs::path old = taking_.before->files() / file.host;
  if (!IsThere(old, file)) return false;
  const auto known = taking_.before->KnownDigest(file.host);
  if (!known) return false;
  if (DigestOfFile(old, taking_.before->cancel()) != *known) {
    taking_.watch.Notice(
        fmt::format("{}: damaged in the backup of before; it is fetched again", file.path.ForPeople()));
    return false;
  }
  Copy(old, HostPath(file), file.modified);
  return true;
}

uint64_t FileFetch::Read(const ListedFile& file, int descriptor) {
  const fs::path path = HostPath(file);
  uint64_t count = 0;
  return files_.Read(file.path, file.size, [&](ByteView bytes) {
    count += bytes.size();
    if (file.size && count > *file.size + kMostGrowth)
      throw EntryFailure(Exit::kProtocol,
                         fmt::format("more bytes come than the {} that the phone says it has", *file.size));
    WriteAll(descriptor, bytes, path);
    taking_.watch.Advance(bytes.size());
  });
}

// A file may change between its listing and its reading, so the phone is asked once more where the sizes differ.
void FileFetch::Verify(ListedFile& file, uint64_t count) {
  if (file.size == static_cast<uint32_t>(count)) return;
  const FileEntry now = files_.Info(file.path);
  if (now.size != static_cast<uint32_t>(count))
    throw EntryFailure(Exit::kProtocol, fmt::format("{} bytes came, but the phone says that it has {}", count,
                                                    now.size ? std::to_string(*now.size) : "no size"));
  file.size = now.size;
  file.modified = now.modified.value_or(file.modified);
}

void FileFetch::Fetch(ListedFile file) {
  const fs::path path = HostPath(file);
  const Descriptor made(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644));
  if (made.get() < 0) FailLocally(path, "cannot be made");
  try {
    Verify(file, Read(file, made.get()));
  } catch (...) {
    unlink(path.c_str());
    throw;
  }
  if (!SetTimeOf(made.get(), file.modified)) return Lose(file, kTimeLost);
  Done(file, Source::kPhone);
}

void FileFetch::Announce(const ListedFile& file) {
  const bool was_there =
      taking_.before != nullptr && !taking_.full && IsThere(taking_.before->files() / file.host, file);
  if (!was_there && !IsDone(file)) files_.Announce(file.path, file.size);
}

void FileFetch::Take(const ListedFile& file) {
  if (IsDone(file)) return taking_.watch.Advance(file.size.value_or(0));
  try {
    MakeWay(HostPath(file));
    if (TakeFromBefore(file)) {
      taking_.watch.Advance(*file.size);
      return Done(file, Source::kBefore);
    }
    Fetch(file);
  } catch (const Failure& failure) {
    const bool of_this_file = dynamic_cast<const EntryFailure*>(&failure) != nullptr ||
                              failure.code() == Exit::kProtocol || failure.code() == Exit::kPhoneError;
    if (!of_this_file) throw;
    Lose(file, failure.what());
  } catch (const fs::filesystem_error& error) {
    errno = error.code().value();
    FailLocally(HostPath(file), "cannot be written");
  }
}

void FileFetch::SetTime(const ListedFile& folder) {
  const Descriptor there(open(HostPath(folder).c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (there.get() >= 0 && !SetTimeOf(there.get(), folder.modified)) Lose(folder, kTimeLost);
}

void FileFetch::Done(const ListedFile& file, Source source) {
  list_.AddDone(file, source);
  waiting_files_++;
  waiting_bytes_ += source == Source::kPhone ? file.size.value_or(0) : 0;
  if (waiting_files_ >= kRememberFiles || waiting_bytes_ >= kRememberBytes) Finish();
}

void FileFetch::Finish() {
  taking_.sync();
  list_.CommitDone();
  waiting_files_ = 0;
  waiting_bytes_ = 0;
}

}  // namespace brelix::backup
