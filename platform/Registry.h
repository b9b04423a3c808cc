// coredll: the registry. Results are error codes, 0 for success.
#pragma once

#include "platform/Types.h"

namespace ce {

enum class HKEY : std::uintptr_t {};
inline constexpr HKEY HKEY_CLASSES_ROOT{0x80000000};
inline constexpr HKEY HKEY_CURRENT_USER{0x80000001};
inline constexpr HKEY HKEY_LOCAL_MACHINE{0x80000002};

// winnt.h value types.
inline constexpr DWORD REG_NONE = 0;
inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_EXPAND_SZ = 2;
inline constexpr DWORD REG_BINARY = 3;
inline constexpr DWORD REG_DWORD = 4;
inline constexpr DWORD REG_MULTI_SZ = 7;

// A leading backslash in subKey is skipped.
LONG RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, DWORD access, HKEY* result) CE_SYMBOL("RegOpenKeyExW");
// size: bytes, in the room at data, out the value's length (a stored terminator counts). ERROR_MORE_DATA leaves the
// needed length there.
LONG RegQueryValueExW(HKEY key, LPCWSTR name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* size)
    CE_SYMBOL("RegQueryValueExW");
LONG RegCloseKey(HKEY key) CE_SYMBOL("RegCloseKey");

}  // namespace ce
