// Properties of stores, folders, messages and recipients, and how they are handed out: in blocks of memory that the
// holder gives back with MAPIFreeBuffer or FreeProws.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <variant>
#include <vector>

#include "handset/Text.h"
#include "handset/store/FileTime.h"
#include "platform/Mapi.h"

namespace handset {

struct Phone;

struct FileTimeValue {
  FileTime time;
};

struct Property {
  using Value = std::variant<std::u16string, Bytes, std::int32_t, FileTimeValue>;
  Property(ce::ULONG itsTag, Value itsValue) : tag(itsTag), value(std::move(itsValue)) {}

  ce::ULONG tag;
  Value value;
};
// In the order in which a table shows them that nobody told its columns.
using Properties = std::vector<Property>;

// Leaves out what is absent.
void Add(Properties& properties, ce::ULONG tag, const std::optional<std::u16string>& text);

// The values of these tags, in their order, errors for what is missing; without tags, all there are. One block.
ce::SPropValue* NewPropValues(Phone& phone, const Properties& properties,
                              std::optional<std::span<const ce::ULONG>> tags);
bool HasAll(const Properties& properties, std::span<const ce::ULONG> tags);

// A set of these rows, each as NewPropValues makes it; an empty one when there are none.
ce::SRowSet* NewRowSet(Phone& phone, const std::vector<Properties>& rows,
                       std::optional<std::span<const ce::ULONG>> tags);

}  // namespace handset
