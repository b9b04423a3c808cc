// Failures on request. Every ce:: call asks here before it does anything.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

#include "handset/store/FaultRule.h"

namespace handset {

// May be used from any thread at any time. Costs one load when nothing is armed.
class Faults {
 public:
  // Throws FaultError when the rule names no call that can fail. The first rule that applies decides; a call that one
  // rule lets through still counts for the next.
  void Add(const FaultRule& rule);
  void Add(Call call, std::optional<std::uint32_t> result = {}, std::uint32_t skip = 0, std::uint32_t times = 1);
  // Forgets all rules and disarms FailNth.
  void Clear();

  // The n-th call from now on (1 is the next one) that can fail does so, once, with its usual code.
  void FailNth(std::uint64_t n);
  // Whether the call that FailNth waits for came, and which it was.
  bool Fired() const;
  std::optional<Call> FiredCall() const;

  // What a call must report instead of doing its work, if anything.
  std::optional<std::uint32_t> Enter(Call call) noexcept {
    if (!m_armed.load(std::memory_order_relaxed)) return std::nullopt;
    return EnterArmed(call);
  }

 private:
  struct Rule {
    Call call;
    std::uint32_t result;
    std::uint32_t skip;
    std::uint32_t times;
  };

  std::optional<std::uint32_t> EnterArmed(Call call) noexcept;
  void Rearm();

  std::atomic<bool> m_armed{false};
  mutable std::mutex m_mutex;
  std::vector<Rule> m_rules;
  std::uint64_t m_countdown = 0;
  std::optional<Call> m_fired;
};

}  // namespace handset
