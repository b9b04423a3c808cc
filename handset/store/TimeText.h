// Local times as a description writes them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "handset/store/ClockSetting.h"

namespace handset {

// "2009-07-12T13:45:01" with or without ".250"; nothing for anything else and for years before 1601, the earliest of
// the phone's time records.
std::optional<LocalTime> ParseTime(std::string_view text);
std::string PrintTime(LocalTime time);

// A local date of Pocket Outlook, days since 30 December 1899: "1975-04-09" or "1975-04-09T13:45:01", from the year 100
// on.
std::optional<double> ParseDate(std::string_view text);
// Nothing for what no text says exactly.
std::optional<std::string> PrintDate(double date);

}  // namespace handset
