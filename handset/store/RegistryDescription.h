// The registry's part of a description.
#pragma once

#include "handset/store/Description.h"
#include "handset/store/JsonNode.h"

namespace handset {

// Throws DescriptionError; a key or value that is there twice is one.
std::vector<RegistryKey> ParseRegistry(const JsonNode& list);
nlohmann::json PrintRegistry(const std::vector<RegistryKey>& keys);

// The names between the backslashes; a backslash at the end says nothing.
std::vector<std::u16string_view> SplitKeyPath(std::u16string_view path);

}  // namespace handset
