// The Bluetooth connection of a host program.
#pragma once

#include "agent/transport/BluetoothConnection.h"
#include "programs/host/StoppableConnection.h"

class CBluetoothHostConnection final : public CStoppableConnection<CBluetoothConnection> {
 public:
  CBluetoothHostConnection();
  ~CBluetoothHostConnection() override;
  // Closes the sockets too, for an accept that waits for a desktop that has left; but only when the engine had the time
  // to see its stop request, since it would tell the user of a listening socket that is gone.
  bool Stop() override;
};
