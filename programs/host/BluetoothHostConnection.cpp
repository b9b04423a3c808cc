#include "programs/host/BluetoothHostConnection.h"

#include "platform/Kernel.h"

namespace {

// The engine sleeps 100 ms at most before it looks.
constexpr ce::DWORD kGraceMilliseconds = 300;

}  // namespace

CBluetoothHostConnection::CBluetoothHostConnection() = default;

CBluetoothHostConnection::~CBluetoothHostConnection() = default;

bool CBluetoothHostConnection::Stop() {
  CStoppableConnection::Stop();
  ce::Sleep(kGraceMilliseconds);
  return CBluetoothConnection::Stop();
}
