// The phone's files.
//
// Everything is found first and put on a list in the progress database; then the files of the list are fetched, or
// taken from the backup of before where they are unchanged. What is done is remembered, some files at a time and once
// they are on the disk, so that a run that goes on fetches the rest. A file that is not remembered is fetched again,
// whatever is in the folder.
#include <array>
#include <deque>
#include <fmt/format.h>

#include "desktop/Text.h"
#include "desktop/backup/Domains.h"
#include "desktop/backup/FileFetch.h"
#include "desktop/backup/FileList.h"
#include "desktop/backup/PhoneTexts.h"
#include "desktop/files/Tree.h"
#include "handset/store/FileNames.h"
#include "handset/store/FileRows.h"
#include "handset/store/RowValues.h"

namespace brelix::backup {

namespace {

namespace fs = std::filesystem;

constexpr std::array<std::string_view, 4> kNotCarried = {
    "the times of creation and of the last access",
    "attributes other than archive, hidden, system and read-only; parts of a second",
    "files whose names begin with U+0100, U+4E00 or another character whose low byte is 0",
    "sizes of 4 GiB or more",
};

constexpr size_t kLongestPath = 259;  // units, of a phone
constexpr size_t kLongestName = 255;  // bytes, of this computer
constexpr size_t kFilesAhead = 1000;  // that are announced at a time

struct AttributeLetter {
  char letter;
  uint32_t attribute;
};
constexpr std::array<AttributeLetter, 4> kLetters = {{{'A', 0x20}, {'H', 0x02}, {'S', 0x04}, {'R', 0x01}}};
constexpr uint32_t kUsualOfFile = 0x20;

uint32_t AttributesOf(const FileEntry& entry) {
  uint32_t attributes = 0;
  for (const AttributeLetter& row : kLetters)
    if (entry.attributes.find(row.letter) != entry.attributes.npos) attributes |= row.attribute;
  return attributes;
}

// Finding

// The place of a phone's path below files/. Nothing, and a word to the user, for one that a phone's folder cannot have.
std::optional<fs::path> HostPath(const PhonePath& path, Watch& watch) {
  const std::string shown = path.ForPeople();
  const std::u16string units = PhoneText(path.Wire());
  const auto leave_out = [&](std::string_view why) {
    watch.Lost({shown, fmt::format("{}: {}", shown, why)});
    return std::nullopt;
  };
  if (units.size() > kLongestPath) return leave_out("longer than the paths of a phone can be");
  fs::path host;
  for (size_t at = 1; at < units.size();) {
    const size_t end = std::min(units.find(u'\\', at), units.size());
    const std::u16string_view name = std::u16string_view(units).substr(at, end - at);
    const std::string bytes = handset::ToWtf8(name);
    if (!handset::IsFileName(name)) return leave_out("the phone lists something that is not a name");
    if (bytes.size() > kLongestName) return leave_out("the name is too long for this computer's files");
    host /= bytes;
    at = end + 1;
  }
  return host;
}

void PutAttributes(SQLite::Database& database, const PhonePath& path, const FileEntry& entry) {
  const uint32_t attributes = AttributesOf(entry);
  if (attributes == (entry.IsFolder() ? 0 : kUsualOfFile)) return;
  handset::InsertFiles(database, {{.path = PhoneText(path.Wire()), .attributes = attributes}});
}

void Find(const Taking& taking, PhoneFiles& files, FileList& list) {
  SQLite::Database& database = taking.folder.database();
  Batch batch(database);
  database.exec("DELETE FROM file_attributes");
  list.Begin();
  const Problems problems = WalkNodes(files, PhonePath(), [&](const TreeNode& node) {
    const auto host = HostPath(node.path, taking.watch);
    if (!host) return;
    if (!node.entry.modified) {
      const std::string shown = node.path.ForPeople();
      taking.watch.Lost({shown, shown + ": the phone tells no time of its change; kept with 1 January 1970"});
    }
    list.Add(node.path, *host, node.entry);
    PutAttributes(database, node.path, node.entry);
    batch.Done();
  });
  for (const Problem& problem : problems) taking.watch.Lost(problem);
  list.Finish();
  batch.Finish();
}

// What an earlier run put there and the phone does not have any more.
void Sweep(const Taking& taking, FileList& list) {
  std::vector<fs::path> strangers;
  taking.folder.ForEachEntry([&](const PhoneFolder::Entry& entry) {
    if (!list.Has(entry.path, entry.IsFolder())) strangers.push_back(taking.folder.files() / entry.path);
  });
  for (const fs::path& stranger : strangers) fs::remove_all(stranger);
}

void Take(const Taking& taking) {
  PhoneFiles files(taking.session);
  FileList list(*taking.progress);
  Find(taking, files, list);
  Sweep(taking, list);
  FileFetch fetch(taking, files, list);
  taking.watch.Expect(list.CountBytes());
  list.ForEachFolder(false, [&](const ListedFile& folder) { fetch.MakeFolder(folder); });
  std::deque<ListedFile> ahead;
  const auto take_one = [&] {
    fetch.Take(ahead.front());
    ahead.pop_front();
  };
  list.ForEachFile([&](const ListedFile& file) {
    fetch.Announce(file);
    ahead.push_back(file);
    if (ahead.size() > kFilesAhead) take_one();
  });
  while (!ahead.empty()) take_one();
  fetch.Finish();
  files.Close();
  list.ForEachFolder(true, [&](const ListedFile& folder) { fetch.SetTime(folder); });
}

// Reading a folder

std::string LettersOf(uint32_t attributes) {
  std::string letters;
  for (const AttributeLetter& row : kLetters)
    if ((attributes & row.attribute) != 0) letters += row.letter;
  return letters;
}

std::string AttributesOf(const PhoneFolder& folder, const PhoneFolder::Entry& entry) {
  const auto folded = [](const fs::path& path) {
    std::u16string units;
    for (const fs::path& part : path)
      units += u"\\" + handset::FromUtf8(part.string(), handset::Surrogates::kAccept).value_or(u"?");
    return handset::Fold(units);
  };
  const std::u16string name = folded(entry.path.filename()).substr(1);
  const handset::FileAttributes there =
      handset::SelectFileAttributes(folder.database(), folded(entry.path.parent_path()), name);
  const auto found = there.find(name);
  if (found != there.end()) return LettersOf(found->second);
  return LettersOf(entry.IsFolder() ? 0 : kUsualOfFile);
}

void ForEach(const PhoneFolder& folder, const RecordSink& sink) {
  folder.ForEachEntry([&](const PhoneFolder::Entry& entry) {
    nlohmann::json fields = {{"folder", entry.IsFolder()},
                             {"modified", entry.status.st_mtim.tv_sec},
                             {"attributes", AttributesOf(folder, entry)}};
    if (!entry.IsFolder()) {
      fields["size"] = entry.status.st_size;
      fields["sha256"] = folder.DigestOf(entry);
    }
    sink({entry.key, fields});
  });
}

}  // namespace

const Domain kFilesDomain = {
    .name = "files", .item = "file", .not_carried = kNotCarried, .clear = nullptr, .take = Take, .for_each = ForEach};

}  // namespace brelix::backup
