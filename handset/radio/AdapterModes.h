// The phone's radio modes on an adapter of BlueZ, and what the adapter was before: the settings are the whole system's.
#pragma once

#include <vector>

#include "handset/radio/BluezBus.h"

namespace handset {

// ce::BTH_POWER_OFF, BTH_CONNECTABLE or BTH_DISCOVERABLE.
// Chosen: discoverable for a limited time is connectable, which is what it will be while somebody is served.
std::uint32_t ModeOf(const BluezAdapter& adapter);
bool IsKnownMode(std::uint32_t mode);
// "discoverable"
const char* NameOfMode(std::uint32_t mode);

class AdapterModes {
 public:
  // Throws BluezError. Remembers what the adapter was, unless it is remembered.
  // Mapped: an older BlueZ (5.66) cannot be told to be connectable and hidden: there, only remotes that are paired can
  // connect then.
  void Apply(BluezBus& bus, const BluezAdapter& adapter, std::uint32_t mode);

  // Whether the mode is the one that the adapter had before it was changed.
  bool WasMode(const BluezAdapter& adapter, std::uint32_t mode) const;
  bool Empty() const { return m_before.empty(); }
  // Makes every adapter that was changed and is still there what it was. Throws BluezError.
  void Restore(BluezBus& bus);

 private:
  const BluezAdapter* FindBefore(const BluezAdapter& adapter) const;

  std::vector<BluezAdapter> m_before;
};

}  // namespace handset
