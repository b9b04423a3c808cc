// Text for a message box, built in a fixed buffer. What does not fit is cut off; there is always a terminator.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

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
    std::uint32_t rest = value < 0 ? 0 - static_cast<std::uint32_t>(value) : static_cast<std::uint32_t>(value);
    std::array<char16_t, 10> digits{};
    std::size_t count = 0;
    do {
      digits[count++] = static_cast<char16_t>(u'0' + rest % 10);
      rest /= 10;
    } while (rest != 0);
    if (value < 0) {
      Put(u'-');
    }
    while (count > 0) {
      Put(digits[--count]);
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
