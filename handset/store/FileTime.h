// The phone's FILETIME as a number: steps of 100 ns since the start of 1601, in UTC.
#pragma once

#include <chrono>
#include <cstdint>

#include "platform/Types.h"

namespace handset {

using FileTime = std::int64_t;

using FileTimeSteps = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
// From the start of 1601 to that of 1970.
inline constexpr std::chrono::seconds kUnixStart{11'644'473'600};

constexpr FileTime ToFileTime(FileTimeSteps sinceUnixStart) { return (sinceUnixStart + kUnixStart).count(); }
constexpr FileTimeSteps SinceUnixStart(FileTime time) { return FileTimeSteps(time) - kUnixStart; }

constexpr FileTime FromRecord(const ce::FILETIME& time) {
  return static_cast<FileTime>(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
}
constexpr ce::FILETIME ToRecord(FileTime time) {
  const auto bits = static_cast<std::uint64_t>(time);
  return {static_cast<ce::DWORD>(bits), static_cast<ce::DWORD>(bits >> 32)};
}

}  // namespace handset
