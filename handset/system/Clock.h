// The phone's clock: the host's, or one that stands at a given local time; and virtual time for tests.
#pragma once

#include <chrono>
#include <mutex>

#include "handset/store/ClockSetting.h"

namespace handset {

// May be used from any thread.
class Clock {
 public:
  explicit Clock(const ClockSetting& setting);

  void Set(const ClockSetting& setting);
  // Virtual time: the clock stands at what it shows now and moves only by what Sleep is asked for; Sleep gives way to
  // other threads for as long as is said here, so that a peer that is polled gets the processor, and returns.
  void UseVirtualTime(std::chrono::microseconds giveWay = std::chrono::microseconds(50));
  void Advance(std::chrono::milliseconds time);

  LocalTime Now() const;
  // Local time minus UTC.
  std::chrono::minutes GetUtcOffset() const;

  void Sleep(std::chrono::milliseconds time);
  // The sum of all that Sleep was asked for, and how often it was.
  std::chrono::milliseconds GetSlept() const;
  unsigned GetSleepCount() const;

 private:
  std::chrono::minutes UtcOffset() const;
  LocalTime NowLocked() const;

  mutable std::mutex m_mutex;
  ClockSetting m_setting;
  bool m_virtual = false;
  std::chrono::microseconds m_giveWay{0};
  std::chrono::milliseconds m_slept{0};
  unsigned m_sleepCount = 0;
};

}  // namespace handset
