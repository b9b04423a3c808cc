// The bytes read from the desktop and not yet consumed, and the cutting of request frames out of them.
//
// At most wire::kReceiveBufSize bytes are held. They slide through an area of twice that size, so that dropping bytes
// from the front is a step of an index and bytes are moved once per kReceiveBufSize consumed. The search remembers how
// far it has looked: cutting frames costs time in proportion to the bytes received, also when it is asked after each
// byte.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "agent/engine/WireFormat.h"

class CReceiveWindow {
 public:
  // Where the next bytes go: all the room there is. Valid until the next call.
  std::span<std::uint8_t> Room();
  // Adds count bytes that were written at the start of Room().
  void Received(std::uint32_t count) { m_held += count; }
  std::uint32_t Held() const { return m_held; }

  // Cuts the first frame out, copies it to packet (wire::kPacketBufSize bytes) and returns its length; 0 when there is
  // no whole frame yet. Bytes of packet behind the frame stay as they are. Garbage in front of a start mark is dropped.
  std::uint32_t CutFrame(std::span<std::uint8_t, wire::kPacketBufSize> packet);

 private:
  bool FindStart();
  bool FindEnd();
  bool MarkAt(std::uint32_t at, std::uint8_t mark) const;
  void Drop(std::uint32_t count);
  bool DropAllButLast4();

  std::uint8_t* Bytes() { return m_area.data() + m_first; }
  const std::uint8_t* Bytes() const { return m_area.data() + m_first; }

  std::uint32_t m_first = 0;  // where the held bytes begin in the area
  std::uint32_t m_held = 0;   // how many are held
  std::uint32_t m_runAt = 0;  // next place to test for the end of the run of start marks; 0: no mark found yet
  std::uint32_t m_endAt = 0;  // next place to test for the end mark
  std::array<std::uint8_t, std::size_t{2} * wire::kReceiveBufSize> m_area{};
};
