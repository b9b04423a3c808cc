// coredll: message boxes.
#pragma once

#include "platform/Types.h"

namespace ce {

inline constexpr DWORD MB_OK = 0x00;
inline constexpr DWORD MB_YESNO = 0x04;
inline constexpr DWORD MB_ICONERROR = 0x10;
inline constexpr DWORD MB_ICONQUESTION = 0x20;

inline constexpr INT IDOK = 1;
inline constexpr INT IDYES = 6;
inline constexpr INT IDNO = 7;

// The button that was chosen, 0 on failure.
INT MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, DWORD type) CE_SYMBOL("MessageBoxW");

}  // namespace ce
