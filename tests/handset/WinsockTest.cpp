#include <atomic>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <system_error>
#include <thread>
#include <unistd.h>

#include "handset/net/UniqueFd.h"
#include "platform/Winsock.h"
#include "tests/support/TestPhone.h"

namespace {

using handset::UniqueFd;

class Winsock : public testing::Test {
 protected:
  void SetUp() override {
    ce::WSADATA data;
    ASSERT_EQ(ce::WSAStartup(0x0202, &data), 0);
    EXPECT_EQ(data.wVersion, 0x0202);
  }
  void TearDown() override {
    m_peer = UniqueFd();
    EXPECT_EQ(ce::WSACleanup(), 0);
  }

  // A connected socket of the phone; m_peer is the other end.
  ce::SOCKET Connect() {
    int ends[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    m_peer = UniqueFd(ends[1]);
    return m_phone->AdoptSocket(ends[0]);
  }

  // A listening socket of the phone on a free port.
  ce::SOCKET Listen() {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    m_address.sin_family = AF_INET;
    m_address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(m_address);
    EXPECT_EQ(::bind(fd, reinterpret_cast<::sockaddr*>(&m_address), size), 0);
    EXPECT_EQ(::listen(fd, 4), 0);
    EXPECT_EQ(::getsockname(fd, reinterpret_cast<::sockaddr*>(&m_address), &size), 0);
    return m_phone->AdoptSocket(fd);
  }

  void ConnectPeer() {
    m_peer = UniqueFd(::socket(AF_INET, SOCK_STREAM, 0));
    ASSERT_EQ(::connect(m_peer.Get(), reinterpret_cast<::sockaddr*>(&m_address), sizeof(m_address)), 0);
  }

  void PeerSends(const std::string& text) {
    ASSERT_EQ(::send(m_peer.Get(), text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
  }

  static ce::INT Poll(ce::SOCKET socket, ce::fd_set* set) {
    *set = {1, {socket}};
    const ce::timeval now{0, 0};
    return ce::select(0, set, nullptr, nullptr, &now);
  }

  test::BarePhone m_phone;
  UniqueFd m_peer;
  ::sockaddr_in m_address{};
};

TEST_F(Winsock, select_fionread_recv_and_send_see_what_the_peer_does) {
  const ce::SOCKET socket = Connect();
  ce::fd_set set;
  EXPECT_EQ(Poll(socket, &set), 0);
  EXPECT_EQ(set.fd_count, 0U) << "what is not ready leaves the set";
  PeerSends("hello");
  EXPECT_EQ(Poll(socket, &set), 1);
  EXPECT_EQ(set.fd_array[0], socket);
  ce::ULONG pending = 0;
  EXPECT_EQ(ce::ioctlsocket(socket, ce::kFionRead, &pending), 0);
  EXPECT_EQ(pending, 5U);
  char buffer[16];
  EXPECT_EQ(ce::recv(socket, buffer, 2, 0), 2);
  EXPECT_EQ(ce::recv(socket, buffer, sizeof(buffer), 0), 3);
  EXPECT_EQ(ce::send(socket, "ab", 2, 0), 2);
  EXPECT_EQ(::recv(m_peer.Get(), buffer, sizeof(buffer), 0), 2);
  m_peer = UniqueFd();
  EXPECT_EQ(Poll(socket, &set), 1) << "a closed connection is readable";
  EXPECT_EQ(ce::ioctlsocket(socket, ce::kFionRead, &pending), 0);
  EXPECT_EQ(pending, 0U);
  EXPECT_EQ(ce::recv(socket, buffer, sizeof(buffer), 0), 0);
  EXPECT_EQ(ce::send(socket, "ab", 2, 0), ce::SOCKET_ERROR);
  EXPECT_EQ(ce::WSAGetLastError(), ce::WSAECONNRESET);
  EXPECT_EQ(ce::closesocket(socket), 0);
}

TEST_F(Winsock, a_reset_and_an_own_shutdown_are_told_apart) {
  const ce::SOCKET listening = Listen();
  ConnectPeer();
  const ce::SOCKET socket = ce::accept(listening, nullptr, nullptr);
  ASSERT_NE(socket, ce::INVALID_SOCKET);
  const linger abort{1, 0};
  ASSERT_EQ(::setsockopt(m_peer.Get(), SOL_SOCKET, SO_LINGER, &abort, sizeof(abort)), 0);
  m_peer = UniqueFd();
  char byte = 0;
  EXPECT_EQ(ce::recv(socket, &byte, 1, 0), ce::SOCKET_ERROR);
  EXPECT_EQ(ce::WSAGetLastError(), ce::WSAECONNRESET);
  EXPECT_EQ(ce::closesocket(socket), 0);
  const ce::SOCKET other = Connect();
  EXPECT_EQ(ce::shutdown(other, ce::SD_SEND), 0);
  EXPECT_EQ(::recv(m_peer.Get(), &byte, 1, 0), 0) << "the peer sees the end";
  EXPECT_EQ(ce::send(other, "x", 1, 0), ce::SOCKET_ERROR);
  EXPECT_EQ(ce::WSAGetLastError(), ce::WSAESHUTDOWN);
  PeerSends("y");
  EXPECT_EQ(ce::recv(other, &byte, 1, 0), 1) << "the other direction is still open";
  EXPECT_EQ(ce::closesocket(other), 0);
  EXPECT_EQ(ce::closesocket(listening), 0);
}

TEST_F(Winsock, closing_the_socket_ends_a_blocked_accept_and_a_blocked_recv) {
  for (const bool listening : {true, false}) {
    const ce::SOCKET socket = listening ? Listen() : Connect();
    std::atomic<bool> begun{false};
    ce::INT error = 0;
    std::thread blocked([&] {
      const handset::CurrentPhone current(*m_phone);
      begun = true;
      char byte = 0;
      const bool failed = listening ? ce::accept(socket, nullptr, nullptr) == ce::INVALID_SOCKET
                                    : ce::recv(socket, &byte, 1, 0) == ce::SOCKET_ERROR;
      error = failed ? ce::WSAGetLastError() : 0;
    });
    while (!begun) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(ce::closesocket(socket), 0);
    blocked.join();
    EXPECT_EQ(error, ce::WSAEINTR);
  }
}

TEST_F(Winsock, blocking_and_nonblocking_calls_differ_when_nothing_can_move) {
  const ce::SOCKET socket = Connect();
  ce::ULONG on = 1;
  EXPECT_EQ(ce::ioctlsocket(socket, ce::kFionBio, &on), 0);
  char buffer[4096] = {};
  EXPECT_EQ(ce::recv(socket, buffer, 1, 0), ce::SOCKET_ERROR);
  EXPECT_EQ(ce::WSAGetLastError(), ce::WSAEWOULDBLOCK);
  const std::string much(4 << 20, 'x');
  const ce::INT part = ce::send(socket, much.data(), static_cast<ce::INT>(much.size()), 0);
  EXPECT_GT(part, 0);
  EXPECT_LT(part, static_cast<ce::INT>(much.size())) << "what fits is sent";
  ce::ULONG off = 0;
  EXPECT_EQ(ce::ioctlsocket(socket, ce::kFionBio, &off), 0);
  std::size_t received = 0;
  std::thread reader([&] {
    char sink[65536];
    const std::size_t expected = static_cast<std::size_t>(part) + much.size();
    while (received < expected) received += static_cast<std::size_t>(::recv(m_peer.Get(), sink, sizeof(sink), 0));
  });
  EXPECT_EQ(ce::send(socket, much.data(), static_cast<ce::INT>(much.size()), 0), static_cast<ce::INT>(much.size()));
  reader.join();
  EXPECT_EQ(ce::closesocket(socket), 0);
}

TEST_F(Winsock, refuses_bad_handles_and_calls_without_a_start) {
  EXPECT_THROW(m_phone->AdoptSocket(-1), std::system_error);
  const ce::SOCKET socket = Connect();
  const ce::SOCKET listening = Listen();
  ce::fd_set set;
  EXPECT_EQ(Poll(12345, &set), ce::SOCKET_ERROR);
  EXPECT_EQ(ce::WSAGetLastError(), ce::WSAENOTSOCK);
  EXPECT_EQ(ce::select(0, nullptr, nullptr, nullptr, nullptr), ce::SOCKET_ERROR);
  EXPECT_EQ(ce::WSAGetLastError(), ce::WSAEINVAL);
  ConnectPeer();
  const ce::SOCKET accepted = ce::accept(listening, nullptr, nullptr);
  ASSERT_NE(accepted, ce::INVALID_SOCKET);
  EXPECT_EQ(ce::accept(socket, nullptr, nullptr), ce::INVALID_SOCKET) << "not listening";
  ce::WSADATA data;
  EXPECT_EQ(ce::WSAStartup(0x0000, &data), ce::WSAVERNOTSUPPORTED);
  for (const ce::SOCKET open : {socket, listening, accepted}) EXPECT_EQ(ce::closesocket(open), 0);
  EXPECT_EQ(ce::closesocket(socket), ce::SOCKET_ERROR);
  EXPECT_EQ(ce::WSAGetLastError(), ce::WSAENOTSOCK);
  EXPECT_EQ(ce::WSACleanup(), 0);
  char byte = 0;
  EXPECT_EQ(ce::recv(socket, &byte, 1, 0), ce::SOCKET_ERROR);
  EXPECT_EQ(ce::WSAGetLastError(), ce::WSANOTINITIALISED);
  EXPECT_EQ(ce::WSACleanup(), ce::SOCKET_ERROR);
  EXPECT_EQ(ce::WSAGetLastError(), ce::WSANOTINITIALISED);
  EXPECT_EQ(ce::WSAStartup(0x0202, &data), 0);
}

}  // namespace
