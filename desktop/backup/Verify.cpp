#include "desktop/backup/Verify.h"

#include <fmt/format.h>
#include <set>

#include "desktop/backup/ExpectedFiles.h"

namespace brelix::backup {

namespace {

namespace fs = std::filesystem;

// Damage is what a check is for: whatever cannot be read is a fault like others, and the check goes on.
template <typename Read, typename Tell>
void ReadOrTell(Read read, Tell tell) {
  try {
    read();
  } catch (const Failure& failure) {
    if (failure.code() == Exit::kInterrupted) throw;
    tell(failure.what());
  } catch (const std::exception& error) {
    tell(ReasonOf(error));
  }
}

class Check {
 public:
  Check(const PhoneFolder& folder, Verdict& verdict) : folder_(folder), verdict_(verdict) {}

  // A folder that is served has the database's own files beside it.
  void Top() {
    static const std::set<std::string> kKnown = {"phone.db", "phone.db-wal", "phone.db-shm", "files", kManifestName};
    for (const auto& entry : fs::directory_iterator(folder_.path())) {
      const std::string name = entry.path().filename().string();
      if (!kKnown.contains(name)) Found("extra", name, "does not belong to a backup");
    }
  }

  void Files(ExpectedFiles& expected) {
    const size_t before = verdict_.faults.size();
    folder_.ForEachEntry([&](const PhoneFolder::Entry& entry) {
      if (!entry.IsFolder()) File(entry, expected);
    });
    expected.ForEachUnseen([&](const std::string& path) { Found("missing", path, "is missing"); });
    files_differ_ = verdict_.faults.size() != before;
  }

  void Domains() {
    Digest total;
    const size_t before = verdict_.faults.size();
    for (const DomainEntry& wanted : verdict_.manifest.domains)
      if (const Domain* domain = FindDomain(wanted.name))
        CheckDomain(*domain, wanted, total);
      else
        Found("changed", wanted.name, "no domain that this program knows");
    const bool all_same = !files_differ_ && verdict_.faults.size() == before;
    if (all_same && total.Text() != verdict_.manifest.database_sha256)
      Found("changed", kManifestName, "its digest of everything is another");
  }

 private:
  void Found(const char* what, const std::string& path, const std::string& why) {
    verdict_.faults.push_back({what, path, fmt::format("{}: {}", path, why)});
  }

  void File(const PhoneFolder::Entry& entry, ExpectedFiles& expected) {
    verdict_.files++;
    const std::string path = "files/" + entry.path.string();
    const auto size = static_cast<uint64_t>(entry.status.st_size);
    const auto wanted = expected.See(path);
    if (!wanted) return Found("extra", path, "is not in the manifest");
    if (wanted->size != size)
      return Found("changed", path, fmt::format("has {} bytes instead of {}", size, wanted->size));
    ReadOrTell(
        [&] {
          if (folder_.DigestOf(entry) != wanted->sha256)
            Found("changed", path, "has other content than the manifest says");
        },
        [&](const std::string& why) { Found("changed", path, why); });
  }

  void CheckDomain(const Domain& domain, const DomainEntry& wanted, Digest& total) {
    // Where files are other ones, their domain cannot be the same.
    if (wanted.name == "files" && files_differ_) return;
    ReadOrTell(
        [&] {
          const DomainEntry entry = EntryOf(domain, folder_, total);
          if (entry.count != wanted.count)
            Found("changed", wanted.name, fmt::format("{} in the folder instead of {}", entry.count, wanted.count));
          else if (entry.sha256 != wanted.sha256)
            Found("changed", wanted.name,
                  wanted.name == "files" ? "times or attributes are not those of the manifest"
                                         : "the content is not that of the manifest");
        },
        [&](const std::string& why) { Found("changed", wanted.name, "cannot be read: " + why); });
  }

  const PhoneFolder& folder_;
  Verdict& verdict_;
  bool files_differ_ = false;
};

}  // namespace

Verdict VerifyFolder(const fs::path& folder, CancelFd cancel) {
  try {
    ExpectedFiles expected;
    Verdict verdict;
    verdict.manifest = ReadManifest(folder, {.file = [&](const FileEntryOnDisk& file) { expected.Add(file); }});
    PhoneFolder phone = PhoneFolder::OpenForReading(folder);
    phone.SetCancel(cancel);
    Check check(phone, verdict);
    check.Top();
    if (verdict.manifest.Find("files") != nullptr) check.Files(expected);
    check.Domains();
    return verdict;
  } catch (const SQLite::Exception& error) {
    throw Failure(Exit::kLocalFile, fmt::format("{}: the backup cannot be read: {}", folder.string(), error.what()));
  } catch (const fs::filesystem_error& error) {
    throw Failure(Exit::kLocalFile, fmt::format("{}: {}", error.path1().string(), error.code().message()));
  }
}

}  // namespace brelix::backup
