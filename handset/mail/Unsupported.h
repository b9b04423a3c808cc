// What phones answer in slots that only desktops support.
#pragma once

#include "platform/Types.h"

namespace handset {

inline constexpr ce::HRESULT kNoSupport = ce::Hresult(0x80040102);  // MAPI_E_NO_SUPPORT

}  // namespace handset
