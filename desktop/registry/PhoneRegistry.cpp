#include "desktop/registry/PhoneRegistry.h"

#include <algorithm>
#include <fmt/format.h>

#include "desktop/Text.h"
#include "desktop/Wire.h"

namespace brelix {
namespace {

// The answer about a value whose key cannot be opened is as long as the largest value and holds what the phone sent
// before; it is none of the value's.
constexpr size_t kStaleAnswer = 8192;

void NeedSendable(const std::string& path) {
  const std::string shown = CleanUtf8(path);
  if (path.find(wire::kEndMark) != path.npos)
    throw EntryFailure(Exit::kWouldLoseData, fmt::format("{}: cannot be asked for, since \"ZZZZ\" ends a request; the "
                                                         "registry does not tell case apart, so write it as \"ZZZz\"",
                                                         shown));
  if (path.size() > wire::kMaxRequest - wire::kFrameOverhead)
    throw EntryFailure(Exit::kWouldLoseData,
                       fmt::format("{:.60}...: a path of {} bytes does not fit into a request", shown, path.size()));
}

// An agent answers FFFFFFFF about a root that it does not know.
void NeedRoot(const Result& result, const KeyPath& path) {
  if (result.code == wire::kRefusedResult)
    throw EntryFailure(Exit::kRefused, fmt::format("{}: the phone's agent does not know this root", path.ForPeople()));
}

std::string ShownValue(const KeyPath& path, std::string_view name) {
  return fmt::format("{}, value \"{}\"", path.ForPeople(), CleanUtf8(name));
}

[[noreturn]] void Broken(const KeyPath& path) {
  throw EntryFailure(Exit::kProtocol, fmt::format("{}: the phone's list is broken", path.ForPeople()));
}

// The bytes up to the next NUL, which has to be there.
std::string TakeName(ByteView& rest, const KeyPath& path) {
  const auto end = std::find(rest.begin(), rest.end(), 0);
  if (end == rest.end()) Broken(path);
  std::string name(rest.begin(), end);
  rest = rest.subspan(name.size() + 1);
  return name;
}

template <typename Entry, typename Take>
RegistryList<Entry> ReadList(const Result& result, const KeyPath& path, Take take) {
  if (result.code != 0 && result.data.empty())
    throw EntryFailure(Exit::kPhoneError, fmt::format("{}: {}", path.ForPeople(), PhoneErrorText(result.code)));
  RegistryList<Entry> list;
  for (ByteView rest = result.data; !rest.empty();) list.entries.push_back(take(rest));
  if (result.code != 0) list.cut = result.code;
  return list;
}

}  // namespace

Bytes PhoneRegistry::KeyRequest(const KeyPath& path) {
  NeedSendable(path.Wire());
  const std::string wire = path.Wire();
  return {wire.begin(), wire.end()};
}

Bytes PhoneRegistry::ValueRequest(const KeyPath& path, std::string_view name) {
  if (name.find('\\') != name.npos)
    throw EntryFailure(Exit::kWouldLoseData, fmt::format("{}: cannot be asked for, since a backslash would end the "
                                                         "key's name",
                                                         ShownValue(path, name)));
  const std::string wire = path.Wire() + "\\" + std::string(name);
  NeedSendable(wire);
  return {wire.begin(), wire.end()};
}

RegistryList<std::string> PhoneRegistry::KeysIn(const Result& result, const KeyPath& path) {
  NeedRoot(result, path);
  return ReadList<std::string>(result, path, [&](ByteView& rest) { return TakeName(rest, path); });
}

RegistryList<ValueName> PhoneRegistry::ValuesIn(const Result& result, const KeyPath& path) {
  NeedRoot(result, path);
  return ReadList<ValueName>(result, path, [&](ByteView& rest) {
    if (rest.size() < 4) Broken(path);
    const uint32_t type = Read32(rest, 0);
    rest = rest.subspan(4);
    return ValueName{type, TakeName(rest, path)};
  });
}

RegistryValue PhoneRegistry::ValueIn(const Result& result, const KeyPath& path, std::string_view name) {
  NeedRoot(result, path);
  const std::string shown = ShownValue(path, name);
  if (result.code == wire::kMoreData)
    throw EntryFailure(Exit::kPhoneError, shown + ": more than the 8192 bytes that the phone can send");
  if (result.code != 0 && result.data.size() >= kStaleAnswer)
    throw EntryFailure(Exit::kPhoneError,
                       fmt::format("{}: the key cannot be opened: {}", path.ForPeople(), PhoneErrorText(result.code)));
  if (result.code != 0)
    throw EntryFailure(Exit::kPhoneError, fmt::format("{}: {}", shown, PhoneErrorText(result.code)));
  if (result.data.size() < 4)
    throw EntryFailure(Exit::kProtocol, fmt::format("{}: the phone's answer has no type", shown));
  RegistryValue value{std::string(name), Read32(result.data, 0), {result.data.begin() + 4, result.data.end()}};
  if (value.IsText()) value.data.erase(std::find(value.data.begin(), value.data.end(), 0), value.data.end());
  return value;
}

RegistryList<std::string> PhoneRegistry::Keys(const KeyPath& path) {
  return KeysIn(session_.AskResult(wire::kSystem, wire::kListKeys, KeyRequest(path)), path);
}

RegistryValue PhoneRegistry::Value(const KeyPath& path, std::string_view name) {
  return ValueIn(session_.AskResult(wire::kSystem, wire::kReadValue, ValueRequest(path, name)), path, name);
}

}  // namespace brelix
