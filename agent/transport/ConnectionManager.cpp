#include "agent/transport/ConnectionManager.h"

#include <algorithm>

#include "agent/engine/BoxText.h"
#include "agent/engine/ErrorRecord.h"
#include "platform/User.h"

namespace {

constexpr ce::WORD kWinsock22 = 0x0202;

bool FailSocket(const char16_t* functionName) {
  return Fail(functionName, static_cast<std::uint32_t>(ce::WSAGetLastError()));
}

enum class Direction { kReadable, kWritable };

// A poll: select's own answer, with no waiting.
int Poll(ce::SOCKET socket, Direction direction) {
  ce::fd_set set{};
  set.fd_count = 1;
  set.fd_array[0] = socket;
  const ce::timeval noWait{};
  return direction == Direction::kReadable ? ce::select(0, &set, nullptr, nullptr, &noWait)
                                           : ce::select(0, nullptr, &set, nullptr, &noWait);
}

}  // namespace

CConnectionManager::CConnectionManager() = default;
CConnectionManager::CConnectionManager(const CConnectionManager&) = default;
CConnectionManager& CConnectionManager::operator=(const CConnectionManager&) = default;

CConnectionManager::~CConnectionManager() {
  CloseSockets();
  if (m_started && ce::WSACleanup() != 0) {
    CBoxText<64> text;
    text.Add(u"WSACleanup(): ").Dec(ce::WSAGetLastError());
    ce::MessageBoxW(ce::kNoWindow, text.Text(), u"CConnectionManager::~CConnectionManager",
                    ce::MB_OK | ce::MB_ICONERROR);
  }
}

// Kept(leftover-record-fails-construct): success is "no error record is stored", so a record that someone left earlier
// and nobody showed fails this step too.
bool CConnectionManager::Construct() {
  ce::WSADATA data{};
  if (ce::WSAStartup(kWinsock22, &data) != 0) {
    FailSocket(u"WSAStartup");
  }
  m_started = LastApiError() == nullptr;
  return m_started;
}

int CConnectionManager::CheckListeningSocket() {
  const int ready = Poll(m_listening.Get(), Direction::kReadable);
  if (ready == ce::SOCKET_ERROR) {
    FailSocket(u"select");
  }
  return ready;
}

int CConnectionManager::AcceptConnection() {
  m_exchange.Set(ce::accept(m_listening.Get(), nullptr, nullptr));
  if (m_exchange.Get() != ce::INVALID_SOCKET) {
    return 0;
  }
  const int code = ce::WSAGetLastError();
  if (code != ce::WSAEINTR) {
    Fail(u"accept", static_cast<std::uint32_t>(code));
  }
  return code;
}

// Success is told as in Construct: by the slot being empty.
bool CConnectionManager::SetNonBlockingMode() {
  ce::ULONG nonBlocking = 1;
  if (ce::ioctlsocket(m_exchange.Get(), ce::kFionBio, &nonBlocking) != 0) {
    FailSocket(u"ioctlsocket");
  }
  return LastApiError() == nullptr;
}

bool CConnectionManager::Read(std::uint8_t* buffer, std::int32_t& count, std::int32_t size) {
  count = 0;
  const ce::SOCKET socket = m_exchange.Get();
  const int ready = Poll(socket, Direction::kReadable);
  if (ready == ce::SOCKET_ERROR) {
    return FailSocket(u"select");
  }
  if (ready == 0) {
    return true;
  }
  ce::ULONG pending = 0;
  if (ce::ioctlsocket(socket, ce::kFionRead, &pending) != 0) {
    return FailSocket(u"ioctlsocket");
  }
  if (pending == 0) {  // readable with nothing to read: the desktop closed
    count = kConnectionClosed;
    return true;
  }
  const auto wanted = std::min(pending, static_cast<ce::ULONG>(size));
  const int received = ce::recv(socket, reinterpret_cast<char*>(buffer), static_cast<ce::INT>(wanted), 0);
  if (received == ce::SOCKET_ERROR) {
    return FailSocket(u"recv");
  }
  count = received;
  return true;
}

bool CConnectionManager::Write(const std::uint8_t* buffer, std::int32_t& count, std::int32_t size) {
  count = 0;
  const ce::SOCKET socket = m_exchange.Get();
  const int ready = Poll(socket, Direction::kWritable);
  if (ready == ce::SOCKET_ERROR) {
    return FailSocket(u"select");
  }
  if (ready == 0) {
    return true;
  }
  const int sent = ce::send(socket, reinterpret_cast<const char*>(buffer), size, 0);
  if (sent != ce::SOCKET_ERROR) {
    count = sent;
    return true;
  }
  const int code = ce::WSAGetLastError();
  if (code == ce::WSAECONNRESET) {
    count = kConnectionClosed;
    return true;
  }
  return Fail(u"send", static_cast<std::uint32_t>(code));
}

int CConnectionManager::CSharedSocket::Close() {
  const ce::SOCKET socket = Get();
  if (socket == ce::INVALID_SOCKET) {
    return 0;
  }
  const int result = ce::closesocket(socket);
  if (result == 0) {
    Set(ce::INVALID_SOCKET);
  }
  return result;
}

int CConnectionManager::CloseExchangeSocket() { return m_exchange.Close(); }

int CConnectionManager::CloseSockets() {
  const int exchange = CloseExchangeSocket();
  const int listening = m_listening.Close();
  return exchange == 0 && listening == 0 ? 0 : -1;
}
