#include "platform/Bluetooth.h"

#include <cstring>

#include "handset/Enter.h"
#include "handset/net/RadioSocket.h"

using handset::Call;
using handset::Enter;
using handset::Failure;
using handset::Held;
using handset::Phone;
using handset::RadioSocket;
using handset::ThisPhone;

namespace {

constexpr ce::INT kMostValue = 256;

[[noreturn]] void Throw(ce::INT code) { throw Failure{static_cast<ce::DWORD>(code)}; }

std::shared_ptr<RadioSocket> FindRadioSocket(const Phone& phone, ce::SOCKET socket) {
  if (phone.winsockStarts == 0) Throw(ce::WSANOTINITIALISED);
  auto found = phone.handles.Find<RadioSocket>(socket);
  if (!found) Throw(phone.handles.Find<handset::HostSocket>(socket) ? ce::WSAEOPNOTSUPP : ce::WSAENOTSOCK);
  return found;
}

ce::SOCKADDR_BTH ReadAddress(const ce::sockaddr* address, ce::INT size) {
  ce::SOCKADDR_BTH read{};
  if (address == nullptr || size < static_cast<ce::INT>(sizeof read)) Throw(ce::WSAEFAULT);
  std::memcpy(&read, address, sizeof read);
  if (read.addressFamily != ce::AF_BTH) Throw(ce::WSAEAFNOSUPPORT);
  return read;
}

// The set-record block of a query set that says its sizes truly.
const ce::BTHNS_SETBLOB& BlockOf(const ce::WSAQUERYSETW* query, ce::DWORD flags) {
  if (query == nullptr || query->dwSize != sizeof *query || query->lpBlob == nullptr) Throw(ce::WSAEFAULT);
  if (query->dwNameSpace != ce::NS_BTH || flags != 0) Throw(ce::WSAEINVAL);
  const ce::BLOB& blob = *query->lpBlob;
  if (blob.pBlobData == nullptr || blob.cbSize < sizeof(ce::BTHNS_SETBLOB)) Throw(ce::WSAEINVAL);
  const auto& block = *reinterpret_cast<const ce::BTHNS_SETBLOB*>(blob.pBlobData);
  if (block.pSdpVersion == nullptr || *block.pSdpVersion != ce::BTH_SDP_VERSION) Throw(ce::WSAEINVAL);
  if (block.pRecordHandle == nullptr) Throw(ce::WSAEINVAL);
  return block;
}

void Register(Phone& phone, const ce::WSAQUERYSETW& query, const ce::BTHNS_SETBLOB& block) {
  const ce::ULONG room = query.lpBlob->cbSize - offsetof(ce::BTHNS_SETBLOB, pRecord);
  // A handle that is there would replace that record, which nobody asks of this phone.
  if (block.ulRecordLength == 0 || block.ulRecordLength > room || *block.pRecordHandle != 0) Throw(ce::WSAEINVAL);
  const ce::ULONG handle = phone.GetRadio().Publish({block.pRecord, block.ulRecordLength});
  phone.ledger->Hold(Held::kServiceRecord, handle);
  *block.pRecordHandle = handle;
}

void RefuseWithdrawal(Phone& phone, const ce::WSAQUERYSETW* query) noexcept {
  if (query == nullptr || query->lpBlob == nullptr || query->lpBlob->pBlobData == nullptr) return;
  const auto& block = *reinterpret_cast<const ce::BTHNS_SETBLOB*>(query->lpBlob->pBlobData);
  if (block.pRecordHandle != nullptr) phone.ledger->Refuse(Held::kServiceRecord, *block.pRecordHandle);
}

}  // namespace

namespace ce {

SOCKET socket(INT family, INT type, INT protocol) {
  Phone& phone = ThisPhone();
  return Enter<Call::socket>(phone, [&]() -> SOCKET {
    if (phone.winsockStarts == 0) Throw(WSANOTINITIALISED);
    if (family != AF_BTH) Throw(WSAEAFNOSUPPORT);
    if (type != kSockStream || protocol != BTHPROTO_RFCOMM) Throw(WSAEPROTONOSUPPORT);
    return phone.handles.Add(std::make_shared<RadioSocket>(phone.GetRadio().MakeSocket()), "RFCOMM");
  });
}

INT bind(SOCKET socket, const sockaddr* address, INT addressSize) {
  Phone& phone = ThisPhone();
  return Enter<Call::bind>(phone, [&]() -> INT {
    const auto found = FindRadioSocket(phone, socket);
    const SOCKADDR_BTH wanted = ReadAddress(address, addressSize);
    found->Bind(phone.GetRadio(), wanted.btAddr, wanted.port);
    return 0;
  });
}

INT getsockname(SOCKET socket, sockaddr* address, INT* addressSize) {
  Phone& phone = ThisPhone();
  return Enter<Call::getsockname>(phone, [&]() -> INT {
    const auto found = FindRadioSocket(phone, socket);
    SOCKADDR_BTH name{};
    if (address == nullptr || addressSize == nullptr || *addressSize < static_cast<INT>(sizeof name)) {
      Throw(WSAEFAULT);
    }
    name.addressFamily = AF_BTH;
    name.port = found->GetChannel();
    std::memcpy(address, &name, sizeof name);
    *addressSize = sizeof name;
    return 0;
  });
}

INT listen(SOCKET socket, INT backlog) {
  Phone& phone = ThisPhone();
  return Enter<Call::listen>(phone, [&]() -> INT {
    FindRadioSocket(phone, socket)->Listen(backlog);
    return 0;
  });
}

INT setsockopt(SOCKET socket, INT level, INT option, const char* value, INT valueSize) {
  Phone& phone = ThisPhone();
  return Enter<Call::setsockopt>(phone, [&]() -> INT {
    FindRadioSocket(phone, socket);
    if (value == nullptr || valueSize < 1 || valueSize > kMostValue) Throw(WSAEFAULT);
    const bool noDelay = level == kIpProtoTcp && option == kTcpNoDelay;
    if (!noDelay || !phone.GetRadio().TakesNoDelay()) Throw(WSAENOPROTOOPT);
    return 0;
  });
}

INT WSASetServiceW(WSAQUERYSETW* query, INT operation, DWORD flags) {
  Phone& phone = ThisPhone();
  const auto set = [&]() -> INT {
    if (phone.winsockStarts == 0) Throw(WSANOTINITIALISED);
    const BTHNS_SETBLOB& block = BlockOf(query, flags);
    if (operation == RNRSERVICE_REGISTER) {
      Register(phone, *query, block);
    } else if (operation == RNRSERVICE_DELETE) {
      phone.GetRadio().Withdraw(*block.pRecordHandle);
      phone.ledger->Drop(Held::kServiceRecord, *block.pRecordHandle);
    } else {
      Throw(WSAEINVAL);
    }
    return 0;
  };
  return Enter<Call::WSASetServiceW>(phone, set, [&] {
    if (operation == RNRSERVICE_DELETE) RefuseWithdrawal(phone, query);
  });
}

INT BthGetMode(DWORD* mode) {
  Phone& phone = ThisPhone();
  return Enter<Call::BthGetMode>(phone, [&]() -> INT {
    if (mode == nullptr) return ERROR_INVALID_PARAMETER;
    *mode = phone.GetRadio().GetMode();
    return 0;
  });
}

INT BthSetMode(DWORD mode) {
  Phone& phone = ThisPhone();
  return Enter<Call::BthSetMode>(phone, [&]() -> INT {
    phone.GetRadio().SetMode(mode);
    return 0;
  });
}

}  // namespace ce
