// Bytes in tests: frames made by hand, and comparisons that print as hex.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace test {

using Bytes = std::vector<std::uint8_t>;

// "58 58 0001", blanks ignored. Throws std::invalid_argument.
Bytes FromHex(std::string_view text);
std::string ToHex(const Bytes& bytes);
Bytes FromText(std::string_view text);
Bytes operator+(Bytes left, const Bytes& right);
Bytes U16(std::uint16_t value);
Bytes U32(std::uint32_t value);

// A whole frame, the length field as given or that of the data.
Bytes Frame(std::uint16_t module, std::uint16_t command, std::uint16_t number, const Bytes& data = {});
Bytes FrameWithLength(std::uint16_t module, std::uint16_t command, std::uint16_t length, std::uint16_t number,
                      const Bytes& data);

// A frame's start mark and head apart from its data: what most replies are compared with.
inline Bytes ResultFrame(std::uint16_t module, std::uint16_t command, std::uint16_t number, std::uint32_t result) {
  return Frame(module, command, number, U32(result));
}

}  // namespace test
