// Programs of the phone other than the agent, which hold on to objects that the agent wants to be rid of. They let go
// with the phone.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <utility>

namespace handset {

// May be used from any thread.
class OutsideHolders {
 public:
  OutsideHolders() = default;
  OutsideHolders(const OutsideHolders&) = delete;
  OutsideHolders& operator=(const OutsideHolders&) = delete;
  ~OutsideHolders() {
    for (const auto& [id, destroy] : m_kept) destroy();
  }

  // The object stays alive; destroy ends it, unless it is forgotten before.
  void Keep(std::uint64_t id, std::function<void()> destroy) {
    const std::lock_guard lock(m_mutex);
    m_kept.insert_or_assign(id, std::move(destroy));
  }
  void Forget(std::uint64_t id) {
    const std::lock_guard lock(m_mutex);
    m_kept.erase(id);
  }

 private:
  std::mutex m_mutex;
  std::map<std::uint64_t, std::function<void()>> m_kept;
};

}  // namespace handset
