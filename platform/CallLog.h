// phone: the call log of the phone library, which exports by ordinal (open 1, close 3).
#pragma once

#include "platform/Types.h"

namespace ce {

HRESULT PhoneOpenCallLog(HANDLE* log) CE_SYMBOL("PhoneOpenCallLog");
HRESULT PhoneCloseCallLog(HANDLE log) CE_SYMBOL("PhoneCloseCallLog");

}  // namespace ce
