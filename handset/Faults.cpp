#include "handset/Faults.h"

#include <algorithm>

#include "handset/Errors.h"
#include "handset/store/NearMatch.h"

namespace handset {

namespace {

std::vector<std::string_view> CallNames() {
  std::vector<std::string_view> names;
  for (const CallInfo& info : kCalls) names.push_back(info.name);
  return names;
}

}  // namespace

Call Faults::Check(const FaultRule& rule) {
  const std::optional<Call> call = FindCall(rule.call);
  if (!call) {
    throw FaultError("there is no call \"" + rule.call + "\" of the phone" + NearMatches(rule.call, CallNames()));
  }
  const Reports reports = InfoOf(*call).reports;
  if (reports == Reports::Never) throw FaultError(rule.call + " cannot fail");
  if (reports == Reports::Null && rule.result.value_or(0) != 0) {
    throw FaultError(rule.call + " fails without a code: leave the result out");
  }
  return *call;
}

void Faults::Add(const FaultRule& rule) {
  const Call call = Check(rule);
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
