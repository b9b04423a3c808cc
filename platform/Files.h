// coredll: folders and files. Paths begin with a backslash at the device's root; there is no current folder.
#pragma once

#include "platform/Types.h"

namespace ce {

// winnt.h, file attributes.
inline constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x01;
inline constexpr DWORD FILE_ATTRIBUTE_HIDDEN = 0x02;
inline constexpr DWORD FILE_ATTRIBUTE_SYSTEM = 0x04;
inline constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
inline constexpr DWORD FILE_ATTRIBUTE_ARCHIVE = 0x20;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;

inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr INT FindExInfoStandard = 0;
inline constexpr INT FindExSearchNameMatch = 0;

// A path and its terminator.
inline constexpr std::size_t MAX_PATH = 260;

// winbase.h, Windows CE form: an object id, no reserved words, no short name.
struct WIN32_FIND_DATAW {
  DWORD dwFileAttributes;
  FILETIME ftCreationTime;
  FILETIME ftLastAccessTime;
  FILETIME ftLastWriteTime;
  DWORD nFileSizeHigh;
  DWORD nFileSizeLow;
  DWORD dwOID;
  WCHAR cFileName[MAX_PATH];
};
CE_LAYOUT(WIN32_FIND_DATAW, 560, 4);
CE_OFFSET(WIN32_FIND_DATAW, cFileName, 40);

struct OVERLAPPED;

// A handle for FindNextFileW and FindClose, or INVALID_HANDLE_VALUE; data gets a WIN32_FIND_DATAW. The last part of
// path may have "*" and "?". There are no entries "." and "..".
HANDLE FindFirstFileExW(LPCWSTR path, INT infoLevel, void* data, INT searchOp, void* filter, DWORD flags)
    CE_SYMBOL("FindFirstFileExW");
// 0 with last error 18 after the last one.
BOOL FindNextFileW(HANDLE find, WIN32_FIND_DATAW* data) CE_SYMBOL("FindNextFileW");
BOOL FindClose(HANDLE find) CE_SYMBOL("FindClose");
// A handle for ReadFile and CloseHandle, or INVALID_HANDLE_VALUE.
HANDLE CreateFileW(LPCWSTR path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security, DWORD disposition,
                   DWORD attributes, HANDLE templateFile) CE_SYMBOL("CreateFileW");
// At the end of the file it succeeds with no bytes.
BOOL ReadFile(HANDLE file, void* buffer, DWORD size, DWORD* count, OVERLAPPED* overlapped) CE_SYMBOL("ReadFile");

}  // namespace ce
