// ws2: the sockets of Winsock 2 as Windows CE has them. A set is a counted array, a socket a 32-bit handle, and errors
// are told by WSAGetLastError.
#pragma once

#include "platform/Types.h"

namespace ce {

using SOCKET = std::uint32_t;
inline constexpr SOCKET INVALID_SOCKET = 0xFFFFFFFF;
inline constexpr INT SOCKET_ERROR = -1;
// winsock2.h FD_SETSIZE, FIONREAD and FIONBIO, under names that no macro of another system takes.
inline constexpr INT kFdSetSize = 64;

inline constexpr LONG kFionRead = 0x4004667F;
inline constexpr LONG kFionBio = static_cast<LONG>(0x8004667E);

inline constexpr INT SD_RECEIVE = 0;
inline constexpr INT SD_SEND = 1;
inline constexpr INT SD_BOTH = 2;

inline constexpr INT WSAEINTR = 10004;
inline constexpr INT WSAEFAULT = 10014;
inline constexpr INT WSAEINVAL = 10022;
inline constexpr INT WSAEWOULDBLOCK = 10035;
inline constexpr INT WSAENOTSOCK = 10038;
inline constexpr INT WSAENOPROTOOPT = 10042;
inline constexpr INT WSAEPROTONOSUPPORT = 10043;
inline constexpr INT WSAEOPNOTSUPP = 10045;
inline constexpr INT WSAEAFNOSUPPORT = 10047;
inline constexpr INT WSAEADDRINUSE = 10048;
inline constexpr INT WSAEADDRNOTAVAIL = 10049;
inline constexpr INT WSAENETDOWN = 10050;
inline constexpr INT WSAECONNABORTED = 10053;
inline constexpr INT WSAECONNRESET = 10054;
inline constexpr INT WSAENOBUFS = 10055;
inline constexpr INT WSAENOTCONN = 10057;
inline constexpr INT WSAESHUTDOWN = 10058;
inline constexpr INT WSAENAMETOOLONG = 10063;
inline constexpr INT WSAVERNOTSUPPORTED = 10092;
inline constexpr INT WSANOTINITIALISED = 10093;
inline constexpr INT WSASERVICE_NOT_FOUND = 10108;

struct fd_set {
  DWORD fd_count;
  SOCKET fd_array[kFdSetSize];
};
CE_LAYOUT(fd_set, 260, 4);

struct timeval {
  LONG tv_sec;
  LONG tv_usec;
};
CE_LAYOUT(timeval, 8, 4);

struct WSADATA {
  WORD wVersion;
  WORD wHighVersion;
  char szDescription[257];
  char szSystemStatus[129];
  WORD iMaxSockets;
  WORD iMaxUdpDg;
  char* lpVendorInfo;
};
CE_POINTER_LAYOUT(WSADATA, 400, 4);

struct sockaddr;

INT WSAStartup(WORD version, WSADATA* data) CE_SYMBOL("WSAStartup");
INT WSACleanup() CE_SYMBOL("WSACleanup");
INT WSAGetLastError() CE_SYMBOL("WSAGetLastError");
// The number of ready sockets, which are those left in the sets. count is ignored; a null timeout waits.
INT select(INT count, fd_set* readable, fd_set* writable, fd_set* except, const timeval* timeout) CE_SYMBOL("select");
// A listening socket that is closed meanwhile makes it fail with WSAEINTR.
SOCKET accept(SOCKET listening, sockaddr* peer, INT* peerSize) CE_SYMBOL("accept");
INT ioctlsocket(SOCKET socket, LONG command, ULONG* argument) CE_SYMBOL("ioctlsocket");
INT recv(SOCKET socket, char* buffer, INT size, INT flags) CE_SYMBOL("recv");
INT send(SOCKET socket, const char* buffer, INT size, INT flags) CE_SYMBOL("send");
INT shutdown(SOCKET socket, INT how) CE_SYMBOL("shutdown");
INT closesocket(SOCKET socket) CE_SYMBOL("closesocket");

}  // namespace ce
