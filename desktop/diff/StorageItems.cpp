// Files and the registry.
#include <algorithm>
#include <fmt/format.h>

#include "desktop/Digest.h"
#include "desktop/Text.h"
#include "desktop/TimeZone.h"
#include "desktop/diff/Domains.h"
#include "desktop/files/Tree.h"
#include "desktop/registry/ValueText.h"

namespace brelix::diff {
namespace {

// How many files are announced at a time.
constexpr ptrdiff_t kFilesAhead = 1000;
// The roots that can be asked for.
constexpr const char* kRoots[] = {"HKCR", "HKCU", "HKLM"};

Item ItemOf(const TreeNode& node) {
  const FileEntry& entry = node.entry;
  Item item{node.path.Wire(), node.path.ForPeople(), {}};
  item.Add("kind", entry.IsFolder() ? "folder" : "file");
  if (!entry.IsFolder()) item.Add("size", entry.size ? std::to_string(*entry.size) : "unknown");
  if (entry.modified)
    item.Add("modified", TimeText(std::chrono::sys_seconds{std::chrono::seconds(*entry.modified)}, 'T'));
  item.Add("attributes", entry.attributes);
  return item;
}

std::string DigestOf(PhoneFiles& files, const TreeNode& node) {
  Digest digest;
  files.Read(node.path, node.entry.size, [&](ByteView bytes) { digest.Add(bytes); });
  return digest.Text();
}

// Data that differ give texts that differ; a list whose texts would run into one another, or hold half a surrogate
// pair, therefore stands as its bytes.
std::string ExactText(const RegistryValue& value) {
  if (value.IsText()) return std::string(value.Text());
  const auto texts = MultiText(value);
  const auto doubtful = [](const std::u16string& text) {
    return std::any_of(text.begin(), text.end(),
                       [](char16_t unit) { return unit == u';' || (unit & 0xF800) == 0xD800; });
  };
  if (texts && std::any_of(texts->begin(), texts->end(), doubtful))
    return Hex({reinterpret_cast<const char*>(value.data.data()), value.data.size()});
  return DataText(value);
}

Item ItemOf(const KeyContents& key) {
  Item item{key.path.Wire(), key.path.ForPeople(), {}};
  for (const RegistryValue& value : key.values)
    item.Add(value.name.empty() ? "@" : value.name, TypeText(value.type) + " " + ExactText(value));
  return item;
}

}  // namespace

void ReadFiles(Session& session, const ReadOptions& options, const ReadWatch& watch, const TakeItem& take) {
  PhoneFiles files(session);
  const Tree tree = WalkTree(files, PhonePath());
  for (const Problem& problem : tree.problems) watch.complain(problem.why);
  auto announced = tree.nodes.begin();
  for (const TreeNode& node : tree.nodes) {
    for (; options.contents && announced != tree.nodes.end() && &*announced - &node < kFilesAhead; ++announced)
      if (!announced->entry.IsFolder()) files.Announce(announced->path, announced->entry.size);
    watch.step();
    Item item = ItemOf(node);
    try {
      if (options.contents && !node.entry.IsFolder()) item.Add("sha256", DigestOf(files, node));
    } catch (const EntryFailure& failure) {
      watch.complain(failure.what());
      continue;
    }
    take(std::move(item));
  }
}

void ReadRegistry(Session& session, const ReadOptions&, const ReadWatch& watch, const TakeItem& take) {
  PhoneRegistry registry(session);
  for (const char* root : kRoots) {
    const Problems problems = WalkRegistry(registry, KeyPath::Parse(root), [&](const KeyContents& key) {
      watch.step();
      take(ItemOf(key));
    });
    for (const Problem& problem : problems) watch.complain(problem.why);
  }
}

}  // namespace brelix::diff
