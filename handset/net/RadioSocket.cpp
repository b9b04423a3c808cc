#include "handset/net/RadioSocket.h"

#include "handset/Enter.h"

namespace handset {

void RadioSocket::Bind(Radio& radio, std::uint64_t adapter, std::uint32_t channel) {
  const std::lock_guard lock(m_mutex);
  if (m_channel) throw Failure{ce::WSAEINVAL};
  m_channel = radio.Bind(GetDescriptor(), adapter, channel);
}

std::uint32_t RadioSocket::GetChannel() const {
  const std::lock_guard lock(m_mutex);
  return m_channel ? m_channel->GetNumber() : 0;
}

}  // namespace handset
