#include "handset/com/Automation.h"

#include <cstring>
#include <new>
#include <string>

#include "handset/Enter.h"
#include "handset/store/VariantDate.h"
#include "handset/system/Heap.h"

namespace handset {

namespace {

// In front of a system string's first unit: its size in bytes, without the terminating 0.
using Prefix = ce::DWORD;

void* BlockOf(ce::BSTR text) { return static_cast<std::byte*>(static_cast<void*>(text)) - sizeof(Prefix); }

ce::BSTR NewString(const std::shared_ptr<Ledger>& ledger, std::u16string_view text) {
  const std::size_t bytes = text.size() * sizeof(ce::WCHAR);
  void* block = AllocateBlock(ledger, Held::kSystemString, sizeof(Prefix) + bytes + sizeof(ce::WCHAR));
  if (block == nullptr) return nullptr;
  const auto prefix = static_cast<Prefix>(bytes);
  std::memcpy(block, &prefix, sizeof prefix);
  auto* units = static_cast<ce::WCHAR*>(static_cast<void*>(static_cast<std::byte*>(block) + sizeof prefix));
  text.copy(units, text.size());
  units[text.size()] = 0;
  return units;
}

}  // namespace

ce::BSTR NewSystemString(Phone& phone, std::u16string_view text) {
  const ce::BSTR made = NewString(phone.ledger, text);
  if (made == nullptr) throw std::bad_alloc();
  return made;
}

std::u16string_view TextOf(ce::BSTR text) {
  if (text == nullptr) return {};
  Prefix bytes = 0;
  std::memcpy(&bytes, BlockOf(text), sizeof bytes);
  return {text, bytes / sizeof(ce::WCHAR)};
}

}  // namespace handset

namespace ce {

using handset::Call;
using handset::Enter;
using handset::ThisPhone;

BSTR SysAllocString(LPCWSTR text) {
  handset::Phone& phone = ThisPhone();
  return Enter<Call::SysAllocString>(
      phone, [&] { return text == nullptr ? nullptr : handset::NewString(phone.ledger, text); });
}

void SysFreeString(BSTR text) {
  if (text != nullptr) handset::FreeBlock(handset::BlockOf(text));
}

INT VariantTimeToSystemTime(DATE date, SYSTEMTIME* time) {
  return Enter<Call::VariantTimeToSystemTime>(ThisPhone(), [&] {
    const auto converted = handset::ToSystemTime(date);
    if (converted && time != nullptr) *time = *converted;
    return INT{converted && time != nullptr};
  });
}

INT SystemTimeToVariantTime(SYSTEMTIME* time, DATE* date) {
  return Enter<Call::SystemTimeToVariantTime>(ThisPhone(), [&] {
    const auto converted = time != nullptr ? handset::ToDate(*time) : std::nullopt;
    if (converted && date != nullptr) *date = *converted;
    return INT{converted && date != nullptr};
  });
}

}  // namespace ce
