// A socket of the phone on a channel of its radio.
#pragma once

#include "handset/net/HostSocket.h"
#include "handset/radio/Radio.h"

namespace handset {

// All calls throw Failure with a Winsock code.
class RadioSocket final : public HostSocket {
 public:
  explicit RadioSocket(UniqueFd socket) : HostSocket(std::move(socket)) {}

  void Bind(Radio& radio, std::uint64_t adapter, std::uint32_t channel);
  // 0 before it is bound.
  std::uint32_t GetChannel() const;

 private:
  mutable std::mutex m_mutex;
  std::unique_ptr<HeldChannel> m_channel;
};

}  // namespace handset
