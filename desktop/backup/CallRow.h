// Calls of the wire as a phone's database keeps them.
#pragma once

#include <chrono>
#include <string_view>

#include "desktop/backup/RawDocument.h"
#include "handset/store/Description.h"

namespace brelix::backup {

// What an agent of a phone whose clock is so far before UTC answers of this call is `document` again, but for the
// losses and for the bytes that stand where a value has no word. Throws a protocol failure when it is no call's.
handset::CallEntry CallRow(std::string_view document, std::chrono::minutes utc_offset, Losses& losses);

}  // namespace brelix::backup
