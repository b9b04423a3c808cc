// The byte stream to the desktop, as the engine sees it, and the socket work that its socket-based kinds share.
//
// Read and Write never wait for the peer: "nothing now" is true with count 0, "the peer is gone" is true with count
// kConnectionClosed. False means failure; its record is in the last-error slot. Start and Stop belong to the derived
// class, which also creates the listening socket.
//
// Engine thread only, except Stop, which the owner calls, and which may close the sockets under the engine thread.
#pragma once

#include <cstdint>

#include "platform/Winsock.h"

class CConnectionManager {
 public:
  static constexpr std::int32_t kConnectionClosed = 0x7FFFFFFF;

  CConnectionManager();
  CConnectionManager(const CConnectionManager&);
  CConnectionManager& operator=(const CConnectionManager&);
  virtual ~CConnectionManager();

  virtual bool Start() = 0;
  virtual bool Stop() = 0;
  // Takes at most size bytes into buffer. A short read is normal.
  virtual bool Read(std::uint8_t* buffer, std::int32_t& count, std::int32_t size);
  // Sends at most size bytes; a partial send is reported, not completed.
  virtual bool Write(const std::uint8_t* buffer, std::int32_t& count, std::int32_t size);

  // Starts Winsock 2.2.
  bool Construct();

  // -1 error, 0 no desktop is waiting, otherwise one is.
  int CheckListeningSocket();
  // 0 accepted; WSAEINTR (10004) when the listening socket was closed meanwhile, with no record; else the error code.
  int AcceptConnection();
  // Puts the exchange socket into non-blocking mode, for hosts that want it.
  bool SetNonBlockingMode();
  // 0 when it was closed or there was nothing to close.
  int CloseExchangeSocket();
  // 0 when both sockets are closed, else -1.
  int CloseSockets();

 protected:
  ce::SOCKET GetListeningSocket() const { return m_listening.Get(); }
  ce::SOCKET GetExchangeSocket() const { return m_exchange.Get(); }
  void SetListeningSocket(ce::SOCKET socket) { m_listening.Set(socket); }

 private:
  // Stop closes sockets from another thread: the handle is one word, read and written whole.
  class CSharedSocket {
   public:
    CSharedSocket() = default;
    CSharedSocket(const CSharedSocket& other) : m_socket(other.Get()) {}
    CSharedSocket& operator=(const CSharedSocket& other) {
      Set(other.Get());
      return *this;
    }
    ce::SOCKET Get() const { return __atomic_load_n(&m_socket, __ATOMIC_RELAXED); }
    void Set(ce::SOCKET socket) { __atomic_store_n(&m_socket, socket, __ATOMIC_RELAXED); }
    int Close();

   private:
    ce::SOCKET m_socket = ce::INVALID_SOCKET;
  };

  bool m_started = false;  // Winsock is ours to clean up
  CSharedSocket m_listening;
  CSharedSocket m_exchange;
};
