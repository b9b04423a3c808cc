// The files' part of a description.
#pragma once

#include "handset/store/Description.h"
#include "handset/store/JsonNode.h"

namespace handset {

// Throws DescriptionError; a path that is there twice is one.
std::vector<PhoneFile> ParseFiles(const JsonNode& list);
nlohmann::json PrintFiles(const std::vector<PhoneFile>& files);

}  // namespace handset
