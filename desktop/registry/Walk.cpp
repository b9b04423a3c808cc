#include <fmt/format.h>
#include <set>

#include "desktop/Text.h"
#include "desktop/registry/PhoneRegistry.h"

namespace brelix {
namespace {

constexpr size_t kDeepest = 512;  // no registry goes deeper
constexpr size_t kMostKeys = 1'000'000;

class Walk {
 public:
  Walk(PhoneRegistry& registry, Problems& problems) : registry_(registry), problems_(problems) {}

  std::vector<RegistryValue> Values(const KeyPath& path) {
    std::vector<RegistryValue> values;
    std::set<std::string> names;
    const auto list = Try(path, [&] { return registry_.Values(path); });
    for (const ValueName& value : list.entries) {
      if (!names.insert(value.name).second)
        LeaveOut(path, fmt::format("the phone tells the name \"{}\" of two values", CleanUtf8(value.name)));
      else
        AddValue(path, value.name, values);
    }
    if (list.cut) TellCut(path, "values", *list.cut);
    return values;
  }

  std::vector<KeyPath> Keys(const KeyPath& path) {
    std::vector<KeyPath> keys;
    std::set<std::string> names;
    const auto list = Try(path, [&] { return registry_.Keys(path); });
    for (const std::string& name : list.entries) {
      if (name.empty())
        LeaveOut(path, "the phone cannot tell the name of one of its keys");
      else if (!IsKeyName(name))
        LeaveOut(path, fmt::format("the phone lists a key \"{}\", which is not a name", CleanUtf8(name)));
      else if (!names.insert(name).second)
        LeaveOut(path, fmt::format("the phone lists the key \"{}\" twice", CleanUtf8(name)));
      else if (path.Depth() == kDeepest)
        LeaveOut(path, "keys this deep are on no phone");
      else
        keys.push_back(path / name);
    }
    if (list.cut) TellCut(path, "keys", *list.cut);
    return keys;
  }

 private:
  // An empty list where the phone gives none, which is told once for a key.
  template <typename Ask>
  auto Try(const KeyPath& path, Ask ask) -> decltype(ask()) {
    try {
      return ask();
    } catch (const EntryFailure& failure) {
      if (problems_.empty() || problems_.back().why != failure.what())
        problems_.push_back({path.ForPeople(), failure.what()});
      return {};
    }
  }

  void AddValue(const KeyPath& path, const std::string& name, std::vector<RegistryValue>& values) {
    try {
      values.push_back(registry_.Value(path, name));
    } catch (const EntryFailure& failure) {
      problems_.push_back({path.ForPeople(), failure.what()});
    }
  }

  void LeaveOut(const KeyPath& path, const std::string& why) {
    problems_.push_back({path.ForPeople(), fmt::format("{}: {}", path.ForPeople(), why)});
  }

  void TellCut(const KeyPath& path, const char* what, uint32_t code) {
    LeaveOut(path, fmt::format("the phone's list of {} ends early: {}", what, PhoneErrorText(code)));
  }

  PhoneRegistry& registry_;
  Problems& problems_;
};

}  // namespace

std::vector<RegistryValue> ReadValues(PhoneRegistry& registry, const KeyPath& path, Problems& problems) {
  return Walk(registry, problems).Values(path);
}

Problems WalkRegistry(PhoneRegistry& registry, const KeyPath& root,
                      const std::function<void(const KeyContents&)>& key) {
  Problems problems;
  Walk walk(registry, problems);
  std::vector<KeyPath> waiting{root};
  size_t known = 0;
  while (!waiting.empty()) {
    const KeyPath path = std::move(waiting.back());
    waiting.pop_back();
    key({path, walk.Values(path)});
    std::vector<KeyPath> keys = walk.Keys(path);
    known += keys.size();
    if (known > kMostKeys) throw Failure(Exit::kProtocol, "the phone's registry does not end");
    waiting.insert(waiting.end(), std::make_move_iterator(keys.rbegin()), std::make_move_iterator(keys.rend()));
  }
  return problems;
}

}  // namespace brelix
