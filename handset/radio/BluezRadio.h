// The radio of this system: RFCOMM sockets of the kernel, service records and modes of BlueZ.
#pragma once

#include "handset/radio/BluezKeeper.h"

namespace handset {

class BluezRadio final : public Radio {
 public:
  // Throws BluezError when BlueZ does not run or has no adapter.
  explicit BluezRadio(BluezOptions options);
  ~BluezRadio() override;

  BluezAdapter GetAdapter() { return m_keeper.GetAdapter(); }

  std::uint32_t GetMode() override;
  void SetMode(std::uint32_t mode) override;
  UniqueFd MakeSocket() override;
  std::unique_ptr<HeldChannel> Bind(int socket, std::uint64_t adapter, std::uint32_t channel) override;
  std::uint32_t Publish(std::span<const std::uint8_t> record) override;
  void Withdraw(std::uint32_t handle) override;

 private:
  const LinkSecurity m_security;
  BluezKeeper m_keeper;
};

struct BluezPlace {
  std::unique_ptr<Radio> radio;
  std::string address;  // of the adapter, "AA:BB:CC:DD:EE:FF"
  std::string name;     // as remotes see it
};

// Throws RadioError, which says what is missing and what to do: this program was built without D-Bus, BlueZ does not
// run, there is no adapter, the kernel has no Bluetooth.
BluezPlace OpenBluez(BluezOptions options);

}  // namespace handset
