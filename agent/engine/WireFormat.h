// Every number of the wire protocol: marks, sizes, module ids, and the values that more than one module answers.
// Integers on the wire are big-endian.
//
// A frame, in both directions:
//   "XXXX"  module id (2)  command (2)  data length L (2)  data (L)  packet number (2)  "ZZZZ"
#pragma once

#include <cstdint>

namespace wire {

inline constexpr std::uint32_t kMarkLen = 4;
inline constexpr std::uint8_t kStartMark = 'X';  // four of them
inline constexpr std::uint8_t kEndMark = 'Z';    // four of them

// Places inside a frame, from its start mark on.
inline constexpr std::uint32_t kModuleAt = 4;
inline constexpr std::uint32_t kCommandAt = 6;
inline constexpr std::uint32_t kDataLenAt = 8;
inline constexpr std::uint32_t kDataAt = 10;
inline constexpr std::uint32_t kShortestFrame = 16;

// Sizes of the engine's areas.
inline constexpr std::uint32_t kReceiveBufSize = 16384;
inline constexpr std::uint32_t kPacketBufSize = 16384;
inline constexpr std::uint32_t kSendBufSize = 929792;

// A reply body as a module writes it: module id, command + 1, data length, data.
inline constexpr std::uint32_t kBodyDataAt = 6;
// What the engine adds to a body: the packet number and the two marks.
inline constexpr std::uint32_t kFrameOverhead = 10;
// What a body may fill of the send buffer.
inline constexpr std::uint32_t kBodyRoom = kSendBufSize - kFrameOverhead;

enum Module : std::uint16_t {
  kSystem = 1,
  kContacts = 3,
  kAgenda = 4,
  kCallLog = 5,
  kMessaging = 6,
};

inline constexpr std::int32_t kHandshakeCommand = 247;

// Results, the first four data bytes of every module reply. Anything else is a platform code passed through.
inline constexpr std::uint32_t kResultOk = 0;
inline constexpr std::uint32_t kResultRefused = 0xFFFFFFFF;
inline constexpr std::uint32_t kResultTooLarge = 0x8007000E;  // the reply did not fit: E_OUTOFMEMORY

// A 32-bit number of a request's data.
constexpr std::uint32_t ReadU32(const std::uint8_t* at) {
  return static_cast<std::uint32_t>(at[0]) << 24 | static_cast<std::uint32_t>(at[1]) << 16 |
         static_cast<std::uint32_t>(at[2]) << 8 | at[3];
}

}  // namespace wire
