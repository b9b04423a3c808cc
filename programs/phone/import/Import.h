// What people already have, as parts of a phone's description (docs/handset.md). Each adds to `description` what it
// finds, tells on standard error what a phone cannot hold, and throws std::runtime_error with "FILE:LINE: what is
// wrong" for a source that it cannot read.
#pragma once

#include <filesystem>
#include <nlohmann/json_fwd.hpp>
