// A registry value's data, in the forms that people and programs read.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "desktop/registry/PhoneRegistry.h"

namespace brelix {

// "sz", "dword"; "hex(b)" for a type without a name here.
std::string TypeText(uint32_t type);
// The texts of a kMultiText whose bytes are texts with a terminator each and one more at the end; nothing otherwise.
std::optional<std::vector<std::u16string>> MultiText(const RegistryValue& value);
// The number of a kNumber of four bytes, which the registry has in little-endian order.
std::optional<uint32_t> Number(const RegistryValue& value);
// One line.
std::string DataText(const RegistryValue& value);

}  // namespace brelix
