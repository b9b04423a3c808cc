#include <fmt/format.h>
#include <memory>
#include <set>

#include "desktop/Stream.h"
#include "desktop/Text.h"
#include "desktop/Wire.h"
#include "desktop/registry/PhoneRegistry.h"

namespace brelix {
namespace {

constexpr size_t kDeepestKey = 512;  // no registry goes deeper
constexpr size_t kMostKeys = 1'000'000;
constexpr size_t kKeysAhead = 512;  // that are asked for or read and have not been told of

// A key whose answers are on their way.
struct KeyNode {
  explicit KeyNode(KeyPath its_path) : path(std::move(its_path)) {}

  const KeyPath path;
  bool asked = false;
  size_t missing = 0;  // answers
  struct Value {
    std::optional<RegistryValue> value;
    std::string problem;  // where there is none
  };
  std::vector<Value> values;  // in the phone's order
  Problems of_values, of_keys;
  std::vector<std::shared_ptr<KeyNode>> children;

  bool IsRead() const { return asked && missing == 0; }
  std::vector<RegistryValue> TakeValues() {
    std::vector<RegistryValue> all;
    for (Value& each : values)
      if (each.value) all.push_back(std::move(*each.value));
    return all;
  }
};

// Asks for many keys and values ahead and tells of the keys in their order: what is above first, the keys of one key in
// the phone's order.
class KeyWalk {
 public:
  KeyWalk(PhoneRegistry& registry, Problems& problems) : stream_(registry.session()), problems_(problems) {}

  void Run(const KeyPath& root, bool with_keys, const std::function<void(const KeyContents&)>& key) {
    with_keys_ = with_keys;
    to_tell_.push_back(std::make_shared<KeyNode>(root));
    while (!to_tell_.empty()) {
      if (const auto next = NextToAsk())
        Ask(*next);
      else
        stream_.TakeOne();
      while (!to_tell_.empty() && to_tell_.back()->IsRead()) Tell(key);
    }
    stream_.Finish();
  }

 private:
  // The key that is told of next has precedence over those that were found later.
  std::shared_ptr<KeyNode> NextToAsk() {
    if (!to_tell_.back()->asked) return to_tell_.back();
    while (!to_ask_.empty() && ahead_ < kKeysAhead) {
      const std::shared_ptr<KeyNode> next = to_ask_.back().lock();
      if (next && !next->asked) return next;
      to_ask_.pop_back();
    }
    return nullptr;
  }

  void Ask(KeyNode& node) {
    node.asked = true;
    ahead_++;
    node.missing = 1;  // until everything of it is asked
    Ask(node, wire::kListValues, node.of_values, [this, &node](const Result& result) { TakeValues(node, result); });
    if (with_keys_)
      Ask(node, wire::kListKeys, node.of_keys, [this, &node](const Result& result) { TakeKeys(node, result); });
    node.missing--;
  }

  void Ask(KeyNode& node, uint16_t command, Problems& problems, const std::function<void(const Result&)>& take) {
    Try(node, problems, [&] {
      Bytes request = PhoneRegistry::KeyRequest(node.path);
      node.missing++;
      stream_.Ask(wire::kSystem, command, std::move(request), [this, &node, &problems, take](const Result& result) {
        node.missing--;
        Try(node, problems, [&] { take(result); });
      });
    });
  }

  void TakeValues(KeyNode& node, const Result& result) {
    const auto list = PhoneRegistry::ValuesIn(result, node.path);
    node.values.resize(list.entries.size());
    std::set<std::string> names;
    for (size_t i = 0; i < list.entries.size(); i++) {
      const std::string& name = list.entries[i].name;
      if (names.insert(name).second)
        AskValue(node, i, name);
      else
        node.values[i].problem =
            Words(node, fmt::format("the phone tells the name \"{}\" of two values", CleanUtf8(name)));
    }
    if (list.cut) TellCut(node, node.of_values, "values", *list.cut);
  }

