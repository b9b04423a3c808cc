// The platform's basic types, with the widths they have on a phone (Windows CE 5, 32-bit ARM), and the checks that keep
// a record's layout true. Handles are distinct types: a registry key cannot be passed where a thread is wanted.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/Linkage.h"

namespace ce {

using BOOL = std::int32_t;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using INT = std::int32_t;
using WCHAR = char16_t;
using LPCWSTR = const WCHAR*;
using BSTR = WCHAR*;
using DATE = double;
using VARIANT_BOOL = std::int16_t;
using HRESULT = std::int32_t;

enum class HANDLE : std::uintptr_t {};
enum class HWND : std::uintptr_t {};
enum class HINSTANCE : std::uintptr_t {};

inline constexpr HANDLE INVALID_HANDLE_VALUE{~std::uintptr_t{0}};
inline constexpr HANDLE kNoHandle{0};
inline constexpr HWND kNoWindow{0};

// winerror.h. HRESULTs are written as they are on the wire, unsigned; Hresult() gives the signed platform type.
constexpr HRESULT Hresult(DWORD code) { return static_cast<HRESULT>(code); }
inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = Hresult(0x80004001);
inline constexpr HRESULT E_NOINTERFACE = Hresult(0x80004002);
inline constexpr HRESULT E_POINTER = Hresult(0x80004003);
inline constexpr HRESULT E_FAIL = Hresult(0x80004005);
inline constexpr HRESULT E_OUTOFMEMORY = Hresult(0x8007000E);
inline constexpr HRESULT E_INVALIDARG = Hresult(0x80070057);

inline constexpr LONG ERROR_SUCCESS = 0;
inline constexpr LONG ERROR_FILE_NOT_FOUND = 2;
inline constexpr LONG ERROR_PATH_NOT_FOUND = 3;
inline constexpr LONG ERROR_ACCESS_DENIED = 5;
inline constexpr LONG ERROR_INVALID_HANDLE = 6;
inline constexpr LONG ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr LONG ERROR_NO_MORE_FILES = 18;
inline constexpr LONG ERROR_READ_FAULT = 30;
inline constexpr LONG ERROR_SHARING_VIOLATION = 32;
inline constexpr LONG ERROR_INVALID_PARAMETER = 87;
inline constexpr LONG ERROR_INVALID_NAME = 123;
inline constexpr LONG ERROR_MORE_DATA = 234;
inline constexpr LONG ERROR_NO_MORE_ITEMS = 259;

// winnt.h: what a file or a stream is opened for.
inline constexpr DWORD GENERIC_READ = 0x80000000;
inline constexpr DWORD GENERIC_WRITE = 0x40000000;

struct GUID {
  DWORD Data1;
  WORD Data2;
  WORD Data3;
  BYTE Data4[8];

  friend constexpr bool operator==(const GUID&, const GUID&) = default;
};
using IID = GUID;
using CLSID = GUID;

struct SECURITY_ATTRIBUTES;

struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

struct SYSTEMTIME {
  WORD wYear;
  WORD wMonth;
  WORD wDayOfWeek;
  WORD wDay;
  WORD wHour;
  WORD wMinute;
  WORD wSecond;
  WORD wMilliseconds;
};

// Two words, not one 64-bit member: the layout is then the same under every calling convention of the processor.
struct LARGE_INTEGER {
  DWORD LowPart;
  LONG HighPart;
};
struct ULARGE_INTEGER {
  DWORD LowPart;
  DWORD HighPart;
};

#define CE_LAYOUT(type, size, align) \
  static_assert(sizeof(type) == (size) && alignof(type) == (align), #type " has another layout on the phone")
#define CE_OFFSET(type, member, offset) \
  static_assert(offsetof(type, member) == (offset), #type "." #member " stands elsewhere on the phone")

// Records that hold pointers have the phone's size only where pointers are 32 bits wide.
#if UINTPTR_MAX == UINT32_MAX
#define CE_POINTER_LAYOUT(type, size, align) CE_LAYOUT(type, size, align)
#else
#define CE_POINTER_LAYOUT(type, size, align) static_assert(sizeof(type) >= (size))
#endif

CE_LAYOUT(GUID, 16, 4);
CE_LAYOUT(FILETIME, 8, 4);
CE_LAYOUT(SYSTEMTIME, 16, 2);
CE_LAYOUT(LARGE_INTEGER, 8, 4);
CE_LAYOUT(ULARGE_INTEGER, 8, 4);

}  // namespace ce
