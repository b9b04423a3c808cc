// System strings for the phone's own objects.
#pragma once

#include <string_view>

#include "platform/Automation.h"

namespace handset {

struct Phone;

// A system string that the caller of the phone gives back with SysFreeString. Throws std::bad_alloc. Unlike
// SysAllocString it asks no fault: a getter that runs out of memory is a fault of the getter.
ce::BSTR NewSystemString(Phone& phone, std::u16string_view text);
// All of a system string, zeros within it too; empty for null.
std::u16string_view TextOf(ce::BSTR text);

}  // namespace handset
