// The connection of a host program that was given a listening socket: the engine accepts from it, session after
// session.
#pragma once

#include <atomic>

#include "agent/transport/ConnectionManager.h"

namespace brelix_phone {

class CListeningConnection : public CConnectionManager {
 public:
  // Takes over the listening socket.
  explicit CListeningConnection(ce::SOCKET listening);
  ~CListeningConnection() override;
  bool Start() override;
  // From now on the desktop counts as gone; a send that is stuck on one that does not read fails. The sockets are
  // closed with the connection, not here: a read that failed would spend the engine's stop request.
  bool Stop() override;
  bool Read(std::uint8_t* buffer, std::int32_t& count, std::int32_t size) override;
  bool Write(const std::uint8_t* buffer, std::int32_t& count, std::int32_t size) override;

 private:
  // Read and written whole; relaxed, since it carries nothing but itself.
  std::atomic<bool> m_stopping{false};
};

}  // namespace brelix_phone
