#include "handset/Clock.h"

#include <ctime>
#include <thread>

namespace handset {

namespace {

using std::chrono::milliseconds;
using std::chrono::minutes;

// A peer that this thread polls gets the processor even when nobody sleeps for real.
constexpr std::chrono::microseconds kGiveWay{50};

minutes HostUtcOffset() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return std::chrono::duration_cast<minutes>(std::chrono::seconds(local.tm_gmtoff));
}

}  // namespace

Clock::Clock(const ClockSetting& setting) : m_setting(setting) {}

void Clock::Set(const ClockSetting& setting) {
  const std::lock_guard lock(m_mutex);
  m_setting = setting;
}

void Clock::UseVirtualTime() {
  const std::lock_guard lock(m_mutex);
  m_setting.localTime = NowLocked();
  m_virtual = true;
}

void Clock::Advance(milliseconds time) {
  const std::lock_guard lock(m_mutex);
  if (m_setting.localTime) *m_setting.localTime += time;
}

LocalTime Clock::Now() const {
  const std::lock_guard lock(m_mutex);
  return NowLocked();
}

minutes Clock::GetUtcOffset() const {
  const std::lock_guard lock(m_mutex);
  return UtcOffset();
}

void Clock::Sleep(milliseconds time) {
  bool real = false;
  {
    const std::lock_guard lock(m_mutex);
    m_slept += time;
    ++m_sleepCount;
    real = !m_virtual;
    if (m_virtual) *m_setting.localTime += time;
  }
  if (real) {
    std::this_thread::sleep_for(time);
  } else {
    std::this_thread::sleep_for(kGiveWay);
  }
}

milliseconds Clock::GetSlept() const {
  const std::lock_guard lock(m_mutex);
  return m_slept;
}

unsigned Clock::GetSleepCount() const {
  const std::lock_guard lock(m_mutex);
  return m_sleepCount;
}

minutes Clock::UtcOffset() const { return m_setting.utcOffset ? *m_setting.utcOffset : HostUtcOffset(); }

LocalTime Clock::NowLocked() const {
  if (m_setting.localTime) return *m_setting.localTime;
  const auto utc = std::chrono::floor<milliseconds>(std::chrono::system_clock::now());
  return LocalTime(utc.time_since_epoch() + UtcOffset());
}

}  // namespace handset
