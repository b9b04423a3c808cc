// The platform's dates, days since 30 December 1899, as calendar times.
#pragma once

#include <optional>

#include "platform/Automation.h"

namespace handset {

// As VariantTimeToSystemTime and SystemTimeToVariantTime: from the year 100 to 9999, else nothing.
std::optional<ce::SYSTEMTIME> ToSystemTime(ce::DATE date);
std::optional<ce::DATE> ToDate(const ce::SYSTEMTIME& time);

}  // namespace handset
