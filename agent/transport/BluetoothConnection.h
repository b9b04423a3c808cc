// The connection of a host program whose desktops come over Bluetooth: an RFCOMM channel that is listened on, and a
// serial-port service record that tells desktops, by the service's name, which channel it is. Reading and writing are
// the base's.
//
// Construct and the destructor run on the owner's thread; Stop does too, while the engine thread may be polling or
// accepting.
#pragma once

#include <cstdint>

#include "agent/transport/ConnectionManager.h"

class CBluetoothConnection : public CConnectionManager {
 public:
  CBluetoothConnection();
  CBluetoothConnection(const CBluetoothConnection&) = delete;
  CBluetoothConnection& operator=(const CBluetoothConnection&) = delete;
  // Withdraws the record, which is shown when it fails, gives the radio its mode back and closes the sockets.
  ~CBluetoothConnection() override;

  // Makes the radio discoverable, starts Winsock, and listens on a channel whose record is published. A failure of the
  // radio's mode does not matter; any other leaves its record in the last-error slot. What was done until then is
  // undone by the destructor only, but for the sockets.
  bool Construct();
  bool Start() override;
  // Closes both sockets: an accept that waits ends. A read that is under way fails, and that would spend the engine's
  // stop request; a host program overrides Read and Write so that a desktop counts as gone from Stop on.
  bool Stop() override;

  // The service record, SDP data elements. Construct writes the channel into it.
  static std::uint8_t abSdpRecord[122];
  static const std::uint32_t szSdpRecord;
  static const std::uint32_t idxPortNum;

 private:
  void MakeDiscoverable();
  bool OpenListeningSocket();
  bool BindToAnyChannel();
  bool Publish();
  bool Listen();
  bool CheckNoDelay();
  void Withdraw();
  bool FailAndClose(const char16_t* functionName);

  bool m_modeChanged = false;
  std::uint32_t m_savedMode = 0;
  std::uint32_t m_recordHandle = 0;  // 0: none is published
};
