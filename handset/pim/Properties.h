// How properties of Pocket Outlook items are answered.
#pragma once

#include <optional>
#include <string>

#include "handset/Enter.h"
#include "handset/com/Automation.h"
#include "platform/PocketOutlook.h"

namespace handset {

// 1 January 4501, the date of what has none.
inline constexpr ce::DATE kNoDate = 949998;

inline void Answer(Phone&, ce::LONG* place, std::int32_t value) { *place = value; }
inline void Answer(Phone&, ce::DATE* place, double value) { *place = value; }
inline void Answer(Phone&, ce::VARIANT_BOOL* place, bool value) {
  *place = value ? ce::VARIANT_TRUE : ce::VARIANT_FALSE;
}
inline void Answer(Phone& phone, ce::BSTR* place, const std::u16string& text) { *place = NewSystemString(phone, text); }

// What is absent cannot be read.
template <typename Place, typename T>
void Answer(Phone& phone, Place* place, const std::optional<T>& value) {
  if (!value) throw Failure{static_cast<ce::DWORD>(ce::E_FAIL)};
  Answer(phone, place, *value);
}

template <Call kCall, typename Place, typename T>
ce::HRESULT GetProperty(Phone& phone, Place* place, const T& value) {
  return Enter<kCall>(phone, [&] {
    if (place == nullptr) return ce::E_POINTER;
    *place = {};
    Answer(phone, place, value);
    return ce::S_OK;
  });
}

}  // namespace handset
