#include "handset/Faults.h"

#include <algorithm>

namespace handset {

void Faults::Add(const FaultRule& rule) {
  const Call call = CallOf(rule);
  const std::lock_guard lock(m_mutex);
  m_rules.push_back({call, rule.result.value_or(InfoOf(call).code), rule.skip, rule.times});
  Rearm();
}

void Faults::Add(Call call, std::optional<std::uint32_t> result, std::uint32_t skip, std::uint32_t times) {
  Add({std::string(InfoOf(call).name), result, skip, times});
}

void Faults::Clear() {
  const std::lock_guard lock(m_mutex);
  m_rules.clear();
  m_countdown = 0;
  m_fired.reset();
  Rearm();
}

void Faults::FailNth(std::uint64_t n) {
  const std::lock_guard lock(m_mutex);
  m_countdown = n;
  m_fired.reset();
  Rearm();
}

bool Faults::Fired() const { return FiredCall().has_value(); }

std::optional<Call> Faults::FiredCall() const {
  const std::lock_guard lock(m_mutex);
  return m_fired;
}

void Faults::Rearm() {
  const bool armed = m_countdown > 0 || std::ranges::any_of(m_rules, [](const Rule& rule) { return rule.times > 0; });
  m_armed.store(armed, std::memory_order_relaxed);
}

std::optional<std::uint32_t> Faults::EnterArmed(Call call) noexcept {
  const std::lock_guard lock(m_mutex);
  std::optional<std::uint32_t> result;
  for (Rule& rule : m_rules) {
    if (rule.call != call || rule.times == 0) continue;
    if (rule.skip > 0) {
      --rule.skip;
    } else if (!result) {
      result = rule.result;
      if (rule.times != FaultRule::kAlways) --rule.times;
    }
  }
  if (m_countdown > 0 && InfoOf(call).reports != Reports::Never && --m_countdown == 0) {
    m_fired = call;
    if (!result) result = InfoOf(call).code;
  }
  Rearm();
  return result;
}

}  // namespace handset
