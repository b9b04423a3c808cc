#include "programs/phone/ListeningConnection.h"

namespace brelix_phone {

CListeningConnection::CListeningConnection(ce::SOCKET listening) { SetListeningSocket(listening); }

CListeningConnection::~CListeningConnection() = default;

bool CListeningConnection::Start() { return true; }

bool CListeningConnection::Stop() {
  m_stopping.store(true, std::memory_order_relaxed);
  if (GetExchangeSocket() != ce::INVALID_SOCKET) {
    ce::shutdown(GetExchangeSocket(), ce::SD_SEND);
  }
  return true;
}

bool CListeningConnection::Read(std::uint8_t* buffer, std::int32_t& count, std::int32_t size) {
  if (!m_stopping.load(std::memory_order_relaxed)) {
    return CConnectionManager::Read(buffer, count, size);
  }
  count = kConnectionClosed;
  return true;
}

bool CListeningConnection::Write(const std::uint8_t* buffer, std::int32_t& count, std::int32_t size) {
  if (!m_stopping.load(std::memory_order_relaxed)) {
    return CConnectionManager::Write(buffer, count, size);
  }
  count = kConnectionClosed;
  return true;
}

}  // namespace brelix_phone
