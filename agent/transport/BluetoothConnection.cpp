#include "agent/transport/BluetoothConnection.h"

#include <array>
#include <cstddef>
#include <cstring>

#include "agent/engine/BoxText.h"
#include "agent/engine/ErrorRecord.h"
#include "platform/Bluetooth.h"
#include "platform/User.h"

namespace {

constexpr std::size_t kRecordSize = sizeof CBluetoothConnection::abSdpRecord;
constexpr std::size_t kRecordOffset = offsetof(ce::BTHNS_SETBLOB, pRecord);

// A set-record block that is followed by a record. The block's own size counts one byte of it.
using RecordBlock = std::array<std::uint8_t, sizeof(ce::BTHNS_SETBLOB) - 1 + kRecordSize>;
// Mapped: pointers make it larger on Linux.
static_assert(sizeof(void*) != sizeof(std::uint32_t) || sizeof(RecordBlock) == 161);

// Asks for an operation on the record of a block of this size.
ce::INT SetService(std::uint8_t* block, std::size_t size, ce::INT operation) {
  ce::BLOB blob{.cbSize = static_cast<ce::ULONG>(size), .pBlobData = block};
  ce::WSAQUERYSETW query{};
  query.dwSize = sizeof query;
  query.dwNameSpace = ce::NS_BTH;
  query.lpBlob = &blob;
  return ce::WSASetServiceW(&query, operation, 0);
}

std::uint32_t SocketError() { return static_cast<std::uint32_t>(ce::WSAGetLastError()); }

}  // namespace

// Attribute by attribute: id, value. All numbers have the higher byte first.
std::uint8_t CBluetoothConnection::abSdpRecord[122] = {
    0x35, 0x78,                                                  // sequence of 120 bytes
    0x09, 0x00, 0x01, 0x35, 0x03, 0x19, 0x11, 0x01,              // ServiceClassIDList: Serial Port
    0x09, 0x00, 0x02, 0x0A, 0x00, 0x00, 0x00, 0x02,              // ServiceRecordState: 2
    0x09, 0x00, 0x04, 0x35, 0x0C, 0x35, 0x03, 0x19, 0x01, 0x00,  // ProtocolDescriptorList: L2CAP,
    0x35, 0x05, 0x19, 0x00, 0x03, 0x08, 0xFF,                    // RFCOMM and its channel
    0x09, 0x00, 0x05, 0x35, 0x03, 0x19, 0x10, 0x02,              // BrowseGroupList: public
    0x09, 0x00, 0x06, 0x35, 0x09,                                // LanguageBaseAttributeIDList:
    0x09, 0x65, 0x6E, 0x09, 0x00, 0x6A, 0x09, 0x01, 0x00,        // "en", UTF-8, texts from 0x0100 on
    0x09, 0x00, 0x08, 0x08, 0xFF,                                // ServiceAvailability: fully
    0x09, 0x01, 0x00, 0x25, 0x0A,                                // name
    'B',  'r',  'e',  'l',  'i',  'x',  ' ',  'S',  'P',  'P',   //
    0x09, 0x01, 0x01, 0x25, 0x14,                                // description
    'S',  'P',  'P',  ' ',  'f',  'o',  'r',  ' ',  'B',  'r',   //
    'e',  'l',  'i',  'x',  ' ',  't',  'o',  'o',  'l',  's',   //
    0x09, 0x01, 0x02, 0x25, 0x0F,                                // provider
    'B',  'r',  'e',  'l',  'i',  'x',  ' ',  'S',  'o',  'f',  't', 'w', 'a', 'r', 'e',
};
const std::uint32_t CBluetoothConnection::szSdpRecord = sizeof abSdpRecord;
const std::uint32_t CBluetoothConnection::idxPortNum = 34;

CBluetoothConnection::CBluetoothConnection() = default;

CBluetoothConnection::~CBluetoothConnection() {
  if (m_modeChanged) {
    ce::BthSetMode(m_savedMode);
  }
  if (m_recordHandle != 0) {
    Withdraw();
  }
}

bool CBluetoothConnection::Construct() {
  MakeDiscoverable();
  return CConnectionManager::Construct() && OpenListeningSocket() && BindToAnyChannel() && Publish() && Listen() &&
         CheckNoDelay();
}

bool CBluetoothConnection::Start() { return true; }

