// The Bluetooth connection of a host program.
#pragma once

#include "agent/transport/BluetoothConnection.h"
#include "programs/host/StoppableConnection.h"

class CBluetoothHostConnection final : public CStoppableConnection<CBluetoothConnection> {
 public:
  CBluetoothHostConnection();
  ~CBluetoothHostConnection() override;
  // Gives the engine the time to see its stop request; a socket that goes before that is a failure to be shown. Then it
  // ends what still waits: a send, by a shutdown, and an accept whose desktop has left, by closing the listening
  // socket. A desktop's own socket is closed by the engine.
  bool Stop() override;
};
