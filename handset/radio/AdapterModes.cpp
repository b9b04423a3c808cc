#include "handset/radio/AdapterModes.h"

#include <algorithm>
#include <array>

#include "platform/Bluetooth.h"

namespace handset {

namespace {

constexpr std::array<const char*, 3> kNames = {"switched off", "connectable", "discoverable"};

}  // namespace

std::uint32_t ModeOf(const BluezAdapter& adapter) {
  if (!adapter.powered) return ce::BTH_POWER_OFF;
  return adapter.discoverable && adapter.discoverableTimeout == 0 ? ce::BTH_DISCOVERABLE : ce::BTH_CONNECTABLE;
}

bool IsKnownMode(std::uint32_t mode) { return mode < kNames.size(); }

const char* NameOfMode(std::uint32_t mode) { return kNames.at(mode); }

void AdapterModes::Apply(BluezBus& bus, const BluezAdapter& adapter, std::uint32_t mode) {
  if (FindBefore(adapter) == nullptr) m_before.push_back(adapter);
  bus.SetAdapter(adapter, "Powered", mode != ce::BTH_POWER_OFF);
  switch (mode) {
    case ce::BTH_DISCOVERABLE:
      // The timeout first: some kernels stay discoverable behind BlueZ's back when one runs out.
      bus.SetAdapter(adapter, "DiscoverableTimeout", std::uint32_t{0});
      bus.SetAdapter(adapter, "Discoverable", true);
      break;
    case ce::BTH_CONNECTABLE:
      bus.SetAdapter(adapter, "Discoverable", false);
      if (adapter.connectable) bus.SetAdapter(adapter, "Connectable", true);
      break;
    default:
      break;
  }
}

bool AdapterModes::WasMode(const BluezAdapter& adapter, std::uint32_t mode) const {
  const BluezAdapter* const before = FindBefore(adapter);
  return before != nullptr && ModeOf(*before) == mode;
}

void AdapterModes::Restore(BluezBus& bus) {
  const std::vector<BluezAdapter> present = bus.GetAdapters();
  while (!m_before.empty()) {
    const BluezAdapter before = m_before.back();
    m_before.pop_back();
    const auto now = std::ranges::find(present, before.address, &BluezAdapter::address);
    if (now == present.end()) continue;
    // What an adapter is when it is on can be told to one that is on only.
    if (now->powered) {
      bus.SetAdapter(*now, "Discoverable", before.discoverable);
      bus.SetAdapter(*now, "DiscoverableTimeout", before.discoverableTimeout);
      if (before.connectable) bus.SetAdapter(*now, "Connectable", *before.connectable);
    }
    if (now->powered != before.powered) bus.SetAdapter(*now, "Powered", before.powered);
  }
}

const BluezAdapter* AdapterModes::FindBefore(const BluezAdapter& adapter) const {
  const auto at = std::ranges::find(m_before, adapter.address, &BluezAdapter::address);
  return at != m_before.end() ? &*at : nullptr;
}

}  // namespace handset
