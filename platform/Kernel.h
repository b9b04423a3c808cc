// coredll: threads, waiting, interlocked words, last error, clock, memory, power and version.
#pragma once

#include "platform/Types.h"

namespace ce {

using THREAD_START = DWORD (*)(void* parameter);

inline constexpr DWORD CREATE_SUSPENDED = 0x00000004;
inline constexpr DWORD INFINITE = 0xFFFFFFFF;
inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_TIMEOUT = 258;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;
inline constexpr DWORD kResumeFailed = 0xFFFFFFFF;  // the previous suspend count, reported as -1

// DllMain reason codes (winnt.h as on Windows CE).
inline constexpr DWORD DLL_PROCESS_DETACH = 0;
inline constexpr DWORD DLL_PROCESS_ATTACH = 1;
inline constexpr DWORD DLL_THREAD_ATTACH = 2;
inline constexpr DWORD DLL_THREAD_DETACH = 3;

// winbase.h, Windows CE form: 276 bytes, to be written into dwOSVersionInfoSize before the call.
struct OSVERSIONINFOW {
  DWORD dwOSVersionInfoSize;
  DWORD dwMajorVersion;
  DWORD dwMinorVersion;
  DWORD dwBuildNumber;
  DWORD dwPlatformId;
  WCHAR szCSDVersion[128];
};
CE_LAYOUT(OSVERSIONINFOW, 276, 4);
CE_OFFSET(OSVERSIONINFOW, szCSDVersion, 20);

struct MEMORYSTATUS {
  DWORD dwLength;
  DWORD dwMemoryLoad;
  DWORD dwTotalPhys;
  DWORD dwAvailPhys;
  DWORD dwTotalPageFile;
  DWORD dwAvailPageFile;
  DWORD dwTotalVirtual;
  DWORD dwAvailVirtual;
};
CE_LAYOUT(MEMORYSTATUS, 32, 4);

inline constexpr BYTE AC_LINE_ONLINE = 1;
inline constexpr BYTE BATTERY_PERCENTAGE_UNKNOWN = 255;

struct SYSTEM_POWER_STATUS_EX2 {
  BYTE ACLineStatus;
  BYTE BatteryFlag;
  BYTE BatteryLifePercent;
  BYTE Reserved1;
  DWORD BatteryLifeTime;
  DWORD BatteryFullLifeTime;
  BYTE Reserved2;
  BYTE BackupBatteryFlag;
  BYTE BackupBatteryLifePercent;
  BYTE Reserved3;
  DWORD BackupBatteryLifeTime;
  DWORD BackupBatteryFullLifeTime;
  DWORD BatteryVoltage;
  DWORD BatteryCurrent;
  DWORD BatteryAverageCurrent;
  DWORD BatteryAverageInterval;
  DWORD BatterymAHourConsumed;
  DWORD BatteryTemperature;
  DWORD BackupBatteryVoltage;
  BYTE BatteryChemistry;
};
CE_LAYOUT(SYSTEM_POWER_STATUS_EX2, 56, 4);
CE_OFFSET(SYSTEM_POWER_STATUS_EX2, BatteryChemistry, 52);

HANDLE CreateThread(SECURITY_ATTRIBUTES* attributes, DWORD stackSize, THREAD_START start, void* parameter, DWORD flags,
                    DWORD* threadId) CE_SYMBOL("CreateThread");
// The previous suspend count, or kResumeFailed.
DWORD ResumeThread(HANDLE thread) CE_SYMBOL("ResumeThread");
DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds) CE_SYMBOL("WaitForSingleObject");
BOOL CloseHandle(HANDLE object) CE_SYMBOL("CloseHandle");
void Sleep(DWORD milliseconds) CE_SYMBOL("Sleep");
LONG InterlockedExchange(LONG* target, LONG value) CE_SYMBOL("InterlockedExchange");
LONG InterlockedExchangeAdd(LONG* target, LONG value) CE_SYMBOL("InterlockedExchangeAdd");
DWORD GetLastError() CE_SYMBOL("GetLastError");
void GetLocalTime(SYSTEMTIME* time) CE_SYMBOL("GetLocalTime");
// By the offset that the phone's clock has now, whatever the season of the time.
BOOL FileTimeToLocalFileTime(const FILETIME* time, FILETIME* local) CE_SYMBOL("FileTimeToLocalFileTime");
BOOL FileTimeToSystemTime(const FILETIME* time, SYSTEMTIME* system) CE_SYMBOL("FileTimeToSystemTime");

// Null when there is no memory. Flags 0: fixed, not cleared.
void* LocalAlloc(DWORD flags, DWORD bytes) CE_SYMBOL("LocalAlloc");
// Null on success.
void* LocalFree(void* block) CE_SYMBOL("LocalFree");

void GlobalMemoryStatus(MEMORYSTATUS* status) CE_SYMBOL("GlobalMemoryStatus");
BOOL GetVersionExW(OSVERSIONINFOW* version) CE_SYMBOL("GetVersionExW");
// The number of bytes written, 0 on failure.
DWORD GetSystemPowerStatusEx2(SYSTEM_POWER_STATUS_EX2* status, DWORD size, BOOL update)
    CE_SYMBOL("GetSystemPowerStatusEx2");

}  // namespace ce
