// The phone's registry, as far as the wire carries it.
#include <array>
#include <fmt/format.h>

#include "desktop/Text.h"
#include "desktop/backup/Domains.h"
#include "desktop/backup/PhoneTexts.h"
#include "desktop/registry/PhoneRegistry.h"
#include "handset/store/RegistryDescription.h"
#include "handset/store/RowValues.h"
#include "handset/store/StoreRows.h"

namespace brelix::backup {

namespace {

constexpr std::array kRoots = {"HKCR", "HKCU", "HKLM"};
constexpr size_t kMostData = 8192;  // bytes that a phone can send of a value

constexpr std::array<std::string_view, 5> kNotCarried = {
    "the root HKEY_USERS",
    "values of more than 8192 bytes, and values whose names hold a backslash",
    "keys and values whose names begin with U+0100, U+4E00 or another character whose low byte is 0",
    "what follows the first NUL of a text, and all of a text that begins with such a character",
    "whether a text was stored with its terminator",
};

constexpr const char* kClear = "DELETE FROM registry_value; DELETE FROM registry_key WHERE parent <> 0";

// Texts are stored with their terminator, but where it would make of a value that came one that can never come again.
handset::Bytes DataOf(const RegistryValue& value) {
  if (!value.IsText()) return {value.data.begin(), value.data.end()};
  std::u16string text = PhoneText(value.Text());
  if ((text.size() + 1) * 2 <= kMostData) text.push_back(u'\0');
  handset::Bytes bytes;
  for (const char16_t unit : text) {
    bytes.push_back(static_cast<uint8_t>(unit & 0xFF));
    bytes.push_back(static_cast<uint8_t>(unit >> 8));
  }
  return bytes;
}

void Put(const Taking& taking, const KeyContents& contents) {
  SQLite::Database& database = taking.folder.database();
  const int64_t key = handset::PutKey(database, PhoneText(contents.path.Wire()));
  for (const RegistryValue& value : contents.values) {
    if (handset::PutValue(database, key, {PhoneText(value.name), value.type, DataOf(value)})) continue;
    const std::string where = contents.path.ForPeople();
    taking.watch.Lost(
        {where, fmt::format("{}: the phone tells the name \"{}\" of two values", where, CleanUtf8(value.name))});
  }
}

void Take(const Taking& taking) {
  PhoneRegistry registry(taking.session);
  Batch batch(taking.folder.database());
  for (const char* root : kRoots) {
    const Problems problems = WalkRegistry(registry, KeyPath::Parse(root), [&](const KeyContents& contents) {
      Put(taking, contents);
      size_t bytes = 0;
      for (const RegistryValue& value : contents.values) bytes += value.data.size();
      batch.Done(bytes);
      taking.watch.Advance(1);
    });
    for (const Problem& problem : problems) taking.watch.Lost(problem);
  }
  batch.Finish();
}

// The name of a value as a member's name, which must be proper UTF-8.
std::string MemberOf(const std::u16string& name) {
  const std::string text = handset::ToWtf8(name);
  if (handset::IsWellFormed(name) && !text.starts_with("utf16:")) return text;
  return "utf16:" + handset::ToHexUnits(name);
}

nlohmann::json FieldsOf(const std::vector<handset::RegistryValue>& values) {
  nlohmann::json fields = nlohmann::json::object();
  for (const handset::RegistryValue& value : values) {
    const nlohmann::json printed = handset::PrintRegistry({{u"HKLM", {value}}})[0]["values"][0];
    fields[MemberOf(value.name)] = {{"type", printed["type"]}, {"data", printed["data"]}};
  }
  return fields;
}

// By path, byte by byte; keys are what the phone calls them.
void ForEach(const PhoneFolder& folder, const RecordSink& sink) {
  SQLite::Statement rows(folder.database(),
                         "WITH RECURSIVE below(id, path) AS (SELECT id, CAST(name AS BLOB) FROM registry_key WHERE "
                         "parent = 0 AND name IN ('HKCR', 'HKCU', 'HKLM') UNION ALL SELECT k.id, CAST(below.path || "
                         "'\\' || k.name AS BLOB) FROM registry_key AS k JOIN below ON k.parent = below.id) "
                         "SELECT id, path FROM below ORDER BY path");
  while (rows.executeStep()) {
    const std::string path = rows.getColumn(1).getString();
    sink({MemberOf(handset::FromWtf8(path)),
          FieldsOf(handset::SelectValues(folder.database(), rows.getColumn(0).getInt64()))});
  }
}

}  // namespace

const Domain kRegistryDomain = {
    .name = "registry", .item = "key", .not_carried = kNotCarried, .clear = kClear, .take = Take, .for_each = ForEach};

}  // namespace brelix::backup
