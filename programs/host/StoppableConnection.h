// What a host program adds to a connection so that the engine can be stopped at any moment: once Stop was called, the
// desktop counts as gone. A read that failed because a socket was closed under it would spend the engine's stop
// request, and the engine would go on without its sockets.
#pragma once

#include <atomic>
#include <cstdint>

#include "agent/transport/ConnectionManager.h"

template <class Base>
class CStoppableConnection : public Base {
 public:
  using Base::Base;

  // No socket is closed.
  bool Stop() override {
    CountDesktopAsGone();
    EndStuckSend();
    return true;
  }
  bool Read(std::uint8_t* buffer, std::int32_t& count, std::int32_t size) override {
    return IsStopping(count) || Base::Read(buffer, count, size);
  }
  bool Write(const std::uint8_t* buffer, std::int32_t& count, std::int32_t size) override {
    return IsStopping(count) || Base::Write(buffer, count, size);
  }

 protected:
  void CountDesktopAsGone() { m_stopping.store(true, std::memory_order_relaxed); }
  // A send that waits for a desktop that does not read fails, as if the desktop had left.
  void EndStuckSend() {
    if (this->GetExchangeSocket() != ce::INVALID_SOCKET) {
      ce::shutdown(this->GetExchangeSocket(), ce::SD_SEND);
    }
  }

 private:
  bool IsStopping(std::int32_t& count) const {
    if (!m_stopping.load(std::memory_order_relaxed)) {
      return false;
    }
    count = CConnectionManager::kConnectionClosed;
    return true;
  }

  // Read and written whole; relaxed, since it carries nothing but itself.
  std::atomic<bool> m_stopping{false};
};
