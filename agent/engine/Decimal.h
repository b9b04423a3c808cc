// The decimal digits of a number, most significant first, for texts of either width. A phone's runtime has no
// formatting without a variable argument list.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

class CDecimal {
 public:
  explicit constexpr CDecimal(std::int32_t value)
      : CDecimal(value < 0, value < 0 ? 0 - static_cast<std::uint32_t>(value) : static_cast<std::uint32_t>(value)) {}
  static constexpr CDecimal Unsigned(std::uint32_t value) { return {false, value}; }

  constexpr bool IsNegative() const { return m_negative; }
  // None for 0.
  constexpr std::string_view Digits() const { return {m_digits.data() + m_first, m_digits.size() - m_first}; }

 private:
  constexpr CDecimal(bool negative, std::uint32_t magnitude) : m_negative(negative) {
    for (; magnitude != 0; magnitude /= 10) {
      m_digits[--m_first] = static_cast<char>('0' + magnitude % 10);
    }
  }

  bool m_negative;
  std::array<char, 10> m_digits{};
  std::size_t m_first = m_digits.size();
};
