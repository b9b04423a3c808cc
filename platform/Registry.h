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
// Subkeys by their number from 0, in any order; ERROR_NO_MORE_ITEMS behind the last. nameSize: characters, in the room
// at name, out the name's length without its terminator. ERROR_MORE_DATA when the name does not fit.
LONG RegEnumKeyExW(HKEY key, DWORD index, WCHAR* name, DWORD* nameSize, DWORD* reserved, WCHAR* className,
                   DWORD* classSize, FILETIME* lastWrite) CE_SYMBOL("RegEnumKeyExW");
// Values likewise. data and dataSize may be null.
LONG RegEnumValueW(HKEY key, DWORD index, WCHAR* name, DWORD* nameSize, DWORD* reserved, DWORD* type, BYTE* data,
                   DWORD* dataSize) CE_SYMBOL("RegEnumValueW");
LONG RegCloseKey(HKEY key) CE_SYMBOL("RegCloseKey");

}  // namespace ce
