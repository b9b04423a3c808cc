// manifest.json: what a backup holds, when and with what it was taken, and what is missing from it and why. It is
// written and read piece by piece, since a phone may have a hundred thousand files.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "desktop/Digest.h"
#include "desktop/EntryFailure.h"
#include "desktop/backup/Domain.h"

namespace brelix::backup {

inline constexpr int kManifestFormat = 1;
inline constexpr const char* kManifestName = "manifest.json";

// Who a phone is. What it does not tell is empty.
struct PhoneIdentity {
  std::string manufacturer, model, serial_number, subscriber_number;

  friend bool operator==(const PhoneIdentity&, const PhoneIdentity&) = default;
  // "Northgate Radio NR-500, serial number 990000500100427"
  std::string ForPeople() const;
};
// Whether two are the same phone: by serial number, or, where neither tells one, by manufacturer and model.
bool IsSame(const PhoneIdentity& a, const PhoneIdentity& b);
// Whether they may be, since nothing that both tell speaks against it.
bool CanBeSame(const PhoneIdentity& a, const PhoneIdentity& b);
nlohmann::ordered_json ToJson(const PhoneIdentity& phone);
PhoneIdentity IdentityOf(const nlohmann::json& json);

struct DomainEntry {
  std::string name;
  uint64_t count = 0;
  std::string sha256;  // of its records
  uint64_t lost = 0;   // so many of its things are missing, or not whole
};

struct FileEntryOnDisk {
  std::string path;  // below the backup's folder, with "/": the host's bytes
  uint64_t size = 0;
  std::string sha256;
};

// All but the long lists.
struct Manifest {
  std::string id;  // another one for each taking
  std::string tool_version;
  std::string begun, finished;  // "2026-01-31T12:00:00Z"
  PhoneIdentity phone;
  std::string database_sha256;  // of the records of all domains
  std::vector<DomainEntry> domains;
  std::string before{};  // written only: the name under which the backup of before is kept; empty where it is not

  const DomainEntry* Find(std::string_view domain) const;
};

struct ManifestLists {
  std::function<void(const FileEntryOnDisk&)> file = [](const FileEntryOnDisk&) {};
  // `domain` is a place in Manifest::domains.
  std::function<void(size_t domain, const Problem&)> lost = [](size_t, const Problem&) {};
};

// Throws a local-file failure for a folder without a manifest or with one that cannot be read, and a usage failure for
// one of a newer program.
Manifest ReadManifest(const std::filesystem::path& folder, const ManifestLists& lists = {});
bool HasManifest(const std::filesystem::path& folder);
// What an error says, without the number that a library puts before it.
std::string ReasonOf(const std::exception& error);

// The records of a folder, counted and hashed. `total` gets them too. This and ForEachFile end at an interrupt
// (PhoneFolder::SetCancel).
DomainEntry EntryOf(const Domain& domain, const PhoneFolder& folder, Digest& total);

// Calls `visit` for each file below files/, by rising paths, with its digest.
void ForEachFile(const PhoneFolder& folder, const std::function<void(const FileEntryOnDisk&)>& visit);

// Writes the manifest, whole or not at all, from what is on the disk. The digests of `manifest` are filled in; `lost`
// hands out what is missing from a domain.
using LostSource = std::function<void(std::string_view domain, const std::function<void(const Problem&)>&)>;
void WriteManifest(const PhoneFolder& folder, Manifest& manifest, const LostSource& lost);

}  // namespace brelix::backup
