// One reply of the agent, taken apart and put together again.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace brelix_phone::hostile {

inline constexpr std::string_view kStart = "XXXX";
inline constexpr std::string_view kEnd = "ZZZZ";

struct Reply {
  std::uint16_t module = 0;
  std::uint16_t command = 0;  // the request's + 1
  std::uint16_t number = 0;
  std::string data;

  // Of a whole frame, as the agent writes it.
  static Reply Of(std::span<const std::uint8_t> frame);
  // The frame. Without a length, that of the data modulo 65536.
  std::string Frame() const { return Frame(static_cast<std::uint16_t>(data.size())); }
  std::string Frame(std::uint16_t lengthField) const;

  // The 32-bit result that the data begins with; 0xFFFFFFFF without one.
  std::uint32_t Result() const;
  void SetResult(std::uint32_t result);
  bool Is(std::uint16_t ofModule, std::uint16_t request) const { return module == ofModule && command == request + 1; }
};

// Big-endian.
std::uint32_t Number(std::string_view bytes);
std::string Bytes(std::uint32_t value, int width);

}  // namespace brelix_phone::hostile
