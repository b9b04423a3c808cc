#include <deque>
#include <fmt/format.h>
#include <memory>
#include <set>

#include "desktop/ProblemList.h"
#include "desktop/Stream.h"
#include "desktop/Text.h"
#include "desktop/Wire.h"
#include "desktop/registry/PhoneRegistry.h"

namespace brelix {
namespace {

constexpr size_t kDeepestKey = 512;  // no registry goes deeper
constexpr size_t kMostKeys = 1'000'000;
constexpr size_t kKeysAhead = 512;                 // that are asked for or read and have not been told of
constexpr size_t kValuesAhead = 4096;              // likewise; 8192 bytes each at most
constexpr size_t kListsAhead = size_t{4} << 20;    // bytes of value lists of which nothing has been asked yet
constexpr size_t kMostOfAKey = size_t{16} << 20;   // bytes of one key's values; more than a whole registry
constexpr size_t kMostOfPaths = size_t{64} << 20;  // bytes that are kept of keys to come

// A key whose answers are on their way.
struct KeyNode {
  explicit KeyNode(KeyPath its_path) : path(std::move(its_path)) {}

  const KeyPath path;
  bool ahead = false;  // counts among kKeysAhead
  bool values_asked = false, keys_asked = false;
  size_t missing = 0;          // answers
  std::optional<Result> list;  // of values, of which nothing has been asked yet
  std::vector<ValueName> names;
  std::set<std::string> seen;  // of the names
  struct Value {
    std::optional<RegistryValue> value;
    std::string problem;  // where there is none
  };
  std::vector<Value> values;  // in the phone's order; as many as were asked for
  size_t bytes = 0;           // of them
  Problems of_values, of_keys;
  std::vector<std::shared_ptr<KeyNode>> children;

  bool HasValuesToAsk() const { return list || values.size() < names.size(); }
  bool IsRead() const { return values_asked && keys_asked && missing == 0 && !HasValuesToAsk(); }
  size_t Weight() const { return sizeof(KeyNode) + path.Wire().size(); }
  std::vector<RegistryValue> TakeValues() {
    std::vector<RegistryValue> all;
    for (Value& each : values)
      if (each.value) all.push_back(std::move(*each.value));
    return all;
  }
};
using NodePointer = std::shared_ptr<KeyNode>;

// Asks for many keys and values ahead and tells of the keys in their order: what is above first, the keys of one key in
// the phone's order. Nothing is asked from within an answer, where nothing would bound what waits to be sent. Of keys
// whose turn has not come, values are asked for as far as kValuesAhead allows, and a list of values that finds
// kListsAhead used up is thrown away and asked for once more.
class KeyWalk {
 public:
  KeyWalk(PhoneRegistry& registry, ProblemList& problems) : stream_(registry.session()), problems_(problems) {}

  void Run(const KeyPath& root, bool with_keys, const std::function<void(const KeyContents&)>& key) {
    with_keys_ = with_keys;
    to_tell_.push_back(std::make_shared<KeyNode>(root));
    while (!to_tell_.empty()) {
      if (!AskOne()) stream_.TakeOne();
      while (!to_tell_.empty() && to_tell_.back()->IsRead()) Tell(key);
    }
    stream_.Finish();
  }

 private:
  // The key that is told of next has precedence over those behind it, and values over more lists.
  bool AskOne() {
    if (AskOneOf(to_tell_.back())) return true;
    while (!with_values_.empty() && values_ahead_ < kValuesAhead) {
      const NodePointer next = with_values_.front().lock();
      if (next && next->HasValuesToAsk()) return AskValue(next);
      with_values_.pop_front();
    }
    while (!thrown_away_.empty() && HasRoomForLists()) {
      const NodePointer next = thrown_away_.front().lock();
      thrown_away_.pop_front();
      if (next && !next->values_asked) return AskValueList(next);
    }
    while (!to_ask_.empty() && ahead_ < kKeysAhead && HasRoomForLists()) {
      const NodePointer next = to_ask_.back().lock();
      if (next && !next->keys_asked) return AskListOf(next);
      to_ask_.pop_back();
    }
    return false;
  }

