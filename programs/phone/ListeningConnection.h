// The connection of a host program that was given a listening socket: the engine accepts from it, session after
// session.
#pragma once

#include "programs/host/StoppableConnection.h"

namespace brelix_phone {

// The sockets are closed with the connection.
class CListeningConnection : public CStoppableConnection<CConnectionManager> {
 public:
  // Takes over the listening socket.
  explicit CListeningConnection(ce::SOCKET listening);
  ~CListeningConnection() override;
  bool Start() override;
};

}  // namespace brelix_phone
