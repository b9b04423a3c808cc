// A backup beside its phone: what the phone gives now is put into a folder of its own and compared.
#include <fmt/format.h>
#include <set>

#include "desktop/Text.h"
#include "desktop/backup/Backup.h"
#include "desktop/backup/Compare.h"
#include "desktop/backup/ExpectedFiles.h"
#include "desktop/backup/Verify.h"
#include "desktop/files/PhoneFiles.h"
#include "handset/store/RowValues.h"

namespace brelix::backup {

namespace {

namespace fs = std::filesystem;

constexpr uint64_t kSmall = 1000;  // items of a domain that are all read again

// Which goes with all that is in it.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::error_code error;
    const fs::path place = fs::temp_directory_path(error);
    std::string name = (place / "brelix-verify-XXXXXX").string();
    if (error || mkdtemp(name.data()) == nullptr)
      throw Failure(Exit::kLocalFile,
                    fmt::format("{}: no folder can be made here; set TMPDIR to another place", place.string()));
    path_ = name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

// For what is read again.
class Scratch {
 public:
  Scratch() : folder_(Opened(place_.path())) {}
  PhoneFolder& folder() { return folder_; }

 private:
  static PhoneFolder Opened(const fs::path& path) {
    PhoneFolder::MakeEmpty(path);
    return PhoneFolder::OpenForWriting(path);
  }

  const TemporaryFolder place_;  // before what is made in it
  PhoneFolder folder_;
};

// What is lost while a domain is read again. What was lost when the backup was taken is in neither side.
class LossWatch final : public Watch {
 public:
  LossWatch(std::set<std::string> before, Problems& problems) : before_(std::move(before)), problems_(problems) {}
  void Expect(std::optional<uint64_t>) override {}
  void Advance(uint64_t) override {}
  void Notice(const std::string&) override {}
  void Lost(Problem problem) override {
    if (!before_.contains(problem.path)) Miss(problem.path, problem.why);
  }
  void Miss(const std::string& what, const std::string& why) {
    lost_.insert(what);
    problems_.push_back({what, fmt::format("not read from the phone: {}", why)});
  }

  size_t CountLost() const { return lost_.size(); }
  // Whether the loss is of this very record: a key is a path, or an object id, "0000000007" of "contact 7".
  bool HasLost(const Domain& domain, const std::string& key) const {
    const size_t digits = std::min(key.find_first_not_of('0'), key.size());
    return lost_.contains(key) || lost_.contains(fmt::format("{} {}", domain.item, key.substr(digits)));
  }

 private:
  const std::set<std::string> before_;
  Problems& problems_;
  std::set<std::string> lost_;
};

// What changes by itself is no difference.
bool IsState(const Domain& domain, const std::string& key) {
  return domain.name == "device" && (key == "memory" || key == "power");
}

class PhoneCheck {
 public:
  PhoneCheck(Session& session, const fs::path& folder, Verdict& verdict)
      : session_(session), backup_(PhoneFolder::OpenForReading(folder)), verdict_(verdict) {
    ReadManifest(folder, {.file = [&](const FileEntryOnDisk& file) { files_.Add(file); },
                          .lost = [&](size_t domain, const Problem& problem) { lost_[domain].insert(problem.path); }});
  }

  void Domains() {
    for (size_t at = 0; at < verdict_.manifest.domains.size(); at++) {
      const DomainEntry& entry = verdict_.manifest.domains[at];
      const Domain* domain = FindDomain(entry.name);
      if (domain == nullptr || domain->name == "files") continue;
      if (entry.count > kSmall) {
        verdict_.not_compared.push_back(entry.name);
        continue;
      }
      LossWatch watch(lost_[at], verdict_.not_read);
      Take(*domain, watch);
      CompareDomain(*domain, watch);
      *verdict_.sampled += entry.count - std::min<uint64_t>(entry.count, watch.CountLost());
    }
  }

  void Files(size_t sample) {
    PhoneFiles files(session_);
    for (const FileEntryOnDisk& file : files_.Sample(sample)) {
      CompareFile(files, file);
      ++*verdict_.sampled;
    }
    files.Close();
  }

 private:
  void Found(const std::string& path, const std::string& why) {
    verdict_.faults.push_back({"phone", path, fmt::format("{}: {}", path, why)});
  }

  void Take(const Domain& domain, LossWatch& watch) {
    try {
      domain.take({.session = session_, .folder = scratch_.folder(), .watch = watch});
    } catch (const Failure& failure) {
      if (EndsEverything(failure)) throw;
      watch.Miss(std::string(domain.name), fmt::format("{}, to their end: {}", domain.name, WithoutAddress(failure)));
    } catch (const SQLite::Exception& error) {
      throw Failure(Exit::kLocalFile, fmt::format("{}: what the phone gives cannot be written: {}; make room or set "
                                                  "TMPDIR to another place",
                                                  scratch_.folder().path().string(), error.what()));
    }
  }

