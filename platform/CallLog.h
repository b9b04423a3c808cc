// phone: the call log of the phone library, which exports by ordinal (open 1, read 2, close 3, seek 4).
#pragma once

#include "platform/Types.h"

namespace ce {

// CALLLOGENTRY.iom
inline constexpr DWORD IOM_MISSED = 0;
inline constexpr DWORD IOM_INCOMING = 1;
inline constexpr DWORD IOM_OUTGOING = 2;

// CALLLOGENTRY.flags, one-bit fields of one word in the platform's own header.
inline constexpr DWORD kCallOutgoing = 1;
inline constexpr DWORD kCallConnected = 2;
inline constexpr DWORD kCallEnded = 4;
inline constexpr DWORD kCallRoaming = 8;

// CALLLOGENTRY.cidt
inline constexpr DWORD CALLERIDTYPE_UNAVAILABLE = 0;
inline constexpr DWORD CALLERIDTYPE_BLOCKED = 1;
inline constexpr DWORD CALLERIDTYPE_AVAILABLE = 2;

// phone.h. cbSize is written before the call. A text may be null; the caller frees each with LocalFree.
struct CALLLOGENTRY {
  DWORD cbSize;
  FILETIME ftStartTime;  // UTC, as the next
  FILETIME ftEndTime;
  DWORD iom;
  DWORD flags;
  DWORD cidt;
  WCHAR* pszNumber;
  WCHAR* pszName;
  WCHAR* pszNameType;
  WCHAR* pszNote;
};
CE_POINTER_LAYOUT(CALLLOGENTRY, 48, 4);
CE_OFFSET(CALLLOGENTRY, ftStartTime, 4);
CE_OFFSET(CALLLOGENTRY, iom, 20);
CE_OFFSET(CALLLOGENTRY, pszNumber, 32);

// PhoneSeekCallLog, seek
inline constexpr INT CALLLOGSEEK_BEGINNING = 2;
inline constexpr INT CALLLOGSEEK_END = 4;

HRESULT PhoneOpenCallLog(HANDLE* log) CE_SYMBOL("PhoneOpenCallLog");
// Reads the entry at the log's place, the newest call first, and moves on to the next. S_FALSE behind the last one.
HRESULT PhoneGetCallLogEntry(HANDLE log, CALLLOGENTRY* entry) CE_SYMBOL("PhoneGetCallLogEntry");
HRESULT PhoneCloseCallLog(HANDLE log) CE_SYMBOL("PhoneCloseCallLog");
// record counts from where seek says; reached is the place's index from the beginning, counted from 0. E_FAIL where
// there is no entry.
HRESULT PhoneSeekCallLog(HANDLE log, INT seek, DWORD record, DWORD* reached) CE_SYMBOL("PhoneSeekCallLog");

}  // namespace ce