  // The values before the keys.
  bool AskOneOf(const NodePointer& node) {
    if (node->HasValuesToAsk()) return AskValue(node);
    return !(node->values_asked && node->keys_asked) && AskListOf(node);
  }

  bool AskListOf(const NodePointer& node) {
    if (!node->ahead) ahead_++;
    node->ahead = true;
    return node->values_asked ? AskKeyList(node) : AskValueList(node);
  }

  // Those under way count like those that came.
  bool HasRoomForLists() const { return lists_held_ + lists_asked_ * typical_list_ < kListsAhead; }

  bool AskValueList(const NodePointer& node) {
    node->values_asked = true;
    Ask(node, wire::kListValues, node->of_values, [this, node](Result result) { KeepList(node, std::move(result)); });
    return true;
  }

  bool AskKeyList(const NodePointer& node) {
    node->keys_asked = true;
    if (with_keys_)
      Ask(node, wire::kListKeys, node->of_keys, [this, node](const Result& result) { TakeKeys(*node, result); });
    return true;
  }

  void Ask(const NodePointer& node, uint16_t command, Problems& problems, const std::function<void(Result)>& take) {
    Bytes request;
    if (!Try(*node, problems, [&] { request = PhoneRegistry::KeyRequest(node->path); })) return;
    node->missing++;
    lists_asked_++;
    stream_.Ask(wire::kSystem, command, std::move(request), [this, node, &problems, take](Result result) {
      node->missing--;
      lists_asked_--;
      Try(*node, problems, [&] { take(std::move(result)); });
    });
  }

  void KeepList(const NodePointer& node, Result result) {
    const size_t size = result.data.size();
    typical_list_ = (typical_list_ * 7 + size) / 8;
    if (node != to_tell_.back() && lists_held_ + size > kListsAhead) {
      node->values_asked = false;
      thrown_away_.push_back(node);
      return;
    }
    lists_held_ += size;
    node->list = std::move(result);
    with_values_.push_back(node);
  }

  void ReadList(KeyNode& node) {
    const Result result = std::move(*node.list);
    node.list.reset();
    lists_held_ -= result.data.size();
    Try(node, node.of_values, [&] {
      auto list = PhoneRegistry::ValuesIn(result, node.path);
      node.names = std::move(list.entries);
      if (list.cut) TellCut(node, node.of_values, "values", *list.cut);
    });
  }

  // Asks for the next value of the key, if it has one.
  bool AskValue(const NodePointer& node) {
    if (node->list) ReadList(*node);
    const size_t at = node->values.size();
    if (at == node->names.size()) return true;
    if (node->bytes > kMostOfAKey) return CutOff(*node);
    const std::string name = std::move(node->names[at].name);
    node->values.emplace_back();
    values_ahead_++;
    if (!node->seen.insert(name).second)
      node->values[at].problem =
          Words(*node, fmt::format("the phone tells the name \"{}\" of two values", CleanUtf8(name)));
    else
      AskValue(node, at, name);
    if (!node->HasValuesToAsk()) node->seen.clear();
    return true;
  }

  void AskValue(const NodePointer& node, size_t at, const std::string& name) {
    Bytes request;
    try {
      request = PhoneRegistry::ValueRequest(node->path, name);
    } catch (const EntryFailure& failure) {
      node->values[at].problem = failure.what();
      return;
    }
    node->missing++;
    stream_.Ask(wire::kSystem, wire::kReadValue, std::move(request), [node, at, name](const Result& result) {
      node->missing--;
      try {
        node->values[at].value = PhoneRegistry::ValueIn(result, node->path, name);
        node->bytes += result.data.size();
      } catch (const EntryFailure& failure) {
        node->values[at].problem = failure.what();
      }
    });
  }