  std::string WithoutAddress(const Failure& failure) const {
    const std::string text = failure.what(), prefix = session_.address() + ": ";
    return text.starts_with(prefix) ? text.substr(prefix.size()) : text;
  }

  // Where something could not be read, nobody knows which of the backup's things it was, so none of them is taken to be
  // gone from the phone.
  void CompareDomain(const Domain& domain, const LossWatch& watch) {
    try {
      Compare(domain, backup_, scratch_.folder(), [&](const Difference& difference) {
        if (IsState(domain, difference.key) || watch.HasLost(domain, difference.key)) return;
        if (difference.IsGone() && watch.CountLost() > 0) return;
        const char* how = difference.IsAdded()  ? "is on the phone only"
                          : difference.IsGone() ? "is in the backup only"
                                                : "is another on the phone";
        Found(std::string(domain.name), fmt::format("{} {} {}", domain.item, difference.key, how));
      });
    } catch (const Failure&) {
      throw;
    } catch (const std::exception& error) {
      // A damaged backup, of which the domain is a fault already.
      verdict_.not_read.push_back({std::string(domain.name), fmt::format("{}: cannot be compared with the phone: {}",
                                                                         domain.name, ReasonOf(error))});
    }
  }

  void CompareFile(PhoneFiles& files, const FileEntryOnDisk& file) {
    // The file, behind the folders that it is in.
    std::vector<PhonePath> paths;
    std::u16string units;
    for (const fs::path& part : fs::path(file.path.substr(std::string_view("files/").size()))) {
      units += u"\\" + handset::FromUtf8(part.string(), handset::Surrogates::kAccept).value_or(u"?");
      paths.push_back(PhonePath::OfWire(SplitSurrogates(handset::ToWtf8(units))));
    }
    try {
      if (DigestOnPhone(files, paths.back(), file) != file.sha256) Found(file.path, "has other content on the phone");
    } catch (const Failure& failure) {
      if (EndsEverything(failure)) throw;
      if (IsGone(files, paths)) return Found(file.path, "is in the backup only");
      verdict_.not_read.push_back({file.path, fmt::format("not read from the phone: {}", failure.what())});
    }
  }

  // A file that goes on behind its size is another, however long it is.
  static std::string DigestOnPhone(PhoneFiles& files, const PhonePath& path, const FileEntryOnDisk& file) {
    struct Longer {};
    Digest digest;
    uint64_t count = 0;
    try {
      files.Read(path, static_cast<uint32_t>(file.size), [&](ByteView bytes) {
        count += bytes.size();
        if (count > file.size) throw Longer();
        digest.Add(bytes);
      });
    } catch (const Longer&) {
      return "";
    }
    return digest.Text();
  }

  // As far as the phone says so.
  static bool IsGone(PhoneFiles& files, const std::vector<PhonePath>& paths) {
    try {
      for (const PhonePath& path : paths)
        if (files.Match(path).empty()) return true;
    } catch (const Failure& failure) {
      if (EndsEverything(failure)) throw;
    }
    return false;
  }

  Session& session_;
  const PhoneFolder backup_;
  Scratch scratch_;
  ExpectedFiles files_;
  std::map<size_t, std::set<std::string>> lost_;  // by place in Manifest::domains
  Verdict& verdict_;
};

}  // namespace

void VerifyAgainst(Session& session, const fs::path& folder, size_t sample, Verdict& verdict) {
  const PhoneIdentity phone = AskIdentity(session);
  const PhoneIdentity& taken = verdict.manifest.phone;
  if (!CanBeSame(phone, taken))
    throw Failure(Exit::kUsage, fmt::format("{}: the backup of another phone ({}); this one is {}", folder.string(),
                                            taken.ForPeople(), phone.ForPeople()));
  if (phone.serial_number != taken.serial_number)
    verdict.not_read.push_back(
        {"serial number", fmt::format("the backup is of {}; this one is {}, and may be another phone",
                                      taken.ForPeople(), phone.ForPeople())});
  try {
    PhoneCheck check(session, folder, verdict);
    verdict.sampled = 0;
    check.Domains();
    check.Files(sample);
  } catch (const SQLite::Exception& error) {
    throw Failure(Exit::kLocalFile,
                  fmt::format("{}: cannot be compared with the phone: {}", folder.string(), error.what()));
  }
}

}  // namespace brelix::backup
