#include "programs/phone/hostile/HostileConnection.h"

#include "platform/Kernel.h"

namespace brelix_phone::hostile {
namespace {

constexpr ce::DWORD kUntilTaken = 2;  // ms between looks whether the desktop takes bytes

}  // namespace

bool CHostileConnection::Send(const std::string& bytes, std::int32_t& count) {
  const auto* next = reinterpret_cast<const std::uint8_t*>(bytes.data());
  for (std::size_t left = bytes.size(); left > 0;) {
    if (!CListeningConnection::Write(next, count, static_cast<std::int32_t>(left))) return false;
    if (count == kConnectionClosed) return true;
    if (count == 0) ce::Sleep(kUntilTaken);
    next += count;
    left -= static_cast<std::size_t>(count);
  }
  count = 0;
  return true;
}

bool CHostileConnection::Write(const std::uint8_t* buffer, std::int32_t& count, std::int32_t size) {
  if (GetExchangeSocket() != m_desktop) m_liar.BeginSession();
  m_desktop = GetExchangeSocket();
  for (const Act& act : m_liar.Answer({buffer, static_cast<std::size_t>(size)})) {
    if (act.pauseMs > 0) ce::Sleep(static_cast<ce::DWORD>(act.pauseMs));
    if (!Send(act.bytes, count)) return false;
    if (act.hangUp) count = kConnectionClosed;
    if (count == kConnectionClosed) {
      m_desktop = ce::INVALID_SOCKET;
      return true;
    }
  }
  count = size;
  return true;
}

}  // namespace brelix_phone::hostile
