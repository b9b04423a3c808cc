// A socket of the phone: one of the host's, always without blocking there; blocking calls wait here, so that closing
// the socket from another thread ends them.
#pragma once

#include <atomic>
#include <memory>

#include "handset/HandleTable.h"
#include "handset/net/UniqueFd.h"
#include "platform/Winsock.h"

namespace handset {

// All calls throw Failure with a Winsock code.
class HostSocket : public HandleObject {
 public:
  explicit HostSocket(UniqueFd socket);

  void Listen(ce::INT backlog);
  std::shared_ptr<HostSocket> Accept();
  // How many bytes can be read at once.
  ce::ULONG GetPending() const;
  ce::INT Receive(char* buffer, ce::INT size, bool peek);
  // Blocking, it sends everything.
  ce::INT Send(const char* buffer, ce::INT size);
  void Shutdown(ce::INT how);
  void SetBlocking(bool blocking) { m_blocking = blocking; }
  // Ends every call that waits on this socket. The host's socket closes when the last of them has returned.
  void Close();

  int GetDescriptor() const { return m_socket.Get(); }
  // Readable once the socket is closed.
  int GetWakeDescriptor() const { return m_wake.Get(); }
  bool IsClosed() const { return m_closed; }

 private:
  template <typename Operation>
  ssize_t Attempt(short event, Operation operation);
  void WaitFor(short event);
  bool HasHungUp() const;

  UniqueFd m_socket;
  UniqueFd m_wake;
  std::atomic<bool> m_closed{false};
  std::atomic<bool> m_blocking{true};
  std::atomic<bool> m_receivesNoMore{false};
  std::atomic<bool> m_sendsNoMore{false};
};

// The Winsock code of a host error.
ce::DWORD WinsockCode(int hostError);

}  // namespace handset
