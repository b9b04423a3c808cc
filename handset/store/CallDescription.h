// The call history's part of a description.
#pragma once

#include "handset/store/Description.h"
#include "handset/store/JsonNode.h"

namespace handset {

// Throws DescriptionError.
CallEntry ParseCall(const JsonNode& node);
nlohmann::json PrintCall(const CallEntry& call);

}  // namespace handset
