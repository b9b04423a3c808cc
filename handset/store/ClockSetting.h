// What a phone's clock shows.
#pragma once

#include <chrono>
#include <optional>

namespace handset {

using LocalTime = std::chrono::local_time<std::chrono::milliseconds>;

struct ClockSetting {
  std::optional<LocalTime> localTime;             // absent: the clock runs with the host's
  std::optional<std::chrono::minutes> utcOffset;  // absent: the host's own
};

}  // namespace handset
