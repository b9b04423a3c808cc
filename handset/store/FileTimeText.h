// The UTC times of calls and messages as a description writes them.
#pragma once

#include "handset/store/FileTime.h"
#include "handset/store/JsonNode.h"

namespace handset {

// "2009-07-12T13:45:01Z", with or without ".250" before the Z, or {"fileTime": a number}.
FileTime ParseFileTime(const JsonNode& node);
// The form that gives the same time back.
nlohmann::json PrintFileTime(FileTime time);

}  // namespace handset
