#include "desktop/backup/Verify.h"

#include <fmt/format.h>
#include <set>

#include "desktop/Text.h"
#include "desktop/backup/Backup.h"
#include "desktop/backup/Compare.h"
#include "desktop/backup/PhoneTexts.h"
#include "desktop/files/PhoneFiles.h"
#include "handset/store/RowValues.h"

namespace brelix::backup {

namespace {

namespace fs = std::filesystem;

constexpr uint64_t kSmall = 1000;  // items of a domain that are all read again

void BindBytes(SQLite::Statement& statement, int at, const std::string& bytes) {
  statement.bind(at, bytes.data(), static_cast<int>(bytes.size()));
}

// The manifest's list of files, on the disk, since it may be long.
class ExpectedFiles {
 public:
  ExpectedFiles() : database_("", SQLite::OPEN_READWRITE) {
    database_.exec("CREATE TABLE file (path BLOB PRIMARY KEY, size INTEGER, sha256 TEXT, seen INTEGER DEFAULT 0)");
  }

  void Add(const FileEntryOnDisk& file) {
    SQLite::Statement row(database_, "INSERT OR REPLACE INTO file (path, size, sha256) VALUES (?, ?, ?)");
    BindBytes(row, 1, file.path);
    row.bind(2, static_cast<int64_t>(file.size));
    row.bind(3, file.sha256);
    row.exec();
  }

  std::optional<FileEntryOnDisk> See(const std::string& path) {
    SQLite::Statement row(database_, "UPDATE file SET seen = 1 WHERE path = ? RETURNING size, sha256");
    BindBytes(row, 1, path);
    if (!row.executeStep()) return std::nullopt;
    return FileEntryOnDisk{path, static_cast<uint64_t>(row.getColumn(0).getInt64()), row.getColumn(1).getString()};
  }

  void ForEachUnseen(const std::function<void(const std::string&)>& visit) {
    SQLite::Statement rows(database_, "SELECT path FROM file WHERE seen = 0 ORDER BY path");
    while (rows.executeStep()) visit(rows.getColumn(0).getString());
  }

  // So many of them, spread over all.
  std::vector<FileEntryOnDisk> Sample(size_t most) {
    SQLite::Statement rows(
        database_,
        "SELECT path, size, sha256 FROM (SELECT *, row_number() OVER (ORDER BY path) - 1 AS place, "
        "count(*) OVER () AS total FROM file) WHERE place * ?1 / total <> (place - 1) * ?1 / total OR "
        "place = 0");
    rows.bind(1, static_cast<int64_t>(most));
    std::vector<FileEntryOnDisk> chosen;
    while (rows.executeStep() && chosen.size() < most)
      chosen.push_back({rows.getColumn(0).getString(), static_cast<uint64_t>(rows.getColumn(1).getInt64()),
                        rows.getColumn(2).getString()});
    return chosen;
  }

