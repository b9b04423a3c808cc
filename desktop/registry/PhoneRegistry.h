// The phone's registry, for reading, as far as the wire carries it: texts end at their first NUL, data has at most 8192
// bytes, a name with a backslash or one that the wire drops cannot be asked for. What is missing for such a reason is
// told as an EntryFailure or as the code that a list was cut off with.
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "desktop/EntryFailure.h"
#include "desktop/Session.h"
#include "desktop/registry/KeyPath.h"

namespace brelix {

enum RegistryType : uint32_t {
  kNone = 0,
  kText = 1,
  kExpandable = 2,
  kBinary = 3,
  kNumber = 4,
  kMultiText = 7,
};

struct ValueName {
  uint32_t type = 0;
  std::string name;  // as it stands on the wire; empty for the unnamed value
};

struct RegistryValue {
  std::string name;
  uint32_t type = 0;
  // Of kText and kExpandable the text in the phone's UTF-8, without its terminator; of the others the registry's bytes.
  Bytes data;

  bool IsText() const { return type == kText || type == kExpandable; }
  std::string_view Text() const { return {reinterpret_cast<const char*>(data.data()), data.size()}; }
};

template <typename Entry>
struct RegistryList {
  std::vector<Entry> entries;
  std::optional<uint32_t> cut;  // the phone's code, where it told some entries and then failed
};

class PhoneRegistry {
 public:
  // The session must be open.
  explicit PhoneRegistry(Session& session) : session_(session) {}

  RegistryList<std::string> Keys(const KeyPath& path);
  RegistryValue Value(const KeyPath& path, std::string_view name);

  // What is asked for, for who asks ahead, and what the answer tells.
  static Bytes KeyRequest(const KeyPath& path);
  static Bytes ValueRequest(const KeyPath& path, std::string_view name);
  static RegistryList<std::string> KeysIn(const Result& result, const KeyPath& path);
  static RegistryList<ValueName> ValuesIn(const Result& result, const KeyPath& path);
  static RegistryValue ValueIn(const Result& result, const KeyPath& path, std::string_view name);
  Session& session() { return session_; }

 private:
  Session& session_;
};

// One key and its values. `key` is told of every key, the ones above first, the keys of one key in the phone's order.
// Returns what could not be read; keys and values that are left out are all in there.
struct KeyContents {
  KeyPath path;
  std::vector<RegistryValue> values;
};
Problems WalkRegistry(PhoneRegistry& registry, const KeyPath& root, const std::function<void(const KeyContents&)>& key);

// The values of one key. What cannot be read is added to the problems.
std::vector<RegistryValue> ReadValues(PhoneRegistry& registry, const KeyPath& path, Problems& problems);

}  // namespace brelix
