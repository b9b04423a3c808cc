#include "programs/phone/ListeningConnection.h"

namespace brelix_phone {

CListeningConnection::CListeningConnection(ce::SOCKET listening) { SetListeningSocket(listening); }

CListeningConnection::~CListeningConnection() = default;

bool CListeningConnection::Start() { return true; }

bool CListeningConnection::Stop() {
  m_stopping = true;
  if (GetExchangeSocket() != ce::INVALID_SOCKET) {
    ce::shutdown(GetExchangeSocket(), ce::SD_SEND);
  }
  return true;
}

bool CListeningConnection::Read(std::uint8_t* buffer, std::int32_t& count, std::int32_t size) {
  if (!m_stopping) {
    return CConnectionManager::Read(buffer, count, size);
  }
  count = kConnectionClosed;
  return true;
}

bool CListeningConnection::Write(const std::uint8_t* buffer, std::int32_t& count, std::int32_t size) {
  if (!m_stopping) {
    return CConnectionManager::Write(buffer, count, size);
  }
  count = kConnectionClosed;
  return true;
}

}  // namespace brelix_phone
