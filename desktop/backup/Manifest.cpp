#include "desktop/backup/Manifest.h"

#include <fmt/format.h>

#include "desktop/Digest.h"
#include "desktop/NewFile.h"
#include "desktop/Text.h"
#include "desktop/backup/PhoneTexts.h"

namespace brelix::backup {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

// One line of JSON; what is no UTF-8 in texts for people becomes U+FFFD.
template <typename J>
std::string Line(const J& json) {
  return json.dump(-1, ' ', false, J::error_handler_t::replace);
}

// The elements of a list, one a line.
class LineList {
 public:
  LineList(NewFile& out, std::string_view indent) : out_(out), indent_(indent) {}
  template <typename J>
  void Add(const J& json) {
    out_.Write(std::string(first_ ? "\n" : ",\n") + indent_ + Line(json));
    first_ = false;
  }

 private:
  NewFile& out_;
  const std::string indent_;
  bool first_ = true;
};

void WriteDomain(NewFile& out, const DomainEntry& entry, const LostSource& lost) {
  const Domain& domain = *FindDomain(entry.name);
  out.Write(fmt::format("    {{\"name\": {}, \"count\": {}, \"sha256\": {},\n     \"not_carried\": [",
                        Line(Json(entry.name)), entry.count, Line(Json(entry.sha256))));
  LineList texts(out, "       ");
  for (const std::string_view text : domain.not_carried) texts.Add(Json(text));
  out.Write("],\n     \"lost\": [");
  LineList problems(out, "       ");
  lost(entry.name, [&](const Problem& problem) {
    problems.Add(Json{{"item", CleanUtf8(problem.path)}, {"why", CleanUtf8(problem.why)}});
  });
  out.Write("]}");
}

}  // namespace

std::string PhoneIdentity::ForPeople() const {
  const std::string made = manufacturer + (manufacturer.empty() || model.empty() ? "" : " ") + model;
  if (made.empty() && serial_number.empty()) return "a phone that tells nothing of itself";
  if (serial_number.empty()) return made + " without a serial number";
  return (made.empty() ? "a phone" : made) + ", serial number " + serial_number;
}

bool IsSame(const PhoneIdentity& a, const PhoneIdentity& b) {
  if (a.serial_number != b.serial_number) return false;
  return !a.serial_number.empty() || (a.manufacturer == b.manufacturer && a.model == b.model);
}

bool CanBeSame(const PhoneIdentity& a, const PhoneIdentity& b) {
  if (!a.serial_number.empty() && !b.serial_number.empty()) return a.serial_number == b.serial_number;
  const auto agree = [](const std::string& one, const std::string& other) {
    return one.empty() || other.empty() || one == other;
  };
  return agree(a.manufacturer, b.manufacturer) && agree(a.model, b.model);
}

Json ToJson(const PhoneIdentity& phone) {
  return {{"manufacturer", phone.manufacturer},
          {"model", phone.model},
          {"serial_number", phone.serial_number},
          {"subscriber_number", phone.subscriber_number}};
}

PhoneIdentity IdentityOf(const nlohmann::json& json) {
  return {json.value("manufacturer", ""), json.value("model", ""), json.value("serial_number", ""),
          json.value("subscriber_number", "")};
}

const DomainEntry* Manifest::Find(std::string_view domain) const {
  for (const DomainEntry& entry : domains)
    if (entry.name == domain) return &entry;
  return nullptr;
}

bool HasManifest(const fs::path& folder) { return fs::is_regular_file(folder / kManifestName); }

DomainEntry EntryOf(const Domain& domain, const PhoneFolder& folder, Digest& total) {
  DomainEntry entry{std::string(domain.name), 0, "", 0};
  Digest hash;
  domain.for_each(folder, [&](const Record& record) {
    folder.FailIfInterrupted();
    const std::string line = nlohmann::json::array({domain.name, record.key, record.fields}).dump() + "\n";
    const ByteView bytes(reinterpret_cast<const uint8_t*>(line.data()), line.size());
    hash.Add(bytes);
    total.Add(bytes);
    entry.count++;
  });
  entry.sha256 = hash.Text();
  return entry;
}

void ForEachFile(const PhoneFolder& folder, const std::function<void(const FileEntryOnDisk&)>& visit) {
  folder.ForEachEntry([&](const PhoneFolder::Entry& entry) {
    if (!entry.IsFolder())
      visit({"files/" + entry.path.string(), static_cast<uint64_t>(entry.status.st_size), folder.DigestOf(entry)});
  });
}

void WriteManifest(const PhoneFolder& folder, Manifest& manifest, const LostSource& lost) {
  Digest total;
  for (DomainEntry& entry : manifest.domains) {
    const uint64_t missing = entry.lost;
    entry = EntryOf(*FindDomain(entry.name), folder, total);
    entry.lost = missing;
  }
  manifest.database_sha256 = total.Text();

  NewFile out(folder.path() / kManifestName);
  Json taken = {{"id", manifest.id},
                {"version", manifest.tool_version},
                {"begun", manifest.begun},
                {"finished", manifest.finished}};
  if (!manifest.before.empty()) taken["kept_before"] = ToJson(manifest.before);
  out.Write(fmt::format("{{\n  \"format\": {},\n  \"tool\": \"brelix\",\n  \"taken\": {},\n  \"phone\": {},\n",
                        kManifestFormat, Line(taken), Line(ToJson(manifest.phone))));
  out.Write(fmt::format("  \"database_sha256\": \"{}\",\n  \"domains\": [\n", manifest.database_sha256));
  for (const DomainEntry& entry : manifest.domains) {
    WriteDomain(out, entry, lost);
    out.Write(&entry == &manifest.domains.back() ? "\n" : ",\n");
  }
  out.Write("  ],\n  \"files\": [");
  LineList files(out, "    ");
  if (manifest.Find("files") != nullptr) {
    ForEachFile(folder, [&](const FileEntryOnDisk& file) {
      files.Add(Json{{"path", Json(ToJson(file.path))}, {"size", file.size}, {"sha256", file.sha256}});
    });
  }
  out.Write("]\n}\n");
  out.Commit();
}

}  // namespace brelix::backup
