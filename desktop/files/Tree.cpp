#include "desktop/files/Tree.h"

#include <cwctype>
#include <fmt/format.h>
#include <locale.h>
#include <map>
#include <set>

#include "desktop/ProblemList.h"
#include "desktop/Text.h"
#include "desktop/files/LocalName.h"

namespace brelix {
namespace {

constexpr size_t kDeepest = 130;  // 260 units of a path, at two units a folder
constexpr size_t kMostNodes = 2'000'000;
constexpr size_t kLongestPath = 1024;              // bytes; 260 units take 780 at most
constexpr size_t kMostWaiting = size_t{64} << 20;  // bytes that are kept of folders to come
constexpr size_t kSoon = 32;                       // folders that are listed next, and have precedence
constexpr size_t kFewUnderWay = 128;
constexpr size_t kMostGuesses = 4096;

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
  // The folders in it, in the phone's order, when it came ahead of its turn; they are asked for on the guess that they
  // will still be in it then.
  std::vector<Folder> guesses;
  bool guessed = false;

  size_t Weight() const { return sizeof(Folder) + path.Wire().size() + local.size(); }
};

class Walk {
 public:
  Walk(PhoneFiles& files, const PhonePath& root, const TakeNode& take) : files_(files), take_(take) {
    Wait({.path = root, .local = "", .guesses = {}});
  }

  bool IsOver() const { return waiting_.empty(); }

  // Takes what is in the next folder; its folders are still to be looked into.
  void Step() {
    Announce();
    Folder folder = std::move(waiting_.back());
    waiting_.pop_back();
    weight_ -= folder.Weight();
    guesses_ -= folder.guesses.size();
    for (Folder& guess : folder.guesses) guess_at_[guess.path.Wire()] = &guess;
    LookInto(folder);
    for (const auto& [wire, wrong] : guess_at_) Forget(*wrong);
    guess_at_.clear();
  }

  Problems TakeProblems() { return problems_.Take(); }

 private:
  void LookInto(const Folder& folder) {
    const std::string shown = folder.path.ForPeople();
    try {
      std::set<std::u16string> names;
      for (FileEntry& entry : files_.List(folder.path)) Add(folder, std::move(entry), names);
    } catch (const Failure& failure) {
      // What is no listing at all costs this folder only.
      const bool of_this_folder =
          dynamic_cast<const EntryFailure*>(&failure) != nullptr || failure.code() == Exit::kProtocol;
      if (!of_this_folder) throw;
      problems_.Add(shown, {shown, failure.what()});
    }
  }

  // The folders that are looked into next, as far as there is room: those of the folders that are held already before
  // the ones beside them. The last one that waits is the next.
  void Announce() {
    const FolderAhead& ahead = files_.folders();
    if (ahead.Knows(waiting_.back().path) && ahead.UnderWay() > kFewUnderWay) return;
    unlisted_ = 0;
    for (auto folder = waiting_.rbegin(); folder != waiting_.rend(); ++folder)
      if (!AnnounceFrom(*folder)) return;
  }

  // False when there is no more room.
  bool AnnounceFrom(Folder& folder) {
    if (!folder.guessed && !Guess(folder)) return files_.AnnounceFolder(folder.path, unlisted_++ < kSoon);
    for (auto guess = folder.guesses.rbegin(); guess != folder.guesses.rend(); ++guess)
      if (!AnnounceFrom(*guess)) return false;
    return true;
  }

  // Whether the folder came already.
  bool Guess(Folder& folder) {
    const std::vector<FileEntry>* entries = files_.folders().Held(folder.path);
    if (!entries) return false;
    folder.guessed = true;
    for (const FileEntry& entry : *entries) {
      if (!entry.IsFolder() || !IsName(entry.name) || folder.depth == kDeepest || guesses_ == kMostGuesses) continue;
      guesses_++;
      folder.guesses.push_back(
          {.path = folder.path / entry.name, .local = "", .depth = folder.depth + 1, .guesses = {}});
    }
    return true;
  }

  void Forget(const Folder& guess) {
    files_.ForgetFolder(guess.path);
    guesses_ -= guess.guesses.size();
    for (const Folder& inner : guess.guesses) Forget(inner);
  }

  void Add(const Folder& folder, FileEntry entry, std::set<std::u16string>& names) {
    const auto leave_out = [&](std::string_view why) {
      const std::string place = folder.path.ForPeople();
      const std::string shown = place + (folder.path.IsRoot() ? "" : "\\") + CleanUtf8(entry.name);
      problems_.Add(place, {shown, fmt::format("{}: {}", shown, why)});
    };
    if (entry.name.empty()) return leave_out("the phone cannot tell the name of something in here");
    if (!IsName(entry.name)) return leave_out("the phone lists something that is not a name");
    if (!names.insert(Folded(entry.name)).second) return leave_out("the phone lists this name twice");
    if (folder.depth == kDeepest) return leave_out("folders this deep are on no phone");
    const PhonePath path = folder.path / entry.name;
    if (path.Wire().size() > kLongestPath) return leave_out("paths this long are on no phone");
    if (count_++ >= kMostNodes) {
      waiting_.clear();
      throw Failure(Exit::kProtocol, "the phone's folders do not end");
    }
    const std::string local = folder.local + LocalName(entry.name);
    if (entry.IsFolder()) {
      Folder inner{.path = path, .local = local + "/", .depth = folder.depth + 1, .guesses = {}};
      if (weight_ + inner.Weight() > kMostWaiting)
        leave_out("is not looked into, since the phone's folders do not end");
      else
        Wait(std::move(inner));
    }
    take_({path, local, std::move(entry)});
  }

  void Wait(Folder folder) {
    if (const auto guess = guess_at_.find(folder.path.Wire()); guess != guess_at_.end()) {
      folder.guesses = std::move(guess->second->guesses);
      folder.guessed = guess->second->guessed;
      guess_at_.erase(guess);
    }
    weight_ += folder.Weight();
    waiting_.push_back(std::move(folder));
  }

  PhoneFiles& files_;
  ProblemList problems_;
  const TakeNode& take_;
  std::vector<Folder> waiting_;              // the next one last
  std::map<std::string, Folder*> guess_at_;  // of the folder that is looked into, by path
  size_t count_ = 0, weight_ = 0, guesses_ = 0;
  size_t unlisted_ = 0;  // of the folders that were gone through so far
};

}  // namespace

Problems WalkNodes(PhoneFiles& files, const PhonePath& root, const TakeNode& take,
                   const std::function<void()>& looked) {
  Walk walk(files, root, take);
  while (!walk.IsOver()) {
    walk.Step();
    if (looked) looked();
  }
  return walk.TakeProblems();
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
