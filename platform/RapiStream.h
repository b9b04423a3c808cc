// rapi: the stream that the synchronisation link hands to a remote-API extension.
#pragma once

#include "platform/Com.h"

namespace ce {

// What a read or write answers once the desktop is gone: Win32 error 10054 as an HRESULT.
inline constexpr HRESULT kRapiConnectionReset = Hresult(0x80072746);

struct IRAPIStream : IStream {
  virtual HRESULT SetRapiStat(INT flag, DWORD value) = 0;
  virtual HRESULT GetRapiStat(INT flag, DWORD* value) = 0;
};

}  // namespace ce
