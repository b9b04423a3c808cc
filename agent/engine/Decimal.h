// The decimal digits of a number, most significant first, for texts of either width. A phone's runtime has no
// formatting without a variable argument list.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

class CDecimal {
 public:
  explicit constexpr CDecimal(std::int32_t value) : m_negative(value < 0) {
    const auto bits = static_cast<std::uint32_t>(value);
    for (std::uint32_t rest = m_negative ? 0 - bits : bits; rest != 0; rest /= 10) {
      m_digits[--m_first] = static_cast<char>('0' + rest % 10);
    }
  }

  constexpr bool IsNegative() const { return m_negative; }
  // None for 0.
  constexpr std::string_view Digits() const { return {m_digits.data() + m_first, m_digits.size() - m_first}; }

 private:
  bool m_negative;
  std::array<char, 10> m_digits{};
  std::size_t m_first = m_digits.size();
};