 private:
  SQLite::Database database_;
};

Manifest ReadWithFiles(const fs::path& folder, ExpectedFiles& expected) {
  return ReadManifest(folder, {.file = [&](const FileEntryOnDisk& file) { expected.Add(file); }});
}

void CheckFiles(const PhoneFolder& folder, ExpectedFiles& expected, Verdict& verdict) {
  ForEachFile(folder, [&](const FileEntryOnDisk& file) {
    verdict.files++;
    const auto wanted = expected.See(file.path);
    const auto fault = [&](const char* what, const std::string& why) {
      verdict.faults.push_back({what, file.path, fmt::format("{}: {}", file.path, why)});
    };
    if (!wanted)
      fault("extra", "is not in the manifest");
    else if (wanted->size != file.size)
      fault("changed", fmt::format("has {} bytes instead of {}", file.size, wanted->size));
    else if (wanted->sha256 != file.sha256)
      fault("changed", "has other content than the manifest says");
  });
  expected.ForEachUnseen([&](const std::string& path) {
    verdict.faults.push_back({"missing", path, fmt::format("{}: is missing", path)});
  });
}

// A folder that is served has the database's own files beside it.
void CheckTop(const fs::path& folder, Verdict& verdict) {
  static const std::set<std::string> kKnown = {"phone.db", "phone.db-wal", "phone.db-shm", "files", kManifestName};
  for (const auto& entry : fs::directory_iterator(folder)) {
    const std::string name = entry.path().filename().string();
    if (!kKnown.contains(name))
      verdict.faults.push_back({"extra", name, fmt::format("{}: does not belong to a backup", name)});
  }
}

void CheckDomains(const PhoneFolder& folder, Verdict& verdict) {
  Digest total;
  const bool files_differ = !verdict.faults.empty();
  for (const DomainEntry& wanted : verdict.manifest.domains) {
    const Domain* domain = FindDomain(wanted.name);
    if (domain == nullptr) {
      verdict.faults.push_back(
          {"changed", wanted.name, fmt::format("{}: no domain that this program knows", wanted.name)});
      continue;
    }
    const DomainEntry entry = EntryOf(*domain, folder, total);
    if (entry.sha256 == wanted.sha256 && entry.count == wanted.count) continue;
    // Where files are other ones, their domain cannot be the same.
    if (wanted.name == "files" && files_differ) continue;
    const std::string why = entry.count != wanted.count
                                ? fmt::format("{} in the folder instead of {}", entry.count, wanted.count)
                            : wanted.name == "files" ? std::string("times or attributes are not those of the manifest")
                                                     : "the content is not that of the manifest";
    verdict.faults.push_back({"changed", wanted.name, fmt::format("{}: {}", wanted.name, why)});
  }
  if (verdict.faults.empty() && total.Text() != verdict.manifest.database_sha256)
    verdict.faults.push_back(
        {"changed", kManifestName, fmt::format("{}: its digest of everything is another", kManifestName)});
}

// A folder for what is read again, which goes with it.
class Scratch {
 public:
  Scratch() {
    std::string name = (fs::temp_directory_path() / "brelix-verify-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
      throw Failure(Exit::kLocalFile,
                    fmt::format("{}: no folder can be made here", fs::temp_directory_path().string()));
    path_ = name;
    PhoneFolder::MakeEmpty(path_);
  }
  ~Scratch() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

class QuietWatch final : public Watch {
 public:
  void Expect(std::optional<uint64_t>) override {}
  void Advance(uint64_t) override {}
  void Notice(const std::string&) override {}
  // What was lost then too is no difference; what was not is missing from the comparison.
  void Lost(Problem) override {}
};

// What changes by itself is no difference.
bool IsState(const Domain& domain, const std::string& key) {
  return domain.name == "device" && (key == "memory" || key == "power");
}

void CompareDomain(Session& session, const Domain& domain, const PhoneFolder& backup, PhoneFolder& scratch,
                   Verdict& verdict) {
  QuietWatch watch;
  domain.take({.session = session, .folder = scratch, .watch = watch});
  Compare(domain, backup, scratch, [&](const Difference& difference) {
    if (IsState(domain, difference.key)) return;
    const char* how = difference.IsAdded()  ? "is on the phone only"
                      : difference.IsGone() ? "is in the backup only"
                                            : "is another on the phone";
    verdict.faults.push_back({"phone", std::string(domain.name),
                              fmt::format("{}: {} {} {}", domain.name, domain.item, difference.key, how)});
  });
}

void CompareFile(PhoneFiles& files, const FileEntryOnDisk& file, Verdict& verdict) {
  std::u16string units;
  for (const fs::path& part : fs::path(file.path.substr(6)))
    units += u"\\" + handset::FromUtf8(part.string(), handset::Surrogates::kAccept).value_or(u"?");
  const PhonePath path = PhonePath::OfWire(SplitSurrogates(handset::ToWtf8(units)));
  Digest digest;
  try {
    files.Read(path, static_cast<uint32_t>(file.size), [&](ByteView bytes) { digest.Add(bytes); });
    if (digest.Text() != file.sha256)
      verdict.faults.push_back({"phone", file.path, fmt::format("{}: has other content on the phone", file.path)});
  } catch (const EntryFailure& failure) {
    verdict.faults.push_back({"phone", file.path, failure.what()});
  }
}

}  // namespace

Verdict VerifyFolder(const fs::path& folder, CancelFd cancel) {
  try {
    ExpectedFiles expected;
    Verdict verdict;
    verdict.manifest = ReadWithFiles(folder, expected);
    PhoneFolder phone = PhoneFolder::OpenForReading(folder);
    phone.SetCancel(cancel);
    CheckTop(folder, verdict);
    if (verdict.manifest.Find("files") != nullptr) CheckFiles(phone, expected, verdict);
    CheckDomains(phone, verdict);
    return verdict;
  } catch (const SQLite::Exception& error) {
    throw Failure(Exit::kLocalFile, fmt::format("{}: the backup cannot be read: {}", folder.string(), error.what()));
  }
}

void VerifyAgainst(Session& session, const fs::path& folder, size_t sample, Verdict& verdict) {
  const PhoneIdentity phone = AskIdentity(session);
  if (!CanBeSame(phone, verdict.manifest.phone))
    throw Failure(Exit::kUsage, fmt::format("{}: the backup of another phone ({}); this one is {}", folder.string(),
                                            verdict.manifest.phone.ForPeople(), phone.ForPeople()));
  const PhoneFolder backup = PhoneFolder::OpenForReading(folder);
  const Scratch place;
  PhoneFolder scratch = PhoneFolder::OpenForWriting(place.path());
  size_t compared = 0;
  for (const DomainEntry& entry : verdict.manifest.domains) {
    const Domain* domain = FindDomain(entry.name);
    if (domain == nullptr || domain->name == "files") continue;
    if (entry.count > kSmall) {
      verdict.not_compared.push_back(entry.name);
      continue;
    }
    CompareDomain(session, *domain, backup, scratch, verdict);
    compared += entry.count;
  }
  ExpectedFiles expected;
  ReadWithFiles(folder, expected);
  PhoneFiles files(session);
  for (const FileEntryOnDisk& file : expected.Sample(sample)) {
    CompareFile(files, file, verdict);
    compared++;
  }
  files.Close();
  verdict.sampled = compared;
}

}  // namespace brelix::backup