bool CBluetoothConnection::Stop() {
  CloseSockets();
  return true;
}

// A radio that cannot be asked or set may still be found by desktops that know the phone.
void CBluetoothConnection::MakeDiscoverable() {
  ce::DWORD mode = 0;
  if (ce::BthGetMode(&mode) == 0 && mode != ce::BTH_DISCOVERABLE && ce::BthSetMode(ce::BTH_DISCOVERABLE) == 0) {
    m_modeChanged = true;
    m_savedMode = mode;
  }
}

// Kept(failed-socket-closes-nothing): unlike the steps that follow, this one leaves the sockets as they are. On a
// connection that was constructed before, the earlier listening socket is lost and stays open, and so does a desktop's.
bool CBluetoothConnection::OpenListeningSocket() {
  SetListeningSocket(ce::socket(ce::AF_BTH, ce::kSockStream, ce::BTHPROTO_RFCOMM));
  return GetListeningSocket() != ce::INVALID_SOCKET || Fail(u"socket", SocketError());
}

// The channel is known once the socket is bound; it goes into the record.
bool CBluetoothConnection::BindToAnyChannel() {
  ce::SOCKADDR_BTH address{};
  address.addressFamily = ce::AF_BTH;
  auto* name = reinterpret_cast<ce::sockaddr*>(&address);
  if (ce::bind(GetListeningSocket(), name, sizeof address) != 0) {
    return FailAndClose(u"bind");
  }
  ce::INT size = sizeof address;
  if (ce::getsockname(GetListeningSocket(), name, &size) != 0) {
    return FailAndClose(u"getsockname");
  }
  abSdpRecord[idxPortNum] = static_cast<std::uint8_t>(address.port);
  return true;
}

// Kept(record-outlives-failed-construct): the record is published before anybody listens, and a step that fails after
// it leaves it published until the destructor.
bool CBluetoothConnection::Publish() {
  ce::ULONG version = ce::BTH_SDP_VERSION;
  ce::ULONG handle = 0;
  const ce::BTHNS_SETBLOB head{.pSdpVersion = &version,
                               .pRecordHandle = &handle,
                               .Reserved = {},
                               .fSecurity = 0,
                               .fOptions = 0,
                               .ulRecordLength = szSdpRecord,
                               .pRecord = {}};
  alignas(ce::BTHNS_SETBLOB) RecordBlock block{};
  std::memcpy(block.data(), &head, kRecordOffset);
  std::memcpy(block.data() + kRecordOffset, abSdpRecord, kRecordSize);
  if (SetService(block.data(), block.size(), ce::RNRSERVICE_REGISTER) != 0) {
    return FailAndClose(u"WSASetService");
  }
  m_recordHandle = handle;
  return true;
}

bool CBluetoothConnection::Listen() { return ce::listen(GetListeningSocket(), 1) == 0 || FailAndClose(u"listen"); }

// Kept(no-delay-must-fail): an RFCOMM socket refuses the TCP no-delay option, and that is taken for success. A socket
// that takes the option makes Construct fail. It looks like a wrong comparison; leave it.
bool CBluetoothConnection::CheckNoDelay() {
  const char off = 0;
  return ce::setsockopt(GetListeningSocket(), ce::kIpProtoTcp, ce::kTcpNoDelay, &off, sizeof off) != 0 ||
         FailAndClose(u"setsockopt");
}

void CBluetoothConnection::Withdraw() {
  ce::ULONG version = ce::BTH_SDP_VERSION;
  ce::ULONG handle = m_recordHandle;
  m_recordHandle = 0;
  ce::BTHNS_SETBLOB block{};
  block.pSdpVersion = &version;
  block.pRecordHandle = &handle;
  if (SetService(reinterpret_cast<std::uint8_t*>(&block), sizeof block, ce::RNRSERVICE_DELETE) != 0) {
    CBoxText<64> text;
    text.Add(u"WSASetService(): ").Dec(ce::WSAGetLastError());
    ce::MessageBoxW(ce::kNoWindow, text.Text(), u"CBluetoothConnection::~CBluetoothConnection()",
                    ce::MB_OK | ce::MB_ICONERROR);
  }
}

bool CBluetoothConnection::FailAndClose(const char16_t* functionName) {
  Fail(functionName, SocketError());
  CloseSockets();
  return false;
}
