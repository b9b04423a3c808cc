// CSystemModule, registry: names of keys, names and types of values, and one value's data. Each command opens its key
// and closes it again.
#include "agent/engine/Codecs.h"
#include "agent/modules/system/RegistryKey.h"
#include "agent/modules/system/SystemModule.h"

namespace {

struct Root {
  std::u16string_view letters;
  ce::HKEY key;
};
constexpr std::size_t kRootLen = 4;
constexpr Root kRoots[] = {
    {u"hkcr", ce::HKEY_CLASSES_ROOT},
    {u"hkcu", ce::HKEY_CURRENT_USER},
    {u"hklm", ce::HKEY_LOCAL_MACHINE},
};

// The path's first letters in either case; what is shorter matches none.
const Root* FindRoot(const char16_t* path) {
  constexpr char16_t kLowerCase = 0x20;
  for (const Root& root : kRoots) {
    std::size_t same = 0;
    while (same < kRootLen && (path[same] | kLowerCase) == root.letters[same]) {
      ++same;
    }
    if (same == kRootLen) {
      return &root;
    }
  }
  return nullptr;
}

// path: root, then its end or a backslash and the names of keys. A root alone gets a backslash in place, for which
// there must be room. 0, the registry's error code, or "refused" when the root is none.
std::uint32_t OpenKey(char16_t* path, CRegistryKey& key) {
  const Root* root = FindRoot(path);
  if (root == nullptr || (path[kRootLen] != u'\\' && path[kRootLen] != 0)) {
    return wire::kResultRefused;
  }
  if (path[kRootLen] == 0) {
    path[kRootLen] = u'\\';
    path[kRootLen + 1] = 0;
  }
  return static_cast<std::uint32_t>(key.Open(root->key, path + kRootLen));
}

// Asks for one entry after the other: next(index) gives the platform's code, write() puts the entry into the reply, and
// size() says how long that will be.
// Kept(empty-key-answers-0): "no more items" is the end of every list and never a result, not even of an empty one.
// Chosen: a list that is longer than the send buffer ends with the last whole entry that fits, and its result is "more
// data".
template <class Next, class Size, class Write>
void SendList(CReplyWriter& reply, Next next, Size size, Write write) {
  reply.U32(wire::kResultOk);
  for (ce::DWORD index = 0;; ++index) {
    const ce::LONG result = next(index);
    if (result != ce::ERROR_SUCCESS) {
      reply.SetResult(result == ce::ERROR_NO_MORE_ITEMS ? wire::kResultOk : static_cast<std::uint32_t>(result));
      break;
    }
    if (size() > reply.Rest().size()) {
      reply.SetResult(ce::ERROR_MORE_DATA);
      break;
    }
    write();
  }
  reply.Send();
}

bool IsText(ce::DWORD type) { return type == ce::REG_SZ || type == ce::REG_EXPAND_SZ; }

}  // namespace

// For each subkey its name and a 0. What was gathered before an error is sent with it.
void CSystemModule::EnumerateKeys(CReplyWriter& reply) {
  TakePath();
  CRegistryKey key;
  const std::uint32_t result = OpenKey(m_path.data(), key);
  if (result != wire::kResultOk) {
    return reply.SendResult(result);
  }
  SendList(
      reply,
      [&](ce::DWORD index) {
        auto room = static_cast<ce::DWORD>(m_path.size());
        return ce::RegEnumKeyExW(key.Get(), index, m_path.data(), &room, nullptr, nullptr, nullptr, nullptr);
      },
      [&] { return codecs::Utf8Size(TextIn(m_path)) + 1; },
      [&] {
        reply.Utf8(TextIn(m_path));
        reply.U8(0);
      });
}

// For each value its type, its name and a 0.
void CSystemModule::EnumerateValues(CReplyWriter& reply) {
  TakePath();
  CRegistryKey key;
  const std::uint32_t result = OpenKey(m_path.data(), key);
  if (result != wire::kResultOk) {
    return reply.SendResult(result);
  }
  ce::DWORD type = 0;
  SendList(
      reply,
      [&](ce::DWORD index) {
        auto room = static_cast<ce::DWORD>(m_path.size());
        return ce::RegEnumValueW(key.Get(), index, m_path.data(), &room, nullptr, &type, nullptr, nullptr);
      },
      [&] { return sizeof type + codecs::Utf8Size(TextIn(m_path)) + 1; },
      [&] {
        reply.U32(type);
        reply.Utf8(TextIn(m_path));
        reply.U8(0);
      });
}

// The part behind the last backslash is the value's name.
// Kept(value-name-restored-behind-root): directly behind the root, opening the key writes its end onto the first
// character of the name; it is put back, so that a root's own values can be read.
// Kept(unopened-key-counts-8192): when the key cannot be opened the reply still counts a whole data area, and what the
// send buffer held goes out behind the result. Chosen: a path without a backslash is refused with a bare result.
void CSystemModule::ReadValue(CReplyWriter& reply) {
  const std::size_t split = TakePath().rfind(u'\\');
  if (split == std::u16string_view::npos) {
    return reply.SendResult(wire::kResultRefused);
  }
  m_path[split] = 0;
  char16_t* const name = &m_path[split + 1];
  const char16_t firstOfName = *name;
  CRegistryKey key;
  const std::uint32_t opened = OpenKey(m_path.data(), key);
  *name = firstOfName;
  if (opened != wire::kResultOk) {
    constexpr std::uint16_t kCounted = sizeof opened + sizeof m_value;
    reply.U32(opened);
    return reply.SendCounted(kCounted, wire::kBodyDataAt + kCounted);
  }
  ce::DWORD type = 0;
  ce::DWORD size = sizeof m_value;
  auto* const data = reinterpret_cast<ce::BYTE*>(m_value.data());
  const ce::LONG result = ce::RegQueryValueExW(key.Get(), name, nullptr, &type, data, &size);
  if (result != ce::ERROR_SUCCESS) {
    return reply.SendResult(static_cast<std::uint32_t>(result));
  }
  size = std::min<ce::DWORD>(size, sizeof m_value);
  reply.U32(wire::kResultOk);
  reply.U32(type);
  if (IsText(type)) {
    // Chosen: a text that has no terminator ends with its data.
    reply.Utf8(TextIn({m_value.data(), size / 2}));
    reply.U8(0);
  } else {
    reply.Text({reinterpret_cast<const char*>(data), size});
  }
  reply.Send();
}
