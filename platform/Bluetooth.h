// ws2 with the Bluetooth address family, and bthutil: RFCOMM sockets, the registration of service records, and the
// radio's mode.
#pragma once

#include "platform/Winsock.h"

namespace ce {

// winsock2.h and ws2bth.h. Names that another system has as macros are written as constants of ours.
inline constexpr INT AF_BTH = 32;
inline constexpr INT kSockStream = 1;
inline constexpr INT BTHPROTO_RFCOMM = 3;
inline constexpr INT kIpProtoTcp = 6;
inline constexpr INT kTcpNoDelay = 1;

inline constexpr DWORD NS_BTH = 16;
inline constexpr ULONG BTH_SDP_VERSION = 1;

// WSAESETSERVICEOP
inline constexpr INT RNRSERVICE_REGISTER = 0;
inline constexpr INT RNRSERVICE_DEREGISTER = 1;
inline constexpr INT RNRSERVICE_DELETE = 2;

// bthutil.h. Other modes may exist; they are passed through.
inline constexpr DWORD BTH_POWER_OFF = 0;
inline constexpr DWORD BTH_CONNECTABLE = 1;
inline constexpr DWORD BTH_DISCOVERABLE = 2;

// port is the RFCOMM channel, 1 to 30; 0 asks bind for any.
struct SOCKADDR_BTH {
  WORD addressFamily;
  alignas(8) std::uint64_t btAddr;
  GUID serviceClassId;
  ULONG port;
};
CE_LAYOUT(SOCKADDR_BTH, 40, 8);
CE_OFFSET(SOCKADDR_BTH, btAddr, 8);
CE_OFFSET(SOCKADDR_BTH, serviceClassId, 16);
CE_OFFSET(SOCKADDR_BTH, port, 32);

// Mapped: this record and the next two hold pointers, so on Linux they are larger than the phone's 60, 8 and 40 bytes.
// What tells its own size (dwSize, cbSize) tells it as it is where it is compiled.
struct BLOB {
  ULONG cbSize;
  BYTE* pBlobData;
};
CE_POINTER_LAYOUT(BLOB, 8, 4);

struct WSAQUERYSETW {
  DWORD dwSize;
  WCHAR* lpszServiceInstanceName;
  GUID* lpServiceClassId;
  void* lpVersion;
  WCHAR* lpszComment;
  DWORD dwNameSpace;
  GUID* lpNSProviderId;
  WCHAR* lpszContext;
  DWORD dwNumberOfProtocols;
  void* lpafpProtocols;
  WCHAR* lpszQueryString;
  DWORD dwNumberOfCsAddrs;
  void* lpcsaBuffer;
  DWORD dwOutputFlags;
  BLOB* lpBlob;
};
CE_POINTER_LAYOUT(WSAQUERYSETW, 60, 4);

// bt_api.h: what a query set's blob holds to set a service record. The record follows in place, ulRecordLength bytes
// from pRecord on.
struct BTHNS_SETBLOB {
  ULONG* pSdpVersion;
  ULONG* pRecordHandle;  // 0 for a new record; the call answers its handle
  ULONG Reserved[4];
  ULONG fSecurity;
  ULONG fOptions;
  ULONG ulRecordLength;
  BYTE pRecord[1];
};
CE_POINTER_LAYOUT(BTHNS_SETBLOB, 40, 4);

SOCKET socket(INT family, INT type, INT protocol) CE_SYMBOL("socket");
INT bind(SOCKET socket, const sockaddr* address, INT addressSize) CE_SYMBOL("bind");
// addressSize: the room on entry, the size of the address on return.
INT getsockname(SOCKET socket, sockaddr* address, INT* addressSize) CE_SYMBOL("getsockname");
INT listen(SOCKET socket, INT backlog) CE_SYMBOL("listen");
INT setsockopt(SOCKET socket, INT level, INT option, const char* value, INT valueSize) CE_SYMBOL("setsockopt");

// Registers the record of the query set's blob, or withdraws the one whose handle the blob points to.
INT WSASetServiceW(WSAQUERYSETW* query, INT operation, DWORD flags) CE_SYMBOL("WSASetServiceW");

// Both return 0 for success.
INT BthGetMode(DWORD* mode) CE_SYMBOL("BthGetMode");
INT BthSetMode(DWORD mode) CE_SYMBOL("BthSetMode");

}  // namespace ce
