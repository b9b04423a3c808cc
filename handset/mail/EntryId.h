// What the phone's message stores call their things: bytes that say what a thing is and which.
#pragma once

#include <cstdint>
#include <optional>

#include "handset/Text.h"
#include "platform/Mapi.h"

namespace handset {

enum class EntryKind : std::uint32_t { kStore = 1, kRoot = 2, kFolder = 3, kMessage = 5 };

struct EntryId {
  EntryKind kind;
  std::int64_t id;  // in the store's table; a root has its account's
};

Bytes ToBytes(const EntryId& entry);
// Nothing when the bytes are no entry id of this phone.
std::optional<EntryId> ReadEntryId(ce::ULONG size, const ce::ENTRYID* bytes);

}  // namespace handset
