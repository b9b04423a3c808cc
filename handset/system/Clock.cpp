#include "handset/system/Clock.h"

#include <ctime>
#include <thread>

namespace handset {

namespace {

using std::chrono::milliseconds;
using std::chrono::minutes;

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

void Clock::UseVirtualTime(std::chrono::microseconds giveWay) {
  const std::lock_guard lock(m_mutex);
  m_giveWay = giveWay;
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
  std::chrono::microseconds pause = time;
  {
    const std::lock_guard lock(m_mutex);
    m_slept += time;
    ++m_sleepCount;
    if (m_virtual) {
      *m_setting.localTime += time;
      pause = m_giveWay;
    }
  }
  if (pause.count() > 0) std::this_thread::sleep_for(pause);
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
