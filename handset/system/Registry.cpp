#include "platform/Registry.h"

#include <cstring>
#include <mutex>
#include <optional>

#include "handset/Enter.h"

using handset::Call;
using handset::Enter;
using handset::Failure;
using handset::Held;
using handset::Phone;
using handset::RegistryValueHead;
using handset::ThisPhone;

namespace {

struct OpenKey : handset::HandleObject {
  explicit OpenKey(std::int64_t keyId) : HandleObject(Held::kRegistryKey), id(keyId) {}

  const std::int64_t id;
  // Read when they are first asked for.
  std::mutex mutex;
  std::optional<std::vector<std::u16string>> subkeys;
  std::optional<std::vector<RegistryValueHead>> values;
};

bool IsRoot(ce::HKEY key) { return handset::FindRoot(static_cast<std::uintptr_t>(key)) != nullptr; }

// The store's key behind a handle.
std::int64_t KeyOf(const Phone& phone, ce::HKEY key) {
  const auto handle = static_cast<std::uintptr_t>(key);
  if (const handset::RegistryRoot* root = handset::FindRoot(handle)) return root->id;
  const auto open = phone.handles.Find<OpenKey>(handle);
  if (!open) throw Failure{ce::ERROR_INVALID_HANDLE};
  return open->id;
}

// One after the other is asked for by number: the list is kept with the open key.
template <typename List, typename Read>
auto EntryAt(std::optional<List> OpenKey::*list, const Phone& phone, ce::HKEY key, ce::DWORD index, Read read)
    -> std::optional<typename List::value_type> {
  const auto handle = static_cast<std::uintptr_t>(key);
  const std::int64_t id = KeyOf(phone, key);
  auto open = phone.handles.Find<OpenKey>(handle);
  if (!open) open = std::make_shared<OpenKey>(id);  // a root
  const std::lock_guard lock(open->mutex);
  if (!((*open).*list)) (*open).*list = read(id);
  const List& entries = *((*open).*list);
  if (index >= entries.size()) return std::nullopt;
  return entries[index];
}

// The name and its terminator, if there is room.
ce::LONG PutName(std::u16string_view text, ce::WCHAR* name, ce::DWORD* size) {
  if (name == nullptr || size == nullptr) return ce::ERROR_INVALID_PARAMETER;
  if (text.size() >= *size) return ce::ERROR_MORE_DATA;
  name[text.copy(name, text.size())] = 0;
  *size = static_cast<ce::DWORD>(text.size());
  return ce::ERROR_SUCCESS;
}

std::u16string_view View(ce::LPCWSTR text) { return text != nullptr ? text : std::u16string_view(); }

}  // namespace

namespace ce {

LONG RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD, DWORD, HKEY* result) {
  Phone& phone = ThisPhone();
  return Enter<Call::RegOpenKeyExW>(phone, [&]() -> LONG {
    if (result == nullptr) return ERROR_INVALID_PARAMETER;
    std::u16string_view path = View(subKey);
    if (path.starts_with(u'\\')) path.remove_prefix(1);
    const auto found = phone.store.FindKey(KeyOf(phone, key), path);
    if (!found) return ERROR_FILE_NOT_FOUND;
    *result = HKEY{phone.handles.Add(std::make_shared<OpenKey>(*found), phone.store.GetKeyPath(*found))};
    return ERROR_SUCCESS;
  });
}

LONG RegQueryValueExW(HKEY key, LPCWSTR name, DWORD*, DWORD* type, BYTE* data, DWORD* size) {
  Phone& phone = ThisPhone();
  return Enter<Call::RegQueryValueExW>(phone, [&]() -> LONG {
    const std::int64_t id = KeyOf(phone, key);
    if (data != nullptr && size == nullptr) return ERROR_INVALID_PARAMETER;
    const auto value = phone.store.FindValue(id, View(name));
    if (!value) return ERROR_FILE_NOT_FOUND;
    if (type != nullptr) *type = value->type;
    if (size == nullptr) return ERROR_SUCCESS;
    const auto needed = static_cast<DWORD>(value->data.size());
    const DWORD room = std::exchange(*size, needed);
    if (data == nullptr) return ERROR_SUCCESS;
    if (room < needed) return ERROR_MORE_DATA;
    if (needed > 0) std::memcpy(data, value->data.data(), needed);
    return ERROR_SUCCESS;
  });
}

LONG RegEnumKeyExW(HKEY key, DWORD index, WCHAR* name, DWORD* nameSize, DWORD*, WCHAR*, DWORD*, FILETIME*) {
  Phone& phone = ThisPhone();
  return Enter<Call::RegEnumKeyExW>(phone, [&]() -> LONG {
    const auto subkey =
        EntryAt(&OpenKey::subkeys, phone, key, index, [&](std::int64_t id) { return phone.store.GetSubkeys(id); });
    return subkey ? PutName(*subkey, name, nameSize) : ERROR_NO_MORE_ITEMS;
  });
}

LONG RegEnumValueW(HKEY key, DWORD index, WCHAR* name, DWORD* nameSize, DWORD*, DWORD* type, BYTE* data,
                   DWORD* dataSize) {
  Phone& phone = ThisPhone();
  return Enter<Call::RegEnumValueW>(phone, [&]() -> LONG {
    // Mapped: the data is asked for by name.
    if (data != nullptr || dataSize != nullptr) return ERROR_INVALID_PARAMETER;
    const auto value =
        EntryAt(&OpenKey::values, phone, key, index, [&](std::int64_t id) { return phone.store.GetValueHeads(id); });
    if (!value) return ERROR_NO_MORE_ITEMS;
    const LONG result = PutName(value->name, name, nameSize);
    if (result == ERROR_SUCCESS && type != nullptr) *type = value->type;
    return result;
  });
}

LONG RegCloseKey(HKEY key) {
  Phone& phone = ThisPhone();
  const auto id = static_cast<std::uintptr_t>(key);
  const auto close = [&]() -> LONG {
    return IsRoot(key) || phone.handles.Take<OpenKey>(id) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
  };
  return Enter<Call::RegCloseKey>(phone, close, [&] { phone.handles.Refuse(id); });
}

}  // namespace ce
