// What Linux offers programs of Bluetooth, as its kernel's public interface has it: numbers and records, nothing else.
// The interface does not change, and declared here it needs no further library.
#pragma once

#include <cstdint>
#include <sys/ioctl.h>

namespace brelix::bluetooth {

constexpr int kFamily = 31;  // AF_BLUETOOTH
enum Protocol : int { kL2cap = 0, kHci = 1, kRfcomm = 3 };

// The address of a device as the kernel has it: the last byte first.
struct KernelAddress {
  uint8_t bytes[6] = {};
};

struct RfcommSocketAddress {
  uint16_t family = kFamily;
  KernelAddress device;
  uint8_t channel = 0;
};
static_assert(sizeof(RfcommSocketAddress) == 10);

struct L2capSocketAddress {
  uint16_t family = kFamily;
  uint16_t psm = 0;  // the low byte first, on every machine
  KernelAddress device;
  uint16_t channel_id = 0;
  uint8_t device_type = 0;  // 0: not Low Energy
};
static_assert(sizeof(L2capSocketAddress) == 14);

// Of setsockopt().
constexpr int kSocketLevel = 274;   // SOL_BLUETOOTH
constexpr int kSecurityOption = 4;  // BT_SECURITY
enum SecurityLevel : uint8_t { kLowSecurity = 1, kMediumSecurity = 2 };
struct Security {
  uint8_t level;
  uint8_t key_size;
};

// The adapters, asked of an HCI socket. No privilege is needed to ask.
constexpr unsigned kMostAdapters = 16;
struct AdapterList {
  uint16_t count = kMostAdapters;
  struct {
    uint16_t number;
    uint32_t flags;
  } adapters[kMostAdapters] = {};
};
static_assert(sizeof(AdapterList) == 4 + 8 * kMostAdapters);

struct AdapterInfo {
  uint16_t number = 0;
  char name[8] = {};
  KernelAddress device;
  uint32_t flags = 0;
  uint8_t type_and_features[12] = {};
  uint32_t packets_policies_and_statistics[15] = {};
};
static_assert(sizeof(AdapterInfo) == 92);

constexpr unsigned long kGetAdapterList = _IOR('H', 210, int);  // HCIGETDEVLIST
constexpr unsigned long kGetAdapterInfo = _IOR('H', 211, int);  // HCIGETDEVINFO
constexpr uint32_t kAdapterUp = 1;                              // of AdapterInfo::flags

}  // namespace brelix::bluetooth
