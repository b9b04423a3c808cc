// A radio that is all script: its mode, channels and published records stand in phone.db, and a unix socket in the
// phone's folder stands for an RFCOMM channel: DIR/bluetooth/channel-N.
#pragma once

#include <filesystem>

#include "handset/radio/Radio.h"
#include "handset/store/Store.h"

namespace handset {

class ScriptedRadio final : public Radio {
 public:
  explicit ScriptedRadio(Phone& phone);

  std::uint32_t GetMode() override;
  void SetMode(std::uint32_t mode) override;
  UniqueFd MakeSocket() override;
  std::unique_ptr<HeldChannel> Bind(int socket, std::uint64_t adapter, std::uint32_t channel) override;
  bool TakesNoDelay() override;
  std::uint32_t Publish(std::span<const std::uint8_t> record) override;
  void Withdraw(std::uint32_t handle) override;

 private:
  const Store& m_store;
  const std::filesystem::path m_folder;
};

// Where a desktop reaches a channel of a phone's scripted radio.
std::filesystem::path ChannelSocket(const std::filesystem::path& phoneFolder, std::uint32_t channel);

}  // namespace handset
