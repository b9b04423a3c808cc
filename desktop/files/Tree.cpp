#include "desktop/files/Tree.h"

#include <cwctype>
#include <fmt/format.h>
#include <locale.h>
#include <set>

#include "desktop/Text.h"
#include "desktop/files/LocalName.h"

namespace brelix {
namespace {

constexpr size_t kDeepest = 130;  // 260 units of a path, at two units a folder
constexpr size_t kMostNodes = 2'000'000;

// A phone does not tell upper from lower case, so two names that differ in nothing else lead to one file.
std::u16string Folded(std::string_view wire) {
  static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  std::u16string name = WireUnits(wire).value_or(u"");
  for (char16_t& unit : name)
    unit = static_cast<char16_t>(locale ? towlower_l(unit, locale) : std::towlower(static_cast<wint_t>(unit)));
  return name;
}

struct Folder {
  PhonePath path;
  std::string local;  // with a slash at the end, or empty
  size_t depth = 0;
  bool announced = false;
};

class Walk {
 public:
  Walk(PhoneFiles& files, Problems& problems, const TakeNode& take) : files_(files), problems_(problems), take_(take) {}

  // Adds what is in the folder; its folders are still to be looked into.
  void LookInto(const Folder& folder) {
    try {
      std::set<std::u16string> names;
      for (FileEntry& entry : files_.List(folder.path)) Add(folder, std::move(entry), names);
    } catch (const Failure& failure) {
      // What is no listing at all costs this folder only.
      const bool of_this_folder =
          dynamic_cast<const EntryFailure*>(&failure) != nullptr || failure.code() == Exit::kProtocol;
      if (!of_this_folder) throw;
      problems_.push_back({folder.path.ForPeople(), failure.what()});
    }
  }

  // Those that are looked into next, as far as there is room.
  void Announce() {
    for (auto folder = waiting.rbegin(); folder != waiting.rend() && !folder->announced; ++folder)
      if (!(folder->announced = files_.AnnounceFolder(folder->path))) break;
  }

  std::vector<Folder> waiting;

 private:
  void Add(const Folder& folder, FileEntry entry, std::set<std::u16string>& names) {
    const auto leave_out = [&](std::string_view why) {
      const std::string shown = folder.path.ForPeople() + (folder.path.IsRoot() ? "" : "\\") + CleanUtf8(entry.name);
      problems_.push_back({shown, fmt::format("{}: {}", shown, why)});
    };
    if (entry.name.empty()) return leave_out("the phone cannot tell the name of something in here");
    if (!IsName(entry.name)) return leave_out("the phone lists something that is not a name");
    if (!names.insert(Folded(entry.name)).second) return leave_out("the phone lists this name twice");
    if (folder.depth == kDeepest) return leave_out("folders this deep are on no phone");
    if (count_++ >= kMostNodes) {
      waiting.clear();
      throw Failure(Exit::kProtocol, "the phone's folders do not end");
    }
    const PhonePath path = folder.path / entry.name;
    const std::string local = folder.local + LocalName(entry.name);
    if (entry.IsFolder()) waiting.push_back({path, local + "/", folder.depth + 1});
    take_({path, local, std::move(entry)});
  }

  PhoneFiles& files_;
  Problems& problems_;
  const TakeNode& take_;
  size_t count_ = 0;
};

}  // namespace

Problems WalkNodes(PhoneFiles& files, const PhonePath& root, const TakeNode& take,
                   const std::function<void()>& looked) {
  Problems problems;
  Walk walk(files, problems, take);
  walk.waiting.push_back({root, "", 0});
  while (!walk.waiting.empty()) {
    walk.Announce();
    const Folder folder = std::move(walk.waiting.back());
    walk.waiting.pop_back();
    walk.LookInto(folder);
    if (looked) looked();
  }
  return problems;
}

Tree WalkTree(PhoneFiles& files, const PhonePath& root, const std::function<void(size_t)>& found) {
  Tree tree;
  const auto looked = [&] {
    if (found) found(tree.nodes.size());
  };
  tree.problems = WalkNodes(
      files, root, [&](TreeNode node) { tree.nodes.push_back(std::move(node)); }, looked);
  return tree;
}

}  // namespace brelix
