// coredll: TAPI 2.0 lines, and cellcore: the cellular extension's general info. Results are 0 or a LINEERR code.
// Variable-size records: the caller writes dwTotalSize, the call answers dwNeededSize and fills what fits.
#pragma once

#include "platform/Types.h"

namespace ce {

enum class HLINEAPP : DWORD {};
enum class HLINE : DWORD {};

inline constexpr DWORD LINEINITIALIZEEXOPTION_USEEVENT = 2;
inline constexpr DWORD LINECALLPRIVILEGE_OWNER = 4;
inline constexpr DWORD LINEMEDIAMODE_INTERACTIVEVOICE = 0x04;
inline constexpr DWORD LINEMEDIAMODE_DATAMODEM = 0x10;

constexpr LONG LineError(DWORD code) { return static_cast<LONG>(code); }
inline constexpr LONG LINEERR_BADDEVICEID = LineError(0x80000002);
inline constexpr LONG LINEERR_INCOMPATIBLEAPIVERSION = LineError(0x8000000C);
inline constexpr LONG LINEERR_INCOMPATIBLEEXTVERSION = LineError(0x8000000D);
inline constexpr LONG LINEERR_INVALLINEHANDLE = LineError(0x8000002B);
inline constexpr LONG LINEERR_NODEVICE = LineError(0x80000042);
inline constexpr LONG LINEERR_NOMEM = LineError(0x80000044);
inline constexpr LONG LINEERR_OPERATIONFAILED = LineError(0x80000048);
inline constexpr LONG LINEERR_OPERATIONUNAVAIL = LineError(0x80000049);
inline constexpr LONG LINEERR_STRUCTURETOOSMALL = LineError(0x8000004D);

struct LINEEXTENSIONID {
  DWORD dwExtensionID0;
  DWORD dwExtensionID1;
  DWORD dwExtensionID2;
  DWORD dwExtensionID3;
};
CE_LAYOUT(LINEEXTENSIONID, 16, 4);

struct LINEINITIALIZEEXPARAMS {
  DWORD dwTotalSize;
  DWORD dwNeededSize;
  DWORD dwUsedSize;
  DWORD dwOptions;
  DWORD hEvent;  // an event or completion-port handle, 32 bits wide on the phone
  DWORD dwCompletionKey;
};
CE_LAYOUT(LINEINITIALIZEEXPARAMS, 24, 4);

struct LINEDIALPARAMS {
  DWORD dwDialPause;
  DWORD dwDialSpeed;
  DWORD dwDigitDuration;
  DWORD dwWaitForDialtone;
};
CE_LAYOUT(LINEDIALPARAMS, 16, 4);

inline constexpr DWORD STRINGFORMAT_UNICODE = 3;

struct LINEDEVCAPS {
  DWORD dwTotalSize;
  DWORD dwNeededSize;
  DWORD dwUsedSize;
  DWORD dwProviderInfoSize;
  DWORD dwProviderInfoOffset;
  DWORD dwSwitchInfoSize;
  DWORD dwSwitchInfoOffset;
  DWORD dwPermanentLineID;
  DWORD dwLineNameSize;
  DWORD dwLineNameOffset;
  DWORD dwStringFormat;
  DWORD dwAddressModes;
  DWORD dwNumAddresses;
  DWORD dwBearerModes;
  DWORD dwMaxRate;
  DWORD dwMediaModes;
  DWORD dwGenerateToneModes;
  DWORD dwGenerateToneMaxNumFreq;
  DWORD dwGenerateDigitModes;
  DWORD dwMonitorToneMaxNumFreq;
  DWORD dwMonitorToneMaxNumEntries;
  DWORD dwMonitorDigitModes;
  DWORD dwGatherDigitsMinTimeout;
  DWORD dwGatherDigitsMaxTimeout;
  DWORD dwMedCtlDigitMaxListSize;
  DWORD dwMedCtlMediaMaxListSize;
  DWORD dwMedCtlToneMaxListSize;
  DWORD dwMedCtlCallStateMaxListSize;
  DWORD dwDevCapFlags;
  DWORD dwMaxNumActiveCalls;
  DWORD dwAnswerMode;
  DWORD dwRingModes;
  DWORD dwLineStates;
  DWORD dwUUIAcceptSize;
  DWORD dwUUIAnswerSize;
  DWORD dwUUIMakeCallSize;
  DWORD dwUUIDropSize;
  DWORD dwUUISendUserUserInfoSize;
  DWORD dwUUICallInfoSize;
  LINEDIALPARAMS MinDialParams;
  LINEDIALPARAMS MaxDialParams;
  LINEDIALPARAMS DefaultDialParams;
  DWORD dwNumTerminals;
  DWORD dwTerminalCapsSize;
  DWORD dwTerminalCapsOffset;
  DWORD dwTerminalTextEntrySize;
  DWORD dwTerminalTextSize;
  DWORD dwTerminalTextOffset;
  DWORD dwDevSpecificSize;
  DWORD dwDevSpecificOffset;
  DWORD dwLineFeatures;
  DWORD dwSettableDevStatus;
  DWORD dwDeviceClassesSize;
  DWORD dwDeviceClassesOffset;
  GUID PermanentLineGuid;
  DWORD dwAddressTypes;
  GUID ProtocolGuid;
  DWORD dwAvailableTracking;
};
CE_LAYOUT(LINEDEVCAPS, 292, 4);
CE_OFFSET(LINEDEVCAPS, dwLineNameSize, 32);
CE_OFFSET(LINEDEVCAPS, MinDialParams, 156);
CE_OFFSET(LINEDEVCAPS, PermanentLineGuid, 252);

// extapi.h. Offsets count from the start of the record; the strings are UTF-16 and null-terminated.
struct LINEGENERALINFO {
  DWORD dwTotalSize;
  DWORD dwNeededSize;
  DWORD dwUsedSize;
  DWORD dwManufacturerSize;
  DWORD dwManufacturerOffset;
  DWORD dwModelSize;
  DWORD dwModelOffset;
  DWORD dwRevisionSize;
  DWORD dwRevisionOffset;
  DWORD dwSerialNumberSize;
  DWORD dwSerialNumberOffset;
  DWORD dwSubscriberNumberSize;
  DWORD dwSubscriberNumberOffset;
};
CE_LAYOUT(LINEGENERALINFO, 52, 4);

struct LINECALLPARAMS;
using LINECALLBACK = void (*)(DWORD device, DWORD message, DWORD instance, DWORD p1, DWORD p2, DWORD p3);

LONG lineInitializeEx(HLINEAPP* app, HINSTANCE instance, LINECALLBACK callback, LPCWSTR appName, DWORD* deviceCount,
                      DWORD* apiVersion, LINEINITIALIZEEXPARAMS* params) CE_SYMBOL("lineInitializeEx");
LONG lineNegotiateAPIVersion(HLINEAPP app, DWORD device, DWORD low, DWORD high, DWORD* version,
                             LINEEXTENSIONID* extension) CE_SYMBOL("lineNegotiateAPIVersion");
LONG lineGetDevCaps(HLINEAPP app, DWORD device, DWORD apiVersion, DWORD extVersion, LINEDEVCAPS* caps)
    CE_SYMBOL("lineGetDevCaps");
LONG lineOpen(HLINEAPP app, DWORD device, HLINE* line, DWORD apiVersion, DWORD extVersion, DWORD callbackInstance,
              DWORD privileges, DWORD mediaModes, LINECALLPARAMS* params) CE_SYMBOL("lineOpen");
LONG lineNegotiateExtVersion(HLINEAPP app, DWORD device, DWORD apiVersion, DWORD low, DWORD high, DWORD* extVersion)
    CE_SYMBOL("lineNegotiateExtVersion");
LONG lineClose(HLINE line) CE_SYMBOL("lineClose");
LONG lineShutdown(HLINEAPP app) CE_SYMBOL("lineShutdown");
LONG lineGetGeneralInfo(HLINE line, LINEGENERALINFO* info) CE_SYMBOL("lineGetGeneralInfo");

}  // namespace ce
