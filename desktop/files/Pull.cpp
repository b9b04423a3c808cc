#include "desktop/files/Pull.h"

#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

#include "desktop/files/PartFile.h"

namespace brelix {
namespace {

namespace fs = std::filesystem;

constexpr ptrdiff_t kFilesAhead = 1000;  // that are announced at a time

void MakeFolder(const fs::path& folder) {
  if (mkdir(folder.c_str(), 0777) == 0) return;
  struct stat now {};
  if (errno != EEXIST) FailLocally(folder, "cannot be made");
  if (stat(folder.c_str(), &now) == 0 && S_ISDIR(now.st_mode)) return;
  errno = EEXIST;
  FailLocally(folder, "is no folder");
}

// A name of more than one piece has folders of its own.
void MakeFoldersBetween(const fs::path& top, const std::string& local) {
  for (size_t at = local.find('/'); at != local.npos; at = local.find('/', at + 1)) {
    const std::string_view piece = std::string_view(local).substr(0, at);
    if (piece.ends_with("%+")) MakeFolder(top / piece);
  }
}

// After everything in it is there, which changes its time. That a folder's time or its way to the disk fails costs no
// file.
void FinishFolder(const fs::path& folder, std::optional<int64_t> modified) {
  const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  const timespec time{modified.value_or(0), 0};
  const timespec times[2] = {time, time};
  if (modified) futimens(fd, times);
  fsync(fd);
  close(fd);
}

bool IsBelow(const std::string& local, const std::set<std::string>& folders) {
  for (size_t at = local.find('/'); at != local.npos; at = local.find('/', at + 1))
    if (folders.contains(local.substr(0, at))) return true;
  return false;
}

}  // namespace

// Whether the target stays as it is, and whether it is what the phone has.
Pull::Here Pull::Look(const FileEntry& entry, const fs::path& target) const {
  struct stat here {};
  if (!options_.skip_existing && !options_.resume) return {};
  if (lstat(target.c_str(), &here) != 0) return {};
  const bool same = S_ISREG(here.st_mode) && entry.size && static_cast<uint32_t>(here.st_size) == *entry.size &&
                    entry.modified == here.st_mtim.tv_sec;
  return {.stays = same || options_.skip_existing, .same = same};
}

bool Pull::Skip(const PhonePath& path, const FileEntry& entry, const fs::path& target) {
  const Here here = Look(entry, target);
  if (!here.stays) return false;
  if (!here.same)
    watch_.notice(fmt::format("{}: stays, although {} is another on the phone now", target.string(), path.ForPeople()));
  counts_.skipped++;
  watch_.advance(entry.size.value_or(0));
  return true;
}

// The entry that the bytes which came belong to. A file may change between its listing and its reading, so the phone is
// asked once more where the sizes differ. Sizes are told modulo 4 GiB.
FileEntry Pull::Verified(const PhonePath& path, FileEntry entry, uint64_t count) {
  if (!entry.size) {
    watch_.notice(fmt::format("{}: {} bytes came; the phone tells no size to compare with", path.ForPeople(), count));
    return entry;
  }
  if (*entry.size != static_cast<uint32_t>(count)) entry = files_.Info(path);
  if (entry.size == static_cast<uint32_t>(count)) return entry;
  throw EntryFailure(Exit::kProtocol,
                     fmt::format("{}: {} bytes came, but the phone says that it has {}; not kept", path.ForPeople(),
                                 count, entry.size ? std::to_string(*entry.size) : "no size"));
}

void Pull::Fetch(const PhonePath& path, FileEntry entry, const fs::path& target) {
  PartFile part(target, options_.resume);
  try {
    const uint64_t count = files_.Read(path, entry.size, [&](ByteView bytes) {
      part.Write(bytes);
      watch_.advance(bytes.size());
    });
    entry = Verified(path, std::move(entry), count);
  } catch (const Failure& failure) {
    const bool stopped = failure.code() == Exit::kLinkLost || failure.code() == Exit::kInterrupted;
    if (stopped || (options_.resume && failure.code() != Exit::kProtocol)) part.Keep();
    throw;
  }
  part.Finish(entry.modified);
  counts_.files++;
  counts_.bytes += part.size();
  counts_.found_here += part.found_here();
}

void Pull::File(const PhonePath& path, const FileEntry& entry, const fs::path& target) {
  if (Skip(path, entry, target)) return;
  files_.Announce(path, entry.size);
  Fetch(path, entry, target);
  FinishFolder(target.has_parent_path() ? target.parent_path() : ".", std::nullopt);
}

void Pull::Node(const TreeNode& node, const fs::path& target) {
  const fs::path here = target / node.local;
  MakeFoldersBetween(target, node.local);
  if (node.entry.IsFolder()) return MakeFolder(here);
  if (!Skip(node.path, node.entry, here)) Fetch(node.path, node.entry, here);
}

Problems Pull::Folder(const Tree& tree, std::optional<int64_t> modified, const fs::path& target) {
  Problems problems = tree.problems;
  std::set<std::string> missing;  // folders that could not be made here
  MakeFolder(target);
  auto announced = tree.nodes.begin();
  for (const TreeNode& node : tree.nodes) {
    for (; announced != tree.nodes.end() && &*announced - &node < kFilesAhead; ++announced)
      if (!announced->entry.IsFolder() && !Look(announced->entry, target / announced->local).stays)
        files_.Announce(announced->path, announced->entry.size);
    if (IsBelow(node.local, missing)) continue;
    try {
      Node(node, target);
    } catch (const EntryFailure& failure) {
      problems.push_back({node.path.ForPeople(), failure.what()});
      if (node.entry.IsFolder()) missing.insert(node.local);
    }
  }
  files_.Close();
  for (auto node = tree.nodes.rbegin(); node != tree.nodes.rend(); ++node)
    if (node->entry.IsFolder() && !missing.contains(node->local))
      FinishFolder(target / node->local, node->entry.modified);
  FinishFolder(target, modified);
  return problems;
}

}  // namespace brelix
