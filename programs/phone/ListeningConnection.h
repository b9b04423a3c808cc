// The connection of a host program that was given a listening socket: the engine accepts from it, session after
// session.
#pragma once

#include "agent/transport/ConnectionManager.h"

namespace brelix_phone {

class CListeningConnection : public CConnectionManager {
 public:
  // Takes over the listening socket.
  explicit CListeningConnection(ce::SOCKET listening);
  ~CListeningConnection() override;
  bool Start() override;
  // Shuts the exchange socket down: a session that waits, also inside a send to a desktop that does not read, ends as
  // if the desktop had closed. The sockets themselves are closed with the connection, so that no read of the engine
  // thread fails in between.
  bool Stop() override;
};

}  // namespace brelix_phone
