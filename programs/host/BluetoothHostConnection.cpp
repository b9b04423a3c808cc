#include "programs/host/BluetoothHostConnection.h"

#include "platform/Kernel.h"

namespace {

// The engine sleeps 100 ms at most before it looks.
constexpr ce::DWORD kGraceMilliseconds = 500;

}  // namespace

CBluetoothHostConnection::CBluetoothHostConnection() = default;

CBluetoothHostConnection::~CBluetoothHostConnection() = default;

bool CBluetoothHostConnection::Stop() {
  CountDesktopAsGone();
  ce::Sleep(kGraceMilliseconds);
  EndStuckSend();
  if (GetListeningSocket() != ce::INVALID_SOCKET && ce::closesocket(GetListeningSocket()) == 0) {
    SetListeningSocket(ce::INVALID_SOCKET);
  }
  return true;
}
