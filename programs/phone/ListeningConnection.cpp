#include "programs/phone/ListeningConnection.h"

namespace brelix_phone {

CListeningConnection::CListeningConnection(ce::SOCKET listening) { SetListeningSocket(listening); }

CListeningConnection::~CListeningConnection() = default;

bool CListeningConnection::Start() { return true; }

bool CListeningConnection::Stop() {
  if (GetExchangeSocket() != ce::INVALID_SOCKET) {
    ce::shutdown(GetExchangeSocket(), ce::SD_BOTH);
  }
  return true;
}

}  // namespace brelix_phone
