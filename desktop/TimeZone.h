// Times of UTC in a zone that the user names.
#pragma once

#include <chrono>
#include <string>

namespace brelix {

// Throws a usage failure when this computer has no such time zone.
void CheckTimeZone(const std::string& name);

// "2009-07-12 15:45:01+02:00", or with another character than the blank. Without a name, the time of UTC with "Z"
// behind.
std::string TimeText(std::chrono::sys_seconds utc, char between_date_and_time, const std::string& zone = "");

}  // namespace brelix
