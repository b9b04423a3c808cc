// Reading manifest.json. Somebody may have edited it, so nothing in it is taken for granted.
#include <SQLiteCpp/SQLiteCpp.h>
#include <fmt/format.h>
#include <fstream>

#include "desktop/Failure.h"
#include "desktop/backup/Manifest.h"
#include "desktop/backup/PhoneTexts.h"

namespace brelix::backup {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

[[noreturn]] void Broken(const fs::path& file, const std::string& why) {
  throw Failure(Exit::kLocalFile,
                fmt::format("{}: no manifest of a backup: {}; restore a copy or take a new backup elsewhere",
                            file.string(), why));
}

// Whether it is below files/ and stays there.
bool IsFilesPath(const std::string& path) {
  constexpr std::string_view kBelow = "files/";
  if (!path.starts_with(kBelow) || path.find('\0') != path.npos) return false;
  for (size_t at = kBelow.size(); at <= path.size();) {
    const size_t end = std::min(path.find('/', at), path.size());
    const std::string_view part = std::string_view(path).substr(at, end - at);
    if (part.empty() || part == "." || part == "..") return false;
    at = end + 1;
  }
  return true;
}

// How many things a domain has lost: one may be on the list for several reasons. On the disk, since there may be many.
class LostItems {
 public:
  void Add(size_t domain, const std::string& item) {
    if (!database_) Open();
    insert_->bind(1, static_cast<int64_t>(domain));
    insert_->bind(2, item);
    insert_->exec();
    insert_->reset();
  }

  uint64_t Count(size_t domain) const {
    if (!database_) return 0;
    SQLite::Statement row(*database_, "SELECT count(*) FROM lost WHERE domain = ?");
    row.bind(1, static_cast<int64_t>(domain));
    return row.executeStep() ? static_cast<uint64_t>(row.getColumn(0).getInt64()) : 0;
  }

 private:
  void Open() {
    database_.emplace("", SQLite::OPEN_READWRITE);
    database_->exec("CREATE TABLE lost (domain INTEGER, item TEXT, PRIMARY KEY (domain, item)) WITHOUT ROWID");
    insert_.emplace(*database_, "INSERT OR IGNORE INTO lost VALUES (?, ?)");
  }

  std::optional<SQLite::Database> database_;
  std::optional<SQLite::Statement> insert_;
};

// Reads the long lists element by element and keeps the rest. A callback that discards an element keeps the library
// from gathering them.
class Reader {
 public:
  Reader(const fs::path& file, const ManifestLists& lists) : file_(file), lists_(lists) {}

  Manifest Read() {
    try {
      std::ifstream in(file_, std::ios::binary);
      if (!in) Broken(file_, "it cannot be read");
      return ManifestOf(Json::parse(
          in, [this](int depth, Json::parse_event_t event, Json& parsed) { return Keep(depth, event, parsed); }));
    } catch (const Json::exception& error) {
      Broken(file_, ReasonOf(error));
    } catch (const std::ios_base::failure&) {
      Broken(file_, "it cannot be read");
    }
  }

 private:
  using Event = Json::parse_event_t;

  bool Keep(int depth, Event event, const Json& parsed) {
    if (event == Event::key && depth == 1) section_ = parsed.get<std::string>();
    if (event == Event::key && depth == 3 && section_ == "domains") member_ = parsed.get<std::string>();
    // The domain's name may stand behind its list.
    if (event == Event::object_start && depth == 2 && section_ == "domains") domains_++;
    if (event == Event::value) Value(depth, parsed);
    return event != Event::object_end || !Element(depth, parsed);
  }

  bool IsInFiles(int depth) const { return depth == 2 && section_ == "files"; }
  bool IsInLost(int depth) const { return depth == 4 && section_ == "domains" && member_ == "lost"; }

  // The format comes first: what follows may look otherwise in another one.
  void Value(int depth, const Json& value) {
    if (depth == 1 && section_ == "format") NeedFormat(value);
    if (IsInFiles(depth) || IsInLost(depth)) Broken(file_, "an element of a list is no object");
  }

  // Whether it was an element of a long list.
  bool Element(int depth, const Json& json) {
    if (IsInFiles(depth)) {
      const auto path = json.contains("path") ? BytesOf(json["path"]) : std::nullopt;
      if (!path) Broken(file_, "a file without a path");
      if (!IsFilesPath(*path)) Broken(file_, fmt::format("\"{}\" is no path of a file in files/", *path));
      lists_.file({*path, CountIn(json, "size"), TextIn(json, "sha256")});
      return true;
    }
    if (IsInLost(depth)) {
      const Problem problem{TextIn(json, "item"), TextIn(json, "why")};
      lost_.Add(domains_ - 1, problem.path);
      lists_.lost(domains_ - 1, problem);
      return true;
    }
    return false;
  }

  void NeedFormat(const Json& format) const {
    if (format.is_number_unsigned() && format.get<uint64_t>() > kManifestFormat)
      throw Failure(Exit::kUsage, fmt::format("{}: made by a newer program (format {}, this one knows {}); use that",
                                              file_.string(), format.dump(), kManifestFormat));
    if (format != kManifestFormat || !format.is_number_integer())
      Broken(file_, fmt::format("there is no format {}", format.dump()));
  }

  Manifest ManifestOf(const Json& json) const {
    NeedFormat(In(json, "format"));
    const Json& taken = In(json, "taken");
    Manifest manifest{.id = TextIn(taken, "id"),
                      .tool_version = TextIn(taken, "version"),
                      .begun = TextIn(taken, "begun"),
                      .finished = TextIn(taken, "finished"),
                      .phone = IdentityOf(In(json, "phone")),
                      .database_sha256 = TextIn(json, "database_sha256"),
                      .domains = {}};
    for (const Json& entry : In(json, "domains")) {
      const uint64_t lost = lost_.Count(manifest.domains.size());
      manifest.domains.push_back({TextIn(entry, "name"), CountIn(entry, "count"), TextIn(entry, "sha256"), lost});
    }
    return manifest;
  }

  const Json& In(const Json& json, const char* name) const {
    if (!json.is_object() || !json.contains(name)) Broken(file_, fmt::format("\"{}\" is missing", name));
    return json[name];
  }
  std::string TextIn(const Json& json, const char* name) const {
    const Json& member = In(json, name);
    if (!member.is_string()) Broken(file_, fmt::format("\"{}\" is no text", name));
    return member.get<std::string>();
  }
  uint64_t CountIn(const Json& json, const char* name) const {
    const Json& member = In(json, name);
    if (!member.is_number_unsigned()) Broken(file_, fmt::format("\"{}\" is no number of things", name));
    return member.get<uint64_t>();
  }

  const fs::path file_;
  const ManifestLists& lists_;
  std::string section_, member_;
  size_t domains_ = 0;  // begun so far
  LostItems lost_;
};

}  // namespace

std::string ReasonOf(const std::exception& error) {
  const std::string text = error.what();
  const size_t end = text.find("] ");
  return text.starts_with("[json.") && end != text.npos ? text.substr(end + 2) : text;
}

Manifest ReadManifest(const fs::path& folder, const ManifestLists& lists) {
  const fs::path file = folder / kManifestName;
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (!fs::exists(status) && status.type() != fs::file_type::none && status.type() != fs::file_type::unknown)
    throw Failure(Exit::kLocalFile, fmt::format("{}: no backup, it has no {}", folder.string(), kManifestName));
  if (fs::exists(status) && !fs::is_regular_file(status)) Broken(file, "it is no file");
  return Reader(file, lists).Read();
}

}  // namespace brelix::backup
