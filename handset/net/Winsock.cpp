#include "platform/Winsock.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <poll.h>
#include <vector>

#include "handset/Enter.h"
#include "handset/net/HostSocket.h"

using handset::Call;
using handset::Enter;
using handset::Failure;
using handset::Held;
using handset::HostSocket;
using handset::Phone;
using handset::ThisPhone;

namespace {

constexpr ce::WORD kHighestVersion = 0x0202;
constexpr ce::INT kPeek = 2;

// A version word has the major number in its low byte.
constexpr int Comparable(ce::WORD version) { return (version & 0xFF) << 8 | version >> 8; }

void NeedStart(const Phone& phone) {
  if (phone.winsockStarts == 0) throw Failure{ce::WSANOTINITIALISED};
}

std::shared_ptr<HostSocket> FindSocket(const Phone& phone, ce::SOCKET socket) {
  NeedStart(phone);
  auto found = phone.handles.Find<HostSocket>(socket);
  if (!found) throw Failure{ce::WSAENOTSOCK};
  return found;
}

// One of the three sets of a select, and the host's names for what it waits for.
class WaitedSet {
 public:
  WaitedSet(const Phone& phone, ce::fd_set* set, short events, short answers) : m_set(set), m_answers(answers) {
    if (set == nullptr) return;
    if (set->fd_count > static_cast<ce::DWORD>(ce::kFdSetSize)) throw Failure{ce::WSAEINVAL};
    for (ce::DWORD i = 0; i < set->fd_count; ++i) {
      m_sockets.push_back(FindSocket(phone, set->fd_array[i]));
      m_polled.push_back({m_sockets.back()->GetDescriptor(), events, 0});
      m_polled.push_back({m_sockets.back()->GetWakeDescriptor(), POLLIN, 0});
    }
  }

  const std::vector<pollfd>& GetPolled() const { return m_polled; }

  // Leaves the sockets that are ready, as the host answered from this place on.
  ce::INT Rewrite(const pollfd*& answer) {
    ce::DWORD ready = 0;
    for (std::size_t i = 0; i < m_sockets.size(); ++i, answer += 2) {
      if (m_sockets[i]->IsClosed()) throw Failure{ce::WSAENOTSOCK};
      if ((answer->revents & m_answers) != 0) m_set->fd_array[ready++] = m_set->fd_array[i];
    }
    if (m_set != nullptr) m_set->fd_count = ready;
    return static_cast<ce::INT>(ready);
  }

 private:
  ce::fd_set* m_set;
  short m_answers;
  std::vector<std::shared_ptr<HostSocket>> m_sockets;
  std::vector<pollfd> m_polled;
};

timespec HostTime(const ce::timeval& time) { return {time.tv_sec, time.tv_usec * 1000L}; }

ce::INT Select(std::array<WaitedSet, 3> sets, const ce::timeval* timeout) {
  std::vector<pollfd> polled;
  for (const WaitedSet& set : sets) polled.insert(polled.end(), set.GetPolled().begin(), set.GetPolled().end());
  if (polled.empty()) throw Failure{ce::WSAEINVAL};
  const timespec limit = timeout != nullptr ? HostTime(*timeout) : timespec{};
  while (ppoll(polled.data(), polled.size(), timeout != nullptr ? &limit : nullptr, nullptr) < 0) {
    if (errno != EINTR) throw Failure{handset::WinsockCode(errno)};
  }
  const pollfd* answer = polled.data();
  ce::INT ready = 0;
  for (WaitedSet& set : sets) ready += set.Rewrite(answer);
  return ready;
}

void CopyText(std::span<char> to, std::string_view text) {
  const std::size_t size = std::min(text.size(), to.size() - 1);
  std::copy_n(text.begin(), size, to.begin());
  to[size] = 0;
}

}  // namespace

