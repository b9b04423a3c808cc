// Text for a message box, built in a fixed buffer. What does not fit is cut off; there is always a terminator.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "agent/engine/Decimal.h"

template <std::size_t Size>
class CBoxText {
 public:
  CBoxText& Add(std::u16string_view text) {
    for (char16_t unit : text) {
      Put(unit);
    }
    return *this;
  }

  // Eight upper-case digits.
  CBoxText& Hex8(std::uint32_t value) {
    for (int shift = 28; shift >= 0; shift -= 4) {
      Put(u"0123456789ABCDEF"[(value >> shift) & 0xF]);
    }
    return *this;
  }

  CBoxText& Dec(std::int32_t value) {
    const CDecimal decimal(value);
    if (decimal.IsNegative()) {
      Put(u'-');
    }
    if (decimal.Digits().empty()) {
      Put(u'0');
    }
    for (const char digit : decimal.Digits()) {
      Put(static_cast<char16_t>(digit));
    }
    return *this;
  }

  const char16_t* Text() const { return m_text.data(); }

 private:
  void Put(char16_t unit) {
    if (m_length + 1 < Size) {
      m_text[m_length++] = unit;
    }
  }

  std::array<char16_t, Size> m_text{};
  std::size_t m_length = 0;
};