  void AskValue(KeyNode& node, size_t at, const std::string& name) {
    try {
      Bytes request = PhoneRegistry::ValueRequest(node.path, name);
      node.missing++;
      stream_.Ask(wire::kSystem, wire::kReadValue, std::move(request), [&node, at, name](const Result& result) {
        node.missing--;
        try {
          node.values[at].value = PhoneRegistry::ValueIn(result, node.path, name);
        } catch (const EntryFailure& failure) {
          node.values[at].problem = failure.what();
        }
      });
    } catch (const EntryFailure& failure) {
      node.values[at].problem = failure.what();
    }
  }

  void TakeKeys(KeyNode& node, const Result& result) {
    std::set<std::string> names;
    const auto list = PhoneRegistry::KeysIn(result, node.path);
    for (const std::string& name : list.entries) {
      if (name.empty())
        LeaveOut(node, "the phone cannot tell the name of one of its keys");
      else if (!IsKeyName(name))
        LeaveOut(node, fmt::format("the phone lists a key \"{}\", which is not a name", CleanUtf8(name)));
      else if (!names.insert(name).second)
        LeaveOut(node, fmt::format("the phone lists the key \"{}\" twice", CleanUtf8(name)));
      else if (node.path.Depth() == kDeepestKey)
        LeaveOut(node, "keys this deep are on no phone");
      else
        node.children.push_back(std::make_shared<KeyNode>(node.path / name));
    }
    if (list.cut) TellCut(node, node.of_keys, "keys", *list.cut);
    known_ += node.children.size();
    if (known_ > kMostKeys) throw Failure(Exit::kProtocol, "the phone's registry does not end");
    for (auto child = node.children.rbegin(); child != node.children.rend(); ++child) to_ask_.push_back(*child);
  }

  void Tell(const std::function<void(const KeyContents&)>& key) {
    const std::shared_ptr<KeyNode> node = std::move(to_tell_.back());
    to_tell_.pop_back();
    ahead_--;
    for (const KeyNode::Value& each : node->values)
      if (!each.value) problems_.push_back({node->path.ForPeople(), each.problem});
    problems_.insert(problems_.end(), node->of_values.begin(), node->of_values.end());
    // A key that gives neither list is told of once.
    for (const Problem& problem : node->of_keys)
      if (problems_.empty() || problems_.back().why != problem.why) problems_.push_back(problem);
    for (auto child = node->children.rbegin(); child != node->children.rend(); ++child)
      to_tell_.push_back(std::move(*child));
    key({node->path, node->TakeValues()});
  }

  template <typename Act>
  void Try(KeyNode& node, Problems& problems, Act act) {
    try {
      act();
    } catch (const EntryFailure& failure) {
      problems.push_back({node.path.ForPeople(), failure.what()});
    }
  }

  static std::string Words(const KeyNode& node, const std::string& why) {
    return fmt::format("{}: {}", node.path.ForPeople(), why);
  }
  static void LeaveOut(KeyNode& node, const std::string& why) {
    node.of_keys.push_back({node.path.ForPeople(), Words(node, why)});
  }
  static void TellCut(KeyNode& node, Problems& problems, const char* what, uint32_t code) {
    problems.push_back({node.path.ForPeople(),
                        Words(node, fmt::format("the phone's list of {} ends early: {}", what, PhoneErrorText(code)))});
  }

  std::vector<std::shared_ptr<KeyNode>> to_tell_;  // the next one last
  std::vector<std::weak_ptr<KeyNode>> to_ask_;     // likewise, of those; some are asked already, and gone
  size_t ahead_ = 0;
  size_t known_ = 0;
  bool with_keys_ = true;
  Stream stream_;  // goes first: its answers are for the nodes
  Problems& problems_;
};

}  // namespace

std::vector<RegistryValue> ReadValues(PhoneRegistry& registry, const KeyPath& path, Problems& problems) {
  std::vector<RegistryValue> values;
  KeyWalk(registry, problems).Run(path, false, [&](const KeyContents& key) { values = key.values; });
  return values;
}

Problems WalkRegistry(PhoneRegistry& registry, const KeyPath& root,
                      const std::function<void(const KeyContents&)>& key) {
  Problems problems;
  KeyWalk(registry, problems).Run(root, true, key);
  return problems;
}

}  // namespace brelix