namespace ce {

INT WSAStartup(WORD version, WSADATA* data) {
  Phone& phone = ThisPhone();
  const INT result = Enter<Call::WSAStartup>(phone, [&]() -> INT {
    if (data == nullptr) return 10014;  // a bad address
    if (Comparable(version) < Comparable(0x0001)) return WSAVERNOTSUPPORTED;
    *data = {};
    data->wVersion = Comparable(version) < Comparable(kHighestVersion) ? version : kHighestVersion;
    data->wHighVersion = kHighestVersion;
    CopyText(data->szDescription, "Winsock 2");
    CopyText(data->szSystemStatus, "Running");
    phone.ledger->Hold(Held::kWinsockStart, 0);
    ++phone.winsockStarts;
    return 0;
  });
  // The code is told both ways: WSAGetLastError is the thread's last error, with or without a started Winsock.
  if (result != 0) handset::SetLastError(static_cast<DWORD>(result));
  return result;
}

INT WSACleanup() {
  Phone& phone = ThisPhone();
  const auto cleanUp = [&]() -> INT {
    NeedStart(phone);
    --phone.winsockStarts;
    phone.ledger->Drop(Held::kWinsockStart, 0);
    return 0;
  };
  return Enter<Call::WSACleanup>(phone, cleanUp, [&] { phone.ledger->Refuse(Held::kWinsockStart, 0); });
}

INT select(INT, fd_set* readable, fd_set* writable, fd_set* except, const timeval* timeout) {
  Phone& phone = ThisPhone();
  return Enter<Call::select>(phone, [&] {
    NeedStart(phone);
    // Ready is what would not wait: on a socket that has hung up, a send fails at once.
    return Select(
        {WaitedSet(phone, readable, POLLIN, POLLIN | POLLHUP | POLLERR),
         WaitedSet(phone, writable, POLLOUT, POLLOUT | POLLHUP | POLLERR), WaitedSet(phone, except, POLLPRI, POLLPRI)},
        timeout);
  });
}

SOCKET accept(SOCKET listening, sockaddr* peer, INT* peerSize) {
  Phone& phone = ThisPhone();
  return Enter<Call::accept>(phone, [&]() -> SOCKET {
    // Nobody asks this phone for the peer's address, which would need the phone's own address records.
    if (peer != nullptr || peerSize != nullptr) throw Failure{WSAEOPNOTSUPP};
    const auto socket = FindSocket(phone, listening);
    return phone.handles.Add(socket->Accept(), "accepted");
  });
}

INT ioctlsocket(SOCKET socket, LONG command, ULONG* argument) {
  Phone& phone = ThisPhone();
  return Enter<Call::ioctlsocket>(phone, [&]() -> INT {
    const auto found = FindSocket(phone, socket);
    if (argument == nullptr) throw Failure{WSAEINVAL};
    switch (command) {
      case kFionRead:
        *argument = found->GetPending();
        return 0;
      case kFionBio:
        found->SetBlocking(*argument == 0);
        return 0;
      default:
        throw Failure{WSAEOPNOTSUPP};
    }
  });
}

INT recv(SOCKET socket, char* buffer, INT size, INT flags) {
  Phone& phone = ThisPhone();
  return Enter<Call::recv>(phone, [&] {
    const auto found = FindSocket(phone, socket);
    if (size < 0) throw Failure{WSAEINVAL};
    if ((flags & ~kPeek) != 0) throw Failure{WSAEOPNOTSUPP};
    return found->Receive(buffer, size, (flags & kPeek) != 0);
  });
}

INT send(SOCKET socket, const char* buffer, INT size, INT flags) {
  Phone& phone = ThisPhone();
  return Enter<Call::send>(phone, [&] {
    const auto found = FindSocket(phone, socket);
    if (size < 0) throw Failure{WSAEINVAL};
    if (flags != 0) throw Failure{WSAEOPNOTSUPP};
    return found->Send(buffer, size);
  });
}

INT shutdown(SOCKET socket, INT how) {
  Phone& phone = ThisPhone();
  return Enter<Call::shutdown>(phone, [&]() -> INT {
    const auto found = FindSocket(phone, socket);
    if (how < SD_RECEIVE || how > SD_BOTH) throw Failure{WSAEINVAL};
    found->Shutdown(how);
    return 0;
  });
}

INT closesocket(SOCKET socket) {
  Phone& phone = ThisPhone();
  const auto close = [&]() -> INT {
    NeedStart(phone);
    const auto taken = phone.handles.Take<HostSocket>(socket);
    if (!taken) throw Failure{WSAENOTSOCK};
    taken->Close();
    return 0;
  };
  return Enter<Call::closesocket>(phone, close, [&] { phone.handles.Refuse(socket); });
}

}  // namespace ce
