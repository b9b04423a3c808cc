// oleaut32: system strings, and dates as days.
#pragma once

#include "platform/Types.h"

namespace ce {

// A DATE counts days, with the time of day as their fraction, from 30 December 1899 on. Pocket Outlook writes 1 January
// 4501 for a date that there is not.
inline constexpr DATE kNoDate = 949998.0;

// A copy of the text, up to its terminating 0; null for null and without memory.
BSTR SysAllocString(LPCWSTR text) CE_SYMBOL("SysAllocString");
// Null is ignored.
void SysFreeString(BSTR text) CE_SYMBOL("SysFreeString");

// 1, or 0 for a date that is none. Rounds to the nearest second; milliseconds are 0 and ignored.
INT VariantTimeToSystemTime(DATE date, SYSTEMTIME* time) CE_SYMBOL("VariantTimeToSystemTime");
INT SystemTimeToVariantTime(SYSTEMTIME* time, DATE* date) CE_SYMBOL("SystemTimeToVariantTime");

}  // namespace ce
