#include "handset/mail/EntryId.h"

#include <cstring>

namespace handset {

namespace {

// Four flag bytes stand in front of every entry id; the mark tells the phone's own ones.
constexpr std::uint32_t kMark = 0x78727062;

struct Layout {
  std::uint32_t flags;
  std::uint32_t mark;
  std::uint32_t kind;
  std::uint32_t idLow;
  std::uint32_t idHigh;
};

}  // namespace

Bytes ToBytes(const EntryId& entry) {
  const auto id = static_cast<std::uint64_t>(entry.id);
  const Layout layout{0, kMark, static_cast<std::uint32_t>(entry.kind), static_cast<std::uint32_t>(id),
                      static_cast<std::uint32_t>(id >> 32)};
  Bytes bytes(sizeof layout);
  std::memcpy(bytes.data(), &layout, sizeof layout);
  return bytes;
}

std::optional<EntryId> ReadEntryId(ce::ULONG size, const ce::ENTRYID* bytes) {
  Layout layout{};
  if (bytes == nullptr || size != sizeof layout) return std::nullopt;
  std::memcpy(&layout, bytes, sizeof layout);
  if (layout.mark != kMark) return std::nullopt;
  return EntryId{static_cast<EntryKind>(layout.kind),
                 static_cast<std::int64_t>(std::uint64_t{layout.idHigh} << 32 | layout.idLow)};
}

}  // namespace handset
