#include "handset/mail/Properties.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "handset/Enter.h"
#include "handset/system/Heap.h"

namespace handset {

namespace {

constexpr ce::ULONG kIdMask = 0xFFFF0000;

const Property* Find(const Properties& properties, ce::ULONG tag) {
  const auto at = std::ranges::find(properties, tag, &Property::tag);
  return at == properties.end() ? nullptr : &*at;
}

std::size_t SizeBehind(const std::u16string& text) { return (text.size() + 1) * sizeof(ce::WCHAR); }
std::size_t SizeBehind(const Bytes& bytes) { return bytes.size(); }
template <typename Number>
std::size_t SizeBehind(const Number&) {
  return 0;
}

// Texts and bytes stand behind the values, each at an even place.
struct Place {
  std::byte* at;

  void* Take(std::size_t bytes) {
    void* taken = at;
    at += (bytes + 1) / 2 * 2;
    return taken;
  }

  void Put(ce::PropertyValue& value, const std::u16string& text) {
    value.lpszW = static_cast<ce::WCHAR*>(Take(SizeBehind(text)));
    std::memcpy(value.lpszW, text.c_str(), SizeBehind(text));
  }
  void Put(ce::PropertyValue& value, const Bytes& bytes) {
    value.bin = {static_cast<ce::ULONG>(bytes.size()), static_cast<ce::BYTE*>(Take(bytes.size()))};
    std::memcpy(value.bin.lpb, bytes.data(), bytes.size());
  }
  static void Put(ce::PropertyValue& value, std::int32_t number) { value.l = number; }
  static void Put(ce::PropertyValue& value, FileTimeValue time) { value.ft = ToRecord(time.time); }
};

void* NewBlock(Phone& phone, Held kind, std::size_t bytes) {
  void* block = AllocateBlock(phone.ledger, kind, bytes);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

}  // namespace

void Add(Properties& properties, ce::ULONG tag, const std::optional<std::u16string>& text) {
  if (text) properties.emplace_back(tag, *text);
}

ce::SPropValue* NewPropValues(Phone& phone, const Properties& properties,
                              std::optional<std::span<const ce::ULONG>> tags) {
  std::vector<ce::ULONG> wanted;
  if (tags) {
    wanted.assign(tags->begin(), tags->end());
  } else {
    std::ranges::transform(properties, std::back_inserter(wanted), &Property::tag);
  }
  std::size_t size = wanted.size() * sizeof(ce::SPropValue);
  for (const Property& property : properties) {
    size += std::visit([](const auto& value) { return SizeBehind(value); }, property.value) + 1;
  }
  auto* values = static_cast<ce::SPropValue*>(NewBlock(phone, Held::kMapiBuffer, size));
  Place behind{reinterpret_cast<std::byte*>(values + wanted.size())};
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    values[i] = {};
    const Property* found = Find(properties, wanted[i]);
    if (found == nullptr) {
      values[i].ulPropTag = (wanted[i] & kIdMask) | ce::PT_ERROR;
      values[i].Value.err = ce::MAPI_E_NOT_FOUND;
    } else {
      values[i].ulPropTag = wanted[i];
      std::visit([&](const auto& value) { behind.Put(values[i].Value, value); }, found->value);
    }
  }
  return values;
}

bool HasAll(const Properties& properties, std::span<const ce::ULONG> tags) {
  return std::ranges::all_of(tags, [&](ce::ULONG tag) { return Find(properties, tag) != nullptr; });
}

ce::SRowSet* NewRowSet(Phone& phone, const std::vector<Properties>& rows,
                       std::optional<std::span<const ce::ULONG>> tags) {
  const std::size_t size = offsetof(ce::SRowSet, aRow) + std::max<std::size_t>(rows.size(), 1) * sizeof(ce::SRow);
  auto* set = static_cast<ce::SRowSet*>(NewBlock(phone, rows.empty() ? Held::kMapiBuffer : Held::kMapiRows, size));
  set->cRows = 0;
  for (const Properties& row : rows) {
    const std::size_t columns = tags ? tags->size() : row.size();
    set->aRow[set->cRows] = {0, static_cast<ce::ULONG>(columns), NewPropValues(phone, row, tags)};
    ++set->cRows;
  }
  return set;
}

}  // namespace handset

namespace ce {

ULONG MAPIFreeBuffer(void* buffer) {
  if (buffer != nullptr) handset::FreeBlock(buffer);
  return S_OK;
}

void FreeProws(SRowSet* rows) {
  // A set without rows is not its to free.
  if (rows == nullptr || rows->cRows == 0) return;
  for (ULONG i = 0; i < rows->cRows; ++i) MAPIFreeBuffer(rows->aRow[i].lpProps);
  handset::FreeBlock(rows);
}

}  // namespace ce
