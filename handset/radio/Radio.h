// The phone's Bluetooth radio, as the calls of platform/Bluetooth.h need it. Two kinds stand behind it: one that is all
// script (ScriptedRadio), and the host system's own.
//
// All methods may be called from any thread. What goes wrong is thrown as Failure (handset/Enter.h) with the code that
// the phone's call reports: a Winsock code, or a Windows error for the mode. Anything else that is thrown becomes the
// call's usual code.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "handset/net/UniqueFd.h"
#include "handset/store/RadioProvider.h"

namespace handset {

struct Phone;

// A channel that a socket holds; it is free again when this goes, together with the socket.
class HeldChannel {
 public:
  explicit HeldChannel(std::uint32_t number) : m_number(number) {}
  virtual ~HeldChannel() = default;
  HeldChannel(const HeldChannel&) = delete;
  HeldChannel& operator=(const HeldChannel&) = delete;

  std::uint32_t GetNumber() const { return m_number; }

 private:
  const std::uint32_t m_number;
};

class Radio {
 public:
  virtual ~Radio() = default;
  Radio(const Radio&) = delete;
  Radio& operator=(const Radio&) = delete;

  // ce::BTH_POWER_OFF, BTH_CONNECTABLE, BTH_DISCOVERABLE, or whatever else the radio has.
  virtual std::uint32_t GetMode() = 0;
  virtual void SetMode(std::uint32_t mode) = 0;

  // A stream socket of the host system for RFCOMM, not bound. The caller makes it non-blocking, listens on it (listen
  // of the host), polls it and accepts from it as from any other: a peer that is gone shows as POLLHUP.
  virtual UniqueFd MakeSocket() = 0;
  // Binds it on the adapter with this address (0: any) to the channel, 0 for any free one.
  // Mapped: the channel is known from here on, as on the phone; a host that would choose one only when it listens is
  // not left the choice.
  virtual std::unique_ptr<HeldChannel> Bind(int socket, std::uint64_t adapter, std::uint32_t channel) = 0;
  // Whether such a socket lets the TCP no-delay option be set on it. No radio of this world does.
  virtual bool TakesNoDelay() { return false; }

  // Publishes a service record, SDP data elements as they are on the air. Returns a handle, never 0. The record stays
  // until it is withdrawn, whatever becomes of the socket.
  virtual std::uint32_t Publish(std::span<const std::uint8_t> record) = 0;
  virtual void Withdraw(std::uint32_t handle) = 0;

 protected:
  Radio() = default;
};

// Throws RadioError when this program or this system has no such radio; the text says what is missing.
std::unique_ptr<Radio> MakeRadio(RadioProvider provider, Phone& phone);

}  // namespace handset
