#include "programs/host/HostConnection.h"

#include <new>

#include "agent/engine/ErrorRecord.h"
#include "programs/host/BluetoothHostConnection.h"

CConnectionManager* NewHostConnection() {
  auto* connection = new (std::nothrow) CBluetoothHostConnection;
  if (connection != nullptr && connection->Construct()) {
    return connection;
  }
  ShowErrBox(u"CBluetoothConnection::Construct()");
  delete connection;
  return nullptr;
}
