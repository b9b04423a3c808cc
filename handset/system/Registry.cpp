#include "platform/Registry.h"

#include <cstring>

#include "handset/Enter.h"

using handset::Call;
using handset::Enter;
using handset::Failure;
using handset::Held;
using handset::Phone;
using handset::ThisPhone;

namespace {

struct OpenKey : handset::HandleObject {
  explicit OpenKey(std::int64_t keyId) : HandleObject(Held::kRegistryKey), id(keyId) {}

  const std::int64_t id;
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

LONG RegCloseKey(HKEY key) {
  Phone& phone = ThisPhone();
  const auto id = static_cast<std::uintptr_t>(key);
  const auto close = [&]() -> LONG {
    return IsRoot(key) || phone.handles.Take<OpenKey>(id) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
  };
  return Enter<Call::RegCloseKey>(phone, close, [&] { phone.handles.Refuse(id); });
}

}  // namespace ce