  static bool CutOff(KeyNode& node) {
    node.of_values.push_back(
        {node.path.ForPeople(), Words(node, fmt::format("has more than {} bytes; {} of its values are left out",
                                                        kMostOfAKey, node.names.size() - node.values.size()))});
    node.names.resize(node.values.size());
    node.seen.clear();
    return true;
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
    size_t weight = 0;
    for (const NodePointer& child : node.children) weight += child->Weight();
    if (known_ + node.children.size() > kMostKeys || paths_held_ + weight > kMostOfPaths) {
      node.children.clear();
      throw EntryFailure(Exit::kProtocol,
                         Words(node, "the phone's registry does not end; the keys in this one are left out"));
    }
    known_ += node.children.size();
    paths_held_ += weight;
    for (auto child = node.children.rbegin(); child != node.children.rend(); ++child) to_ask_.push_back(*child);
  }

  void Tell(const std::function<void(const KeyContents&)>& key) {
    const NodePointer node = std::move(to_tell_.back());
    to_tell_.pop_back();
    ahead_--;
    values_ahead_ -= node->values.size();
    if (told_++ > 0) paths_held_ -= node->Weight();
    const std::string place = node->path.ForPeople();
    for (const KeyNode::Value& each : node->values)
      if (!each.value) problems_.Add(place, {place, each.problem});
    for (const Problem& problem : node->of_values) problems_.Add(place, problem);
    // A key that gives neither list is told of once.
    for (const Problem& problem : node->of_keys)
      if (!problems_.EndsWith(problem.why)) problems_.Add(place, problem);
    for (auto child = node->children.rbegin(); child != node->children.rend(); ++child)
      to_tell_.push_back(std::move(*child));
    DropWhatIsAsked();
    key({node->path, node->TakeValues()});
  }

  void DropWhatIsAsked() {
    const auto asked = [](const std::weak_ptr<KeyNode>& each) {
      const NodePointer node = each.lock();
      return !node || (node->keys_asked && !node->HasValuesToAsk());
    };
    while (!to_ask_.empty() && asked(to_ask_.back())) to_ask_.pop_back();
    while (!with_values_.empty() && asked(with_values_.front())) with_values_.pop_front();
  }

  // False when it failed.
  template <typename Act>
  static bool Try(KeyNode& node, Problems& problems, Act act) {
    try {
      act();
      return true;
    } catch (const EntryFailure& failure) {
      problems.push_back({node.path.ForPeople(), failure.what()});
      return false;
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

  std::vector<NodePointer> to_tell_;                // the next one last
  std::vector<std::weak_ptr<KeyNode>> to_ask_;      // likewise, of those; some are asked already, and gone
  std::deque<std::weak_ptr<KeyNode>> with_values_;  // whose values are to be asked for
  std::deque<std::weak_ptr<KeyNode>> thrown_away_;  // whose list is to be asked for once more
  size_t ahead_ = 0, values_ahead_ = 0;             // asked for and not told of
  size_t lists_held_ = 0, lists_asked_ = 0;         // bytes; requests under way
  size_t typical_list_ = 256;                       // bytes
  size_t known_ = 0, told_ = 0;                     // keys
  size_t paths_held_ = 0;                           // bytes, of keys that are known and not told of
  bool with_keys_ = true;
  Stream stream_;  // goes first: its answers are for the nodes
  ProblemList& problems_;
};

}  // namespace

std::vector<RegistryValue> ReadValues(PhoneRegistry& registry, const KeyPath& path, Problems& problems) {
  std::vector<RegistryValue> values;
  ProblemList list;
  KeyWalk(registry, list).Run(path, false, [&](const KeyContents& key) { values = key.values; });
  const Problems more = list.Take();
  problems.insert(problems.end(), more.begin(), more.end());
  return values;
}

Problems WalkRegistry(PhoneRegistry& registry, const KeyPath& root,
                      const std::function<void(const KeyContents&)>& key) {
  ProblemList problems;
  KeyWalk(registry, problems).Run(root, true, key);
  return problems.Take();
}

}  // namespace brelix
