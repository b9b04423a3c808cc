// A connection whose listening socket a test sets; reading and writing are the base's own.
#pragma once

#include "agent/transport/ConnectionManager.h"

namespace test {

class CSocketConnection : public CConnectionManager {
 public:
  CSocketConnection();
  ~CSocketConnection() override;
  bool Start() override;
  bool Stop() override;
  void Listen(ce::SOCKET socket) { SetListeningSocket(socket); }
};

}  // namespace test
