// What a phone is: the facts that a description gives and that the store keeps.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "handset/Faults.h"
#include "handset/Text.h"
#include "handset/system/Clock.h"
#include "handset/system/MessageBoxes.h"

namespace handset {

struct Line {
  std::u16string name;
  // Absent: the radio's record leaves the text out.
  std::optional<std::u16string> manufacturer = u"";
  std::optional<std::u16string> model = u"";
  std::optional<std::u16string> revision = u"";
  std::optional<std::u16string> serialNumber = u"";
  std::optional<std::u16string> subscriberNumber = u"";
  bool radioOff = false;
  bool operationUnavailable = false;
};

struct Os {
  std::uint32_t major = 5;
  std::uint32_t minor = 2;
  std::uint32_t build = 1620;
  std::uint32_t platform = 3;
  bool queryFails = false;
};

struct Memory {
  std::uint32_t load = 40;
  std::uint32_t totalPhysical = 64U << 20;
  std::uint32_t availablePhysical = 38U << 20;
};

struct Power {
  std::uint8_t acLine = 0;
  std::uint8_t batteryFlag = 1;
  std::uint8_t batteryPercent = 100;
  bool queryFails = false;
};

struct RegistryRoot {
  std::int64_t id;  // in the store
  std::uintptr_t handle;
  std::string_view name;
  std::string_view longName;
};
inline constexpr std::array<RegistryRoot, 4> kRegistryRoots = {{{1, 0x80000000, "HKCR", "HKEY_CLASSES_ROOT"},
                                                                {2, 0x80000001, "HKCU", "HKEY_CURRENT_USER"},
                                                                {3, 0x80000002, "HKLM", "HKEY_LOCAL_MACHINE"},
                                                                {4, 0x80000003, "HKU", "HKEY_USERS"}}};
// Null when the handle is no root's.
const RegistryRoot* FindRoot(std::uintptr_t handle);

struct RegistryValue {
  std::u16string name;
  std::uint32_t type = 0;
  Bytes data;
};

struct RegistryKey {
  std::u16string path;  // the root's short name first
  std::vector<RegistryValue> values;
};

struct Description {
  std::vector<Line> lines = {{.name = u"Cellular Line"}};
  Os os;
  Memory memory;
  Power power;
  ClockSetting clock;
  std::vector<RegistryKey> registry;
  std::vector<BoxAnswer> messageBoxes;
  std::vector<FaultRule> faults;
};

// Throw DescriptionError.
Description ParseDescription(const nlohmann::json& json);
nlohmann::json ReadDescriptionFile(const std::filesystem::path& file);

// The JSON from which ParseDescription makes the same.
nlohmann::json PrintDescription(const Description& description);

}  // namespace handset
