#include "tests/support/Bytes.h"

#include <cctype>
#include <stdexcept>

namespace test {

Bytes FromHex(std::string_view text) {
  std::string digits;
  for (const char c : text) {
    if (std::isspace(static_cast<unsigned char>(c)) == 0) digits += c;
  }
  if (digits.size() % 2 != 0) throw std::invalid_argument("odd number of hex digits: " + std::string(text));
  Bytes bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    std::size_t used = 0;
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), &used, 16)));
    if (used != 2) throw std::invalid_argument("not hex: " + std::string(text));
  }
  return bytes;
}

std::string ToHex(const Bytes& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0xF];
    text += ' ';
  }
  return text;
}

Bytes FromText(std::string_view text) { return {text.begin(), text.end()}; }

Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

Bytes U16(std::uint16_t value) { return {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)}; }

Bytes U32(std::uint32_t value) {
  return U16(static_cast<std::uint16_t>(value >> 16)) + U16(static_cast<std::uint16_t>(value));
}

Bytes FrameWithLength(std::uint16_t module, std::uint16_t command, std::uint16_t length, std::uint16_t number,
                      const Bytes& data) {
  return FromText("XXXX") + U16(module) + U16(command) + U16(length) + data + U16(number) + FromText("ZZZZ");
}

Bytes Frame(std::uint16_t module, std::uint16_t command, std::uint16_t number, const Bytes& data) {
  return FrameWithLength(module, command, static_cast<std::uint16_t>(data.size()), number, data);
}

}  // namespace test
